#pragma once
#include "core/extraction/readers/pictures/PictureMetadata.h"
#include "core/extraction/readers/pictures/Raster.h"
#include "core/extraction/readers/pictures/RasterScaling.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vesto::readers {

/// A picture whose full size takes more than this to decode is refused before; with the engine that
/// recognises text and everything else it fits a process of 1 GiB.
inline constexpr std::uint64_t maxDecodedSize = 320ULL << 20;      // bytes
inline constexpr std::uint32_t maxPictureSide = 65'535;            // pixels
inline constexpr std::uint64_t maxJPEGPixels = 256ULL * 1'000'000; // of one that is made smaller on the way

/// A decoded picture file.
struct PictureFile {
    Raster raster;  // upright, opaque, at most about as many pixels as were asked for
    PixelSize size; // of the whole picture, upright
    PictureMetadata metadata;
};

/// Of animations the first frame, of several pages the first. Nothing where the picture cannot be decoded or
/// claims an enormous size. HEIC starts threads, which end before it returns.
[[nodiscard]] std::optional<PictureFile> openPicture(std::string_view bytes, std::uint64_t maxPixels);

/// The part of `openPicture` for HEIC.
[[nodiscard]] std::optional<PictureFile> openHEIC(std::string_view bytes, std::uint64_t maxPixels);

} // namespace vesto::readers
