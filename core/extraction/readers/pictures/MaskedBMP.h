#pragma once
#include "core/extraction/readers/pictures/LeptonicaPicture.h"

#include <string_view>

namespace vesto::readers {

/// Whether a BMP says by masks, or by its 16 bits a pixel, where its colours are; Leptonica reads the others.
[[nodiscard]] bool isMaskedBMP(std::string_view bytes);

/// The pixels of such a BMP, without transparency; white where its rows are cut short. Null where its header
/// makes no sense or there is no memory. The caller has checked its size.
[[nodiscard]] PixPointer pixOfMaskedBMP(std::string_view bytes);

} // namespace vesto::readers
