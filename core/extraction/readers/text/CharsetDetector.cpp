#include "core/extraction/readers/text/CharsetDetector.h"

#include "core/extraction/readers/Ascii.h"
#include "core/support/Charset.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace vesto::readers {
namespace {

using unicode::decodeCharset;

constexpr unsigned byteOf(char c) {
    return static_cast<unsigned char>(c);
}

/// Control characters that no text holds. Escape and backspace stand in terminal logs, SUB ends old DOS
/// texts.
constexpr bool isForeignControl(char32_t scalar) {
    if (scalar == '\b' || scalar == 0x1B || scalar == 0x1A)
        return false;
    return scalar < '\t' || (scalar > '\r' && scalar < ' ') || scalar == 0x7F;
}

constexpr bool isTooMuch(std::size_t foreign, std::size_t total) {
    return foreign * 20 > total;
}

/// Whether what a charset gave reads as text.
bool isText(std::string_view utf8) {
    std::size_t foreign = 0, total = 0;
    for (std::size_t i = 0; i < utf8.size(); ++total) {
        const auto [scalar, size] = unicode::scalarAt(utf8, i);
        i += size;
        if (scalar == 0)
            return false;
        if (isForeignControl(scalar) || scalar == unicode::replacementCharacter)
            ++foreign;
    }
    return !isTooMuch(foreign, total);
}

std::optional<std::string> onlyIfText(std::optional<std::string> decoded) {
    return decoded && isText(*decoded) ? decoded : std::nullopt;
}

/// Bytes at the end that begin a UTF-8 sequence without finishing it.
std::size_t unfinishedTail(std::string_view bytes) {
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, bytes.size()); ++back) {
        const unsigned byte = byteOf(bytes[bytes.size() - back]);
        if ((byte & 0xC0U) == 0x80)
            continue;
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        return length > back && byte >= 0xC2 && byte <= 0xF4 ? back : 0;
    }
    return 0;
}

struct Tally {
    std::size_t sequences = 0; // of more than one byte
    std::size_t bad = 0;
};

