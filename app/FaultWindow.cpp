#include "app/FaultWindow.h"

#include "app/views/Icons.h"
#include "app/views/Words.h"
#include "app/views/WrappingLabel.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

namespace vesto {

FaultWindow::FaultWindow(const QString& heading, const std::string& words, std::function<void()> closed)
    : m_closed(std::move(closed)) {
    constexpr int margin = 16;
    constexpr int iconSize = 48;
    constexpr int textWidth = 440;
    setWindowTitle("Vesto");
    auto* icon = new QLabel;
    icon->setPixmap(Icons::application().pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    icon->setAlignment(Qt::AlignTop);
    auto* title = new QLabel(heading);
    QFont bold = title->font();
    bold.setWeight(QFont::DemiBold);
    title->setFont(bold);
    // With paths that somebody may want to copy.
    auto* why = new QLabel;
    why->setTextFormat(Qt::PlainText);
    why->setText(wrapped(shown(words), why->font(), textWidth));
    why->setWordWrap(true);
    why->setMinimumWidth(textWidth);
    why->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    why->setAccessibleName(shown(words));
    auto* quit = new QPushButton(french("Quitter Vesto"));
    quit->setDefault(true);
    connect(quit, &QPushButton::clicked, this, [this] { close(); });
    setAttribute(Qt::WA_QuitOnClose);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(margin / 2);
    texts->addWidget(title);
    texts->addWidget(why);
    texts->addStretch();
    texts->addWidget(quit, 0, Qt::AlignRight);
    auto* all = new QHBoxLayout(this);
    all->setContentsMargins(margin, margin, margin, margin);
    all->setSpacing(margin);
    all->addWidget(icon, 0, Qt::AlignTop);
    all->addLayout(texts, 1);
    quit->setFocus();
}

void FaultWindow::closeEvent(QCloseEvent* event) {
    QWidget::closeEvent(event);
    if (m_closed)
        m_closed();
}

} // namespace vesto
