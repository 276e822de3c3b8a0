#include "core/extraction/readers/LineCollector.h"

#include "core/support/Unicode.h"

namespace vesto::readers {

void LineCollector::add(std::string_view line) {
    if (full())
        return;
    line = unicode::trimmedWhiteSpace(line);
    std::string kept;
    std::size_t room = m_room;
    for (std::size_t i = 0; i < line.size() && room > 0;) {
        const auto [scalar, size] = unicode::scalarAt(line, i);
        i += size;
        const bool isControlCharacter = scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0);
        if (isControlCharacter && scalar != '\t')
            continue;
        unicode::append(kept, scalar);
        --room;
    }
    const std::string_view trimmed = unicode::trimmedWhiteSpace(kept);
    if (trimmed.empty())
        return;
    m_lines.emplace_back(trimmed);
    m_room = room;
}

std::string_view nextLine(std::string_view text, std::size_t& offset) {
    const std::size_t begin = offset;
    for (std::size_t i = begin; i < text.size(); ++i) {
        const std::string_view rest = text.substr(i);
        std::size_t breakSize = 0;
        if (rest[0] >= '\n' && rest[0] <= '\r')
            breakSize = rest.starts_with("\r\n") ? 2 : 1;
        else if (rest.starts_with("\xC2\x85"))
            breakSize = 2;
        else if (rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9"))
            breakSize = 3;
        if (breakSize > 0) {
            offset = i + breakSize;
            return text.substr(begin, i - begin);
        }
    }
    offset = text.size();
    return text.substr(begin);
}

} // namespace vesto::readers
