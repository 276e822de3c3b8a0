#include "app/views/MenuPanel.h"

#include "app/model/AppModel.h"
#include "app/views/Announcer.h"
#include "app/views/ErrorStrip.h"
#include "app/views/EvidenceView.h"
#include "app/views/Names.h"
#include "app/views/PanelParts.h"
#include "app/views/SectionHeader.h"
#include "app/views/Shell.h"
#include "app/views/StatusLine.h"
#include "app/views/Words.h"
#include "core/files/FileName.h"
#include "core/support/Text.h"

#include <QCoreApplication>
#include <QEvent>
#include <QListView>
#include <QPointer>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <expected>
#include <filesystem>

namespace vesto {
namespace {

constexpr int narrowest = 480;
constexpr int widthInLetters = 66;
constexpr int listMargin = 8;

QListView* listView(QWidget* parent, const QString& name) {
    auto* list = new QListView(parent);
    list->setAccessibleName(name);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list->setAutoScroll(false); // the panel scrolls as a whole
    list->setResizeMode(QListView::Adjust);
    return list;
}

QWidget* inMargins(QWidget* widget) {
    auto* frame = new QWidget(widget->parentWidget());
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(listMargin, 0, listMargin, listMargin);
    layout->addWidget(widget);
    return frame;
}

int contentsHeight(const QListView& list) {
    int height = 2 * list.frameWidth();
    for (int row = 0; row < list.model()->rowCount(); ++row)
        height += list.sizeHintForIndex(list.model()->index(row, 0)).height();
    return height;
}

} // namespace

MenuPanel::MenuPanel(AppModel& model, const Settings& settings, Shell& shell, QWidget* parent)
    : QFrame(parent)
    , m_model(model)
    , m_settings(settings)
    , m_shell(shell)
    , m_pending(model, settings)
    , m_recent(model, nullptr, mostRecent) {
    setObjectName(QStringLiteral("menuPanel"));
    m_recent.setCounted(false);
    m_stateTimer.setSingleShot(true);
    m_stateTimer.setInterval(0);
    connect(&m_stateTimer, &QTimer::timeout, this, &MenuPanel::showState);
    build();
    bindLists();
    bindKeys();
    orderFocus();
    showState();
}

void MenuPanel::build() {
    m_errors = new ErrorStrip(m_model, this);
    m_status = new StatusLine(m_model, this);
    m_scroll = new QScrollArea(this);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_body = new QWidget(m_scroll);
    buildLists();
    m_simple = new SimpleModeLine(m_model, m_shell, this);
    m_footer = new PanelFooter(m_model, m_shell, this);
    m_announcer = new Announcer(this);

    auto* contents = new QVBoxLayout(m_body);
    contents->setContentsMargins(0, 0, 0, 0);
    contents->setSpacing(0);
    contents->addWidget(m_pendingHeader);
    contents->addWidget(m_pendingList->parentWidget());
    contents->addWidget(m_batch);
    contents->addWidget(m_recentHeader);
    contents->addWidget(m_recentList->parentWidget());
    contents->addWidget(m_empty, 1000);
    contents->addStretch(1); // what is left is left below, and not between a header and its list
    m_scroll->setWidget(m_body);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_errors);
    column->addWidget(m_status);
    column->addWidget(m_scroll, 1);
    column->addWidget(m_simple);
    column->addWidget(m_footer);
}

void MenuPanel::buildLists() {
    m_pendingHeader = new SectionHeader(french("En attente"), m_body);
    m_pendingHeader->setAct(french("Tout ignorer"), french("Ignorer"));
    m_pendingList = listView(m_body, french("Propositions en attente"));
    m_pendingRows = new PendingRows(*m_pendingList);
    m_pendingList->setItemDelegate(m_pendingRows);
    m_pendingList->setModel(&m_pending);
    (void)inMargins(m_pendingList);
    m_batch = new BatchButton(m_model, m_shell, m_body);
    m_recentHeader = new SectionHeader(french("Renommages récents"), m_body);
    m_recentList = listView(m_body, french("Renommages récents"));
    m_recentRows = new RecentRows(*m_recentList);
    m_recentList->setItemDelegate(m_recentRows);
    m_recentList->setModel(&m_recent);
    m_recentList->setModelColumn(RecordModel::newNameColumn);
    (void)inMargins(m_recentList);
    m_empty = new PanelEmptyState(m_shell, m_body);
}