Tally tallyOfUTF8(std::string_view bytes) {
    Tally tally;
    for (std::size_t i = 0; i < bytes.size();) {
        if (byteOf(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        const auto [scalar, size] = unicode::scalarAt(bytes, i);
        const bool isBad = scalar == unicode::replacementCharacter && bytes.substr(i, 3) != "\xEF\xBF\xBD";
        ++(isBad ? tally.bad : tally.sequences);
        i += size;
    }
    return tally;
}

/// The text where the bytes are UTF-8, a few damaged places among many good ones included.
std::optional<std::string> asUTF8(std::string_view bytes) {
    const std::size_t tail = unfinishedTail(bytes);
    const std::string_view whole = bytes.substr(0, bytes.size() - tail);
    const Tally tally = tallyOfUTF8(whole);
    // A lone «é» of windows-1252 at the end looks like a sequence that was cut off.
    if (tail > 0 && tally.sequences == 0)
        return std::nullopt;
    if (tally.bad * 4 > tally.sequences)
        return std::nullopt;
    return tally.bad == 0 ? std::string(whole) : unicode::repaired(whole);
}

std::optional<std::string> byMark(std::string_view bytes) {
    struct Mark {
        std::string_view bytes, charset;
        std::size_t unit; // bytes
    };
    using namespace std::string_view_literals;
    static constexpr std::array<Mark, 4> marks{{{"\xFF\xFE\0\0"sv, "UTF-32LE", 4},
                                                {"\0\0\xFE\xFF"sv, "UTF-32BE", 4},
                                                {"\xFF\xFE"sv, "UTF-16LE", 2},
                                                {"\xFE\xFF"sv, "UTF-16BE", 2}}};
    for (const Mark& mark : marks) {
        if (!bytes.starts_with(mark.bytes))
            continue;
        const std::string_view rest = bytes.substr(mark.bytes.size());
        return onlyIfText(decodeCharset(rest.substr(0, rest.size() / mark.unit * mark.unit), mark.charset));
    }
    return std::nullopt;
}

/// UTF-16 without a mark: the zero bytes stand on one side only, and are most of that side.
std::optional<std::string> asUnmarkedUTF16(std::string_view bytes) {
    const std::size_t pairs = bytes.size() / 2;
    std::array<std::size_t, 2> zeros{};
    for (std::size_t i = 0; i < pairs * 2; ++i)
        if (bytes[i] == '\0')
            ++zeros[i % 2];
    const auto isPlain = [&](std::size_t high) {
        return zeros[1 - high] == 0 && zeros[high] * 10 >= pairs * 6;
    };
    if (pairs < 2 || (!isPlain(0) && !isPlain(1)))
        return std::nullopt;
    return onlyIfText(decodeCharset(bytes.substr(0, pairs * 2), isPlain(1) ? "UTF-16LE" : "UTF-16BE"));
}

/// What the bytes above 0x7F say of a one-byte charset, by the ASCII letters beside them: a small accented
/// letter stands in a word of small letters, a capital or a sign does not.
struct Evidence {
    std::size_t latin = 0;  // ISO 8859 and windows-1252
    std::size_t latin9 = 0; // ISO 8859-15 where windows-1252 has «¤», «½» and «¼»
    std::size_t mac = 0;
    std::size_t macWithCR = 0; // counts only in a text of CR line ends
    std::size_t dos = 0;
    std::size_t c1 = 0;        // 0x80 to 0x9F: no ISO 8859 text has them
    std::size_t undefined = 0; // without a meaning in windows-1252
    std::size_t controls = 0;
    bool hasCR = false, hasLF = false;
};

void weighHighByte(unsigned byte, char before, char after, bool digitBefore, Evidence& evidence) {
    const bool lowerBefore = ascii::isLower(before), lowerAfter = ascii::isLower(after);
    const bool isAlone = ascii::isSpace(before) && ascii::isSpace(after);
    const auto isOneOf = [byte](std::string_view set) {
        return set.find(static_cast<char>(byte)) != set.npos;
    };
    if (byte >= 0xE0 && byte != 0xF7 && (lowerBefore || lowerAfter || isAlone))
        ++evidence.latin;
    if (byte < 0xA0)
        ++evidence.c1;
    if (isOneOf("\x81\x8D\x8F\x90\x9D"))
        ++evidence.undefined;
    if ((lowerBefore && isOneOf("\x8D\x8E\x8F\x90\x9D")) || (byte == 0x88 && isAlone) ||
        (byte == 0xD5 && lowerBefore && lowerAfter))
        ++evidence.mac;
    if (lowerBefore && byte >= 0x87 && byte <= 0x9F && !isOneOf("\x8B\x91\x92\x93\x94\x95\x96\x97\x9B\x9C"))
        ++evidence.macWithCR;
    if (byte == 0x82 && lowerBefore && lowerAfter)
        ++evidence.dos;
    if ((byte == 0xA4 && (digitBefore || ascii::isDigit(after))) ||
        (byte == 0xBD && lowerBefore && lowerAfter) ||
        (byte == 0xBC && lowerAfter && !ascii::isDigit(before)))
        ++evidence.latin9;
}

Evidence evidenceIn(std::string_view bytes) {
    Evidence evidence;
    const auto at = [&](std::size_t i) { return i < bytes.size() ? bytes[i] : '\n'; };
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned byte = byteOf(bytes[i]);
        if (byte < 0x80) {
            evidence.hasCR |= byte == '\r';
            evidence.hasLF |= byte == '\n';
            evidence.controls += isForeignControl(byte);
            continue;
        }
        const char before = i > 0 ? bytes[i - 1] : '\n';
        const bool blankBefore = before == ' ' || byteOf(before) == 0xA0;
        const bool digitBefore =
            ascii::isDigit(before) || (blankBefore && i > 1 && ascii::isDigit(bytes[i - 2]));
        weighHighByte(byte, before, at(i + 1), digitBefore, evidence);
    }
    return evidence;
}

std::string_view oneByteCharset(const Evidence& evidence) {
    const std::size_t mac = evidence.mac + (evidence.hasCR && !evidence.hasLF ? evidence.macWithCR : 0);
    if (mac > 4 * (evidence.latin + evidence.dos))
        return "macintosh";
    if (evidence.dos > 4 * (evidence.latin + evidence.mac))
        return "ibm-850";
    if (evidence.latin9 > 0 && evidence.c1 == 0)
        return "ISO-8859-15";
    return "windows-1252";
}

std::optional<std::string> asOneByteCharset(std::string_view bytes, const Evidence& evidence) {
    const std::string_view charset = oneByteCharset(evidence);
    const std::size_t undefined = charset == "windows-1252" ? evidence.undefined : 0;
    if (isTooMuch(evidence.controls + undefined, bytes.size()))
        return std::nullopt;
    return decodeCharset(bytes, charset);
}

/// The charset that ICU is asked for where a document says `declared`; empty where that says nothing. What
/// calls itself ISO 8859-1 or ASCII is windows-1252 in practice, and UTF-16 cannot be named in ASCII.
std::string_view trustedCharset(std::string_view declared) {
    declared = ascii::trimmed(declared);
    for (const std::string_view name :
         {"iso-8859-1", "iso8859-1", "iso_8859-1", "latin1", "latin-1", "us-ascii", "ascii"})
        if (ascii::equalsIgnoringCase(declared, name))
            return "windows-1252";
    if (declared.size() > 40 || ascii::startsWithIgnoringCase(declared, "utf") ||
        ascii::startsWithIgnoringCase(declared, "ucs") || ascii::startsWithIgnoringCase(declared, "unicode"))
        return {};
    return declared;
}

} // namespace

std::optional<std::string> decodeText(std::string_view bytes) {
    return decodeText(bytes, {});
}

std::optional<std::string> decodeText(std::string_view bytes, std::string_view declared) {
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.remove_prefix(3);
        return onlyIfText(unicode::repaired(bytes.substr(0, bytes.size() - unfinishedTail(bytes))));
    }
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF") ||
        bytes.starts_with(std::string_view("\0\0\xFE\xFF", 4)))
        return byMark(bytes);
    // Zeros that only pad the end say nothing; the second byte of UTF-16 is not lost with them, as more stand
    // before.
    const std::string_view unpadded = bytes.substr(0, bytes.find_last_not_of('\0') + 1);
    if (unpadded.empty())
        return bytes.empty() ? std::optional<std::string>("") : std::nullopt;
    if (unpadded.find('\0') != unpadded.npos)
        return asUnmarkedUTF16(bytes);
    const Evidence evidence = evidenceIn(unpadded);
    if (isTooMuch(evidence.controls, unpadded.size()))
        return std::nullopt;
    if (std::optional<std::string> text = asUTF8(unpadded))
        return text;
    if (const std::string_view charset = trustedCharset(declared); !charset.empty())
        if (std::optional<std::string> text = onlyIfText(decodeCharset(unpadded, charset)))
            return text;
    return asOneByteCharset(unpadded, evidence);
}

std::string_view wholeSequences(std::string_view bytes, std::size_t limit) {
    if (bytes.size() <= limit)
        return bytes;
    bytes = bytes.substr(0, limit / 4 * 4);
    return bytes.substr(0, bytes.size() - unfinishedTail(bytes));
}

} // namespace vesto::readers
