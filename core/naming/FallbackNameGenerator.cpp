#include "core/naming/FallbackNameGenerator.h"

#include "core/naming/CaselessWord.h"
#include "core/naming/GenericNameDetector.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace vesto {
namespace {

constexpr std::size_t maxLines = 25;
constexpr std::size_t enoughWords = 3;
constexpr std::size_t minLetters = 4;

// The menu bar and the clock that text recognition reads first on a screenshot.
constexpr std::array<std::string_view, 20> rejectedBeginnings{"fichier édition",
                                                              "file edit",
                                                              "finder fichier",
                                                              "safari fichier",
                                                              "safari file",
                                                              "édition présentation",
                                                              "lun.",
                                                              "mar.",
                                                              "mer.",
                                                              "jeu.",
                                                              "ven.",
                                                              "sam.",
                                                              "dim.",
                                                              "mon ",
                                                              "tue ",
                                                              "wed ",
                                                              "thu ",
                                                              "fri ",
                                                              "sat ",
                                                              "sun "};

/// Appends the words of `text` until there are `most`.
void appendWords(std::vector<std::string_view>& words, std::string_view text, std::size_t most) {
    std::size_t begin = 0;
    for (std::size_t offset = 0; words.size() < most && offset <= text.size();) {
        const bool atEnd = offset == text.size();
        const unicode::Scalar scalar = atEnd ? unicode::Scalar{U' ', 1} : unicode::scalarAt(text, offset);
        if (unicode::isWhiteSpace(scalar.value)) {
            if (offset > begin)
                words.push_back(text.substr(begin, offset - begin));
            begin = offset + scalar.size;
        }
        offset += scalar.size;
    }
}

std::string joined(const std::vector<std::string_view>& words, std::size_t most) {
    std::string result;
    for (std::size_t index = 0; index < std::min(words.size(), most); ++index) {
        if (index > 0)
            result += ' ';
        result += words[index];
    }
    return result;
}

/// Whether letters are at least 4, and at least 0.4 of the characters that are not white space.
bool isMostlyLetters(std::string_view line) {
    std::size_t letters = 0;
    std::size_t scalars = 0;
    std::string compact;
    for (std::size_t offset = 0; offset < line.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(line, offset);
        if (!unicode::isWhiteSpace(scalar.value)) {
            ++scalars;
            letters += unicode::isLetterOrMark(scalar.value) ? 1u : 0u;
            compact.append(line, offset, scalar.size);
        }
        offset += scalar.size;
    }
    if (letters < minLetters)
        return false;
    // There are never more characters than scalars: counting those is enough for nearly every line.
    return 5 * letters >= 2 * scalars || 5 * letters >= 2 * unicode::graphemeCount(compact);
}

bool isDomainLabelByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           byte == '-';
}

/// Whether `@[a-z0-9-]+\.` matches right after the at sign at `offset`, in any case.
bool isMailDomain(std::string_view line, std::size_t offset) {
    constexpr std::string_view longS = "ſ";       // another case of "s"
    constexpr std::string_view kelvin = "\u212A"; // and of "k"
    const std::size_t begin = offset;
    while (offset < line.size()) {
        if (isDomainLabelByte(line[offset]))
            offset += 1;
        else if (line.substr(offset).starts_with(longS))
            offset += longS.size();
        else if (line.substr(offset).starts_with(kelvin))
            offset += kelvin.size();
        else
            break;
    }
    return offset > begin && offset < line.size() && line[offset] == '.';
}

bool isTopLevelDomain(std::string_view line, std::size_t offset) {
    for (const std::string_view domain : {"com", "fr", "org", "net"})
        if (const auto end = skipCaselessWord(line, offset, domain))
            return unicode::isWordBoundary(line, *end);
    return false;
}

/// Whether `(https?://|www\.|@[a-z0-9-]+\.|\.(com|fr|org|net)\b)` matches anywhere, in any case.
bool holdsWebAddress(std::string_view line) {
    for (std::size_t offset = line.find_first_of("hHwW@."); offset != std::string_view::npos;
         offset = line.find_first_of("hHwW@.", offset + 1)) {
        if (line[offset] == '@' && isMailDomain(line, offset + 1))
            return true;
        if (line[offset] == '.' && isTopLevelDomain(line, offset + 1))
            return true;
        for (const std::string_view start : {"http://", "https://", "www."})
            if (skipCaselessWord(line, offset, start))
                return true;
    }
    return false;
}

bool isUsable(std::string_view line) {
    const std::string_view trimmed = unicode::trimmedBlanks(line);
    if (!isMostlyLetters(trimmed) || holdsWebAddress(trimmed))
        return false;
    const std::string normalized = GenericNameDetector::normalize(trimmed);
    return std::ranges::none_of(
        rejectedBeginnings, [&](std::string_view beginning) { return normalized.starts_with(beginning); });
}

} // namespace

std::optional<std::string> FallbackNameGenerator::propose(const ContentSummary& summary) const {
    const auto most = static_cast<std::size_t>(std::max<std::int64_t>(maxWords, 0));
    std::vector<std::string_view> words;
    if (summary.documentTitle) {
        appendWords(words, *summary.documentTitle, most);
        return joined(words, most);
    }
    for (std::size_t index = 0; index < std::min(summary.lines.size(), maxLines); ++index) {
        if (isUsable(summary.lines[index]))
            appendWords(words, summary.lines[index], std::max(most, enoughWords));
        if (words.size() >= enoughWords)
            break;
    }
    if (words.empty())
        return std::nullopt;
    return joined(words, most);
}

} // namespace vesto
