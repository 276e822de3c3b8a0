#include "app/FaultWindow.h"

#include "app/views/Icons.h"
#include "app/views/Words.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace vesto {

FaultWindow::FaultWindow(const std::string& fault) {
    constexpr int margin = 16;
    constexpr int iconSize = 48;
    constexpr int textWidth = 440;
    setWindowTitle("Vesto");
    auto* icon = new QLabel;
    icon->setPixmap(Icons::application().pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    icon->setAlignment(Qt::AlignTop);
    auto* heading = new QLabel(french("Vesto ne peut pas démarrer."));
    QFont bold = heading->font();
    bold.setWeight(QFont::DemiBold);
    heading->setFont(bold);
    // With paths that somebody may want to copy.
    auto* words = new QLabel(shown(fault));
    words->setTextFormat(Qt::PlainText);
    words->setWordWrap(true);
    words->setMinimumWidth(textWidth);
    words->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    words->setAccessibleName(words->text());
    auto* quit = new QPushButton(french("Quitter Vesto"));
    quit->setDefault(true);
    connect(quit, &QPushButton::clicked, this, [this] { close(); });
    setAttribute(Qt::WA_QuitOnClose);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(margin / 2);
    texts->addWidget(heading);
    texts->addWidget(words);
    texts->addStretch();
    texts->addWidget(quit, 0, Qt::AlignRight);
    auto* all = new QHBoxLayout(this);
    all->setContentsMargins(margin, margin, margin, margin);
    all->setSpacing(margin);
    all->addWidget(icon, 0, Qt::AlignTop);
    all->addLayout(texts, 1);
    quit->setFocus();
}

} // namespace vesto
