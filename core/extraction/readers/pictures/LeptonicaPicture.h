#pragma once
#include "core/extraction/readers/pictures/RasterScaling.h"
#include "core/extraction/readers/pictures/TextContrast.h"

#include <memory>

struct Pix;

namespace vesto::readers {

/// Leptonica reports every flaw of a file on the standard error otherwise. Cheap once done.
void silenceLeptonica();

struct PixDeleter {
    void operator()(Pix* pix) const;
};
using PixPointer = std::unique_ptr<Pix, PixDeleter>;

/// The pixels of any picture of Leptonica's, made smaller to `to`, which must not be larger. What is
/// transparent shows white behind it, or dark grey where all that can be seen is light.
[[nodiscard]] Raster rasterOf(const Pix& pix, PixelSize to);

/// The same pixels for Leptonica; null where there is no memory for them.
[[nodiscard]] PixPointer pixOf(const GreyPicture& picture);

} // namespace vesto::readers
