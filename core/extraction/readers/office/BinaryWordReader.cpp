#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/containers/LittleEndian.h"
#include "core/extraction/readers/containers/PropertySet.h"
#include "core/extraction/readers/office/BinaryOffice.h"
#include "core/extraction/readers/office/HiddenRuns.h"
#include "core/extraction/readers/text/RTFCharsets.h"
#include "core/support/Charset.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

using namespace littleEndian;

constexpr std::size_t maxPieces = 200'000;
constexpr std::uint32_t maxUnits = 2'000'000; // that are looked at, hidden ones included
constexpr std::size_t maxFields = 20;         // in one another

/// Characters in a row of one encoding.
struct Piece {
    std::uint32_t count = 0;  // characters
    std::uint32_t offset = 0; // in the stream, bytes
    bool isWide = false;      // UTF-16, else one byte each
};

/// Where the head of the document says that its parts lie.
struct Head {
    bool isOld = false; // Word 6 and 95
    bool isEncrypted = false;
    std::uint32_t textOffset = 0;
    std::uint32_t bodyCount = 0;    // characters
    std::uint32_t betweenCount = 0; // notes, headers, comments: between the body and its text boxes
    std::uint32_t boxCount = 0;
    std::uint32_t piecesOffset = 0, piecesSize = 0;
    std::uint32_t runsOffset = 0, runsSize = 0;
    std::string_view tableName;
};

std::optional<Head> readHead(std::string_view document) {
    const std::uint16_t identifier = number16(document, 0);
    const std::uint16_t version = number16(document, 2);
    if (identifier != 0xA5EC && identifier != 0xA5DC)
        return std::nullopt;
    Head head;
    head.isOld = version < 193;
    const std::uint16_t flags = number16(document, 10);
    head.isEncrypted = (flags & 0x0100) != 0;
    const bool isInPieces = (flags & 0x0004) != 0;
    head.textOffset = number32(document, 24);
    const std::uint64_t counts = head.isOld ? 52 : 76;
    head.bodyCount = number32(document, counts);
    // The sum wraps for lying counts only, and then leads to a place without text.
    for (const std::uint64_t i : {1U, 2U, 3U, 4U, 5U})
        head.betweenCount += number32(document, counts + 4 * i);
    head.boxCount = number32(document, counts + 24);
    if (head.isOld) {
        head.piecesOffset = number32(document, 0x160);
        head.piecesSize = isInPieces ? number32(document, 0x164) : 0;
        return head;
    }
    head.tableName = (flags & 0x0200) != 0 ? "1Table" : "0Table";
    head.runsOffset = number32(document, 0xFA);
    head.runsSize = number32(document, 0xFE);
    head.piecesOffset = number32(document, 0x1A2);
    head.piecesSize = number32(document, 0x1A6);
    return head;
}

/// The pieces in the order of the text.
std::vector<Piece> readPieces(std::string_view list, bool isOld) {
    while (number8(list, 0) == 1) // formats, each with its size
        list = part(list, 3U + number16(list, 1), list.size());
    if (number8(list, 0) != 2)
        return {};
    const std::string_view table = part(list, 5, number32(list, 1));
    const std::size_t count = table.size() < 4 ? 0 : std::min((table.size() - 4) / 12, maxPieces);
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t begin = number32(table, 4 * i);
        const std::uint32_t end = number32(table, 4 * i + 4);
        const std::uint32_t place = number32(table, 4 * (count + 1) + 8 * i + 2);
        if (end <= begin)
            continue;
        constexpr std::uint32_t isNarrow = 0x4000'0000;
        if (isOld)
            pieces.push_back({end - begin, place, false});
        else if ((place & isNarrow) != 0)
            pieces.push_back({end - begin, (place & ~isNarrow) / 2, false});
        else
            pieces.push_back({end - begin, place, true});
    }
    return pieces;
}

/// The part of the pieces that begins at the character `begin`.
std::vector<Piece> sliced(const std::vector<Piece>& pieces, std::uint32_t begin, std::uint32_t count) {
    std::vector<Piece> result;
    for (Piece piece : pieces) {
        const std::uint32_t skipped = std::min(begin, piece.count);
        begin -= skipped;
        piece.count = std::min(piece.count - skipped, count);
        piece.offset += skipped * (piece.isWide ? 2 : 1);
        count -= piece.count;
        if (piece.count > 0)
            result.push_back(piece);
    }
    return result;
}

/// Turns the characters of a document into lines.
class WordText {
public:
    explicit WordText(LineCollector& lines)
        : m_lines(lines) {}

    void add(char16_t unit, bool isHidden) {
        switch (unit) {
        case 0x13:
            openField();
            return;
        case 0x14:
            if (m_fieldsBeyond == 0 && !m_fields.empty()) {
                m_fields.back().inCode = false;
                m_fields.back().isTableOfContents = isTableOfContents(m_fields.back().code);
            }
            return;
        case 0x15:
            closeField();
            return;
        default:
            break;
        }
        if (m_fieldsBeyond > 0)
            return;
        if (!m_fields.empty() && m_fields.back().inCode && unit < 0x80 && m_fields.back().code.size() < 32)
            m_fields.back().code += static_cast<char>(unit);
        if (breaksLine(unit)) {
            // A field whose code goes beyond its paragraph is broken and must not swallow the document.
            std::erase_if(m_fields, [](const Field& field) { return field.inCode; });
            breakLine();
        } else if (!isHidden && !isMuted()) {
            show(unit);
        }
    }

