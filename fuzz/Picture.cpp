#include "core/extraction/readers/pictures/PictureContent.h"
#include "core/extraction/readers/pictures/PictureFile.h"
#include "fuzz/Input.h"

#include <cstddef>
#include <cstdint>

using namespace vesto::readers;

namespace {

constexpr std::uint64_t maxPixels = 10'000;

} // namespace

/// The whole input is a picture file, or the block of EXIF that a HEIC file stores.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const PictureMetadata metadata = metadataOfEXIF(bytes);
    VESTO_ASSERT(metadata.orientation >= 1 && metadata.orientation <= 8);
    const auto format = pictureFormatOf(bytes);
    if (!format)
        return 0;
    // What claims millions of pixels takes its time and is no different.
    const auto header = pictureHeader(bytes, *format);
    if (header && header->size.pixels() > 4'000'000)
        return 0;
    const auto file = openPicture(bytes, maxPixels);
    if (!file)
        return 0;
    const Raster& raster = file->raster;
    VESTO_ASSERT(raster.width > 0 && raster.height > 0);
    VESTO_ASSERT(raster.rgba.size() == std::size_t{raster.width} * raster.height * 4);
    VESTO_ASSERT(std::uint64_t{raster.width} * raster.height <= 3 * maxPixels);
    VESTO_ASSERT(raster.width <= file->size.width && raster.height <= file->size.height);
    VESTO_ASSERT(!file->metadata.comment || vesto::unicode::isValid(*file->metadata.comment));
    return 0;
}
