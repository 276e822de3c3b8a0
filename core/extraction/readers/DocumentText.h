#pragma once
#include "core/support/Time.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::readers {

/// What a reader of one document format found.
struct DocumentText {
    std::optional<std::string> title = {}; // of the document's metadata, never empty
    std::vector<std::string> lines = {};   // as LineCollector leaves them
    std::optional<Instant> date = {};      // that the document carries

    bool operator==(const DocumentText&) const = default;
};

/// `text` on one line: trimmed, white space collapsed, at most 300 scalars. Perhaps empty.
[[nodiscard]] std::string titleLine(std::string_view text);

/// `text` fit to be a document's title: white space collapsed, at most 300 scalars; nothing where it is empty
/// or only what a program puts there by itself («sans titre», «Microsoft Word - …»).
[[nodiscard]] std::optional<std::string> usableTitle(std::string_view text);

/// The lines, each with a line feed behind it.
[[nodiscard]] std::string joinedLines(const std::vector<std::string>& lines);

} // namespace vesto::readers
