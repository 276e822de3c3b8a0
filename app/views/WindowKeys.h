#pragma once
#include <QKeySequence>
#include <QShortcut>
#include <QWidget>

namespace vesto {

class Shell;

/// The keys that every window knows: Ctrl+W closes, Ctrl+H, Ctrl+comma and Ctrl+Q.
void addWindowKeys(QWidget& window, Shell& shell);

/// A key of this window; the window owns it. Held it acts once.
template <typename Act> QShortcut* addKey(QWidget& window, const QKeySequence& keys, Act act) {
    auto* shortcut = new QShortcut(keys, &window);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, &window, act);
    return shortcut;
}

} // namespace vesto
