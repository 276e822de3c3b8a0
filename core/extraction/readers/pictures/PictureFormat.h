#pragma once
#include "core/extraction/readers/pictures/RasterScaling.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesto::readers {

enum class PictureFormat { png, jpeg, tiff, gif, webp, bmp, heic };

/// What the first bytes say; a name says nothing about a picture's format.
[[nodiscard]] std::optional<PictureFormat> pictureFormatOf(std::string_view bytes);

/// What a picture says of itself before any pixel is decoded.
struct PictureHeader {
    PixelSize size;                // as stored, not yet turned
    std::uint64_t decodedSize = 0; // bytes that decoding at full size takes at its peak
};

/// Nothing where the header is damaged; of HEIC, which its own decoder looks at, always.
[[nodiscard]] std::optional<PictureHeader> pictureHeader(std::string_view bytes, PictureFormat format);

/// The first frame of an animation as a file of its own; nothing where `bytes` are no animation or cut short
/// before its end. Linear time.
[[nodiscard]] std::optional<std::string> firstFrameOfGIF(std::string_view bytes);
[[nodiscard]] std::optional<std::string> firstFrameOfWebP(std::string_view bytes);

} // namespace vesto::readers
