#pragma once
#include "core/extraction/readers/DocumentText.h"

#include <optional>
#include <string_view>

namespace vesto::readers {

/// How a language writes its comments.
enum class CommentStyle { slashes, hash, dashes, semicolon, percent, markup, none };

struct SourceFormat {
    std::string_view name; // as "C++"
    CommentStyle comments;
};

/// The language of an extension in any letter case; nothing where it is none of source code.
[[nodiscard]] std::optional<SourceFormat> sourceFormatOf(std::string_view extension);

/// Source code. Before its first statement licences and imports are left out, and comments lose their marks,
/// so that what the file says of itself comes first. Takes valid UTF-8; pure, thread-safe, linear time.
[[nodiscard]] DocumentText sourceText(std::string_view text, CommentStyle comments);

} // namespace vesto::readers
