#include "core/extraction/readers/LocalReader.h"

#include "core/extraction/readers/DocumentReader.h"
#include "core/extraction/readers/PDFReader.h"
#include "core/extraction/readers/QuickLookReader.h"

namespace vesto::readers {
namespace {

std::expected<ContentSummary, SummarizerError> dispatch(const ReadRequest& request,
                                                        const SummarizerSettings& settings) {
    switch (request.route) {
    case Route::pdf:
        return summarizePDF(request, settings.pdf);
    case Route::quickLook:
        return summarizeQuickLook(request, settings.quickLook);
    case Route::document:
        return summarizeDocument(request, settings.document);
    case Route::image:
    case Route::email:
    case Route::video:
    case Route::audio:
        break; // no reader yet
    }
    return std::unexpected(SummarizerError::unreadable(request.path));
}

} // namespace

std::expected<ContentSummary, SummarizerError> LocalReader::read(const ReadRequest& request,
                                                                 const SummarizerSettings& settings) {
    try {
        return dispatch(request, settings);
    } catch (...) {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
}

} // namespace vesto::readers
