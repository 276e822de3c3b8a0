#include "app/views/BatchWindow.h"

#include "app/model/AppModel.h"
#include "app/views/BatchDelegate.h"
#include "app/views/BatchModel.h"
#include "app/views/BatchPreview.h"
#include "app/views/CheckHeader.h"
#include "app/views/ColumnFit.h"
#include "app/views/EmptyNote.h"
#include "app/views/ErrorStrip.h"
#include "app/views/Formats.h"
#include "app/views/Names.h"
#include "app/views/NoteLabel.h"
#include "app/views/PageParts.h"
#include "app/views/Shell.h"
#include "app/views/SkippedSummary.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"
#include "app/views/WrappingLabel.h"
#include "core/files/FileName.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QTreeView>
#include <algorithm>
#include <chrono>
#include <utility>

namespace vesto {
namespace {

constexpr std::string_view placeKey = "batchWindow";
constexpr std::string_view splitKey = "batchSplitter";
constexpr std::string_view columnsKey = "batchColumns";
constexpr int narrow = 800; // below that there is no preview
constexpr int margin = 16;

using Column = BatchModel::Column;

} // namespace

BatchWindow::BatchWindow(AppModel& model, const Settings& settings, Shell& shell, WindowMemory memory,
                         QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_model(model)
    , m_settings(settings)
    , m_shell(shell)
    , m_memory(std::move(memory))
    , m_items(new BatchModel(model, settings, this))
    , m_heading(new QWidget(this))
    , m_title(new WrappingLabel(m_heading))
    , m_progressText(new NoteLabel({}, m_heading, NoteLabel::Tone::secondary, 1))
    , m_progress(new QProgressBar(m_heading))
    , m_count(new NoteLabel({}, m_heading, NoteLabel::Tone::secondary, 1))
    , m_pages(new QStackedWidget(this))
    , m_splitter(new QSplitter(Qt::Horizontal))
    , m_list(new QTreeView)
    , m_listPages(new QStackedWidget)
    , m_nothing(new EmptyNote)
    , m_noBatch(new EmptyNote)
    , m_header(new CheckHeader(m_list))
    , m_delegate(new BatchDelegate(*m_list, *m_header))
    , m_skipped(new SkippedSummary)
    , m_preview(new BatchPreview(model, settings, shell))
    , m_undo(new QPushButton(french("Annuler ce lot"), this))
    , m_close(new QPushButton(french("Fermer"), this))
    , m_rename(new QPushButton(this)) {
    setWindowTitle(french("Fichiers existants"));
    setMinimumSize(640, 420);
    resize(1040, 720);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new ErrorStrip(model, this));
    makeHeading(*column);
    makeMiddle(*column);
    makeFooter(*column);
    makeKeys();
    connect(&model, &AppModel::batchChanged, this, &BatchWindow::follow);
    connect(&model, &AppModel::settingsChanged, this, &BatchWindow::showCurrent);
    restoreGeometry(m_memory.value(placeKey));
    m_splitter->restoreState(m_memory.value(splitKey));
    follow();
    m_list->setFocus();
}

BatchWindow::~BatchWindow() {
    m_memory.keep(placeKey, saveGeometry());
    m_memory.keep(columnsKey, m_columns->state());
    if (!m_preview->isHidden()) // else the splitter does not know how wide it was
        m_memory.keep(splitKey, m_splitter->saveState());
}

void BatchWindow::makeHeading(QBoxLayout& column) {
    m_title->setFont(headingFont(font()));
    m_progress->setFixedSize(200, 16);
    m_progress->setTextVisible(false);
    for (QLabel* label : {m_progressText, m_count})
        label->setWordWrap(false);
    auto* row = new QHBoxLayout(m_heading);
    row->setContentsMargins(margin, margin, margin, 12);
    row->setSpacing(margin);
    row->addWidget(m_title, 1);
    row->addWidget(m_progressText);
    row->addWidget(m_progress);
    row->addWidget(m_count);
    column.addWidget(m_heading);
}

void BatchWindow::makeList() {
    m_list->setModel(m_items);
    m_list->setHeader(m_header);
    m_list->setRootIsDecorated(false);
    m_list->setItemsExpandable(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(false); // the row's ring is painted by the delegate
    m_list->setAccessibleName(french("Propositions"));
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setEditTriggers(QAbstractItemView::DoubleClicked);
    m_list->setSortingEnabled(true);
    m_header->setSortIndicator(-1, Qt::AscendingOrder);
    m_columns = new ColumnFit(
        *m_list, *m_header,
        {{.section = Column::checkColumn,
          .width = [this] { return std::max(36, style()->pixelMetric(QStyle::PM_IndicatorWidth) + 20); }},
         {.section = Column::titleColumn, .share = 1.5},
         {.section = Column::currentColumn, .share = 1},
         {.section = Column::confidenceColumn,
          .width = [this] { return BatchDelegate::confidenceWidth(m_list->fontMetrics()); }}});
    m_columns->restore(m_memory.value(columnsKey));
    m_header->setSectionResizeMode(Column::checkColumn, QHeaderView::Fixed);
    m_list->installEventFilter(this);

    connect(m_header, &CheckHeader::tickedAll, m_items, &BatchModel::tickAll);
    connect(m_items, &BatchModel::tickedChanged, this, [this] { m_header->setTicked(m_items->ticked()); });
    connect(m_delegate, &PaintedRows::triggered, this, &BatchWindow::doPart);
    connect(m_delegate, &BatchDelegate::drafted, this, [this](const QString& title) {
        m_draft = title;
        showCurrent();
    });
    const auto endDraft = [this] {
        m_draft.reset();
        showCurrent();
    };
    connect(m_delegate, &QAbstractItemDelegate::closeEditor, this, endDraft);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this, endDraft);
    connect(m_delegate, &BatchDelegate::committed, this, &BatchWindow::editNext, Qt::QueuedConnection);
    connect(m_items, &QAbstractItemModel::rowsInserted, this, [this] {
        if (!m_list->currentIndex().isValid())
            m_list->setCurrentIndex(titleAt(0));
    });
}

void BatchWindow::makeMiddle(QBoxLayout& column) {
    makeList();
    m_nothing->set(Symbol::done, french("Aucun fichier à renommer : les noms sont déjà parlants ou ont déjà "
                                        "été traités."));
    m_listPages->addWidget(m_list);
    m_listPages->addWidget(m_nothing);
    auto* left = new QWidget;
    auto* leftColumn = new QVBoxLayout(left);
    leftColumn->setContentsMargins(margin, 0, 8, 8);
    leftColumn->setSpacing(0);
    leftColumn->addWidget(m_listPages, 1);
    leftColumn->addWidget(m_skipped);
    m_splitter->addWidget(left);
    m_splitter->addWidget(m_preview);
    m_splitter->setCollapsible(0, false);
    m_splitter->setStretchFactor(0, 1);
    m_splitter->setStretchFactor(1, 0);
    m_splitter->setSizes({692, 348});
    m_splitter->setChildrenCollapsible(true);
    m_splitter->setHandleWidth(4);
    m_preview->setMinimumWidth(240);

    m_noBatch->set(Symbol::analyse, french("Lancez l'analyse d'un dossier depuis les réglages."),
                   french("Aucune analyse en cours"));
    auto* settings = new QPushButton(french("Réglages…"));
    connect(settings, &QPushButton::clicked, this, [this] { m_shell.showSettings(SettingsPage::folders); });
    m_noBatch->add(settings);
    m_pages->addWidget(m_splitter);
    m_pages->addWidget(m_noBatch);
    column.addWidget(m_pages, 1);
    connect(m_skipped, &SkippedSummary::asked, &m_model, &AppModel::analyseAlso);
}

void BatchWindow::makeFooter(QBoxLayout& column) {
    PageParts::keepIcon(*m_undo, Symbol::undo);
    m_rename->setDefault(true);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(margin, 12, margin, 12);
    row->setSpacing(8);
    row->addWidget(m_undo);
    row->addStretch();
    row->addWidget(m_close);
    row->addWidget(m_rename);
    column.addWidget(PageParts::separator());
    column.addLayout(row);
    connect(m_undo, &QPushButton::clicked, this, [this] {
        if (const Batch* batch = m_model.batch())
            m_model.undoBatch(std::string(batch->id));
    });
    connect(m_close, &QPushButton::clicked, this, &BatchWindow::dismiss);
    connect(m_rename, &QPushButton::clicked, this, &BatchWindow::rename);
}

// ---- What is shown ----

void BatchWindow::follow() {
    const Batch* batch = m_model.batch();
    showPages(batch);
    showProgress(batch);
    showButtons(batch);
    showCurrent();
}

void BatchWindow::showPages(const Batch* batch) {
    m_pages->setCurrentIndex(batch == nullptr ? 1 : 0);
    for (QWidget* widget : {static_cast<QWidget*>(m_undo), static_cast<QWidget*>(m_rename)})
        widget->setVisible(batch != nullptr);
    m_title->setText(batch == nullptr ? QString() : shownSentence(batchTitle(*batch)));
    const bool isNothing = batch != nullptr && !batch->isAnalysing() && batch->items.empty();
    m_listPages->setCurrentIndex(isNothing ? 1 : 0);
    m_isWide = width() >= narrow;
    m_preview->setVisible(batch != nullptr && !isNothing && m_isWide);
    m_skipped->show(batch == nullptr ? std::vector<BatchLine>() : batchLines(*batch));
}

void BatchWindow::showProgress(const Batch* current) {
    const bool isAnalysing = current != nullptr && current->isAnalysing();
    m_heading->setVisible(current != nullptr);
    m_progress->setVisible(isAnalysing);
    m_progressText->setVisible(isAnalysing);
    if (!isAnalysing) {
        m_estimate = {};
        const auto count =
            current == nullptr ? 0 : std::ranges::count_if(current->items, &Batch::Item::isProposed);
        m_count->setText(count == 0
                             ? QString()
                             : plural(static_cast<std::size_t>(count), "%n proposition", "%n propositions"));
        return;
    }
    const Batch& batch = *current;
    m_progressText->setText(shown(batchStatus(batch)));
    m_progress->setRange(0, static_cast<int>(batch.total)); // 0 to 0 while it is being listed
    m_progress->setValue(static_cast<int>(batch.analysed));
    m_progress->setAccessibleName(
        plural(batch.analysed, "Analyse : %n fichier sur %2", "Analyse : %n fichiers sur %2")
            .replace(QLatin1String("%2"), number(batch.total)));
    m_estimate.update(batch.analysed, batch.total, std::chrono::steady_clock::now().time_since_epoch());
    QString text;
    if (!batch.isListing) {
        text = french("%1 / %2", number(batch.analysed), number(batch.total));
        if (const auto left = m_estimate.left())
            text += QStringLiteral(" · ") + shown(timeLeftWords(*left));
    }
    m_count->setText(text);
}

void BatchWindow::showButtons(const Batch* batch) {
    const std::size_t chosen = batch == nullptr ? 0 : batch->selectedCount();
    m_rename->setText(french("Renommer (%1)", number(chosen)));
    m_rename->setEnabled(chosen > 0 && !batch->isRenaming && !batch->isUndoing);
    m_undo->setEnabled(batch != nullptr && !batch->isRenaming && !batch->isUndoing &&
                       std::ranges::any_of(batch->items, [](const Batch::Item& item) {
                           return std::holds_alternative<Batch::Renamed>(item.state);
                       }));
}

void BatchWindow::showCurrent() {
    const QModelIndex current = m_list->currentIndex();
    const Batch::Item* item = m_items->item(current);
    if (item == nullptr) {
        m_preview->clear();
        return;
    }
    if (!m_preview->isVisible())
        return; // nor is anything read for a window that is closed
    std::vector<const Batch::Item*> neighbours;
    for (const int step : {1, -1, 2})
        if (const Batch::Item* other = m_items->item(titleAt(current.row() + step)))
            neighbours.push_back(other);
    const std::string title = m_draft ? utf8(*m_draft) : item->title;
    m_preview->show(*item, title, namesakesBefore(*item, title), neighbours);
}

std::size_t BatchWindow::namesakesBefore(const Batch::Item& item, const std::string& title) const {
    const auto nameOf = [this, &title](const Batch::Item& each) {
        const auto base = m_model.baseNameFor(title, each.proposal);
        return base ? each.proposal.policy.fileName(*base, extensionOf(lastComponentOf(each.proposal.url)))
                    : std::string();
    };
    const std::string name = nameOf(item);
    const auto& items = m_model.batch()->items;
    const auto self =
        std::ranges::find(items, item.proposal.id,
                          [](const Batch::Item& each) -> const std::string& { return each.proposal.id; });
    return static_cast<std::size_t>(std::count_if(items.begin(), self, [&](const Batch::Item& each) {
        return each.selected && each.isProposed() && each.title == title && nameOf(each) == name;
    }));
}

QModelIndex BatchWindow::titleAt(int row) const {
    return row >= 0 && row < m_items->rowCount() ? m_items->index(row, Column::titleColumn) : QModelIndex();
}

// ---- Events ----

void BatchWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if ((width() >= narrow) == m_isWide)
        return;
    showPages(m_model.batch());
    showCurrent();
}

void BatchWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        m_title->setFont(headingFont(font()));
}

void BatchWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    showCurrent();
}

void BatchWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_preview->forgetPictures(); // until the window is looked at again
}

} // namespace vesto
