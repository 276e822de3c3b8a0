#include "core/extraction/readers/Previews.h"

#include "core/extraction/readers/DocumentReader.h"
#include "core/extraction/readers/QuickLookReader.h"
#include "core/extraction/readers/media/AudioReader.h"
#include "core/extraction/readers/media/VideoReader.h"
#include "core/extraction/readers/pdf/PDFReader.h"
#include "core/extraction/readers/pictures/ImageReader.h"
#include "core/extraction/readers/pictures/PictureContent.h"
#include "core/extraction/readers/pictures/RasterScaling.h"

#include <cstdint>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::uint64_t enough = std::uint64_t{Preview::maxSide} * Preview::maxSide; // pixels

/// A picture of any size, from the reader of the route.
std::optional<Raster> largePictureOf(const ReadRequest& request) {
    switch (request.route) {
    case Route::pdf:
        return firstPageOfPDF(request, Preview::maxSide);
    case Route::image:
        return pictureOfImage(request);
    case Route::video:
        return videoPicture(request, enough);
    case Route::audio:
        return decodePicture(coverOfRecording(request), enough);
    case Route::quickLook:
        return pictureOfQuickLook(request, QuickLookSummarizer(), enough);
    case Route::document:
        return pictureOfDocument(request, DocumentSummarizer(), enough);
    case Route::email:
        break;
    }
    return std::nullopt;
}

} // namespace

std::optional<Raster> pictureOf(const ReadRequest& request) {
    auto picture = largePictureOf(request);
    if (!picture || picture->width == 0 || picture->height == 0)
        return std::nullopt;
    const PixelSize size{picture->width, picture->height};
    const PixelSize smaller = sizeWithinSide(size, Preview::maxSide);
    return smaller == size ? std::move(picture) : reduced(*picture, smaller);
}

} // namespace vesto::readers
