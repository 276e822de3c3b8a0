#include "core/extraction/readers/media/AudioReader.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/media/MediaFile.h"
#include "core/extraction/readers/media/MediaTitle.h"
#include "core/extraction/readers/media/SoundDecoder.h"

#include <string>

namespace vesto::readers {
namespace {

constexpr Seconds longestReading{
    10}; // an hour of speech is found and its first minute decoded in a few hundredths

} // namespace

std::expected<Reading, SummarizerError> summarizeAudio(const ReadRequest& request,
                                                       const AudioSummarizer& settings) {
    const Deadline deadline(longestReading);
    const auto file = MediaFile::open(request.fd, deadline);
    if (!file)
        return std::unexpected(SummarizerError::unreadable(request.path));
    const MediaTags tags = file->tags();
    Reading reading{.summary = {.kind = ContentSummary::Kind::audio}};
    LineCollector lines;
    if (tags.artist.has_value())
        lines.add("Artiste : " + *tags.artist);
    if (tags.album.has_value())
        lines.add("Album : " + *tags.album);
    reading.summary.lines = lines.take();
    reading.summary.documentTitle = usableMediaTitle(tags);
    reading.summary.date = tags.date.has_value() ? tags.date : request.bestDate;
    if (request.onStage)
        request.onStage(ReadingStage::decodingSound);
    reading.sound = decodeSound(*file, settings.transcriptionWindow);
    if (reading.sound.empty() && reading.summary.lines.empty() && !reading.summary.documentTitle.has_value())
        return std::unexpected(SummarizerError::unreadable(request.path));
    reading.summary.duration = file->duration();
    return reading;
}

std::string coverOfRecording(const ReadRequest& request) {
    const Deadline deadline(longestReading);
    const auto file = MediaFile::open(request.fd, deadline);
    return file ? std::string(file->cover()) : std::string();
}

} // namespace vesto::readers
