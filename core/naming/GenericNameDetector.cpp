#include "core/naming/GenericNameDetector.h"

#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <optional>

namespace vesto::GenericNameDetector {
namespace {

// Every entry is normalized.
constexpr std::array<std::string_view, 11> screenshotPrefixes{
    "capture d'écran",  "capture d'ecran",     "screenshot", "screen shot",
    "bildschirmfoto",   "captura de pantalla", "schermata",  "enregistrement de l'écran",
    "screen recording", "cleanshot",           "snapshot"};

constexpr std::array<std::string_view, 68> genericPrefixes{"img",
                                                           "image",
                                                           "dsc",
                                                           "dscn",
                                                           "dscf",
                                                           "pxl",
                                                           "mvimg",
                                                           "photo",
                                                           "pic",
                                                           "picture",
                                                           "scan",
                                                           "scanned",
                                                           "numérisation",
                                                           "numerisation",
                                                           "clipboard",
                                                           "presse-papiers",
                                                           "download",
                                                           "téléchargement",
                                                           "telechargement",
                                                           "untitled",
                                                           "sans titre",
                                                           "document",
                                                           "doc",
                                                           "docs",
                                                           "file",
                                                           "fichier",
                                                           "new",
                                                           "nouveau",
                                                           "copie",
                                                           "copy",
                                                           "whatsapp image",
                                                           "telegram",
                                                           "signal",
                                                           "export",
                                                           "output",
                                                           "print",
                                                           "receipt",
                                                           "pasted image",
                                                           "pasted graphic",
                                                           "document sans titre",
                                                           "untitled document",
                                                           "présentation",
                                                           "presentation",
                                                           "classeur",
                                                           "book",
                                                           "feuille de calcul",
                                                           "spreadsheet",
                                                           "diaporama",
                                                           "slides",
                                                           "nouvel enregistrement",
                                                           "new recording",
                                                           "enregistrement",
                                                           "recording",
                                                           "mémo vocal",
                                                           "memo vocal",
                                                           "voice memo",
                                                           "audio",
                                                           "vid",
                                                           "video",
                                                           "vidéo",
                                                           "mov",
                                                           "rpreplay",
                                                           "trim",
                                                           "pièce jointe",
                                                           "piece jointe",
                                                           "attachment",
                                                           "mail attachment",
                                                           "message"};

constexpr std::array<std::string_view, 21> fillerWords{
    "document", "documents", "doc",  "docs",   "copy",        "copie",        "copies",
    "final",    "untitled",  "sans", "titre",  "spreadsheet", "presentation", "présentation",
    "sheet",    "feuille",   "de",   "calcul", "rec",         "replay",       "vocal"};

constexpr std::array<std::string_view, 27> monthNames{
    "janvier",  "février", "fevrier",   "mars",      "avril",    "mai",      "juin",
    "juillet",  "août",    "aout",      "septembre", "octobre",  "novembre", "décembre",
    "decembre", "january", "february",  "march",     "april",    "may",      "june",
    "july",     "august",  "september", "october",   "november", "december"};

template <std::size_t N> bool isOneOf(const std::array<std::string_view, N>& table, std::string_view word) {
    return std::ranges::find(table, word) != table.end();
}

struct Word {
    std::string_view text;
    bool isNumeric = false;
};

/// Takes the next run of letters and numbers off the front of `rest`. A mark belongs to what stands before
/// it.
std::optional<Word> takeWord(std::string_view& rest) {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool isNumeric = true;
    while (end < rest.size()) {
        const unicode::Scalar scalar = unicode::scalarAt(rest, end);
        const bool isLetter = unicode::isLetter(scalar.value);
        const bool goesOn = end > begin && unicode::isMark(scalar.value);
        if (!isLetter && !goesOn && !unicode::isNumber(scalar.value)) {
            if (end > begin)
                break;
            begin = end + scalar.size;
        }
        isNumeric = isNumeric && !isLetter;
        end += scalar.size;
    }
    if (begin == end)
        return std::nullopt;
    const Word word{rest.substr(begin, end - begin), isNumeric};
    rest.remove_prefix(end);
    return word;
}

/// What the rules about shares count, in scalars.
struct Counts {
    std::size_t visible = 0; // not white space
    std::size_t letters = 0; // and marks
    std::size_t numbers = 0;
    bool hasLongNumber = false;         // five ASCII digits in a row
    bool isDigitsAndPunctuation = true; // nothing but digits, white space and "_-.()"
    bool mayJoin = false;               // scalars into characters, white space aside
};

Counts counted(std::string_view name) {
    Counts counts;
    std::size_t digitsInARow = 0;
    for (std::size_t offset = 0; offset < name.size();) {
        const auto [value, size] = unicode::scalarAt(name, offset);
        offset += size;
        const bool isWhiteSpace = unicode::isWhiteSpace(value);
        counts.visible += isWhiteSpace ? 0u : 1u;
        counts.letters += unicode::isLetterOrMark(value) ? 1u : 0u;
        counts.numbers += unicode::isNumber(value) ? 1u : 0u;
        counts.mayJoin = counts.mayJoin || value >= 0x300; // the first mark
        digitsInARow = value >= U'0' && value <= U'9' ? digitsInARow + 1 : 0;
        counts.hasLongNumber = counts.hasLongNumber || digitsInARow >= 5;
        counts.isDigitsAndPunctuation =
            counts.isDigitsAndPunctuation &&
            (isWhiteSpace || unicode::isDecimalDigit(value) || std::u32string_view(U"_-.()").contains(value));
    }
    return counts;
}

/// Grapheme clusters once the white space is gone.
std::size_t visibleCharacters(std::string_view name, const Counts& counts) {
    if (!counts.mayJoin)
        return counts.visible;
    std::string compact;
    for (std::size_t offset = 0; offset < name.size();) {
        const auto [value, size] = unicode::scalarAt(name, offset);
        if (!unicode::isWhiteSpace(value))
            compact.append(name, offset, size);
        offset += size;
    }
    return unicode::graphemeCount(compact);
}

std::size_t letterCount(std::string_view text) {
    return counted(text).letters;
}

bool isHexDigit(char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'f');
}

bool startsWithScreenshot(std::string_view normalized) {
    return std::ranges::any_of(screenshotPrefixes,
                               [&](std::string_view prefix) { return normalized.starts_with(prefix); });
}

/// Whether next to nothing follows one of the generic prefixes. The name is not empty.
bool isPrefixWithoutContent(std::string_view normalized) {
    for (const std::string_view prefix : genericPrefixes) {
        if (normalized.front() != prefix.front() || !normalized.starts_with(prefix))
            continue;
        std::string_view rest = normalized.substr(prefix.size());
        if (!rest.empty() && unicode::isLetterOrMark(unicode::scalarAt(rest, 0).value))
            continue; // a longer word, as «imagerie»
        if (letterCount(rest) < 4)
            return true;
        bool isFilled = false;
        while (const auto word = takeWord(rest))
            isFilled = isFilled || !(word->isNumeric || isOneOf(fillerWords, word->text));
        if (!isFilled)
            return true;
    }
    return false;
}

/// `^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}`
bool startsWithUuid(std::string_view name) {
    constexpr std::string_view shape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    return name.size() >= shape.size() &&
           std::ranges::equal(shape, name.substr(0, shape.size()), [](char wanted, char byte) {
               return wanted == 'x' ? isHexDigit(byte) : byte == wanted;
           });
}

/// `^[0-9a-f]{16,}$`; as in that pattern, a last line break does not count.
bool isLongHexNumber(std::string_view name) {
    if (!name.empty()) {
        const unicode::Scalar last = unicode::scalarBefore(name, name.size());
        if (unicode::isNewline(last.value))
            name.remove_suffix(last.value == U'\n' && name.ends_with("\r\n") ? 2 : last.size);
    }
    return name.size() >= 16 && std::ranges::all_of(name, isHexDigit);
}

/// Few letters, or a long number that makes up most of the name.
bool isMostlyNumber(std::string_view name, const Counts& counts) {
    // A character has at least one scalar: where scalars are few enough or letters many enough, nobody need
    // count.
    if (counts.visible > 5 && 4 * counts.letters < counts.visible) {
        const std::size_t characters = visibleCharacters(name, counts);
        if (characters > 5 && 4 * counts.letters < characters)
            return true;
    }
    return counts.hasLongNumber && 5 * counts.numbers >= 2 * visibleCharacters(name, counts);
}

bool isMonthWithNumbers(std::string_view rest) {
    const auto first = takeWord(rest);
    if (!first || !isOneOf(monthNames, first->text))
        return false;
    while (const auto word = takeWord(rest))
        if (!word->isNumeric)
            return false;
    return true;
}

} // namespace

