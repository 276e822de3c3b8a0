#pragma once
#include <gtest/gtest.h>

#include <QAccessible>
#include <QWidget>
#include <string>

namespace vesto {

/// Walks what a screen reader sees of a window: everything that can be used must have a name. Gives how many
/// such things there are.
inline int expectNamed(QAccessibleInterface* node, const std::string& trail = {}) {
    if (node == nullptr || node->state().invisible)
        return 0;
    const std::string name = node->text(QAccessible::Name).toStdString();
    const std::string here = trail + "/" + std::to_string(node->role()) + ":" + name;
    int count = 0;
    switch (node->role()) {
    case QAccessible::Button:
    case QAccessible::ButtonDropDown:
    case QAccessible::ButtonMenu:
    case QAccessible::CheckBox:
    case QAccessible::ColumnHeader:
    case QAccessible::ComboBox:
    case QAccessible::EditableText:
    case QAccessible::List:
    case QAccessible::ListItem:
    case QAccessible::PageTab:
    case QAccessible::ProgressBar:
    case QAccessible::RadioButton:
    case QAccessible::Slider:
    case QAccessible::Table:
    case QAccessible::Tree:
    case QAccessible::TreeItem:
    case QAccessible::Window:
        EXPECT_FALSE(name.empty()) << here;
        ++count;
        break;
    default: // what only holds others, or is text itself
        break;
    }
    for (int child = 0; child < node->childCount(); ++child)
        count += expectNamed(node->child(child), here);
    return count;
}

/// Whether a walk from `node` down comes to that object.
inline bool isInTree(QAccessibleInterface* node, const QObject* wanted) {
    if (node == nullptr || node->object() == wanted)
        return node != nullptr;
    for (int child = 0; child < node->childCount(); ++child)
        if (isInTree(node->child(child), wanted))
            return true;
    return false;
}

inline int expectNamed(QWidget& window) {
    return expectNamed(QAccessible::queryAccessibleInterface(&window));
}

} // namespace vesto
