#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/text/PlainTextReader.h"
#include "core/support/Unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace vesto::readers {
namespace {

// Best first.
constexpr std::array<std::string_view, 8> titleKeys{"title", "titre",   "displayname", "name",
                                                    "nom",   "subject", "sujet",       "objet"};
constexpr std::size_t longestWord = 200; // bytes; what is longer is data, not text

bool isProse(const std::string& value) {
    std::size_t word = 0;
    bool hasLetter = false;
    for (std::size_t i = 0; i < value.size();) {
        const auto [scalar, size] = unicode::scalarAt(value, i);
        i += size;
        word = unicode::isWhiteSpace(scalar) ? 0 : word + size;
        hasLetter = hasLetter || unicode::isAlphanumeric(scalar);
        if (word > longestWord)
            return false;
    }
    return hasLetter;
}

/// Receives the events of the parser, which keeps one bit for each open level and never recurses.
class StringGatherer : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit StringGatherer(LineCollector& lines)
        : m_lines(lines) {}

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, const string_t&) override { return value(); }
    bool binary(binary_t&) override { return value(); }

    bool string(string_t& text) override {
        if (isProse(text)) {
            if (m_depth == 1 && !m_key.empty())
                considerTitle(text);
            addLines(text);
        }
        return value();
    }

    bool start_object(std::size_t) override { return open(); }
    bool start_array(std::size_t) override { return open(); }
    bool key(string_t& name) override {
        m_key = std::move(name);
        return true;
    }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
        m_errorAt = position;
        return false;
    }

    [[nodiscard]] const std::optional<std::string>& title() const { return m_title; }
    [[nodiscard]] std::size_t errorAt() const { return m_errorAt; }

private:
    bool value() {
        m_key.clear();
        return !m_lines.full();
    }
    bool open() {
        ++m_depth;
        m_key.clear();
        return true;
    }
    bool close() {
        --m_depth;
        return value();
    }

    void considerTitle(const std::string& text) {
        const auto rank = std::find(titleKeys.begin(), titleKeys.end(), ascii::lowered(m_key));
        if (rank >= m_titleRank)
            return;
        if (std::optional<std::string> title = usableTitle(text)) {
            m_title = std::move(title);
            m_titleRank = rank;
        }
    }

    void addLines(const std::string& text) {
        // What is called a name needs no key before it.
        const bool isName = std::ranges::find(titleKeys, ascii::lowered(m_key)) != titleKeys.end();
        std::string line = m_key.empty() || isName ? std::string() : m_key + " : ";
        for (std::size_t offset = 0; offset < text.size();) {
            line += nextLine(text, offset);
            m_lines.add(line);
            line.clear();
        }
    }

    LineCollector& m_lines;
    std::string m_key; // of the value to come; empty in an array
    std::optional<std::string> m_title;
    decltype(titleKeys.begin()) m_titleRank = titleKeys.end();
    std::size_t m_depth = 0;
    std::size_t m_errorAt = 0;
};

/// Whether `text` is JSON as far as it was needed. Its lines and title go to `result`.
bool gather(std::string_view text, bool isWhole, LineCollector& lines, std::optional<std::string>& title) {
    StringGatherer gatherer(lines);
    const bool isComplete = nlohmann::json::sax_parse(text.begin(), text.end(), &gatherer);
    if (gatherer.title() && !title)
        title = gatherer.title();
    return isComplete || lines.full() || (!isWhole && gatherer.errorAt() >= text.size());
}

/// One JSON value a line.
bool gatherLines(std::string_view text, bool isWhole, LineCollector& lines) {
    std::optional<std::string> unused;
    for (std::size_t offset = 0; offset < text.size() && !lines.full();) {
        const std::string_view line = ascii::trimmed(nextLine(text, offset));
        const bool isLast = offset >= text.size();
        if (!line.empty() && !gather(line, isWhole || !isLast, lines, unused))
            return false;
    }
    return true;
}

} // namespace

DocumentText jsonText(std::string_view text, bool isWhole) {
    LineCollector lines;
    std::optional<std::string> title;
    if (gather(text, isWhole, lines, title))
        return {.title = std::move(title), .lines = lines.take()};
    if (LineCollector each; gatherLines(text, isWhole, each))
        return {.lines = each.take()};
    return plainText(text);
}

} // namespace vesto::readers
