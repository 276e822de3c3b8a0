#pragma once
#include <zlib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::tests {

/// A member to write, with what its headers shall claim where that differs from the truth.
struct ZipPart {
    std::string name;
    std::string content;
    std::uint16_t method = 8; // 0 stores; any other method but 8 is only claimed
    std::optional<std::uint32_t> size = std::nullopt;
    std::optional<std::uint32_t> compressedSize = std::nullopt;
    std::optional<std::uint32_t> offset = std::nullopt;
};

inline void append16(std::string& bytes, std::size_t value) {
    bytes += static_cast<char>(value & 0xFF);
    bytes += static_cast<char>(value >> 8 & 0xFF);
}

inline void append32(std::string& bytes, std::size_t value) {
    append16(bytes, value & 0xFFFF);
    append16(bytes, value >> 16);
}

inline std::string deflated(std::string_view content) {
    z_stream stream = {};
    ::deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string bytes(::deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    ::deflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    ::deflateEnd(&stream);
    return bytes;
}

/// The local headers carry extra fields of 4 bytes and sizes of 0, as those of a stream do.
inline std::string zipArchive(const std::vector<ZipPart>& parts, std::string_view comment = {}) {
    std::string archive;
    std::string directory;
    for (const ZipPart& part : parts) {
        const std::size_t offset = archive.size();
        const std::string data = part.method == 8 ? deflated(part.content) : part.content;
        append32(archive, 0x04034b50);
        archive.append(22, '\0');
        append16(archive, part.name.size());
        append16(archive, 4);
        archive += part.name + "\1\2\3\4" + data;

        append32(directory, 0x02014b50);
        directory.append(6, '\0');
        append16(directory, part.method);
        directory.append(8, '\0');
        append32(directory, part.compressedSize.value_or(static_cast<std::uint32_t>(data.size())));
        append32(directory, part.size.value_or(static_cast<std::uint32_t>(part.content.size())));
        append16(directory, part.name.size());
        append16(directory, 3); // extra
        append16(directory, 2); // comment
        directory.append(8, '\0');
        append32(directory, part.offset.value_or(static_cast<std::uint32_t>(offset)));
        directory += part.name + "eeecc";
    }
    const std::size_t directoryOffset = archive.size();
    archive += directory;
    append32(archive, 0x06054b50);
    archive.append(6, '\0');
    append16(archive, parts.size());
    append32(archive, directory.size());
    append32(archive, directoryOffset);
    append16(archive, comment.size());
    archive += comment;
    return archive;
}

} // namespace vesto::tests
