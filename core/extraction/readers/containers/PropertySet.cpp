#include "core/extraction/readers/containers/PropertySet.h"

#include "core/extraction/readers/containers/LittleEndian.h"
#include "core/extraction/readers/text/RTFCharsets.h"
#include "core/support/Charset.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <chrono>

namespace vesto::readers {
namespace {

using namespace littleEndian;

constexpr std::uint64_t maxProperties = 1000;
constexpr std::uint64_t maxTitleBytes = 4096;
enum Identifier : std::uint32_t { codePage = 1, title = 2, created = 12, pages = 14 };
enum Type : std::uint32_t { int16 = 2, int32 = 3, bytesText = 30, wideText = 31, fileTime = 64 };

std::string decoded(std::string_view bytes, const std::string& charset) {
    const std::size_t zero = charset == "UTF-16LE" ? bytes.npos : bytes.find('\0');
    bytes = bytes.substr(0, zero);
    const std::string text = unicode::decodeCharset(bytes, charset)
                                 .value_or(unicode::decodeCharset(bytes, "windows-1252").value_or(""));
    return text.substr(0, text.find('\0'));
}

std::string textOf(std::string_view value, int page) {
    const std::uint64_t count = std::min<std::uint64_t>(number32(value, 4), maxTitleBytes);
    constexpr int utf16 = 1200;
    switch (number32(value, 0)) {
    case bytesText:
        return decoded(part(value, 8, count), page == utf16 ? "UTF-16LE" : charsetOfCodePage(page));
    case wideText:
        return decoded(part(value, 8, count * 2), "UTF-16LE");
    default:
        return {};
    }
}

std::optional<Instant> instantOf(std::string_view value) {
    if (number32(value, 0) != fileTime)
        return std::nullopt;
    // Tenths of a microsecond since 1601.
    const auto ticks = static_cast<std::int64_t>(number64(value, 4) / 10 & 0x7FFF'FFFF'FFFF'FFFF);
    const Instant first{std::chrono::sys_days{std::chrono::year{1990} / 1 / 1}};
    const Instant last{std::chrono::sys_days{std::chrono::year{2101} / 1 / 1}};
    const Instant epoch{std::chrono::sys_days{std::chrono::year{1601} / 1 / 1}};
    const std::chrono::microseconds passed{ticks};
    if (passed < first - epoch || passed >= last - epoch)
        return std::nullopt;
    return epoch + passed;
}

} // namespace

DocumentProperties readPropertySet(std::string_view stream) {
    DocumentProperties result;
    if (number16(stream, 0) != 0xFFFE || number32(stream, 24) == 0)
        return result;
    const std::uint64_t offset = number32(stream, 44);
    const std::string_view section = part(stream, offset, stream.size());
    const std::uint64_t count = std::min<std::uint64_t>(number32(section, 4), maxProperties);
    int page = 1252;
    // The code page may stand behind what is written in it.
    for (const bool wantsCodePage : {true, false})
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::uint32_t identifier = number32(section, 8 + 8 * i);
            const std::string_view value = part(section, number32(section, 12 + 8 * i), section.size());
            if (wantsCodePage) {
                if (identifier == codePage && number32(value, 0) == int16)
                    page = number16(value, 4);
            } else if (identifier == title) {
                result.title = textOf(value, page);
            } else if (identifier == created) {
                result.created = instantOf(value);
            } else if (identifier == pages && number32(value, 0) == int32) {
                const std::uint32_t number = number32(value, 4);
                if (number > 0 && number <= 1'000'000)
                    result.pageCount = number;
            }
        }
    return result;
}

void readBinaryProperties(const CompoundFile& file, OfficeText& result) {
    const std::optional<std::string> stream = file.stream("\5SummaryInformation");
    if (!stream)
        return;
    const DocumentProperties properties = readPropertySet(*stream);
    const std::string title = unicode::repaired(unicode::trimmedWhiteSpace(properties.title));
    if (!title.empty())
        result.title = title;
    result.date = properties.created;
    result.pageCount = properties.pageCount;
}

} // namespace vesto::readers
