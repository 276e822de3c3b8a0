#pragma once
#include "core/extraction/readers/pictures/Raster.h"
#include "core/extraction/readers/pictures/RasterScaling.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct Pix;

namespace vesto::tests {

/// A picture without text: red grows to the right, green to the bottom.
[[nodiscard]] readers::Raster gradient(std::uint32_t width, std::uint32_t height);

/// `picture` as a file that Leptonica writes: "png", "jpeg", "tiff", "gif", "webp", "bmp".
[[nodiscard]] std::string pictureFile(const readers::Raster& picture, std::string_view format);

/// The same of a picture of Leptonica's, in a format of its own numbering.
[[nodiscard]] std::string fromPix(Pix* pix, int format);

/// A grey pixel with alpha.
void setPixel(Pix* pix, int x, int y, int grey, int alpha);

/// A page with these lines of black text in 11 points, as a picture of `dpi`; dark pages have light text.
[[nodiscard]] readers::Raster pageOfLines(const std::vector<std::string>& lines, double dpi,
                                          bool isDark = false);

/// An animation of pictures that `pictureFile` wrote as "webp", all of this size.
[[nodiscard]] std::string animatedWebP(const std::vector<std::string>& frames, readers::PixelSize size);

/// What a camera writes into a file.
struct EXIF {
    std::optional<int> orientation{};
    std::optional<std::string> make{};
    std::optional<std::string> dateTime{};         // of the last change
    std::optional<std::string> dateTimeOriginal{}; // of the capture
    std::optional<std::string> offsetTimeOriginal{};
    std::optional<std::string> userComment{}; // ASCII
    std::optional<int> speed{};
    std::optional<int> fileSource{};
};

/// The block as TIFF: header, main directory, the directory of the photo.
[[nodiscard]] std::string blockOf(const EXIF& exif);

/// A JPEG with this block right behind its first two bytes.
[[nodiscard]] std::string withEXIF(const std::string& jpeg, const EXIF& exif);

/// Four bytes, the most significant first.
[[nodiscard]] std::string bigEndian(std::uint32_t number);

/// The content of a file in tests/readers/data.
[[nodiscard]] std::string dataFile(const std::string& name);

} // namespace vesto::tests
