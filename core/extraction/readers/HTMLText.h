#pragma once
#include "core/extraction/readers/DocumentText.h"

#include <optional>
#include <string_view>

/// The text that a browser would show. Scripts, styles, comments and hidden elements are left out (a style
/// sheet's rules are not read); what stands in navigation comes last. Pure, thread-safe, linear time.
namespace vesto::readers {

/// Tells the charset by byte order mark, then the document's own word, then the bytes. Nothing for what is no
/// text.
[[nodiscard]] std::optional<DocumentText> readHTML(std::string_view bytes);

/// The same for text that is UTF-8 already.
[[nodiscard]] DocumentText htmlText(std::string_view text);

} // namespace vesto::readers
