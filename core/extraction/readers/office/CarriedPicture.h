#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <string_view>

namespace vesto::readers {

/// Where a document without text carries a picture of itself, recognises the text of it: adds to `lines`,
/// sets `textFromOCR` and `missingLanguages` of `reading`. `archive`: the bytes of a package, others carry
/// none; `cover`: a member that is asked before the usual ones; may be empty.
void readCarriedPicture(std::string_view archive, std::string_view cover, const ImageSummarizer& settings,
                        const ReadRequest& request, Reading& reading);

} // namespace vesto::readers
