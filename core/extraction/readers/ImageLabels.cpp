#include "core/extraction/readers/ImageLabels.h"

namespace vesto::readers {

std::vector<ContentSummary::Label> labelsOf(const Raster&, const ImageSummarizer&) {
    return {};
}

bool hasClassifier() {
    return false;
}

} // namespace vesto::readers
