#include "app/views/WelcomeWindow.h"

#include "app/model/AppModel.h"
#include "app/model/FolderCheck.h"
#include "app/model/Settings.h"
#include "app/views/ErrorStrip.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Shell.h"
#include "app/views/Tones.h"
#include "app/views/WindowKeys.h"
#include "app/views/Words.h"
#include "app/views/WrappingLabel.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QStandardPaths>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

namespace vesto {
namespace {

constexpr QSize symbolSize{16, 16};
constexpr int margin = 32;
constexpr int longestName = 240; // in a button

struct Line {
    Symbol symbol;
    const char* text;
};
constexpr std::array lines{
    Line{Symbol::folder, "Vesto surveille les dossiers que vous choisissez."},
    Line{Symbol::kindDocument,
         "Il lit les nouveaux fichiers (captures, photos, PDF, documents, tableurs, e-mails, audio, "
         "vidéos) et propose un nom."},
    Line{Symbol::lock, "Tout se passe sur ce Mac : aucun accès réseau."},
    Line{Symbol::undo, "Chaque renommage s'annule en un clic."},
};

struct Example {
    Symbol symbol;
    const char* before;
    const char* after;
};
constexpr std::array examples{
    Example{Symbol::kindScreenshot, "Capture d’écran 2026-11-21 à 09.41.03.png",
            "2026-11-21 Billet TGV Paris Marseille.png"},
    Example{Symbol::kindImage, "IMG_0042.HEIC", "2026-11-18 Chat sur un canapé.HEIC"},
    Example{Symbol::kindPDF, "FDP-0502.pdf", "2026-10-02 Facture EDF octobre 2026.pdf"},
};

/// A symbol that is tinted anew with the palette.
class SymbolLabel final : public QLabel {
public:
    SymbolLabel(Symbol symbol, QWidget* parent)
        : QLabel(parent)
        , m_symbol(symbol) {
        dress();
    }

protected:
    void changeEvent(QEvent* event) override {
        if (event->type() == QEvent::PaletteChange)
            dress();
        QLabel::changeEvent(event);
    }

private:
    void dress() {
        setPixmap(Icons::own(m_symbol, Tones(palette()).secondaryOnWindow())
                      .pixmap(symbolSize, devicePixelRatio()));
    }

