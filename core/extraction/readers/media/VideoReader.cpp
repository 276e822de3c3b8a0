#include "core/extraction/readers/media/VideoReader.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/media/FrameDecoder.h"
#include "core/extraction/readers/media/MediaFile.h"
#include "core/extraction/readers/media/MediaTitle.h"
#include "core/extraction/readers/media/SoundDecoder.h"
#include "core/extraction/readers/pictures/PictureContent.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vesto::readers {
namespace {

// Of a film's time; recognition, which takes the most, has its own limit and needs what is left.
constexpr double decodingShare = 0.5;
constexpr std::uint64_t recognisedPixels = 4'000'000;

} // namespace

std::expected<Reading, SummarizerError> summarizeVideo(const ReadRequest& request,
                                                       const VideoSummarizer& settings) {
    const Deadline deadline(settings.timeout * decodingShare);
    const auto file = MediaFile::open(request.fd, deadline);
    if (!file)
        return std::unexpected(SummarizerError::unreadable(request.path));
    Reading reading{.summary = {.kind = ContentSummary::Kind::video}};
    ContentSummary& summary = reading.summary;
    const MediaTags tags = file->tags();
    summary.documentTitle = usableMediaTitle(tags);
    summary.date = tags.date.has_value() ? tags.date : request.bestDate;
    if (const auto size = displaySize(*file)) {
        summary.pixelWidth = size->first;
        summary.pixelHeight = size->second;
    }
    // A film has no name for its format; this is what people call it, and it stands behind the word for its
    // kind.
    if (isScreenCapture(request.path, std::nullopt))
        summary.formatName = "enregistrement d'écran";

    if (request.onStage)
        request.onStage(ReadingStage::decodingFrames);
    const std::optional<Raster> frame = decodeFrame(*file, recognisedPixels);
    if (request.onStage)
        request.onStage(ReadingStage::decodingSound);
    reading.sound = decodeSound(*file, settings.audio.transcriptionWindow);
    if (!frame.has_value() && reading.sound.empty() && !summary.documentTitle.has_value())
        return std::unexpected(SummarizerError::unreadable(request.path));
    summary.duration = file->duration();
    if (frame.has_value()) {
        PictureContent picture = readPicture(*frame, settings.ocr, request);
        summary.textFromOCR = !picture.lines.empty();
        summary.lines = std::move(picture.lines);
        summary.labels = std::move(picture.labels);
        reading.missingLanguages = std::move(picture.missingLanguages);
    }
    return reading;
}

std::optional<Raster> videoPicture(const ReadRequest& request, std::uint64_t maxPixels) {
    const Deadline deadline(VideoSummarizer{}.timeout * decodingShare);
    const auto file = MediaFile::open(request.fd, deadline);
    if (!file)
        return std::nullopt;
    if (auto frame = decodeFrame(*file, maxPixels))
        return frame;
    return file->cover().empty() ? std::nullopt : decodePicture(file->cover(), maxPixels);
}

} // namespace vesto::readers
