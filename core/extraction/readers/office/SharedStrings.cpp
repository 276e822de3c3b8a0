#include "core/extraction/readers/office/SharedStrings.h"

#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/containers/LittleEndian.h"
#include "core/support/Charset.h"
#include "core/support/Unicode.h"

#include <algorithm>

namespace vesto::readers {
namespace {

using namespace littleEndian;

constexpr std::size_t maxTextBytes = 4 * maxCharacters; // of one string

/// Walks over the chunks as over one text, whose characters may change their width where a chunk begins.
class ChunkCursor {
public:
    explicit ChunkCursor(const std::vector<std::string_view>& chunks)
        : m_chunks(chunks) {}

    [[nodiscard]] bool atEnd() {
        while (m_chunk < m_chunks.size() && m_offset >= m_chunks[m_chunk].size())
            nextChunk();
        return m_chunk >= m_chunks.size();
    }

    std::uint32_t number(int bytes) {
        std::uint32_t value = 0;
        for (int i = 0; i < bytes && !atEnd(); ++i)
            value |= std::uint32_t{number8(m_chunks[m_chunk], m_offset++)} << (8 * i);
        return value;
    }

    void skip(std::uint64_t bytes) {
        while (bytes > 0 && !atEnd()) {
            const std::uint64_t here = std::min<std::uint64_t>(bytes, m_chunks[m_chunk].size() - m_offset);
            m_offset += here;
            bytes -= here;
        }
    }

    /// The next `count` characters; kept only where `text` is given.
    void characters(std::uint64_t count, bool isWide, std::string* text) {
        std::size_t chunk = m_chunk;
        while (count > 0 && !atEnd()) {
            if (m_chunk != chunk) {
                chunk = m_chunk;
                isWide = (number8(m_chunks[m_chunk], m_offset++) & 1U) != 0;
                continue;
            }
            const std::uint64_t width = isWide ? 2 : 1;
            const std::uint64_t left = m_chunks[m_chunk].size() - m_offset;
            const std::uint64_t here = std::min(count, left / width);
            if (here == 0) { // half a character
                nextChunk();
                continue;
            }
            if (text != nullptr && text->size() < maxTextBytes)
                *text += textOfUnits(part(m_chunks[m_chunk], m_offset, here * width), isWide);
            m_offset += here * width;
            count -= here;
        }
    }

private:
    void nextChunk() {
        ++m_chunk;
        m_offset = 0;
    }

    const std::vector<std::string_view>& m_chunks;
    std::size_t m_chunk = 0;
    std::size_t m_offset = 0;
};

} // namespace

std::string textOfUnits(std::string_view bytes, bool isWide) {
    return unicode::decodeCharset(bytes, isWide ? "UTF-16LE" : "ISO-8859-1").value_or("");
}

std::map<std::uint32_t, std::string> sharedStrings(const std::vector<std::string_view>& chunks,
                                                   const std::vector<std::uint32_t>& wanted) {
    std::map<std::uint32_t, std::string> strings;
    ChunkCursor cursor(chunks);
    cursor.skip(4);
    const std::uint32_t count = cursor.number(4);
    auto next = wanted.begin();
    for (std::uint32_t index = 0; index < count && next != wanted.end() && !cursor.atEnd(); ++index) {
        const std::uint32_t length = cursor.number(2);
        const std::uint32_t flags = cursor.number(1);
        const std::uint64_t formats = (flags & 8U) != 0 ? cursor.number(2) : 0;
        const std::uint64_t extension = (flags & 4U) != 0 ? cursor.number(4) : 0;
        std::string text;
        const bool isWanted = *next == index;
        cursor.characters(length, (flags & 1U) != 0, isWanted ? &text : nullptr);
        cursor.skip(4 * formats + extension);
        if (!isWanted)
            continue;
        strings.emplace(index, std::move(text));
        while (next != wanted.end() && *next <= index)
            ++next;
    }
    return strings;
}

} // namespace vesto::readers