std::string normalize(std::string_view name) {
    std::string text = unicode::withStraightApostrophes(unicode::lowercase(unicode::composed(name)));
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t offset = 0; offset < text.size();) {
        if (text[offset] != '\xC2' && text[offset] != '\xE2') {
            plain += text[offset++];
            continue;
        }
        const std::string_view rest = std::string_view(text).substr(offset);
        const std::size_t noBreakSpace = rest.starts_with("\u00A0") ? 2 : rest.starts_with("\u202F") ? 3 : 0;
        plain += noBreakSpace > 0 ? ' ' : text[offset];
        offset += std::max<std::size_t>(noBreakSpace, 1);
    }
    return std::string(unicode::trimmedBlanks(plain));
}

bool isScreenshotName(std::string_view name) {
    return startsWithScreenshot(normalize(name));
}

bool isGeneric(std::string_view baseName) {
    const std::string name = normalize(baseName);
    if (name.empty() || startsWithScreenshot(name) || isPrefixWithoutContent(name) || startsWithUuid(name) ||
        isLongHexNumber(name))
        return true;
    const Counts counts = counted(name);
    return counts.isDigitsAndPunctuation || isMostlyNumber(name, counts) || isMonthWithNumbers(name);
}

} // namespace vesto::GenericNameDetector