    void breakLine() {
        m_lines.add(m_line);
        m_line.clear();
        m_afterCell = false;
    }

private:
    struct Field {
        bool inCode = true;
        bool isTableOfContents = false;
        std::string code; // its first letters
    };

    static bool isTableOfContents(std::string_view code) {
        return unicode::trimmedWhiteSpace(code).starts_with("TOC");
    }

    void openField() {
        if (m_fields.size() < maxFields)
            m_fields.emplace_back();
        else
            ++m_fieldsBeyond;
    }

    void closeField() {
        if (m_fieldsBeyond > 0)
            --m_fieldsBeyond;
        else if (!m_fields.empty())
            m_fields.pop_back();
    }

    [[nodiscard]] bool isMuted() const {
        return std::ranges::any_of(
            m_fields, [](const Field& field) { return field.inCode || field.isTableOfContents; });
    }

    /// A cell ends with a mark, and so does a row behind its last cell.
    bool breaksLine(char16_t unit) const {
        return (unit >= 0x0B && unit <= 0x0E) || (unit == 0x07 && m_afterCell);
    }

    void show(char16_t unit) {
        m_afterCell = unit == 0x07;
        const char16_t high = std::exchange(m_high, u'\0');
        if (unit >= 0xD800 && unit < 0xDC00) {
            m_high = unit;
        } else if (unit >= 0xDC00 && unit < 0xE000) {
            if (high != 0)
                unicode::append(m_line, 0x10000 + ((char32_t{high} - 0xD800) << 10U) + (unit - 0xDC00U));
        } else if (unit == 0x07) {
            m_line += ' ';
        } else if (unit == 0x1E) {
            m_line += '-';
        } else if (unit == '\t' || unit >= 0x20) {
            unicode::append(m_line, unit);
        }
        if (m_line.size() > 4 * maxCharacters)
            breakLine();
    }

    LineCollector& m_lines;
    std::string m_line;
    bool m_afterCell = false; // nothing stands behind the last cell mark
    char16_t m_high = 0;      // the first half of a surrogate pair
    std::vector<Field> m_fields;
    std::size_t m_fieldsBeyond = 0; // open ones inside the innermost that is looked at
};

/// What the 256 bytes of a charset mean.
std::array<char16_t, 256> meanings(const std::string& charset) {
    std::array<char16_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        const char single = static_cast<char>(byte);
        const std::string text = unicode::decodeCharset({&single, 1}, charset).value_or("");
        const char32_t scalar = byte < 0x80 || text.empty() ? byte : unicode::scalarAt(text, 0).value;
        table[byte] = static_cast<char16_t>(scalar);
    }
    return table;
}

class WordBody {
public:
    WordBody(std::string_view document, const HiddenRuns& hidden)
        : m_document(document)
        , m_hidden(hidden) {}

    void read(const std::vector<Piece>& pieces) {
        WordText text(m_lines);
        for (const Piece& piece : pieces) {
            const std::uint32_t width = piece.isWide ? 2 : 1;
            for (std::uint32_t i = 0; i < piece.count; ++i) {
                const std::uint64_t offset = std::uint64_t{piece.offset} + std::uint64_t{i} * width;
                if (offset + width > m_document.size() || m_lines.full() || m_units >= maxUnits)
                    break;
                ++m_units;
                const char16_t unit = piece.isWide ? static_cast<char16_t>(number16(m_document, offset))
                                                   : m_narrow[number8(m_document, offset)];
                text.add(unit, m_hidden.contains(static_cast<std::uint32_t>(offset)));
            }
        }
        text.breakLine();
    }

    std::vector<std::string> takeLines() { return m_lines.take(); }

private:
    std::string_view m_document;
    const HiddenRuns& m_hidden;
    std::array<char16_t, 256> m_narrow = meanings("windows-1252");
    std::uint32_t m_units = 0;
    LineCollector m_lines;
};

} // namespace

std::optional<OfficeText> readBinaryWord(std::string_view bytes) {
    const std::optional<CompoundFile> file = CompoundFile::open(bytes);
    const std::optional<std::string> document = file ? file->stream("WordDocument") : std::nullopt;
    const std::optional<Head> head = document ? readHead(*document) : std::nullopt;
    if (!head || head->isEncrypted)
        return std::nullopt;
    const std::optional<std::string> tables = head->isOld ? document : file->stream(head->tableName);
    if (!tables)
        return std::nullopt;
    std::vector<Piece> pieces = readPieces(part(*tables, head->piecesOffset, head->piecesSize), head->isOld);
    if (pieces.empty()) // all in one
        pieces.push_back({head->bodyCount, head->textOffset, false});
    const HiddenRuns hidden(*document, part(*tables, head->runsOffset, head->runsSize));
    WordBody body(*document, hidden);
    body.read(sliced(pieces, 0, head->bodyCount));
    body.read(sliced(pieces, head->bodyCount + head->betweenCount, head->boxCount));
    OfficeText result;
    result.lines = body.takeLines();
    readBinaryProperties(*file, result);
    return result;
}

} // namespace vesto::readers
