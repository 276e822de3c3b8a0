#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::readers {

/// What a picture says and shows.
struct PictureContent {
    std::vector<std::string>
        lines{}; // recognised, in reading order; words nobody could be sure of are left out
    std::vector<ContentSummary::Label> labels{}; // none where no classifier is installed
    std::vector<std::string> missingLanguages{}; // as in Reading
};

/// Recognises text and classifies, as `settings` say; tells `request.onStage` before each. Recognition gives
/// what it has after 8 seconds, or at the request's last moment, after which nothing is classified. The one
/// way in for every reader that comes upon a picture: a photo, a scanned page, a frame of a film, the
/// thumbnail that a document carries.
[[nodiscard]] PictureContent readPicture(const Raster& picture, const ImageSummarizer& settings,
                                         const ReadRequest& request);

/// The text alone.
[[nodiscard]] PictureContent recognizePicture(const Raster& picture, const ImageSummarizer& settings,
                                              const ReadRequest& request);

/// The pixels of a picture file of one of the image types in memory (PNG, JPEG, HEIC, TIFF, GIF, WebP, BMP),
/// turned upright as its EXIF says, scaled down while decoding to about `maxPixels` where it is larger.
/// Nothing where it cannot be decoded or claims an enormous size.
[[nodiscard]] std::optional<Raster> decodePicture(std::string_view bytes, std::uint64_t maxPixels);

} // namespace vesto::readers
