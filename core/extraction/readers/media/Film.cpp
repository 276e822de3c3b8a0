#include "core/extraction/readers/media/Film.h"

#include "core/extraction/readers/media/FrameDecoder.h"
#include "core/extraction/readers/media/MediaFile.h"
#include "core/extraction/readers/media/MediaTitle.h"
#include "core/extraction/readers/media/SoundDecoder.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vesto::readers {
namespace {

// Of a film's time; recognition, which takes the most, has its own limit and needs what is left.
constexpr double decodingShare = 0.5;
constexpr std::uint64_t recognisedPixels = 4'000'000;

} // namespace

std::expected<Film, SummarizerError> readFilm(const ReadRequest& request, const VideoSummarizer& settings) {
    const Deadline deadline(settings.timeout * decodingShare);
    const auto file = MediaFile::open(request.fd, deadline);
    if (!file)
        return std::unexpected(SummarizerError::unreadable(request.path));
    Film film{.reading = {.summary = {.kind = ContentSummary::Kind::video}}, .frame = {}};
    ContentSummary& summary = film.reading.summary;
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
    film.frame = decodeFrame(*file, recognisedPixels);
    if (request.onStage)
        request.onStage(ReadingStage::decodingSound);
    film.reading.sound = decodeSound(*file, settings.audio.transcriptionWindow);
    if (!film.frame.has_value() && film.reading.sound.empty() && !summary.documentTitle.has_value())
        return std::unexpected(SummarizerError::unreadable(request.path));
    summary.duration = file->duration();
    return film;
}

FilmStill stillOfFilm(const ReadRequest& request, std::uint64_t maxPixels) {
    const Deadline deadline(VideoSummarizer{}.timeout * decodingShare);
    const auto file = MediaFile::open(request.fd, deadline);
    FilmStill still;
    if (!file)
        return still;
    still.frame = decodeFrame(*file, maxPixels);
    if (!still.frame.has_value())
        still.cover = file->cover();
    return still;
}

} // namespace vesto::readers
