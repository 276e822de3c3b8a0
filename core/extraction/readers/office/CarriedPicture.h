#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vesto::readers {

/// The picture that a document carries of itself, of at most about `maxPixels`. `archive`: the bytes of a
/// package, others carry none; `cover`: a member that is asked before the usual ones; may be empty.
[[nodiscard]] std::optional<Raster> carriedPicture(std::string_view archive, std::string_view cover,
                                                   std::uint64_t maxPixels);

/// Where a document without text carries a picture of itself, recognises the text of it: adds to `lines`,
/// sets `textFromOCR` and `missingLanguages` of `reading`. The others as above.
void readCarriedPicture(std::string_view archive, std::string_view cover, const ImageSummarizer& settings,
                        const ReadRequest& request, Reading& reading);

} // namespace vesto::readers