void MenuPanel::bindLists() {
    for (PaintedRows* rows :
         {static_cast<PaintedRows*>(m_pendingRows), static_cast<PaintedRows*>(m_recentRows)})
        connect(rows, &PaintedRows::triggered, this, &MenuPanel::trigger);
    for (const QAbstractItemModel* rows : {static_cast<const QAbstractItemModel*>(&m_pending),
                                           static_cast<const QAbstractItemModel*>(&m_recent)}) {
        connect(rows, &QAbstractItemModel::rowsRemoved, &m_stateTimer, qOverload<>(&QTimer::start));
        connect(rows, &QAbstractItemModel::modelReset, &m_stateTimer, qOverload<>(&QTimer::start));
    }
    connect(&m_pending, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex& /*parent*/, int first, int last) {
                int height = 0;
                for (int row = first; row <= last; ++row)
                    height += m_pendingList->sizeHintForIndex(m_pending.index(row)).height();
                showState();
                keepPlace(height);
            });
    connect(&m_recent, &QAbstractItemModel::rowsInserted, this, &MenuPanel::showState);
    connect(&m_pending, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex& /*parent*/, int first, int last) {
                const int edited = m_pending.indexOf(utf8(m_edited)).row();
                if (!m_edited.isEmpty() && edited >= first && edited <= last)
                    loseEdited();
            });
    connect(&m_model, &AppModel::foldersChanged, this, &MenuPanel::showState);
    connect(&m_model, &AppModel::batchChanged, this, &MenuPanel::contentsResized);
    connect(&m_model, &AppModel::modelStatusChanged, this, &MenuPanel::contentsResized);
    connect(&m_model, &AppModel::lastErrorChanged, this, &MenuPanel::contentsResized, Qt::QueuedConnection);
    connect(m_status, &StatusLine::shownOrHidden, this, &MenuPanel::contentsResized);
    connect(&m_model, &AppModel::proposed, this, [this](const PendingProposal& pending) {
        const Proposal& proposal = pending.proposal;
        m_announcer->announceProposal(shownName(
            proposal.policy.fileName(proposal.baseName, extensionOf(lastComponentOf(proposal.url)))));
    });
    connect(m_pendingHeader, &SectionHeader::asked, this, [this] {
        m_asked.clear();
        for (const PendingProposal& pending : m_model.pending())
            m_asked.push_back(pending.id());
        showQuestion();
    });
    connect(m_pendingHeader, &SectionHeader::confirmed, this, [this] {
        const QScopedValueRollback answering(m_isAnswering, true);
        m_model.rejectAll(m_asked); // and nothing that arrived meanwhile
    });
}

void MenuPanel::showQuestion() {
    std::erase_if(m_asked, [this](const std::string& id) { return !m_pending.indexOf(id).isValid(); });
    if (m_asked.empty())
        m_pendingHeader->stopAsking();
    else
        m_pendingHeader->setQuestion(
            plural(m_asked.size(), "Ignorer la proposition ?", "Ignorer les %n propositions ?"));
}

void MenuPanel::showState() {
    m_stateTimer.stop();
    const auto pending = static_cast<std::size_t>(m_pending.rowCount());
    const bool hasRecent = m_recent.rowCount() > 0;
    m_pendingHeader->setVisible(pending > 0);
    m_pendingList->parentWidget()->setVisible(pending > 0);
    m_pendingHeader->setCount(pending);
    m_pendingHeader->setActVisible(pending > 1);
    if (m_pendingHeader->isAsking())
        showQuestion();
    m_recentHeader->setVisible(hasRecent);
    m_recentList->parentWidget()->setVisible(hasRecent);
    m_empty->setVisible(m_model.folders().empty() || (pending == 0 && !hasRecent));
    m_empty->setHasFolders(!m_model.folders().empty());
    fitLists();
    Q_EMIT contentsResized();
}

void MenuPanel::fitLists() {
    for (QListView* list : {m_pendingList, m_recentList}) {
        list->doItemsLayout();
        list->setFixedHeight(contentsHeight(*list));
    }
    placeEditor();
}

void MenuPanel::keepPlace(int heightAbove) {
    const bool isBusy =
        m_editor != nullptr || m_pendingRows->hoveredRow().isValid() || m_recentRows->hoveredRow().isValid();
    if (!isBusy)
        return;
    m_body->layout()->activate();
    QCoreApplication::sendPostedEvents(m_body, QEvent::LayoutRequest);
    QScrollBar& bar = *m_scroll->verticalScrollBar();
    bar.setValue(bar.value() + heightAbove);
}

