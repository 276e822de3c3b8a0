#include "core/extraction/readers/text/RTFText.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/text/RTFLook.h"
#include "core/extraction/readers/text/RTFWords.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

constexpr std::size_t maxDepth = 1000; // groups; deeper ones are skipped
constexpr std::size_t maxLineBytes = 4 * maxCharacters;
constexpr std::size_t maxTitleBytes = 4096;

struct ControlWord {
    std::string_view name;
    std::optional<int> number;
};

/// What the words of a group go to.
enum class Destination { body, skipped, fontTable, colorTable, fieldCode, info, title, creationTime };

struct State {
    Destination destination = Destination::body;
    rtf::Look look;
};

class RTFScanner {
public:
    explicit RTFScanner(std::string_view bytes)
        : m_bytes(bytes) {}

    DocumentText run() {
        while (m_offset < m_bytes.size() && !m_lines.full() && !m_isOver)
            step();
        breakLine();
        return {.title = usableTitle(m_title), .lines = m_lines.take(), .date = date()};
    }

private:
    void step() {
        const char c = m_bytes[m_offset++];
        switch (c) {
        case '{':
            openGroup();
            return;
        case '}':
            closeGroup();
            return;
        case '\\':
            control();
            return;
        case '\r':
        case '\n':
        case '\0':
            return;
        default:
            byte(c);
        }
    }

    // ---- Groups ----

    void openGroup() {
        endFallback();
        if (m_outer.size() >= maxDepth) {
            ++m_tooDeep;
            return;
        }
        m_outer.push_back(m_state);
        m_isIgnorable = false;
    }

    void closeGroup() {
        endFallback();
        if (m_tooDeep > 0) {
            --m_tooDeep;
            return;
        }
        flush();
        if (m_outer.empty()) {
            m_isOver = true;
            return;
        }
        m_state = m_outer.back();
        m_outer.pop_back();
        m_isOver = m_outer.empty();
    }

    // ---- Control words ----

    void control() {
        if (m_offset == m_bytes.size())
            return;
        const char c = m_bytes[m_offset];
        if (ascii::isLetter(c)) {
            word(readWord());
            return;
        }
        ++m_offset;
        switch (c) {
        case '\'':
            hexByte();
            return;
        case '*':
            m_isIgnorable = true;
            return;
        case '~':
            symbol(' ');
            return;
        case '_':
            symbol('-');
            return;
        case '\\':
        case '{':
        case '}':
            byte(c);
            return;
        case '\r':
        case '\n':
            breakParagraph();
            return;
        case '\t':
            symbol(' ');
            return;
        default: // optional hyphens, index marks
            return;
        }
    }

    ControlWord readWord() {
        const std::size_t begin = m_offset;
        while (m_offset < m_bytes.size() && ascii::isLetter(m_bytes[m_offset]))
            ++m_offset;
        ControlWord result{m_bytes.substr(begin, m_offset - begin), std::nullopt};
        std::size_t i = m_offset;
        const bool isNegative = i < m_bytes.size() && m_bytes[i] == '-';
        i += isNegative ? 1 : 0;
        if (i < m_bytes.size() && ascii::isDigit(m_bytes[i])) {
            int number = 0;
            for (; i < m_bytes.size() && ascii::isDigit(m_bytes[i]); ++i)
                number = std::min(number * 10 + (m_bytes[i] - '0'), 100'000'000);
            result.number = isNegative ? -number : number;
            m_offset = i;
        }
        if (m_offset < m_bytes.size() && m_bytes[m_offset] == ' ')
            ++m_offset;
        return result;
    }

    void word(const ControlWord& control) {
        const auto [name, number] = control;
        if (name == "bin") { // raw bytes follow, braces among them
            m_offset += std::min(m_bytes.size() - m_offset,
                                 static_cast<std::size_t>(std::max(number.value_or(0), 0)));
            return;
        }
        if (takeFallback())
            return;
        const bool isIgnorable = std::exchange(m_isIgnorable, false) && name != "fldinst";
        if (m_tooDeep > 0 || m_state.destination == Destination::skipped)
            return;
        if (isIgnorable || rtf::beginsSkipped(name) || (name == "fldrslt" && isTableOfContents())) {
            flush();
            m_state.destination = Destination::skipped;
        } else if (name == "u") {
            unicodeScalar(number.value_or(0));
        } else if (rtf::breaksLine(name)) {
            breakParagraph();
        } else if (const char32_t scalar = rtf::scalarOfWord(name); scalar != 0) {
            symbol(scalar);
        } else if (!destinationWord(name)) {
            if (rtf::Looks::isFontWord(name))
                flush();
            if (!m_looks.characterWord(m_state.look, name, number))
                otherWord(name, number.value_or(0));
        }
    }

    bool destinationWord(std::string_view name) {
        Destination destination = m_state.destination;
        const bool inInfo = destination == Destination::info;
        if (name == "fonttbl")
            destination = Destination::fontTable;
        else if (name == "colortbl")
            destination = Destination::colorTable;
        else if (name == "fldinst")
            destination = Destination::fieldCode;
        else if (name == "info")
            destination = Destination::info;
        else if (inInfo && name == "title")
            destination = Destination::title;
        else if (inInfo && name == "creatim")
            destination = Destination::creationTime;
        else
            return false;
        flush();
        m_state.destination = destination;
        if (destination == Destination::fieldCode)
            m_fieldCode.clear();
        return true;
    }

