#include "app/views/FolderRow.h"

#include "app/model/AppModel.h"
#include "app/model/FolderCheck.h"
#include "app/model/FolderState.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/NoteLabel.h"
#include "app/views/PageParts.h"
#include "app/views/Shell.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QStringList>
#include <QToolButton>
#include <algorithm>

namespace vesto {
namespace {

constexpr int symbolSide = 16;
constexpr int buttonSide = 28;
constexpr int leastHeight = 56;
constexpr int narrow = 480; // below that the choice stands under the path

QToolButton* toolButton(const QString& text, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setAutoRaise(true);
    button->setMinimumSize(buttonSide, buttonSide);
    button->setToolTip(text);
    return button;
}

} // namespace

FolderRow::FolderRow(AppModel& model, Shell& shell, const WatchedFolder& folder, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_shell(shell)
    , m_folder(folder)
    , m_enabled(new QCheckBox(this))
    , m_name(new NoteLabel({}, this, NoteLabel::Tone::plain, 1))
    , m_caution(new QLabel(this))
    , m_path(new NoteLabel({}, this))
    , m_mode(new QComboBox(this))
    , m_analyse(toolButton(french("Analyser les fichiers existants…"), this))
    , m_remove(toolButton(french("Retirer ce dossier"), this))
    , m_middle(new QBoxLayout(QBoxLayout::LeftToRight)) {
    m_name->setWordWrap(false);
    m_name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_path->setWordWrap(false);
    m_path->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_mode->addItem(french("Proposer"));
    m_mode->addItem(french("Automatique"));
    PageParts::keepFromWheel(*m_mode);
    setMinimumHeight(leastHeight);
    setFocusProxy(m_enabled);
    layOut();
    paintIcons();
    show(folder);

    connect(m_enabled, &QCheckBox::clicked, this,
            [this](bool isEnabled) { m_model.setEnabled(m_folder.id, isEnabled); });
    connect(m_mode, &QComboBox::activated, this,
            [this](int index) { m_model.setAutomatic(m_folder.id, index == 1); });
    connect(m_analyse, &QToolButton::clicked, this, &FolderRow::analyse);
    connect(m_remove, &QToolButton::clicked, this, [this] { m_model.removeFolder(m_folder.id); });
}

void FolderRow::layOut() {
    auto* state = new QHBoxLayout;
    state->setSpacing(4);
    state->addWidget(m_caution);
    state->addWidget(m_path, 1);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(m_name);
    texts->addLayout(state);
    m_middle->setSpacing(12);
    m_middle->addLayout(texts, 1);
    m_middle->addWidget(m_mode, 0, Qt::AlignVCenter | Qt::AlignLeft);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 8, 8);
    row->setSpacing(8);
    row->addWidget(m_enabled);
    row->addLayout(m_middle, 1);
    row->addSpacing(4);
    row->addWidget(m_analyse);
    row->addWidget(m_remove);
}

void FolderRow::show(const WatchedFolder& folder) {
    m_folder = folder;
    const QString name = shownName(displayNameOf(folder.path));
    m_enabled->setChecked(folder.enabled);
    m_enabled->setAccessibleName(french("Surveiller %1", name));
    m_mode->setCurrentIndex(folder.automatic ? 1 : 0);
    m_mode->setAccessibleName(french("Mode de %1", name));
    m_analyse->setAccessibleName(french("Analyser les fichiers existants de %1", name));
    m_remove->setAccessibleName(french("Retirer %1", name));
    m_shownName = name;
    m_name->setTone(folder.enabled ? NoteLabel::Tone::plain : NoteLabel::Tone::secondary);

    if (!m_model.isWatching(folder.id)) {
        m_isDiskAsked = false;
        m_disk.clear();
    } else if (isVisible()) {
        askDisk();
    }
    showState();
}

void FolderRow::askDisk() {
    if (m_isDiskAsked || !m_model.isWatching(m_folder.id))
        return;
    m_isDiskAsked = true;
    m_model.checkDisk(m_folder.path, [row = QPointer<FolderRow>(this)](const std::vector<FolderNote>& notes) {
        if (!row || !row->m_isDiskAsked)
            return;
        row->m_disk = notes;
        row->showState();
    });
}

void FolderRow::showState() {
    const FolderState state = folderState(m_model, m_folder, m_disk);
    m_isCaution = state.kind == FolderState::Kind::caution;
    m_state = shownName(state.text);
    m_note = shown(state.note);
    m_why = shown(state.why);
    m_caution->setVisible(m_isCaution);
    m_path->setTone(m_isCaution ? NoteLabel::Tone::caution : NoteLabel::Tone::secondary);
    QStringList all{m_state, m_note, m_why};
    all.removeAll(QString());
    m_enabled->setAccessibleDescription(all.join(QStringLiteral(", ")));
    elide();
}

void FolderRow::elide() {
    const int room = std::max(m_name->width(), 80);
    m_name->setText(leftToRight(m_name->fontMetrics().elidedText(m_shownName, Qt::ElideMiddle, room)));
    const QFontMetrics metrics = m_path->fontMetrics();
    const int width = std::max(m_path->width(), 80);
    const QString end = m_note.isEmpty() ? QString() : QStringLiteral(" · ") + m_note;
    const int least = 8 * metrics.averageCharWidth();
    const QString state = metrics.elidedText(m_state, m_isCaution ? Qt::ElideRight : Qt::ElideMiddle,
                                             std::max(width - metrics.horizontalAdvance(end), least));
    const QString text = metrics.elidedText(state + end, Qt::ElideRight, width);
    m_path->setText(leftToRight(text));
    const bool isWhole = !m_isCaution && m_why.isEmpty() && text == m_state + end;
    QStringList lines{shownName(m_folder.path).toHtmlEscaped()};
    if (m_isCaution)
        lines.push_back(m_state.toHtmlEscaped());
    if (!m_why.isEmpty())
        lines.push_back(m_why.toHtmlEscaped());
    m_path->setToolTip(isWhole ? QString() : QLatin1String("<qt>") + lines.join(QLatin1String("<br>")));
}

void FolderRow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_isDiskAsked = false; // it may be another disk by now
    askDisk();
}

void FolderRow::analyse() {
    m_model.startBatch(m_folder.path);
    m_shell.showBatch();
}

void FolderRow::setLast(bool isLast) {
    m_isLast = isLast;
    update();
}

void FolderRow::paintIcons() {
    m_analyse->setIcon(Icons::themed(Symbol::search, palette()));
    m_remove->setIcon(Icons::themed(Symbol::remove, palette()));
    m_caution->setPixmap(Icons::own(Symbol::warning, Tones(palette()).caution())
                             .pixmap(QSize(symbolSide, symbolSide), devicePixelRatioF()));
}

void FolderRow::keyPressEvent(QKeyEvent* event) {
    const bool isAct = event->key() == Qt::Key_F5 || event->key() == Qt::Key_Delete;
    if (!isAct)
        QWidget::keyPressEvent(event);
    else if (event->isAutoRepeat())
        return; // held, it means no other folder
    else if (event->key() == Qt::Key_F5)
        analyse();
    else
        m_model.removeFolder(m_folder.id);
}

void FolderRow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    m_middle->setDirection(width() < narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    elide();
}

void FolderRow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        paintIcons();
        update();
    }
}

void FolderRow::paintEvent(QPaintEvent* /*event*/) {
    if (m_isLast)
        return;
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), Tones(palette()).separator());
}

} // namespace vesto
