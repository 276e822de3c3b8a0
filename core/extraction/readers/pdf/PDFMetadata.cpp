#include "core/extraction/readers/pdf/PDFMetadata.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/DocumentText.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace vesto::readers {
namespace {

// PDFDocEncoding where it is not Latin-1. 0xA0, its euro sign, is left out: a no-break space of a UTF-16
// title looks the same here and is what French titles hold.
constexpr char16_t from18[] = {0x02D8, 0x02C7, 0x02C6, 0x02D9, 0x02DD, 0x02DB, 0x02DA, 0x02DC};
constexpr char16_t from80[] = {0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044,
                               0x2039, 0x203A, 0x2212, 0x2030, 0x201E, 0x201C, 0x201D, 0x2018,
                               0x2019, 0x201A, 0x2122, 0xFB01, 0xFB02, 0x0141, 0x0152, 0x0160,
                               0x0178, 0x017D, 0x0131, 0x0142, 0x0153, 0x0161, 0x017E};

char16_t ofPDFDocEncoding(char16_t unit) {
    if (unit >= 0x18 && unit < 0x18 + std::size(from18))
        return from18[unit - 0x18];
    if (unit >= 0x80 && unit < 0x80 + std::size(from80))
        return from80[unit - 0x80];
    return unit;
}

/// Without the language codes that a title in UTF-16 may hold: two or four letters between escapes.
std::u16string withoutLanguageCodes(std::u16string_view units) {
    constexpr char16_t escape = 0x1B;
    const auto isLetter = [](char16_t unit) {
        return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z');
    };
    std::u16string kept;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const std::u16string_view rest = units.substr(i);
        const std::size_t size = rest[0] == escape ? rest.substr(0, 6).find(escape, 1) : rest.npos;
        const bool isCode =
            (size == 3 || size == 5) && std::ranges::all_of(rest.substr(1, size - 1), isLetter);
        if (isCode)
            i += size;
        else
            kept += units[i];
    }
    return kept;
}

std::u16string unitsOfLittleEndian(std::string_view bytes) {
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                       static_cast<unsigned char>(bytes[i + 1]) << 8);
    return units;
}

/// «Z», «+01'00'», «-0800», «+01»; nothing where no offset stands there.
std::optional<std::chrono::minutes> takeOffset(std::string_view& text) {
    if (text.empty() || std::string_view("Z+-").find(text[0]) == std::string_view::npos)
        return std::nullopt;
    const char sign = text[0];
    text.remove_prefix(1);
    const auto hours = ascii::takeDigits(text, 2);
    if (sign == 'Z')
        return std::chrono::minutes(0);
    if (!hours || *hours > 23)
        return std::nullopt;
    if (text.starts_with('\'') || text.starts_with(':'))
        text.remove_prefix(1);
    const int minutes = std::min(ascii::takeDigits(text, 2).value_or(0), 59);
    return std::chrono::minutes((sign == '-' ? -1 : 1) * (*hours * 60 + minutes));
}

/// White space, then decimal digits, then nothing; each may be missing.
bool isNumberAfterBlanks(std::string_view text) {
    bool inDigits = false;
    for (std::size_t i = 0; i < text.size();) {
        const auto [scalar, size] = unicode::scalarAt(text, i);
        inDigits = inDigits || !unicode::isWhiteSpace(scalar);
        if (inDigits && !unicode::isDecimalDigit(scalar))
            return false;
        i += size;
    }
    return true;
}

/// Whether `word` stands there alone or with a space behind it.
bool startsWithWord(std::string_view text, std::string_view word) {
    return text.starts_with(word) && (text.size() == word.size() || text[word.size()] == ' ');
}

/// Whether a title, free of white space at its ends, names only the program, file or page it came from.
/// Compared by hand: a first pattern would cost a short run of the program a tenth of its time.
bool saysOnlyItsOrigin(std::string_view title) {
    static constexpr std::string_view programs[] = {"microsoft word -", "microsoft powerpoint -",
                                                    "microsoft excel -"};
    static constexpr std::string_view extensions[] = {".doc",   ".docx", ".ppt", ".pptx", ".xls",
                                                      ".xlsx",  ".pdf",  ".txt", ".rtf",  ".odt",
                                                      ".pages", ".tex",  ".htm", ".html", ".indd"};
    static constexpr std::string_view pageWords[] = {"diapositive", "feuille",      "sheet",       "slide",
                                                     "page",        "presentation", "présentation"};
    const std::string folded = unicode::caseFolded(title);
    const std::string_view text = folded;
    if (text == "untitled" ||
        std::ranges::any_of(programs, [&](auto program) { return startsWithWord(text, program); }) ||
        std::ranges::any_of(extensions, [&](auto extension) { return text.ends_with(extension); }))
        return true;
    return std::ranges::any_of(pageWords, [&](auto word) {
        return text.starts_with(word) && isNumberAfterBlanks(text.substr(word.size()));
    });
}

} // namespace

std::string utf8OfUnits(std::u16string_view units) {
    std::string text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t scalar = units[i];
        if (scalar >= 0xD800 && scalar < 0xE000) {
            const char32_t low = i + 1 < units.size() ? units[i + 1] : 0;
            const bool isPair = scalar < 0xDC00 && low >= 0xDC00 && low < 0xE000;
            scalar =
                isPair ? 0x10000 + ((scalar - 0xD800) << 10) + (low - 0xDC00) : unicode::replacementCharacter;
            i += isPair ? 1 : 0;
        }
        unicode::append(text, scalar);
    }
    return text;
}

std::string textOfPDFString(std::u16string_view raw) {
    const std::u16string units = withoutLanguageCodes(raw);
    std::string bytes;
    for (const char16_t unit : units) {
        if (unit > 0xFF)
            return utf8OfUnits(units);
        bytes += static_cast<char>(unit);
    }
    if (bytes.starts_with("\xFF\xFE"))
        return utf8OfUnits(unitsOfLittleEndian(std::string_view(bytes).substr(2)));
    const bool isASCII = std::ranges::all_of(units, [](char16_t unit) { return unit < 0x80; });
    if (!isASCII && unicode::isValid(bytes))
        return bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes;
    std::u16string decoded = units;
    std::ranges::transform(decoded, decoded.begin(), ofPDFDocEncoding);
    return utf8OfUnits(decoded);
}

std::optional<std::string> usablePDFTitle(std::string_view title) {
    std::string plain = unicode::composed(titleLine(title));
    if (plain.empty() || saysOnlyItsOrigin(plain))
        return std::nullopt;
    return plain;
}

std::optional<Instant> instantOfPDFDate(std::string_view text) {
    if (text.starts_with("D:"))
        text.remove_prefix(2);
    unicode::CalendarTime time;
    const auto year = ascii::takeDigits(text, 4);
    if (!year || !isDocumentYear(*year))
        return std::nullopt;
    time.year = *year;
    for (int* field : {&time.month, &time.day, &time.hour, &time.minute, &time.second}) {
        const auto number = ascii::takeDigits(text, 2);
        if (!number)
            break;
        *field = *number;
    }
    const auto offset = takeOffset(text);
    if (!offset)
        return unicode::instantOf(time);
    const auto instant = unicode::instantOf(time, "UTC");
    return instant ? std::optional<Instant>(*instant - *offset) : std::nullopt;
}

} // namespace vesto::readers
