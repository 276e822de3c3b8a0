#include "core/extraction/readers/ReadingLimits.h"
#include "core/extraction/readers/pdf/PDFReader.h"
#include "core/support/UniqueFd.h"
#include "fuzz/Input.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

using namespace vesto;

/// The whole input is a PDF. No text is recognised: drawing and reading a page would take seconds.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const UniqueFd file(::memfd_create("fuzz", MFD_CLOEXEC));
    VESTO_ASSERT(::write(file.get(), data, size) == static_cast<ssize_t>(size));
    const ReadRequest request{
        .fd = file.get(), .path = "a.pdf", .type = {"com.adobe.pdf"}, .route = Route::pdf, .bestDate = {}};
    const auto reading = readers::summarizePDF(request, PDFSummarizer());
    if (!reading)
        return 0;
    fuzz::checkLines(reading->summary.lines, 4 * readers::maxCharacters);
    VESTO_ASSERT(reading->summary.pageCount > 0);
    VESTO_ASSERT(!reading->summary.documentTitle || unicode::isValid(*reading->summary.documentTitle));
    return 0;
}

/// Fontconfig, which Poppler asks for fonts when it draws a page, keeps a little that nothing points at.
extern "C" const char* __lsan_default_suppressions() { // NOLINT: the sanitizer's own name
    return "leak:libfontconfig\n";
}