    Symbol m_symbol;
};

/// Empty where this user has no such folder, only a home.
QString downloadsFolder() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    return folder == QStandardPaths::writableLocation(QStandardPaths::HomeLocation) ? QString() : folder;
}

QLabel* plainLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

WelcomeWindow::WelcomeWindow(AppModel& model, const Settings& settings, Shell& shell)
    : m_model(model)
    , m_settings(settings)
    , m_shell(shell) {
    setObjectName(QStringLiteral("welcomeWindow"));
    setWindowTitle(french("Bienvenue dans Vesto"));
    setWindowIcon(Icons::application());
    auto* contents = new QWidget(this);
    auto* column = new QVBoxLayout(contents);
    column->setContentsMargins(margin, 24, margin, 16);
    column->setSpacing(20);
    for (QWidget* block : {buildHeading(), buildLines(), buildExamples(), buildChoice()}) {
        block->setParent(contents);
        column->addWidget(block);
    }
    column->addStretch();
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(contents);
    m_edge = new QFrame(this);
    m_edge->setFixedHeight(1);
    m_edge->setAutoFillBackground(true);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    whole->addWidget(new ErrorStrip(m_model, this));
    whole->addWidget(scroll, 1);
    whole->addWidget(m_edge);
    whole->addWidget(buildFooter());
    addWindowKeys(*this, shell);
    setTabOrder(m_watch, m_desktop);
    setTabOrder(m_desktop, m_downloads);
    setTabOrder(m_downloads, m_finish);
    dress();
    const int width = std::max(560, 77 * fontMetrics().horizontalAdvance(QLatin1Char('x')));
    resize(width,
           std::max(612, column->totalHeightForWidth(width) + m_finish->parentWidget()->sizeHint().height()));
    (downloadsFolder().isEmpty() ? m_downloads : m_watch)->setFocus();
}

QWidget* WelcomeWindow::buildHeading() {
    auto* heading = new QWidget;
    auto* icon = new QLabel(heading);
    icon->setPixmap(Icons::application().pixmap(QSize(64, 64), devicePixelRatio()));
    m_heading = plainLabel(french("Bienvenue dans Vesto"), heading);
    auto* row = new QHBoxLayout(heading);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(16);
    row->addWidget(icon);
    row->addWidget(m_heading, 1);
    return heading;
}

QWidget* WelcomeWindow::buildLines() {
    auto* block = new QWidget;
    auto* column = new QVBoxLayout(block);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    for (const Line& line : lines) {
        // A word joiner keeps "e-mails" whole.
        auto* text =
            plainLabel(french(line.text).replace(QLatin1String("e-mails"), shown("e-\u2060mails")), block);
        text->setWordWrap(true);
        auto* row = new QHBoxLayout;
        row->setSpacing(12);
        row->addWidget(new SymbolLabel(line.symbol, block), 0, Qt::AlignTop);
        row->addWidget(text, 1);
        column->addLayout(row);
    }
    return block;
}

QWidget* WelcomeWindow::buildExamples() {
    auto* frame = new QFrame;
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setBackgroundRole(QPalette::Base);
    frame->setAutoFillBackground(true);
    auto* column = new QVBoxLayout(frame);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (const Example& example : examples) {
        if (&example != examples.data()) {
            auto* line = new QFrame(frame);
            line->setFixedHeight(1);
            line->setBackgroundRole(QPalette::Window);
            line->setAutoFillBackground(true);
            line->setObjectName(QStringLiteral("separator"));
            column->addWidget(line);
        }
        auto* row = new QWidget(frame);
        row->setAccessibleName(french("%1 devient %2", shown(example.before), shown(example.after)));
        auto* before = plainLabel(shown(example.before), row);
        before->setObjectName(QStringLiteral("before"));
        auto* after = plainLabel(shown(example.after), row);
        after->setObjectName(QStringLiteral("after"));
        auto* names = new QVBoxLayout;
        names->setSpacing(2);
        names->addWidget(before);
        names->addWidget(after);
        auto* both = new QHBoxLayout(row);
        both->setContentsMargins(12, 7, 12, 7);
        both->setSpacing(12);
        both->addWidget(new SymbolLabel(example.symbol, row));
        both->addLayout(names, 1);
        column->addWidget(row);
    }
    return frame;
}

QWidget* WelcomeWindow::buildChoice() {
    auto* block = new QWidget;
    m_watch = new QPushButton(block);
    const QString name = shownName(displayNameOf(downloadsFolder().toStdString()));
    m_watch->setText(french("Surveiller %1", isolated(elideName(name, m_watch->fontMetrics(), longestName)))
                         .replace(QLatin1Char('&'), QLatin1String("&&")));
    m_watch->setAccessibleName(french("Surveiller %1", name));
    m_watch->setToolTip(tip(leftToRight(shownName(downloadsFolder().toStdString()))));
    m_watch->setVisible(!downloadsFolder().isEmpty());
    m_desktop = new QPushButton(french("Bureau…"), block);
    m_downloads = new QPushButton(french("Téléchargements…"), block);
    m_addedIcon = new QLabel(block);
    m_added = new WrappingLabel(block);
    auto* choosing = plainLabel(french("ou choisir :"), block);
    choosing->setVisible(!downloadsFolder().isEmpty());
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(choosing);
    buttons->addWidget(m_desktop);
    buttons->addWidget(m_downloads);
    buttons->addStretch();
    auto* result = new QHBoxLayout;
    result->setSpacing(8);
    result->addWidget(m_addedIcon);
    result->addWidget(m_added, 1);
    auto* column = new QVBoxLayout(block);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    column->addWidget(plainLabel(french("Quel dossier surveiller d'abord ?"), block));
    column->addWidget(m_watch, 0, Qt::AlignLeft);
    column->addLayout(buttons);
    column->addLayout(result);
    for (QPushButton* button : {m_watch, m_desktop, m_downloads})
        button->setAutoDefault(true);
    connect(m_watch, &QPushButton::clicked, this, &WelcomeWindow::watchDownloads);
    for (const auto answered : {&AppModel::foldersChanged, &AppModel::lastErrorChanged})
        connect(&m_model, answered, this, [this] { m_isWatching = false; });
    connect(m_desktop, &QPushButton::clicked, this,
            [this] { choose(QStandardPaths::writableLocation(QStandardPaths::DesktopLocation)); });
    connect(m_downloads, &QPushButton::clicked, this,
            [this] { choose(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation)); });
    return block;
}

