#include "core/extraction/readers/containers/PropertyList.h"

#include <algorithm>

namespace vesto::readers {
namespace {

constexpr std::string_view signature = "bplist0";
constexpr std::size_t trailerSize = 32;
constexpr unsigned kindData = 4, kindText = 5, kindDictionary = 13;

} // namespace

std::optional<PropertyList> PropertyList::open(std::string_view bytes) {
    if (!bytes.starts_with(signature) || bytes.size() < signature.size() + trailerSize)
        return std::nullopt;
    PropertyList list(bytes);
    const std::uint64_t trailer = bytes.size() - trailerSize;
    list.m_offsetSize = static_cast<unsigned>(list.number(trailer + 6, 1));
    list.m_numberSize = static_cast<unsigned>(list.number(trailer + 7, 1));
    list.m_count = list.number(trailer + 8, 8);
    list.m_root = list.number(trailer + 16, 8);
    list.m_offsets = list.number(trailer + 24, 8);
    const auto isSize = [](unsigned size) { return size >= 1 && size <= 8; };
    if (!isSize(list.m_offsetSize) || !isSize(list.m_numberSize) || list.m_offsets >= trailer ||
        list.m_count > (trailer - list.m_offsets) / list.m_offsetSize)
        return std::nullopt;
    return list;
}

/// The highest byte first; 0 where it does not lie inside.
std::uint64_t PropertyList::number(std::uint64_t at, unsigned size) const {
    if (at > m_bytes.size() || size > m_bytes.size() - at)
        return 0;
    std::uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = value << 8U | static_cast<unsigned char>(m_bytes[at + i]);
    return value;
}

PropertyList::Content PropertyList::contentOf(Object object) const {
    if (object >= m_count)
        return {};
    const std::uint64_t at = number(m_offsets + object * m_offsetSize, m_offsetSize);
    if (at >= m_bytes.size())
        return {};
    const auto marker = static_cast<unsigned>(number(at, 1));
    Content content{.kind = marker >> 4U, .count = marker & 0xFU};
    std::uint64_t begin = at + 1;
    if (content.count == 0xF) { // a number of its own follows
        const unsigned size = 1U << (number(begin, 1) & 3U);
        content.count = number(begin + 1, size);
        begin += 1 + size;
    }
    content.rest = m_bytes.substr(std::min<std::uint64_t>(begin, m_bytes.size()));
    return content;
}

std::optional<PropertyList::Object> PropertyList::find(Object dictionary, std::string_view key) const {
    const Content content = contentOf(dictionary);
    if (content.kind != kindDictionary || content.count > content.rest.size() / m_numberSize / 2)
        return std::nullopt;
    const std::uint64_t keys = m_bytes.size() - content.rest.size();
    for (std::uint64_t i = 0; i < content.count; ++i)
        if (text(number(keys + i * m_numberSize, m_numberSize)) == key)
            return number(keys + (content.count + i) * m_numberSize, m_numberSize);
    return std::nullopt;
}

std::optional<std::string_view> PropertyList::bytesOf(Object object, unsigned kind) const {
    const Content content = contentOf(object);
    if (content.kind != kind || content.count > content.rest.size())
        return std::nullopt;
    return content.rest.substr(0, content.count);
}

std::optional<std::string_view> PropertyList::data(Object object) const {
    return bytesOf(object, kindData);
}

std::optional<std::string_view> PropertyList::text(Object object) const {
    return bytesOf(object, kindText);
}

} // namespace vesto::readers
