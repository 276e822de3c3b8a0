#include "core/extraction/readers/LocalReader.h"

#include "core/extraction/readers/DocumentReader.h"
#include "core/extraction/readers/Previews.h"
#include "core/extraction/readers/QuickLookReader.h"
#include "core/extraction/readers/mail/EmailReader.h"
#include "core/extraction/readers/media/AudioReader.h"
#include "core/extraction/readers/media/VideoReader.h"
#include "core/extraction/readers/pdf/PDFReader.h"
#include "core/extraction/readers/pictures/ImageReader.h"

#include <utility>

namespace vesto::readers {
namespace {

using Outcome = std::expected<Reading, SummarizerError>;

Outcome readingOf(std::expected<ContentSummary, SummarizerError> summary) {
    if (!summary)
        return std::unexpected(std::move(summary).error());
    return Reading{.summary = *std::move(summary)};
}

Outcome dispatch(const ReadRequest& request, const SummarizerSettings& settings) {
    switch (request.route) {
    case Route::pdf:
        return summarizePDF(request, settings.pdf);
    case Route::quickLook:
        return summarizeQuickLook(request, settings.quickLook);
    case Route::document:
        return summarizeDocument(request, settings.document, settings.image);
    case Route::video:
        return summarizeVideo(request, settings.video);
    case Route::audio:
        return summarizeAudio(request, settings.audio);
    case Route::image:
        return summarizeImage(request, settings.image);
    case Route::email:
        return readingOf(summarizeEmail(request, settings.email));
    }
    std::unreachable();
}

} // namespace

std::expected<Reading, SummarizerError> LocalReader::read(const ReadRequest& request,
                                                          const SummarizerSettings& settings) {
    try {
        return dispatch(request, settings);
    } catch (...) {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
}

std::expected<Preview, SummarizerError> LocalReader::preview(const ReadRequest& request) {
    const auto unreadable = std::unexpected(SummarizerError::unreadable(request.path));
    try {
        auto picture = pictureOf(request);
        if (!picture)
            return unreadable;
        return Preview{.width = picture->width, .height = picture->height, .rgba = std::move(picture->rgba)};
    } catch (...) {
        return unreadable;
    }
}

} // namespace vesto::readers
