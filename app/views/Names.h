#pragma once
#include <QFontMetrics>
#include <QString>
#include <string_view>

/// File names as they are shown: never with what could turn or hide a part of them.
namespace vesto {

/// Without control and format characters, bytes that are no text made visible.
[[nodiscard]] QString shownName(std::string_view name);

/// For the middle of a sentence: the direction of the name ends where the name does.
[[nodiscard]] QString isolated(const QString& shownName);

/// For a label or a tip of its own: date left and extension right, whatever the title between them.
[[nodiscard]] QString leftToRight(const QString& shownName);

/// «\u00A0name\u00A0», isolated.
[[nodiscard]] QString quoted(const QString& shownName);

/// A sentence of the model's that may hold names: like a name, and what stands in « » is isolated.
[[nodiscard]] QString shownSentence(std::string_view sentence);

/// For a tip: what looks like markup in it is shown, and not read.
[[nodiscard]] QString tip(const QString& text);

/// Cut in the middle of its base to fit, so that the extension and at least eight characters before it stay.
/// `width` in logical pixels.
[[nodiscard]] QString elideName(const QString& shownName, const QFontMetrics& metrics, int width);

} // namespace vesto
