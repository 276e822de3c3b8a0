#include "core/extraction/readers/pictures/PictureFormat.h"

#include "core/extraction/readers/containers/LittleEndian.h"
#include "core/extraction/readers/pictures/LeptonicaPicture.h"

#include <leptonica/allheaders.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace vesto::readers {
namespace {

using littleEndian::number16;
using littleEndian::number32;

void appendLittleEndian(std::string& bytes, std::uint32_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, value >>= 8)
        bytes += static_cast<char>(value & 0xFF);
}

bool isHEIC(std::string_view bytes) {
    static constexpr std::array<std::string_view, 9> brands{"heic", "heix", "heim", "heis", "hevc",
                                                            "hevx", "mif1", "msf1", "heif"};
    if (bytes.size() < 12 || bytes.substr(4, 4) != "ftyp")
        return false;
    return std::ranges::find(brands, bytes.substr(8, 4)) != brands.end();
}

/// Width and height of a BMP; a negative height means that its rows come from the top.
PixelSize sizeOfBMP(std::string_view bytes) {
    if (number32(bytes, 14) == 12) // the oldest header
        return {number16(bytes, 18), number16(bytes, 20)};
    const std::uint32_t height = number32(bytes, 22);
    return {number32(bytes, 18), height > 0x8000'0000U ? 0U - height : height};
}

/// The bytes that a GIF's table of colours takes, by the flags before it.
std::size_t tableSizeOf(char flags) {
    return (flags & '\x80') != 0 ? std::size_t{3} << ((flags & 7) + 1) : 0;
}

/// Behind a run of blocks, each with its length before it; behind the end where it is cut short.
std::size_t afterBlocks(std::string_view bytes, std::size_t offset) {
    while (offset < bytes.size() && bytes[offset] != '\0')
        offset += std::size_t{static_cast<unsigned char>(bytes[offset])} + 1;
    return offset + 1;
}

/// Where the description of a GIF's first frame begins, with all of its ten bytes there.
std::optional<std::size_t> firstFrameAt(std::string_view bytes) {
    if (bytes.size() < 13)
        return std::nullopt;
    std::size_t offset = 13 + tableSizeOf(bytes[10]);
    while (offset < bytes.size() && bytes[offset] == '!')
        offset = afterBlocks(bytes, offset + 2);
    if (offset >= bytes.size() || bytes.size() - offset < 10 || bytes[offset] != ',')
        return std::nullopt;
    return offset;
}

PixelSize sizeOfGIF(std::string_view bytes) {
    const auto frame = firstFrameAt(bytes);
    if (!frame)
        return {};
    return {number16(bytes, *frame + 5), number16(bytes, *frame + 7)};
}

PictureHeader withDepth(PixelSize size, std::uint64_t bitsPerPixel) {
    return {.size = size, .decodedSize = size.pixels() * bitsPerPixel / 8};
}

std::optional<PictureHeader> headerByLeptonica(std::string_view bytes, PictureFormat format) {
    silenceLeptonica();
    l_int32 kind = 0;
    l_int32 width = 0;
    l_int32 height = 0;
    l_int32 bits = 0;
    l_int32 samples = 0;
    l_int32 hasPalette = 0;
    if (pixReadHeaderMem(reinterpret_cast<const l_uint8*>(bytes.data()), bytes.size(), &kind, &width, &height,
                         &bits, &samples, &hasPalette) != 0 ||
        width <= 0 || height <= 0)
        return std::nullopt;
    const PixelSize size{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
    if (samples == 1)
        return withDepth(size, static_cast<std::uint64_t>(std::clamp(bits, 1, 32)));
    // A TIFF in colour is unpacked beside the picture that it becomes.
    return withDepth(size, format == PictureFormat::tiff ? 64 : 32);
}

} // namespace

std::optional<PictureFormat> pictureFormatOf(std::string_view bytes) {
    using namespace std::string_view_literals;
    static constexpr std::array<std::pair<std::string_view, PictureFormat>, 7> signatures{{
        {"\x89PNG\r\n\x1A\n"sv, PictureFormat::png},
        {"\xFF\xD8\xFF"sv, PictureFormat::jpeg},
        {"II*\0"sv, PictureFormat::tiff},
        {"MM\0*"sv, PictureFormat::tiff},
        {"GIF87a"sv, PictureFormat::gif},
        {"GIF89a"sv, PictureFormat::gif},
        {"BM"sv, PictureFormat::bmp},
    }};
    for (const auto& [signature, format] : signatures) {
        if (bytes.starts_with(signature))
            return format;
    }
    if (bytes.starts_with("RIFF") && bytes.size() >= 16 && bytes.substr(8, 4) == "WEBP")
        return PictureFormat::webp;
    return isHEIC(bytes) ? std::optional(PictureFormat::heic) : std::nullopt;
}

std::optional<PictureHeader> pictureHeader(std::string_view bytes, PictureFormat format) {
    std::optional<PictureHeader> header;
    switch (format) {
    case PictureFormat::png:
    case PictureFormat::jpeg:
    case PictureFormat::tiff:
    case PictureFormat::webp:
        header = headerByLeptonica(bytes, format);
        break;
    case PictureFormat::gif: // Leptonica would decode all of it
        header = withDepth(sizeOfGIF(bytes), 16);
        break;
    case PictureFormat::bmp: // likewise
        header = withDepth(sizeOfBMP(bytes), std::clamp<std::uint32_t>(number16(bytes, 28), 1, 32));
        break;
    case PictureFormat::heic:
        break;
    }
    if (header && (header->size.width == 0 || header->size.height == 0))
        return std::nullopt;
    return header;
}

std::optional<std::string> firstFrameOfGIF(std::string_view bytes) {
    const auto frame = firstFrameAt(bytes);
    if (!frame)
        return std::nullopt;
    const std::size_t data = *frame + 10 + tableSizeOf(bytes[*frame + 9]) + 1; // behind the size of a code
    const std::size_t end = afterBlocks(bytes, data);
    if (end > bytes.size())
        return std::nullopt;
    return std::string(bytes.substr(0, end)) + ';';
}

std::optional<std::string> firstFrameOfWebP(std::string_view bytes) {
    constexpr std::size_t chunkHeader = 8;
    constexpr std::size_t frameHeader = 16;
    for (std::size_t offset = 12; offset + chunkHeader <= bytes.size();) {
        const std::size_t size = number32(bytes, offset + 4);
        const std::string_view content = bytes.substr(offset + chunkHeader, size);
        if (bytes.substr(offset, 4) == "ANMF") {
            if (content.size() < size || size < frameHeader)
                return std::nullopt;
            const std::string_view frame = content.substr(frameHeader);
            std::string chunks = "WEBP";
            if (frame.starts_with("ALPH")) { // only the extended form has one
                chunks += "VP8X";
                appendLittleEndian(chunks, 10, 4);
                appendLittleEndian(chunks, 0x10, 4);
                chunks += content.substr(6, 6); // width and height, less one
            }
            chunks += frame;
            std::string file = "RIFF";
            appendLittleEndian(file, static_cast<std::uint32_t>(chunks.size()), 4);
            return file + chunks;
        }
        offset += chunkHeader + size + size % 2;
    }
    return std::nullopt;
}

} // namespace vesto::readers
