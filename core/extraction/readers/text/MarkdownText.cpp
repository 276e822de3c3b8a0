#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/markup/HTMLEntities.h"
#include "core/extraction/readers/text/PlainTextReader.h"

#include <algorithm>
#include <vector>

namespace vesto::readers {
namespace {

/// The text of one line without the marks inside it. Each character is passed once: a bracket that is looked
/// for is known to come, and what lies before it is consumed.
class InlineText {
public:
    explicit InlineText(std::string_view line)
        : m_line(line)
        , m_lastParenthesis(line.rfind(')'))
        , m_lastBracket(line.rfind(']'))
        , m_lastAngle(line.rfind('>')) {}

    std::string run() {
        while (m_offset < m_line.size())
            step();
        return std::move(m_text);
    }

private:
    struct OpenBracket {
        std::size_t at; // in m_text
        bool isImage;
    };

    [[nodiscard]] char at(std::size_t offset) const { return offset < m_line.size() ? m_line[offset] : ' '; }
    [[nodiscard]] bool comesLater(std::size_t last) const { return last != m_line.npos && last > m_offset; }

    void step() {
        const char c = m_line[m_offset];
        switch (c) {
        case '\\':
            if (const char next = at(m_offset + 1); next > ' ' && next < 0x7F && !ascii::isAlphanumeric(next))
                ++m_offset;
            m_text += m_line[m_offset++];
            return;
        case '`':
            ++m_offset;
            return;
        case '*':
        case '_':
        case '~':
            emphasis(c);
            return;
        case '!':
            ++m_offset;
            if (at(m_offset) == '[')
                openBracket(true);
            else
                m_text += '!';
            return;
        case '[':
            openBracket(false);
            return;
        case ']':
            closeBracket();
            return;
        case '<':
            tag();
            return;
        default:
            m_text += c;
            ++m_offset;
        }
    }

    /// Marks stand at an edge of a word; «2 * 3», «snake_case» and «~/src» hold none.
    void emphasis(char mark) {
        const char before = m_offset > 0 ? m_line[m_offset - 1] : ' ';
        std::size_t end = m_offset;
        while (at(end) == mark)
            ++end;
        const bool isAlone = before == ' ' && at(end) == ' ';
        const bool isInWord =
            end - m_offset == 1 && ascii::isAlphanumeric(before) && ascii::isAlphanumeric(at(end));
        const bool isTilde = mark == '~' && end - m_offset < 2;
        if (isAlone || isInWord || isTilde)
            m_text += m_line.substr(m_offset, end - m_offset);
        m_offset = end;
    }

    void openBracket(bool isImage) {
        m_open.push_back({m_text.size(), isImage});
        ++m_offset;
        if (at(m_offset) == '[') // a wiki link
            ++m_offset;
    }

    void closeBracket() {
        ++m_offset;
        if (m_open.empty()) {
            if (m_line[m_offset - 1] == ']' && m_offset > 1 && m_line[m_offset - 2] == ']')
                return;
            m_text += ']';
            return;
        }
        const OpenBracket open = m_open.back();
        m_open.pop_back();
        bool isLink = at(m_offset) == ']';
        if (isLink) {
            ++m_offset;
            takeAlias(open.at);
        } else if (at(m_offset) == '(' && comesLater(m_lastParenthesis)) {
            isLink = true;
            skipTarget();
        } else if (at(m_offset) == '[' && comesLater(m_lastBracket)) {
            isLink = true;
            m_offset = m_line.find(']', m_offset) + 1;
        } else if (m_text.compare(open.at, 1, "^") == 0) { // a footnote's number
            m_text.resize(open.at);
            return;
        }
        // A picture inside a link is a badge.
        if (isLink && open.isImage && !m_open.empty())
            m_text.resize(open.at);
    }

    /// «page|what is shown»: only what is shown stays. Longer ones are no names, and looking into them again
    /// for each level of brackets would cost a square.
    void takeAlias(std::size_t begin) {
        const std::size_t bar = m_text.size() - begin <= 200 ? m_text.find('|', begin) : m_text.npos;
        if (bar != m_text.npos)
            m_text.erase(begin, bar + 1 - begin);
    }

    void skipTarget() {
        // Addresses are short; looking further for each link whose brackets do not match would cost a square.
        constexpr std::size_t longest = 2000; // bytes
        std::size_t depth = 0;
        const std::size_t end = std::min(m_line.size(), m_offset + longest);
        for (std::size_t i = m_offset; i < end; ++i) {
            if (m_line[i] == '(')
                ++depth;
            if (m_line[i] == ')' && --depth == 0) {
                m_offset = i + 1;
                return;
            }
        }
        m_offset = m_line.find(')', m_offset) + 1;
    }

    /// A tag of HTML goes, an address in angle brackets stays.
    void tag() {
        const char next = at(m_offset + 1);
        if ((!ascii::isLetter(next) && next != '/' && next != '!') || !comesLater(m_lastAngle)) {
            m_text += m_line[m_offset++];
            return;
        }
        const std::size_t end = m_line.find('>', m_offset);
        const std::string_view inside = m_line.substr(m_offset + 1, end - m_offset - 1);
        if (inside.find_first_of(":@") != inside.npos && inside.find_first_of(" =") == inside.npos)
            m_text += inside;
        else if (ascii::startsWithIgnoringCase(inside, "br"))
            m_text += ' ';
        m_offset = end + 1;
    }

