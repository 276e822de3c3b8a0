#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/BinaryRecords.h"
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/containers/PropertySet.h"
#include "core/extraction/readers/office/BinaryOffice.h"
#include "core/extraction/readers/office/HiddenColumns.h"
#include "core/extraction/readers/office/SharedStrings.h"
#include "core/extraction/readers/text/RTFCharsets.h"
#include "core/support/Charset.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <set>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

using namespace littleEndian;

constexpr std::size_t maxCells = maxCharacters; // none of them is empty
constexpr std::size_t maxSheets = 1000;
enum RecordType : std::uint16_t {
    formula = 0x06,
    endOfPart = 0x0A,
    password = 0x2F,
    continued = 0x3C,
    codePageOfTexts = 0x42,
    columnInfo = 0x7D,
    sheetEntry = 0x85,
    manyNumbers = 0xBD,
    richLabel = 0xD6,
    stringTable = 0xFC,
    sharedLabel = 0xFD,
    number = 0x203,
    label = 0x204,
    formulaText = 0x207,
    rowInfo = 0x208,
    shortNumber = 0x27E,
    beginOfPart = 0x809,
};

struct Cell {
    std::uint32_t row = 0;
    std::uint32_t column = 0;                 // from 0
    std::string text = {};                    // unless it is shared
    std::optional<std::uint32_t> shared = {}; // index
};

std::string textOfNumber(double value) {
    if (!std::isfinite(value))
        return {};
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() ? std::string(digits.data(), end) : std::string();
}

/// A number in four bytes: a hundredth or not, whole or the upper half of a double.
std::string textOfShortNumber(std::uint32_t bits) {
    double value = (bits & 2U) != 0 ? static_cast<double>(std::bit_cast<std::int32_t>(bits) >> 2)
                                    : std::bit_cast<double>(std::uint64_t{bits & ~3U} << 32U);
    if ((bits & 1U) != 0)
        value /= 100;
    return textOfNumber(value);
}

class Workbook {
public:
    explicit Workbook(std::string_view stream)
        : m_stream(stream) {}

    /// Nothing where the stream is damaged in its head or encrypted.
    std::optional<std::vector<std::string>> lines() {
        if (!readGlobals())
            return std::nullopt;
        const auto first = std::ranges::find(m_sheets, true, &Sheet::hasCells);
        if (first != m_sheets.end())
            readSheet(first->offset);
        std::vector<std::string> result = rows();
        if (!result.empty())
            for (const Sheet& sheet : m_sheets)
                result.push_back(sheet.name);
        return result;
    }

private:
    struct Sheet {
        std::string name;
        std::uint64_t offset = 0;
        bool hasCells = true; // or a chart
    };

    bool readGlobals() {
        std::uint64_t offset = 0;
        const std::optional<SheetRecord> begin = nextSheetRecord(m_stream, offset);
        if (!begin || begin->type != beginOfPart)
            return false;
        m_isOld = number16(begin->data, 0) < 0x600;
        bool inStrings = false;
        while (const std::optional<SheetRecord> record = nextSheetRecord(m_stream, offset)) {
            if (record->type == endOfPart)
                return true;
            if (record->type == password)
                return false;
            inStrings = record->type == stringTable || (inStrings && record->type == continued);
            if (inStrings)
                m_strings.push_back(record->data);
            else if (record->type == codePageOfTexts)
                setCharset(number16(record->data, 0));
            else if (record->type == sheetEntry)
                addSheet(record->data);
        }
        return true;
    }

    void setCharset(int codePage) {
        constexpr int mac = 0x8000, windows = 0x8001;
        m_charset = charsetOfCodePage(codePage == mac ? 10000 : codePage == windows ? 1252 : codePage);
    }

    void addSheet(std::string_view data) {
        const bool isShown = (number8(data, 4) & 3U) == 0;
        if (!isShown || m_sheets.size() >= maxSheets)
            return;
        const std::size_t length = number8(data, 6);
        const bool isWide = !m_isOld && (number8(data, 7) & 1U) != 0;
        const std::string_view name = part(data, m_isOld ? 7 : 8, isWide ? 2 * length : length);
        m_sheets.push_back(
            {m_isOld ? oldText(name) : textOfUnits(name, isWide), number32(data, 0), number8(data, 5) == 0});
    }

    [[nodiscard]] std::string oldText(std::string_view bytes) const {
        return unicode::decodeCharset(bytes, m_charset)
            .value_or(unicode::decodeCharset(bytes, "windows-1252").value_or(""));
    }

    /// A text with its length before it, at a place of a record.
    [[nodiscard]] std::string textAt(std::string_view data, std::size_t at) const {
        const std::size_t length = number16(data, at);
        if (m_isOld)
            return oldText(part(data, at + 2, length));
        const bool isWide = (number8(data, at + 2) & 1U) != 0;
        return textOfUnits(part(data, at + 3, isWide ? 2 * length : length), isWide);
    }

    void readSheet(std::uint64_t offset) {
        const std::optional<SheetRecord> begin = nextSheetRecord(m_stream, offset);
        if (!begin || begin->type != beginOfPart)
            return;
        int charts = 0; // open ones inside the sheet
        while (const std::optional<SheetRecord> record = nextSheetRecord(m_stream, offset)) {
            if (record->type == beginOfPart)
                ++charts;
            else if (record->type == endOfPart && --charts < 0)
                return;
            else if (charts == 0)
                readRecord(*record);
            if (m_cells.size() >= maxCells || isEnough())
                return;
        }
    }

