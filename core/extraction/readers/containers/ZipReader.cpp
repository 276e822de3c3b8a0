#include "core/extraction/readers/containers/ZipReader.h"

#include "core/support/Unicode.h"

#include <zlib.h>

#include <algorithm>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::uint32_t endSignature = 0x0605'4b50;
constexpr std::uint32_t directorySignature = 0x0201'4b50;
constexpr std::uint32_t localSignature = 0x0403'4b50;
constexpr std::uint64_t endSize = 22;
constexpr std::uint64_t directoryHeaderSize = 46;
constexpr std::uint64_t localHeaderSize = 30;
constexpr std::uint64_t maxCommentSize = 65'535;
constexpr std::uint16_t methodStored = 0;
constexpr std::uint16_t methodDeflate = 8;

// Little-endian numbers; the caller has checked that they lie inside.
std::uint32_t byteAt(std::string_view data, std::uint64_t position) {
    return static_cast<unsigned char>(data[position]);
}

std::uint16_t number16(std::string_view data, std::uint64_t position) {
    return static_cast<std::uint16_t>(byteAt(data, position) | byteAt(data, position + 1) << 8U);
}

std::uint32_t number32(std::string_view data, std::uint64_t position) {
    return number16(data, position) | std::uint32_t{number16(data, position + 2)} << 16U;
}

bool liesInside(std::string_view data, std::uint64_t position, std::uint64_t size) {
    return position <= data.size() && size <= data.size() - position;
}

std::optional<std::uint64_t> endRecord(std::string_view data) {
    const std::uint64_t last = data.size() - endSize;
    const std::uint64_t first = last > maxCommentSize ? last - maxCommentSize : 0;
    for (std::uint64_t position = last + 1; position-- > first;) {
        if (data[position] == 'P' && number32(data, position) == endSignature)
            return position;
    }
    return std::nullopt;
}

// Fills the buffer of exactly `size` bytes; what the data holds beyond it is not looked at.
std::optional<ZipMember> inflated(std::string_view data, std::uint64_t size) {
    auto buffer = std::make_unique_for_overwrite<char[]>(size);
    z_stream stream = {};
    if (::inflateInit2(&stream, -MAX_WBITS) != Z_OK) // negative: no zlib header
        return std::nullopt;
    // zlib's interface is not const-correct; it only reads.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(buffer.get());
    stream.avail_out = static_cast<uInt>(size);
    ::inflate(&stream, Z_FINISH);
    const bool full = stream.avail_out == 0;
    ::inflateEnd(&stream);
    if (!full)
        return std::nullopt;
    return ZipMember(std::move(buffer), size);
}

} // namespace

std::optional<ZipReader> ZipReader::open(std::string_view archive) {
    ZipReader reader(archive);
    if (!reader.readDirectory())
        return std::nullopt;
    return reader;
}

std::optional<ZipReader> ZipReader::open(int fd, std::uint64_t maxBytes) {
    std::optional<FileBytes> file = FileBytes::map(fd, maxBytes);
    if (!file.has_value())
        return std::nullopt;
    ZipReader reader(file->view());
    reader.m_file = std::move(file);
    if (!reader.readDirectory())
        return std::nullopt;
    return reader;
}

bool ZipReader::readDirectory() {
    if (m_data.size() <= endSize || !m_data.starts_with("PK"))
        return false;
    const std::optional<std::uint64_t> end = endRecord(m_data);
    if (!end.has_value())
        return false;
    const std::uint16_t count = number16(m_data, *end + 10);
    std::uint64_t position = number32(m_data, *end + 16);
    for (std::uint16_t index = 0; index < count; ++index) {
        if (!liesInside(m_data, position, directoryHeaderSize) ||
            number32(m_data, position) != directorySignature)
            return false;
        const std::uint64_t nameSize = number16(m_data, position + 28);
        if (!liesInside(m_data, position + directoryHeaderSize, nameSize))
            return false;
        const Entry entry{.method = number16(m_data, position + 10),
                          .compressedSize = number32(m_data, position + 20),
                          .size = number32(m_data, position + 24),
                          .offset = number32(m_data, position + 42)};
        m_entries.insert_or_assign(unicode::repaired(m_data.substr(position + directoryHeaderSize, nameSize)),
                                   entry);
        position += directoryHeaderSize + nameSize + number16(m_data, position + 30) +
                    number16(m_data, position + 32);
    }
    return true;
}

std::optional<ZipMember> ZipReader::data(std::string_view name) const {
    const auto found = m_entries.find(name);
    if (found == m_entries.end())
        return std::nullopt;
    const Entry& entry = found->second;
    if (entry.size > maxMemberSize)
        return std::nullopt;
    const auto header = static_cast<std::uint64_t>(entry.offset);
    const auto compressedSize = static_cast<std::uint64_t>(entry.compressedSize);
    if (!liesInside(m_data, header, localHeaderSize) || number32(m_data, header) != localSignature)
        return std::nullopt;
    const std::uint64_t begin =
        header + localHeaderSize + number16(m_data, header + 26) + number16(m_data, header + 28);
    if (!liesInside(m_data, begin, compressedSize))
        return std::nullopt;
    const std::string_view content = m_data.substr(begin, compressedSize);
    switch (entry.method) {
    case methodStored:
        return ZipMember(content);
    case methodDeflate:
        if (entry.size < 1)
            return ZipMember(std::string_view());
        return inflated(content, static_cast<std::uint64_t>(entry.size));
    default:
        return std::nullopt;
    }
}

} // namespace vesto::readers