    std::string_view m_line;
    std::size_t m_lastParenthesis, m_lastBracket, m_lastAngle; // npos where there is none
    std::size_t m_offset = 0;
    std::string m_text;
    std::vector<OpenBracket> m_open;
};

bool consistsOf(std::string_view line, std::string_view characters) {
    return line.find_first_not_of(characters) == line.npos;
}

/// A line of marks only: a rule, the underline of a heading, a table's second row, a fence.
bool isOnlyMarks(std::string_view line) {
    return consistsOf(line, "-=*_ ") || (line.find('-') != line.npos && consistsOf(line, "-|: ")) ||
           line.starts_with("```") || line.starts_with("~~~");
}

/// «[name]: address»
bool isReference(std::string_view line) {
    const std::size_t end = line.find("]:");
    return line.starts_with('[') && end != line.npos && line.find(']') == end;
}

/// Takes «> », «# », «- », «1. » and «[ ] » off the front.
std::string_view withoutBlockMarks(std::string_view line) {
    while (line.starts_with('>'))
        line = ascii::trimmed(line.substr(1));
    const std::size_t hashes = std::min(line.find_first_not_of('#'), line.size());
    if (hashes >= 1 && hashes <= 6 &&
        (hashes == line.size() || line[hashes] == ' ' || line[hashes] == '\t')) {
        line = ascii::trimmed(line.substr(hashes));
        const std::size_t end = line.find_last_not_of('#');
        if (end == line.npos)
            return {};
        if (end + 1 < line.size() && line[end] == ' ')
            line = line.substr(0, end);
        return ascii::trimmed(line);
    }
    if (line.size() > 1 && line[1] == ' ' && (line[0] == '-' || line[0] == '*' || line[0] == '+'))
        line = ascii::trimmed(line.substr(2));
    if (line.starts_with("[ ] ") || ascii::startsWithIgnoringCase(line, "[x] "))
        line = ascii::trimmed(line.substr(4));
    return line;
}

/// The cells of «| a | b |» with a blank between them.
std::string withoutBars(std::string_view line) {
    std::string text;
    for (const char c : line)
        text += c == '|' ? ' ' : c;
    return text;
}

/// Takes the lines of the text that stand in comments away; `inComment` goes on to the next line.
std::string withoutComments(std::string_view line, bool& inComment) {
    std::string text;
    while (!line.empty()) {
        const std::size_t end = line.find(inComment ? "-->" : "<!--");
        if (!inComment)
            text += line.substr(0, end);
        if (end == line.npos)
            break;
        line.remove_prefix(end + (inComment ? 3 : 4));
        inComment = !inComment;
    }
    return text;
}

constexpr int maxFrontMatterLines = 200;

std::string_view unquoted(std::string_view value) {
    value = ascii::trimmed(value);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        value = value.substr(1, value.size() - 2);
    return value;
}

/// Takes what stands between «---» lines (or «+++») at the very start off the text.
void takeFrontMatter(std::string_view& text, DocumentText& document) {
    std::size_t offset = 0;
    const std::string_view fence = text.empty() ? text : ascii::trimmed(nextLine(text, offset));
    if (fence != "---" && fence != "+++")
        return;
    DocumentText found;
    for (int i = 0; i < maxFrontMatterLines && offset < text.size(); ++i) {
        const std::string_view line = nextLine(text, offset);
        const std::string_view trimmed = ascii::trimmed(line);
        if (trimmed == fence || (fence == "---" && trimmed == "...")) {
            document = std::move(found);
            text.remove_prefix(offset);
            return;
        }
        const std::size_t colon = line.find_first_of(fence == "---" ? ":" : "=");
        if (colon == line.npos)
            continue;
        const std::string key = ascii::lowered(ascii::trimmed(line.substr(0, colon)));
        const std::string_view value = unquoted(line.substr(colon + 1));
        if ((key == "title" || key == "titre") && !found.title)
            found.title = usableTitle(value);
        if (key == "date" && !found.date)
            found.date = documentDate(value);
    }
}

} // namespace

DocumentText markdownText(std::string_view text) {
    DocumentText document;
    takeFrontMatter(text, document);
    LineCollector lines;
    bool inComment = false;
    for (std::size_t offset = 0; offset < text.size() && !lines.full();) {
        const std::string uncommented = withoutComments(nextLine(text, offset), inComment);
        const std::string_view line = ascii::trimmed(uncommented);
        if (isOnlyMarks(line) || isReference(line))
            continue;
        std::string content = InlineText(withoutBlockMarks(line)).run();
        if (line.starts_with('|'))
            content = withoutBars(content);
        lines.add(decodeEntities(content));
    }
    document.lines = lines.take();
    return document;
}

} // namespace vesto::readers