QSize MenuPanel::sizeHint() const {
    const int width = std::max(narrowest, widthInLetters * fontMetrics().horizontalAdvance(QLatin1Char('x')));
    int height = m_body->layout()->hasHeightForWidth() ? m_body->layout()->totalHeightForWidth(width)
                                                       : m_body->sizeHint().height();
    height = std::max(height, width / 2);
    for (const QWidget* each : {static_cast<QWidget*>(m_errors), static_cast<QWidget*>(m_status),
                                static_cast<QWidget*>(m_simple), static_cast<QWidget*>(m_footer)})
        if (!each->isHidden())
            height += std::max(each->minimumHeight(), each->hasHeightForWidth() ? each->heightForWidth(width)
                                                                                : each->sizeHint().height());
    return {width, height + (2 * frameWidth())};
}

QSize MenuPanel::minimumSizeHint() const {
    return {320, 200};
}

void MenuPanel::refresh() {
    m_pending.refresh();
    m_recent.refreshDates();
    m_model.refreshModelStatus();
}

void MenuPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange && m_body != nullptr)
        showState();
    QFrame::changeEvent(event);
}

// ---- Acts ----

void MenuPanel::trigger(const QModelIndex& index, int part) {
    if (index.model() == &m_recent) {
        if (part == RecentRows::undoPart)
            undo(utf8(index.data(IdRole).toString()));
        else
            reveal(index);
        return;
    }
    switch (static_cast<PendingRows::Part>(part)) {
    case PendingRows::markPart:
        showEvidence(index);
        break;
    case PendingRows::acceptPart:
        accept(index);
        break;
    case PendingRows::editPart:
        edit(m_pending.idAt(index));
        break;
    case PendingRows::ignorePart:
        ignore(index);
        break;
    }
}

void MenuPanel::accept(const QModelIndex& index) {
    const QScopedValueRollback answering(m_isAnswering, true);
    if (const std::string id = m_pending.idAt(index); !id.empty())
        m_model.accept(id);
}

void MenuPanel::ignore(const QModelIndex& index) {
    const QScopedValueRollback answering(m_isAnswering, true);
    if (const std::string id = m_pending.idAt(index); !id.empty())
        (void)m_model.reject(id);
}

void MenuPanel::undo() {
    const auto isDone = [this](const RenameRecord* record) {
        return record != nullptr && record->status == RenameRecord::Status::done &&
               !m_undoing.contains(record->id);
    };
    if (const RenameRecord* current = m_recent.record(m_recentList->currentIndex()); isDone(current)) {
        undo(current->id);
        return;
    }
    for (int row = 0; row < m_recent.rowCount(); ++row)
        if (const RenameRecord* record = m_recent.record(m_recent.index(row, 0)); isDone(record)) {
            undo(record->id);
            return;
        }
}

void MenuPanel::undo(const std::string& recordID) {
    const auto [place, isNew] = m_undoing.insert(recordID);
    if (isNew) // else its file is on its way already
        m_model.undo(*place, [panel = QPointer<MenuPanel>(this),
                              id = *place](const std::expected<RenameRecord, std::string>&) {
            if (panel)
                panel->m_undoing.erase(id);
        });
}

void MenuPanel::reveal(const QModelIndex& index) {
    const QByteArray path = index.data(FilePathRole).toByteArray();
    if (!path.isEmpty())
        m_shell.reveal(std::filesystem::path(path.toStdString()));
}

void MenuPanel::revealCurrent() {
    reveal(m_recentList->hasFocus() ? m_recentList->currentIndex() : m_pendingList->currentIndex());
}

void MenuPanel::showEvidence(const QModelIndex& index) {
    if (const PendingProposal* pending = m_pending.proposal(index))
        EvidenceView::popUp(*m_pendingList->viewport(), markOf(index),
                            evidenceSheet(pending->proposal, pending->proposal.title),
                            m_settings.autoThreshold());
}

QRect MenuPanel::markOf(const QModelIndex& index) const {
    QStyleOptionViewItem option;
    option.initFrom(m_pendingList);
    option.font = m_pendingList->font();
    option.fontMetrics = QFontMetrics(option.font);
    option.rect = m_pendingList->visualRect(index);
    return m_pendingRows->parts(option, index)[PendingRows::markPart].place;
}

} // namespace vesto
