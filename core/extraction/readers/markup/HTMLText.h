#pragma once
#include "core/extraction/readers/DocumentText.h"

#include <optional>
#include <string_view>

/// The text that a browser would show. Scripts, comments and what is hidden, far outside the page, tiny or of
/// the colour of its ground are left out, as far as attributes and simple rules of the page's own style
/// sheets say so; what stands in navigation comes last. Pure, thread-safe, linear time.
namespace vesto::readers {

/// Tells the charset by byte order mark, then the document's own word, then the bytes. Nothing for what is no
/// text.
/// `styles`: the style sheets that the page links to, where they are known.
[[nodiscard]] std::optional<DocumentText> readHTML(std::string_view bytes, std::string_view styles = {});

/// The same for text that is UTF-8 already.
[[nodiscard]] DocumentText htmlText(std::string_view text);

} // namespace vesto::readers