    /// Whether the field whose code was read last makes one.
    [[nodiscard]] bool isTableOfContents() const { return ascii::trimmed(m_fieldCode).starts_with("TOC"); }

    void otherWord(std::string_view name, int value) {
        switch (m_state.destination) {
        case Destination::fontTable:
            m_looks.fontWord(m_state.look, name, value);
            return;
        case Destination::colorTable:
            m_looks.colorWord(name, value);
            return;
        case Destination::creationTime:
            dateWord(name, value);
            return;
        case Destination::body:
        case Destination::skipped:
        case Destination::fieldCode:
        case Destination::info:
        case Destination::title:
            m_looks.documentWord(name, value);
        }
    }

    void dateWord(std::string_view name, int value) {
        if (name == "yr")
            m_created.year = value;
        else if (name == "mo")
            m_created.month = value;
        else if (name == "dy")
            m_created.day = value;
        else if (name == "hr")
            m_created.hour = value;
        else if (name == "min")
            m_created.minute = value;
    }

    [[nodiscard]] std::optional<Instant> date() const {
        return isDocumentYear(m_created.year) ? unicode::instantOf(m_created) : std::nullopt;
    }

    // ---- Characters ----

    [[nodiscard]] bool isShown() const {
        if (m_tooDeep > 0 || !m_looks.shows(m_state.look))
            return false;
        return m_state.destination == Destination::body ||
               (m_state.destination == Destination::title && m_title.size() < maxTitleBytes);
    }

    /// Whether the next character only stands in for the \u before it.
    bool takeFallback() {
        if (m_fallback == 0)
            return false;
        --m_fallback;
        return true;
    }
    void endFallback() { m_fallback = 0; }

    void byte(char c) {
        if (takeFallback())
            return;
        if (!isShown()) {
            unshownByte(c);
            return;
        }
        m_pending += c;
        m_pendingIsASCII = m_pendingIsASCII && static_cast<unsigned char>(c) < 0x80;
        if (m_pending.size() > maxLineBytes)
            flush();
    }

    /// What tables and codes consist of.
    void unshownByte(char c) {
        constexpr std::size_t enough = 32;
        if (m_state.destination == Destination::fieldCode && m_fieldCode.size() < enough)
            m_fieldCode += c;
        if (m_state.destination == Destination::colorTable && c == ';')
            m_looks.endColor();
    }

    void hexByte() {
        const std::string_view digits = m_bytes.substr(m_offset, 2);
        if (digits.size() < 2 || ascii::hexValue(digits[0]) < 0 || ascii::hexValue(digits[1]) < 0)
            return;
        m_offset += 2;
        byte(static_cast<char>(ascii::hexValue(digits[0]) * 16 + ascii::hexValue(digits[1])));
    }

    void symbol(char32_t scalar) {
        if (takeFallback() || !isShown())
            return;
        flush();
        put(scalar);
    }

    void unicodeScalar(int number) {
        m_fallback = m_state.look.fallbackLength;
        if (!isShown())
            return;
        flush();
        auto unit = static_cast<char32_t>(number < 0 ? number + 0x10000 : number);
        if (unit >= 0xD800 && unit < 0xDC00) {
            m_highSurrogate = unit;
            return;
        }
        const char32_t high = std::exchange(m_highSurrogate, 0);
        if (unit >= 0xDC00 && unit < 0xE000)
            unit = high != 0 ? 0x10000 + ((high - 0xD800) << 10U) + (unit - 0xDC00)
                             : unicode::replacementCharacter;
        put(unit > 0x10FFFF ? unicode::replacementCharacter : unit);
    }

    void put(char32_t scalar) {
        unicode::append(m_state.destination == Destination::title ? m_title : m_line, scalar);
        if (m_line.size() > maxLineBytes)
            breakLine();
    }

    /// Decodes the bytes that share a charset together: a character may take two of them.
    void flush() {
        if (m_pending.empty())
            return;
        std::string& target = m_state.destination == Destination::title ? m_title : m_line;
        target += m_pendingIsASCII ? m_pending : m_looks.decoded(m_pending, m_state.look);
        m_pending.clear();
        m_pendingIsASCII = true;
        if (m_line.size() > maxLineBytes)
            breakLine();
    }

    void breakParagraph() {
        if (takeFallback())
            return;
        if (isShown() && m_state.destination == Destination::body)
            breakLine();
    }

    void breakLine() {
        flush();
        m_lines.add(m_line);
        m_line.clear();
    }

    std::string_view m_bytes;
    std::size_t m_offset = 0;
    bool m_isOver = false;

    State m_state;
    std::vector<State> m_outer;
    std::size_t m_tooDeep = 0;
    bool m_isIgnorable = false; // a \* stood before
    int m_fallback = 0;         // characters still to be passed over
    char32_t m_highSurrogate = 0;

    rtf::Looks m_looks;
    std::string m_fieldCode; // its first letters

    std::string m_pending; // bytes of the charset in force
    bool m_pendingIsASCII = true;
    std::string m_line, m_title;
    LineCollector m_lines;
    unicode::CalendarTime m_created{.year = 0};
};

} // namespace

std::optional<DocumentText> readRTF(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    const std::string_view start = ascii::trimmed(bytes.substr(0, 64));
    if (!start.starts_with("{\\rtf"))
        return std::nullopt;
    return RTFScanner(bytes).run();
}

} // namespace vesto::readers
