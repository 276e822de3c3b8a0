#pragma once
#include "app/views/Icons.h"

class QAbstractButton;
class QFrame;
class QVBoxLayout;
class QWidget;

/// What the pages of the settings are put together from.
namespace vesto::PageParts {

/// The page's own column, with the margins and distances of all pages.
QVBoxLayout* column(QWidget& page);

/// A thin line across.
[[nodiscard]] QFrame* separator();

/// The wheel over it scrolls the page and never changes it: nobody meant that who only wants to read on.
void keepFromWheel(QWidget& control);

/// Gives a button its symbol, and again whenever the palette changes.
void keepIcon(QAbstractButton& button, Symbol symbol);

} // namespace vesto::PageParts
