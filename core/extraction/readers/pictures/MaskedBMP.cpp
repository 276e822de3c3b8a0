#include "core/extraction/readers/pictures/MaskedBMP.h"

#include "core/extraction/readers/containers/LittleEndian.h"
#include "core/extraction/readers/pictures/PictureFormat.h"

#include <leptonica/allheaders.h>

#include <array>
#include <bit>
#include <cstdint>
#include <optional>

// The layout of the header: https://learn.microsoft.com/windows/win32/api/wingdi/ns-wingdi-bitmapinfoheader
namespace vesto::readers {
namespace {

/// Where one colour of a pixel is.
struct Mask {
    std::uint32_t bits = 0;

    [[nodiscard]] bool isContiguous() const {
        const std::uint32_t moved = bits == 0 ? 0 : bits >> std::countr_zero(bits);
        return (moved & (moved + 1)) == 0;
    }
    /// 0 to 255.
    [[nodiscard]] std::uint8_t levelOf(std::uint32_t pixel) const {
        if (bits == 0)
            return 0;
        const int shift = std::countr_zero(bits);
        const std::uint64_t most = bits >> shift;
        return static_cast<std::uint8_t>(((pixel & bits) >> shift) * std::uint64_t{255} / most);
    }
};

struct Layout {
    std::size_t pixels = 0; // offset of the first row
    std::size_t bytesPerPixel = 0;
    std::array<Mask, 3> masks{}; // red, green, blue
};

constexpr std::size_t compressionAt = 30;
constexpr std::uint32_t none = 0;
constexpr std::uint32_t bitFields = 3;      // three masks stand at 54
constexpr std::uint32_t alphaBitFields = 6; // four

std::optional<Layout> layoutOf(std::string_view bytes) {
    using namespace littleEndian;
    Layout layout{.pixels = number32(bytes, 10), .bytesPerPixel = number16(bytes, 28) / std::size_t{8}};
    if (number32(bytes, compressionAt) == none)
        layout.masks = {Mask{0x7C00}, Mask{0x03E0}, Mask{0x001F}};
    else
        layout.masks = {Mask{number32(bytes, 54)}, Mask{number32(bytes, 58)}, Mask{number32(bytes, 62)}};
    for (const Mask mask : layout.masks) {
        if (!mask.isContiguous())
            return std::nullopt;
    }
    return layout;
}

} // namespace

bool isMaskedBMP(std::string_view bytes) {
    using namespace littleEndian;
    if (bytes.size() < 66 || number32(bytes, 14) < 40)
        return false;
    const std::uint32_t compression = number32(bytes, compressionAt);
    const auto depth = number16(bytes, 28);
    const bool hasMasks = compression == bitFields || compression == alphaBitFields;
    return (hasMasks && (depth == 16 || depth == 32)) || (compression == none && depth == 16);
}

PixPointer pixOfMaskedBMP(std::string_view bytes) {
    const auto layout = layoutOf(bytes);
    const auto header = pictureHeader(bytes, PictureFormat::bmp);
    if (!layout || !header)
        return nullptr;
    const auto [width, height] = header->size;
    PixPointer pix(pixCreate(static_cast<l_int32>(width), static_cast<l_int32>(height), 32));
    if (pix == nullptr)
        return nullptr;
    pixSetAll(pix.get());
    const bool isFromTop = (littleEndian::number32(bytes, 22) & 0x8000'0000U) != 0;
    const std::size_t rowSize = (std::size_t{width} * layout->bytesPerPixel + 3) / 4 * 4;
    const auto wordsPerLine = static_cast<std::size_t>(pixGetWpl(pix.get()));
    for (std::size_t row = 0; row < height; ++row) {
        const std::size_t start = layout->pixels + row * rowSize;
        if (start >= bytes.size() || bytes.size() - start < rowSize)
            break;
        l_uint32* line = pixGetData(pix.get()) + wordsPerLine * (isFromTop ? row : height - 1 - row);
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t at = start + x * layout->bytesPerPixel;
            const std::uint32_t pixel = layout->bytesPerPixel == 2 ? littleEndian::number16(bytes, at)
                                                                   : littleEndian::number32(bytes, at);
            const auto& [red, green, blue] = layout->masks;
            composeRGBPixel(red.levelOf(pixel), green.levelOf(pixel), blue.levelOf(pixel), line + x);
        }
    }
    return pix;
}

} // namespace vesto::readers
