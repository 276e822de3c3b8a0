#include "core/extraction/readers/DocumentText.h"

#include "core/support/Unicode.h"

#include <algorithm>
#include <array>

namespace vesto::readers {
namespace {

constexpr std::size_t maxTitleScalars = 300;

} // namespace

std::string titleLine(std::string_view text) {
    std::string title;
    std::size_t count = 0;
    bool blank = false;
    for (std::size_t i = 0; i < text.size() && count < maxTitleScalars;) {
        const auto [scalar, size] = unicode::scalarAt(text, i);
        i += size;
        if (unicode::isWhiteSpace(scalar) || scalar < 0x20) {
            blank = !title.empty();
            continue;
        }
        if (blank)
            title += ' ';
        blank = false;
        unicode::append(title, scalar);
        ++count;
    }
    return title;
}

std::optional<std::string> usableTitle(std::string_view text) {
    std::string title = titleLine(text);
    constexpr std::array<std::string_view, 7> made{
        "untitled", "untitled document", "sans titre",      "document sans titre",
        "no title", "new document",      "nouveau document"};
    const std::string folded = unicode::folded(title);
    if (title.empty() || std::find(made.begin(), made.end(), folded) != made.end() ||
        (folded + ' ').starts_with("microsoft word - "))
        return std::nullopt;
    return title;
}

std::string joinedLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text.append(line) += '\n';
    return text;
}

} // namespace vesto::readers
