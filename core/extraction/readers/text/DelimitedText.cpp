#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/text/PlainTextReader.h"

#include <array>
#include <optional>

namespace vesto::readers {
namespace {

constexpr int maxRows = 40;
constexpr int rowsToCompare = 10;

/// Walks the rows of one table, RFC 4180 and what spreadsheets make of it.
class RowReader {
public:
    RowReader(std::string_view text, char delimiter)
        : m_text(text)
        , m_delimiter(delimiter) {}

    [[nodiscard]] bool atEnd() const { return m_offset >= m_text.size(); }

    /// The next row's cells joined by a blank; empty cells leave nothing.
    std::string next() {
        std::string row;
        m_cells = 0;
        for (bool more = true; more;) {
            std::string cell;
            more = readCell(cell);
            ++m_cells;
            if (!cell.empty() && !row.empty())
                row += ' ';
            row += cell;
        }
        return row;
    }

    /// Of the row read last.
    [[nodiscard]] int cells() const { return m_cells; }

private:
    /// Whether another cell of the same row follows.
    bool readCell(std::string& cell) {
        while (!atEnd() && m_text[m_offset] == ' ')
            ++m_offset;
        if (!atEnd() && m_text[m_offset] == '"' && m_quotes)
            readQuoted(cell);
        while (!atEnd() && m_text[m_offset] != m_delimiter && !isLineBreak(m_text[m_offset]))
            append(cell, m_text[m_offset++]);
        while (cell.ends_with(' '))
            cell.pop_back();
        if (atEnd())
            return false;
        const bool more = m_text[m_offset] == m_delimiter;
        m_offset += m_text.substr(m_offset).starts_with("\r\n") ? 2U : 1U;
        return more;
    }

    /// A quote that nothing closes is a character; looking for its end again and again would cost a square.
    void readQuoted(std::string& cell) {
        const std::size_t begin = m_offset;
        for (++m_offset; !atEnd(); ++m_offset) {
            if (m_text[m_offset] != '"') {
                append(cell, m_text[m_offset]);
            } else if (m_text.substr(m_offset).starts_with("\"\"")) {
                cell += '"';
                ++m_offset;
            } else {
                ++m_offset;
                return;
            }
        }
        cell.clear();
        m_offset = begin;
        m_quotes = false;
    }

    static void append(std::string& cell, char c) {
        if (isLineBreak(c) || c == '\t')
            c = ' ';
        if (c != ' ' || !cell.ends_with(' '))
            cell += c;
    }

    static bool isLineBreak(char c) { return c == '\n' || c == '\r'; }

    std::string_view m_text;
    char m_delimiter;
    std::size_t m_offset = 0;
    int m_cells = 0;
    bool m_quotes = true;
};

/// How many of the first rows have as many cells as the first one, which has several.
int agreement(std::string_view text, char delimiter) {
    RowReader rows(text, delimiter);
    int first = 0, agreeing = 0;
    for (int i = 0; i < rowsToCompare && !rows.atEnd(); ++i) {
        rows.next();
        if (i == 0)
            first = rows.cells();
        if (first > 1 && rows.cells() == first)
            ++agreeing;
    }
    return agreeing;
}

/// The delimiter on which most rows agree. A French table keeps the comma for its decimals, so it comes late.
char delimiterOf(std::string_view text) {
    char best = ',';
    int most = 0;
    for (const char delimiter : {'\t', ';', ',', '|'}) {
        const int agreeing = agreement(text, delimiter);
        if (agreeing > most) {
            best = delimiter;
            most = agreeing;
        }
    }
    return best;
}

/// «sep=;», which spreadsheets write as a first line of their own; it is taken off.
std::optional<char> takeDelimiterLine(std::string_view& text) {
    if (!text.starts_with("sep=") || text.size() < 6 || (text[5] != '\n' && text[5] != '\r'))
        return std::nullopt;
    const char delimiter = text[4];
    text.remove_prefix(6);
    return delimiter;
}

} // namespace

DocumentText delimitedText(std::string_view text) {
    const std::optional<char> named = takeDelimiterLine(text);
    RowReader rows(text, named ? *named : delimiterOf(text));
    LineCollector lines;
    int count = 0;
    while (!rows.atEnd() && !lines.full() && count < maxRows) {
        const std::string row = rows.next();
        lines.add(row);
        count += row.empty() ? 0 : 1;
    }
    return {.lines = lines.take()};
}

} // namespace vesto::readers
