#include "app/views/HistoryWindow.h"

#include "app/model/AppModel.h"
#include "app/model/FolderState.h"
#include "app/views/ColumnFit.h"
#include "app/views/EmptyNote.h"
#include "app/views/ErrorStrip.h"
#include "app/views/Formats.h"
#include "app/views/HistoryDelegate.h"
#include "app/views/Icons.h"
#include "app/views/LongTable.h"
#include "app/views/Names.h"
#include "app/views/NoteLabel.h"
#include "app/views/RecordModel.h"
#include "app/views/Roles.h"
#include "app/views/Shell.h"
#include "app/views/TableHeader.h"
#include "app/views/Tones.h"
#include "app/views/WindowKeys.h"
#include "app/views/Words.h"
#include "app/views/WrappingLabel.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QFrame>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QStackedWidget>
#include <QToolButton>
#include <algorithm>
#include <chrono>
#include <expected>
#include <utility>

namespace vesto {
namespace {

constexpr std::string_view columnsKey = "historyColumns";
constexpr std::string_view placeKey = "historyWindow";
constexpr std::chrono::milliseconds delay(150);
constexpr int narrow = 800; // below that the buttons stand under the text
constexpr int fieldWidth = 320;
constexpr int margin = 16;

using Column = RecordModel::Column;

std::filesystem::path fileOf(const QModelIndex& index) {
    return index.data(FilePathRole).toByteArray().toStdString();
}

} // namespace

HistoryWindow::HistoryWindow(AppModel& model, Shell& shell, WindowMemory memory, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_model(model)
    , m_shell(shell)
    , m_memory(std::move(memory))
    , m_records(new RecordModel(model, this))
    , m_field(new QLineEdit(this))
    , m_count(new NoteLabel({}, this))
    , m_pages(new QStackedWidget(this))
    , m_table(new LongTable)
    , m_empty(new EmptyNote)
    , m_detail(new QWidget(this))
    , m_detailRow(new QBoxLayout(QBoxLayout::LeftToRight, m_detail))
    , m_name(new WrappingLabel(m_detail))
    , m_facts(new NoteLabel({}, m_detail))
    , m_undo(new QPushButton(french("Annuler le renommage"), m_detail))
    , m_reveal(new QPushButton(french("Afficher dans le Finder"), m_detail)) {
    setWindowTitle(french("Historique des renommages"));
    setMinimumSize(640, 320);
    resize(1040, 560);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new ErrorStrip(model, this));
    makeBar(*column);
    makeTable();
    m_middle = new QHBoxLayout;
    m_middle->addWidget(m_pages);
    column->addLayout(m_middle, 1);
    makeDetail(*column);
    makeKeys();
    paintIcons();

    m_searchDelay.setSingleShot(true);
    m_searchDelay.setInterval(delay);
    connect(&m_searchDelay, &QTimer::timeout, this, &HistoryWindow::search);
    m_lookDelay.setSingleShot(true);
    m_lookDelay.setInterval(delay);
    connect(&m_lookDelay, &QTimer::timeout, this, &HistoryWindow::lookForFile);
    m_arrivalDelay.setSingleShot(true);
    m_arrivalDelay.setInterval(0);
    connect(&m_arrivalDelay, &QTimer::timeout, this, [this] {
        QScrollBar& scroller = *m_table->verticalScrollBar();
        scroller.setValue(scroller.value() + std::exchange(m_arrived, 0));
    });
    connect(m_records, &RecordModel::totalChanged, this, &HistoryWindow::showCount);
    restoreGeometry(m_memory.value(placeKey));
    showState();
    showCount();
    m_field->setFocus();
}

HistoryWindow::~HistoryWindow() {
    rememberColumns();
    m_memory.keep(placeKey, saveGeometry());
}

void HistoryWindow::makeBar(QBoxLayout& column) {
    m_field->setPlaceholderText(french("Rechercher"));
    m_field->setAccessibleName(french("Rechercher"));
    m_field->setClearButtonEnabled(true);
    m_field->setMinimumWidth(160);
    m_field->setMaximumWidth(fieldWidth);
    m_field->installEventFilter(this);
    connect(m_field, &QLineEdit::textChanged, this, [this] { m_searchDelay.start(); });
    m_count->setWordWrap(false);
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(margin, 12, margin, 12);
    bar->setSpacing(margin);
    bar->addWidget(m_field, 1);
    bar->addStretch();
    bar->addWidget(m_count);
    column.addLayout(bar);
}

void HistoryWindow::makeTable() {
    auto* header = new TableHeader(m_table);
    m_table->setHorizontalHeader(header);
    auto* delegate = new HistoryDelegate(*m_table, *header);
    m_table->fitRows();
    m_table->setModel(m_records);
    m_table->setAccessibleName(french("Historique"));
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->installEventFilter(this);
    const auto widthOf = [this](const QString& words, int least) {
        return std::max(least, m_table->fontMetrics().horizontalAdvance(words) + (2 * TableHeader::margin));
    };
    m_columns =
        new ColumnFit(*m_table, *header,
                      {{.section = Column::dateColumn,
                        .width = [widthOf] { return widthOf(QStringLiteral("28 sept. 20:58"), 108); }},
                       {.section = Column::newNameColumn, .share = 1.4},
                       {.section = Column::oldNameColumn, .share = 1},
                       {.section = Column::confidenceColumn,
                        .width = [widthOf] { return widthOf(french("Confiance"), 84); },
                        .leastTable = narrow - (2 * margin)},
                       {.section = Column::statusColumn,
                        .width = [this] { return HistoryDelegate::stateWidth(m_table->fontMetrics()); }}});
    m_columns->restore(m_memory.value(columnsKey));

    auto* ground = new QFrame;
    ground->setFrameStyle(static_cast<int>(QFrame::StyledPanel) | static_cast<int>(QFrame::Sunken));
    ground->setBackgroundRole(QPalette::Base);
    ground->setAutoFillBackground(true);
    auto* inside = new QVBoxLayout(ground);
    inside->addWidget(m_empty);
    m_pages->addWidget(m_table);
    m_pages->addWidget(ground);

    connect(delegate, &PaintedRows::triggered, this, [this](const QModelIndex& index, int part) {
        if (part == HistoryDelegate::undo)
            undo(index);
        else
            reveal(index);
    });
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &HistoryWindow::showCurrent);
    connect(m_records, &QAbstractItemModel::dataChanged, this, &HistoryWindow::showCurrent);
    connect(m_records, &QAbstractItemModel::modelReset, this, [this] {
        m_table->setCurrentIndex(m_records->index(0, 0));
        showState();
    });
    connect(m_records, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) {
                keepInPlace(first, last);
                showState();
            });
    connect(m_records, &QAbstractItemModel::rowsRemoved, this, &HistoryWindow::showState);
}