    /// Rows come in order; one that has begun is only whole when the next begins.
    [[nodiscard]] bool isEnough() const { return m_rowCount > maxSheetRows; }

    void readRecord(const SheetRecord& record) {
        const std::string_view data = record.data;
        switch (record.type) {
        case columnInfo:
            if ((number16(data, 8) & 1U) != 0)
                m_hidden.add(number16(data, 0) + 1, number16(data, 2) + 1);
            return;
        case rowInfo:
            if ((number16(data, 12) & 0x20U) != 0)
                m_hiddenRows.insert(number16(data, 0));
            return;
        case sharedLabel:
            add(data, {}, number32(data, 6));
            return;
        case label:
        case richLabel:
            add(data, textAt(data, 6));
            return;
        case number:
            add(data, textOfNumber(std::bit_cast<double>(number64(data, 6))));
            return;
        case shortNumber:
            add(data, textOfShortNumber(number32(data, 6)));
            return;
        case manyNumbers:
            addNumbers(data);
            return;
        case formula:
            addFormula(data);
            return;
        case formulaText:
            if (std::exchange(m_waitsForText, false))
                add(m_formula, textAt(data, 0));
            return;
        default:
            return;
        }
    }

    /// The cell whose row and column `place` begins with.
    void add(std::string_view place, std::string text, std::optional<std::uint32_t> shared = {}) {
        addCell(number16(place, 0), number16(place, 2), std::move(text), shared);
    }

    void addCell(std::uint32_t row, std::uint32_t column, std::string text,
                 std::optional<std::uint32_t> shared = {}) {
        if ((text.empty() && !shared) || m_hiddenRows.contains(row) || m_hidden.contains(column + 1))
            return;
        if (m_cells.empty() || m_cells.back().row != row)
            ++m_rowCount;
        text.resize(std::min<std::size_t>(text.size(), 4 * maxCharacters));
        m_cells.push_back({row, column, std::move(text), shared});
    }

    void addNumbers(std::string_view data) {
        const std::size_t count = data.size() < 6 ? 0 : (data.size() - 6) / 6;
        for (std::size_t i = 0; i < count; ++i)
            addCell(number16(data, 0), static_cast<std::uint32_t>(number16(data, 2) + i),
                    textOfShortNumber(number32(data, 4 + 6 * i + 2)));
    }

    void addFormula(std::string_view data) {
        m_waitsForText = false;
        if (number16(data, 12) != 0xFFFF) {
            add(data, textOfNumber(std::bit_cast<double>(number64(data, 6))));
        } else if (number8(data, 6) == 0) { // a text, in a record of its own
            m_waitsForText = true;
            m_formula = data;
        }
    }

    std::vector<std::string> rows() {
        std::vector<std::uint32_t> wanted;
        for (const Cell& cell : m_cells)
            if (cell.shared)
                wanted.push_back(*cell.shared);
        std::ranges::sort(wanted);
        const auto strings = sharedStrings(m_strings, wanted);
        std::vector<std::string> lines;
        std::string line;
        std::size_t bytes = 0; // many cells may name one enormous text
        for (std::size_t i = 0; i < m_cells.size() && bytes < 4 * maxCharacters; ++i) {
            const Cell& cell = m_cells[i];
            std::string_view text = cell.text;
            if (cell.shared)
                if (const auto found = strings.find(*cell.shared); found != strings.end())
                    text = found->second;
            bytes += text.size();
            if (!text.empty())
                line.append(line.empty() ? "" : " ").append(text);
            const bool isLast = i + 1 == m_cells.size() || m_cells[i + 1].row != cell.row;
            if (!isLast)
                continue;
            if (!line.empty())
                lines.push_back(std::exchange(line, {}));
            if (std::cmp_greater_equal(lines.size(), maxSheetRows))
                break;
        }
        if (!line.empty())
            lines.push_back(line);
        return lines;
    }

    std::string_view m_stream;
    bool m_isOld = false; // Excel 5 and 95
    std::string m_charset = "windows-1252";
    std::vector<std::string_view> m_strings;
    std::vector<Sheet> m_sheets; // that are shown
    HiddenColumns m_hidden;
    std::set<std::uint32_t> m_hiddenRows;
    std::vector<Cell> m_cells;
    std::int64_t m_rowCount = 0;
    bool m_waitsForText = false;
    std::string_view m_formula; // its record
};

} // namespace

std::optional<OfficeText> readBinaryWorkbook(std::string_view bytes) {
    const std::optional<CompoundFile> file = CompoundFile::open(bytes);
    if (!file)
        return std::nullopt;
    std::optional<std::string> stream = file->stream("Workbook");
    if (!stream)
        stream = file->stream("Book");
    std::optional<std::vector<std::string>> lines = stream ? Workbook(*stream).lines() : std::nullopt;
    if (!lines)
        return std::nullopt;
    OfficeText result;
    LineCollector collector;
    for (const std::string& line : *lines)
        collector.add(line);
    result.lines = collector.take();
    readBinaryProperties(*file, result);
    result.pageCount = std::nullopt;
    return result;
}

} // namespace vesto::readers
