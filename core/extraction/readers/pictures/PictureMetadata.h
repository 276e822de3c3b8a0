#pragma once
#include "core/extraction/readers/pictures/PictureFormat.h"
#include "core/support/Time.h"

#include <optional>
#include <string>
#include <string_view>

namespace vesto::readers {

/// What a picture file says about itself beside its pixels.
struct PictureMetadata {
    int orientation = 1;                  // EXIF's number, 1 to 8
    std::optional<Instant> date{};        // of the capture
    std::optional<std::string> comment{}; // the user's or the camera's; valid UTF-8
    bool hasCameraMetadata = false;       // a maker, a model, a lens or an exposure
    bool operator==(const PictureMetadata&) const = default;
};

/// Never fails: what is damaged is not there. Of HEIC nothing.
[[nodiscard]] PictureMetadata pictureMetadata(std::string_view bytes, PictureFormat format);

/// The same of a block of EXIF as HEIC stores it: four bytes that say where the TIFF header begins, then the
/// rest.
[[nodiscard]] PictureMetadata metadataOfEXIF(std::string_view block);

/// The instant of «2025:03:07 10:11:12» with an offset from UTC («+01:00») or, where that is none, in the
/// system's time zone. Nothing for any other text and for a day that does not exist.
[[nodiscard]] std::optional<Instant> instantOfEXIFDate(std::string_view date, std::string_view offset);

} // namespace vesto::readers
