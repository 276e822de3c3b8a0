#include "app/views/PanelWindow.h"

#include "app/views/Icons.h"
#include "app/views/MenuPanel.h"
#include "app/views/Words.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace vesto {
namespace {

constexpr double mostOfScreen = 0.90;
constexpr int gap = 4; // between icon and popup
constexpr const char* memoryKey = "panel";
constexpr const char* chosenKey = "panelHeightIsChosen"; // empty: it is that of the contents

} // namespace

PanelWindow::PanelWindow(AppModel& model, const Settings& settings, Shell& shell, WindowMemory memory)
    : QWidget(nullptr, Qt::Window)
    , m_memory(std::move(memory))
    , m_panel(new MenuPanel(model, settings, shell, this)) {
    setObjectName(QStringLiteral("panelWindow"));
    setWindowTitle(french("Vesto"));
    setWindowIcon(Icons::application());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_panel);
    connect(m_panel, &MenuPanel::contentsResized, this, &PanelWindow::fit, Qt::QueuedConnection);
    auto* closing = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this);
    connect(closing, &QShortcut::activated, this, &QWidget::close);
}

bool PanelWindow::canPlaceWindows() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

QPoint PanelWindow::placeBeside(const QRect& icon, QSize popup, const QRect& screen) {
    const auto within = [](int wanted, int length, int low, int high) {
        return std::max(low, std::min(wanted, high - length + 1));
    };
    const bool isAtSide = icon.height() > 0 && (icon.left() < screen.left() || icon.right() > screen.right());
    QPoint corner;
    if (isAtSide) {
        corner.setX(icon.left() < screen.left() ? screen.left() + gap : screen.right() - popup.width() - gap);
        corner.setY(icon.center().y() - (popup.height() / 2));
    } else {
        const bool isBelow = icon.center().y() > screen.center().y();
        corner.setX(icon.center().x() - (popup.width() / 2));
        corner.setY(isBelow ? icon.top() - popup.height() - gap : icon.bottom() + gap);
    }
    return {within(corner.x(), popup.width(), screen.left(), screen.right()),
            within(corner.y(), popup.height(), screen.top(), screen.bottom())};
}

void PanelWindow::become(Qt::WindowFlags flags) {
    if (windowFlags().testFlag(Qt::Popup) == flags.testFlag(Qt::Popup))
        return;
    hide();
    setWindowFlags(flags);
    m_panel->setFrameShape(flags.testFlag(Qt::Popup) ? QFrame::StyledPanel : QFrame::NoFrame);
}

QSize PanelWindow::fitting(const QRect& screen) const {
    const QSize wanted = m_panel->sizeHint();
    return {std::min(wanted.width(), screen.width()),
            std::min(wanted.height(), static_cast<int>(screen.height() * mostOfScreen))};
}

void PanelWindow::fit() {
    if (!isVisible() || isMaximized() || isFullScreen())
        return;
    const QRect available = screen()->availableGeometry();
    const QSize size = fitting(available);
    if (isPopup()) {
        resize(size);
        move(placeBeside(m_icon, size, available));
    } else {
        // A height that the user chose stays.
        if (height() != m_fittedHeight)
            return;
        m_fittedHeight = size.height();
        resize(width(), m_fittedHeight);
    }
}

void PanelWindow::openBeside(const QRect& icon) {
    become(Qt::Popup);
    m_icon = icon;
    m_panel->refresh();
    const QScreen* at = QGuiApplication::screenAt(icon.center());
    const QRect available = (at != nullptr ? at : screen())->availableGeometry();
    const QSize size = fitting(available);
    resize(size);
    move(placeBeside(icon, size, available));
    show();
    activateWindow();
    m_panel->focusFirst();
}

void PanelWindow::openAsWindow() {
    const bool wasPopup = windowFlags().testFlag(Qt::Popup);
    become(Qt::Window);
    m_panel->refresh();
    if (m_fittedHeight == 0 || wasPopup) {
        const QSize size = fitting(screen()->availableGeometry());
        resize(size);
        m_fittedHeight = size.height();
        const bool isKnown = restoreGeometry(m_memory.value(memoryKey));
        if (isKnown && m_memory.value(chosenKey).isEmpty())
            resize(width(), m_fittedHeight);
    }
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    fit(); // what changed while it was hidden
    raise();
    activateWindow();
    m_panel->focusFirst();
}

bool PanelWindow::closePopup() {
    const bool wasOpen = isPopup();
    if (wasOpen)
        hide();
    return wasOpen;
}

void PanelWindow::openEditing(std::string_view proposalID) {
    if (!isPopup())
        openAsWindow();
    m_panel->edit(proposalID);
}

void PanelWindow::hideEvent(QHideEvent* event) {
    if (!windowFlags().testFlag(Qt::Popup)) {
        m_memory.keep(memoryKey, saveGeometry());
        m_memory.keep(chosenKey, height() == m_fittedHeight ? QByteArray() : QByteArray("1"));
    }
    QWidget::hideEvent(event);
}

void PanelWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Escape) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (!m_panel->leave())
        close();
}

} // namespace vesto
