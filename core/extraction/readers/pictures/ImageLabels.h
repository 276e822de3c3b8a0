#pragma once
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <vector>

namespace vesto::readers {

/// What a picture shows, most certain first, by the classifier that is installed under
/// `$XDG_DATA_HOME/vesto/models` (labels.onnx, and labels.json that describes it). Empty where none is, or
/// where it cannot be used. Callable from any thread; one at a time works.
[[nodiscard]] std::vector<ContentSummary::Label> labelsOf(const Raster& picture,
                                                          const ImageSummarizer& settings);

} // namespace vesto::readers
