#include "core/extraction/readers/pictures/ImageReader.h"

#include "core/extraction/readers/FileBytes.h"
#include "core/extraction/readers/pictures/PictureContent.h"
#include "core/extraction/readers/pictures/PictureFile.h"
#include "core/extraction/readers/pictures/TextRecognition.h"

#include <utility>

namespace vesto::readers {
namespace {

constexpr std::uint64_t maxFileSize = 200ULL << 20; // bytes

ContentSummary::Kind kindOf(const ReadRequest& request, const PictureMetadata& metadata) {
    if (isScreenCapture(request.path, metadata.comment))
        return ContentSummary::Kind::screenshot;
    return metadata.hasCameraMetadata ? ContentSummary::Kind::photo : ContentSummary::Kind::image;
}

std::optional<PictureFile> openFile(const ReadRequest& request) {
    const auto bytes = FileBytes::map(request.fd, maxFileSize);
    auto file = bytes ? openPicture(bytes->view(), maxRecognizedPixels) : std::nullopt;
    return bytes && bytes->wasTruncated() ? std::nullopt : std::move(file);
}

} // namespace

std::expected<Reading, SummarizerError> summarizeImage(const ReadRequest& request,
                                                       const ImageSummarizer& settings) {
    const auto unreadable = [&] { return std::unexpected(SummarizerError::unreadable(request.path)); };
    const auto file = openFile(request);
    if (!file)
        return unreadable();
    PictureContent content = readPicture(file->raster, settings, request);

    Reading reading;
    reading.missingLanguages = std::move(content.missingLanguages);
    ContentSummary& summary = reading.summary;
    summary.kind = kindOf(request, file->metadata);
    summary.lines = std::move(content.lines);
    summary.textFromOCR = !summary.lines.empty();
    summary.labels = std::move(content.labels);
    summary.pixelWidth = file->size.width;
    summary.pixelHeight = file->size.height;
    summary.date = file->metadata.date ? file->metadata.date : request.bestDate;
    return reading;
}

std::optional<Raster> pictureOfImage(const ReadRequest& request) {
    auto file = openFile(request);
    if (!file)
        return std::nullopt;
    return std::move(file->raster);
}

} // namespace vesto::readers
