#pragma once
#include "core/extraction/readers/media/MediaFile.h"

#include <optional>
#include <string>

namespace vesto::readers {

/// The title of the tags, unless it is only what a device or a program puts there by itself («IMG_0042.MOV»,
/// «Nouvel enregistrement 12», «Piste 01»). Where an artist or album stands beside it, it is a piece's name,
/// whatever it looks like. Pure and thread-safe.
[[nodiscard]] std::optional<std::string> usableMediaTitle(const MediaTags& tags);

} // namespace vesto::readers