QWidget* WelcomeWindow::buildFooter() {
    auto* footer = new QFrame(this);
    m_finish = new QPushButton(french("Terminer"), footer);
    m_finish->setDefault(true);
    m_finish->setAutoDefault(true);
    auto* row = new QHBoxLayout(footer);
    row->setContentsMargins(16, 12, 16, 12);
    row->addStretch();
    row->addWidget(m_finish);
    connect(m_finish, &QPushButton::clicked, this, &WelcomeWindow::finish);
    return footer;
}

std::function<void(const std::string&)> WelcomeWindow::whenAdded() {
    m_added->clear(); // of an earlier choice
    m_addedIcon->clear();
    return [window = QPointer<WelcomeWindow>(this)](const std::string& folderID) {
        if (window)
            window->showAdded(folderID);
    };
}

void WelcomeWindow::watchDownloads() {
    if (m_isWatching)
        return; // clicked twice, it is asked for once
    const std::string path = downloadsFolder().toStdString();
    const auto& folders = m_model.folders();
    const auto watched = std::ranges::find(folders, path, &WatchedFolder::path);
    if (watched != folders.end()) {
        showAdded(watched->id);
        return;
    }
    m_isWatching = true;
    m_shell.watchFolder(path, whenAdded());
}

void WelcomeWindow::choose(const QString& start) {
    m_shell.chooseFolder(this, start.toStdString(), whenAdded());
}

void WelcomeWindow::showAdded(const std::string& folderID) {
    const auto& folders = m_model.folders();
    const auto folder = std::ranges::find(folders, folderID, &WatchedFolder::id);
    if (folder == folders.end())
        return;
    m_added->setText(french(m_model.paused() ? "%1 sera surveillé après la pause." : "%1 est surveillé.",
                            isolated(shownName(displayNameOf(folder->path)))));
    m_addedIcon->setPixmap(
        Icons::own(Symbol::done, Tones(palette()).success()).pixmap(symbolSize, devicePixelRatio()));
    m_finish->setFocus(Qt::OtherFocusReason);
}

void WelcomeWindow::finish() {
    // Where it cannot be kept the window comes back at the next start, which loses nothing.
    m_model.tellSettings(m_settings.setOnboarded(true));
    Q_EMIT finished();
    close();
}

void WelcomeWindow::dress() {
    const Tones tones(palette());
    for (QPushButton* button : {m_watch, m_desktop, m_downloads})
        button->setIcon(Icons::themed(Symbol::addFolder, palette()));
    QPalette edge = palette();
    edge.setColor(QPalette::Window, tones.separatorOnWindow());
    m_edge->setPalette(edge);
    m_heading->setFont(welcomeFont(font()));
    QPalette good = palette();
    good.setColor(QPalette::WindowText, tones.success());
    m_added->setPalette(good);
    m_added->setFont(secondaryFont(font()));
    m_added->setMinimumHeight(std::max(symbolSize.height(), QFontMetrics(m_added->font()).height()));
    for (QLabel* before : findChildren<QLabel*>(QStringLiteral("before"))) {
        before->setFont(secondaryFont(font()));
        QPalette pale = palette();
        pale.setColor(QPalette::Text, tones.secondary()); // the frame around it is a Base
        before->setPalette(pale);
    }
    for (QLabel* after : findChildren<QLabel*>(QStringLiteral("after"))) {
        after->setFont(nameFont(font()));
    }
    for (QFrame* separator : findChildren<QFrame*>(QStringLiteral("separator"))) {
        QPalette line = palette();
        line.setColor(QPalette::Window, tones.separator());
        separator->setPalette(line);
    }
}

void WelcomeWindow::changeEvent(QEvent* event) {
    if ((event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) &&
        m_finish != nullptr)
        dress();
    QWidget::changeEvent(event);
}

void WelcomeWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        close();
    else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        finish();
    else
        QWidget::keyPressEvent(event);
}

} // namespace vesto
