#pragma once
#include "core/extraction/readers/media/MediaFile.h"

#include <cstdint>
#include <vector>

namespace vesto::readers {

/// The first `window` of what is heard in `file`: 16,000 samples a second, one channel. Empty where there is
/// no sound or none can be decoded; less where the file ends or its deadline passes. `file` is left behind at
/// any place.
[[nodiscard]] std::vector<std::int16_t> decodeSound(MediaFile& file, Seconds window);

} // namespace vesto::readers
