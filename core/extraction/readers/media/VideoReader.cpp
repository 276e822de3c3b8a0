#include "core/extraction/readers/media/VideoReader.h"

#include "core/extraction/readers/media/Film.h"
#include "core/extraction/readers/pictures/PictureContent.h"

#include <utility>

namespace vesto::readers {

std::expected<Reading, SummarizerError> summarizeVideo(const ReadRequest& request,
                                                       const VideoSummarizer& settings) {
    auto film = readFilm(request, settings);
    if (!film)
        return std::unexpected(std::move(film).error());
    Reading reading = std::move(film->reading);
    if (film->frame.has_value()) {
        PictureContent picture = readPicture(*film->frame, settings.ocr, request);
        reading.summary.textFromOCR = !picture.lines.empty();
        reading.summary.lines = std::move(picture.lines);
        reading.summary.labels = std::move(picture.labels);
        reading.missingLanguages = std::move(picture.missingLanguages);
    }
    return reading;
}

std::optional<Raster> videoPicture(const ReadRequest& request, std::uint64_t maxPixels) {
    FilmStill still = stillOfFilm(request, maxPixels);
    return still.frame.has_value() ? std::move(still.frame) : decodePicture(still.cover, maxPixels);
}

} // namespace vesto::readers