void HistoryWindow::makeDetail(QBoxLayout& column) {
    m_name->setFont(nameFont(font()));
    m_facts->setTextInteractionFlags(Qt::NoTextInteraction);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(m_name);
    texts->addWidget(m_facts);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch();
    buttons->addWidget(m_undo);
    buttons->addWidget(m_reveal);
    m_detailRow->setContentsMargins(margin, 12, margin, 12);
    m_detailRow->setSpacing(margin);
    m_detailRow->addLayout(texts, 1);
    m_detailRow->addLayout(buttons);
    column.addWidget(m_detail);
    connect(m_undo, &QPushButton::clicked, this, [this] { undo(m_table->currentIndex()); });
    connect(m_reveal, &QPushButton::clicked, this, [this] { reveal(m_table->currentIndex()); });
}

void HistoryWindow::makeKeys() {
    addWindowKeys(*this, m_shell);
    addKey(*this, QKeySequence::Find, [this] {
        m_field->setFocus(Qt::ShortcutFocusReason);
        m_field->selectAll();
    });
    addKey(*this, Qt::Key_Escape, [this] {
        if (m_field->text().isEmpty())
            close();
        else
            m_field->clear();
    });
    addKey(*this, QKeySequence::Undo, [this] { undo(m_table->currentIndex()); });
    for (const Qt::Key enter : {Qt::Key_Return, Qt::Key_Enter})
        addKey(*this, Qt::CTRL | enter, [this] { revealCurrent(); });
    setTabOrder(m_field, m_table);
    setTabOrder(m_table, m_undo);
    setTabOrder(m_undo, m_reveal);
}

void HistoryWindow::paintIcons() {
    static const auto own = QStringLiteral("search");
    for (QAction* old : m_field->findChildren<QAction*>(own))
        delete old;
    QAction* glass = m_field->addAction(Icons::themed(Symbol::search, palette()), QLineEdit::LeadingPosition);
    glass->setObjectName(own);
    glass->setText(french("Rechercher"));
    for (QToolButton* button : m_field->findChildren<QToolButton*>())
        button->setAccessibleName(button->defaultAction() == glass ? french("Rechercher")
                                                                   : french("Effacer"));
    m_undo->setIcon(Icons::themed(Symbol::undo, palette()));
    m_reveal->setIcon(Icons::themed(Symbol::reveal, palette()));
}

// ---- What is shown ----

void HistoryWindow::search() {
    m_searchDelay.stop();
    m_records->setSearch(m_field->text());
    m_count->clear();
    if (m_records->total())
        showCount();
}

void HistoryWindow::showState() {
    const bool isEmpty = m_records->rowCount() == 0;
    if (isEmpty) {
        if (!m_records->error().isEmpty())
            m_empty->set(Symbol::error, m_records->error());
        else if (m_records->search().isEmpty())
            m_empty->set(Symbol::history, french("Aucun renommage"));
        else
            m_empty->set(Symbol::search, french("Aucun renommage ne contient %1.",
                                                quoted(shownName(utf8(m_records->search())))));
    }
    const bool hadFocus = m_table->hasFocus();
    m_pages->setCurrentIndex(isEmpty ? 1 : 0);
    if (isEmpty && hadFocus)
        m_field->setFocus();
    m_detail->setVisible(!isEmpty);
    m_middle->setContentsMargins(margin, 0, margin, isEmpty ? margin : 0);
    showCurrent();
}

