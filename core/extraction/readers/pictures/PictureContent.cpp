#include "core/extraction/readers/pictures/PictureContent.h"

#include "core/extraction/readers/pictures/ClassifierFolder.h"
#include "core/extraction/readers/pictures/ImageLabels.h"
#include "core/extraction/readers/pictures/PictureFile.h"
#include "core/extraction/readers/pictures/TextRecognition.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vesto::readers {
namespace {

using Clock = std::chrono::steady_clock;

void tell(const ReadRequest& request, ReadingStage stage) {
    if (request.onStage)
        request.onStage(stage);
}

} // namespace

PictureContent recognizePicture(const Raster& picture, const ImageSummarizer& settings,
                                const ReadRequest& request) {
    tell(request, ReadingStage::recognizingText);
    const auto left = std::chrono::floor<std::chrono::milliseconds>(request.lastMoment - Clock::now());
    RecognizedText text =
        recognizeText(picture, settings.recognitionLanguages, std::min(left, recognitionTimeLimit));
    return {.lines = std::move(text.lines), .missingLanguages = std::move(text.missingLanguages)};
}

PictureContent readPicture(const Raster& picture, const ImageSummarizer& settings,
                           const ReadRequest& request) {
    PictureContent content = recognizePicture(picture, settings, request);
    if (hasClassifier() && Clock::now() < request.lastMoment) {
        tell(request, ReadingStage::classifying);
        content.labels = labelsOf(picture, settings);
    }
    return content;
}

std::optional<Raster> decodePicture(std::string_view bytes, std::uint64_t maxPixels) {
    auto file = bytes.empty() ? std::nullopt : openPicture(bytes, maxPixels);
    if (!file)
        return std::nullopt;
    return std::move(file->raster);
}

} // namespace vesto::readers