void HistoryWindow::showCount() {
    const auto total = m_records->total();
    const bool isNothing = total == std::size_t{0} && m_records->search().isEmpty();
    m_count->setText(total && !isNothing ? plural(*total, "%n renommage", "%n renommages") : QString());
}

void HistoryWindow::showCurrent() {
    const QModelIndex index = m_table->currentIndex();
    const RenameRecord* record = recordAt(index);
    m_undo->setEnabled(record != nullptr && record->status == RenameRecord::Status::done &&
                       !m_undoing.contains(record->id));
    m_reveal->setEnabled(record != nullptr); // until the folder was looked at
    m_name->setText(record == nullptr ? QString() : leftToRight(shownName(record->newName)));
    m_facts->setText(record == nullptr
                         ? QString()
                         : french("au lieu de %1 · %2 · %3", quoted(shownName(record->originalName)),
                                  longDateTime(record->date),
                                  isolated(shownName(shownPath(record->folderPath)))));
    if (record != nullptr)
        m_lookDelay.start();
}

void HistoryWindow::lookForFile() {
    const QModelIndex index = m_table->currentIndex();
    if (!index.isValid())
        return;
    m_model.lookUpFiles({fileOf(index)},
                        [window = QPointer<HistoryWindow>(this),
                         row = QPersistentModelIndex(index)](const std::vector<bool>& there) {
                            if (window && row.isValid() && row == window->m_table->currentIndex())
                                window->m_reveal->setEnabled(there.front());
                        });
}

/// Who looks further down, or at a row under the pointer, sees it stay where it is.
void HistoryWindow::keepInPlace(int first, int last) {
    const QScrollBar& bar = *m_table->verticalScrollBar();
    const QModelIndex top = m_table->indexAt(QPoint(1, 1));
    const bool isAbove = top.isValid() && first <= top.row();
    if (!isAbove || (bar.value() == 0 && !m_table->underMouse()))
        return;
    m_arrived += m_table->visualRect(top).height() * (last - first + 1);
    m_arrivalDelay.start(); // once the table has laid them out
}

void HistoryWindow::rememberColumns() const {
    m_memory.keep(columnsKey, m_columns->state());
}

const RenameRecord* HistoryWindow::recordAt(const QModelIndex& index) const {
    return index.isValid() ? m_records->record(index) : nullptr;
}

// ---- What is done ----

void HistoryWindow::undo(const QModelIndex& index) {
    const RenameRecord* record = recordAt(index);
    if (record == nullptr || record->status != RenameRecord::Status::done)
        return;
    const auto [place, isNew] = m_undoing.insert(record->id);
    if (!isNew)
        return; // its file is on its way already
    m_model.undo(*place, [window = QPointer<HistoryWindow>(this),
                          id = *place](const std::expected<RenameRecord, std::string>&) {
        if (!window)
            return;
        window->m_undoing.erase(id);
        window->showCurrent();
    });
    showCurrent();
}

void HistoryWindow::revealCurrent() {
    if (m_reveal->isEnabled())
        reveal(m_table->currentIndex());
}

void HistoryWindow::reveal(const QModelIndex& index) {
    if (index.isValid())
        m_shell.reveal(fileOf(index));
}

// ---- Events ----

bool HistoryWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    const bool isEnter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
    if (watched == m_field) {
        const bool isDown = key->key() == Qt::Key_Down || key->key() == Qt::Key_PageDown;
        if (isEnter || isDown)
            search();
        if (isDown && m_records->rowCount() > 0) {
            m_table->setFocus(Qt::TabFocusReason);
            if (!m_table->currentIndex().isValid())
                m_table->setCurrentIndex(m_records->index(0, 0));
            return true;
        }
    } else if (watched == m_table && isEnter && (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier) {
        if (!key->isAutoRepeat())
            revealCurrent();
        return true;
    } else if (watched == m_table && key->matches(QKeySequence::Copy)) {
        if (const RenameRecord* record = recordAt(m_table->currentIndex()))
            QApplication::clipboard()->setText(shownName(record->newName));
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void HistoryWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    m_detailRow->setDirection(width() < narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void HistoryWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        paintIcons();
    if (event->type() == QEvent::FontChange)
        m_name->setFont(nameFont(font()));
}

void HistoryWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_records->setCounted(true);
    m_records->refreshDates(); // perhaps it is another day
    if (!m_table->currentIndex().isValid())
        m_table->setCurrentIndex(m_records->index(0, 0));
}

void HistoryWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_records->setCounted(false);
}

} // namespace vesto
