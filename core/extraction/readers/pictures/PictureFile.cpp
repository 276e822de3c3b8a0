#include "core/extraction/readers/pictures/PictureFile.h"

#include "core/extraction/readers/pictures/LeptonicaPicture.h"
#include "core/extraction/readers/pictures/MaskedBMP.h"
#include "core/extraction/readers/pictures/PictureFormat.h"

#include <leptonica/allheaders.h>

#include <algorithm>
#include <string>
#include <utility>

namespace vesto::readers {
namespace {

/// How much smaller a JPEG can be decoded and still have `maxPixels`: 1, 2, 4 or 8 times.
int reductionOf(PixelSize size, std::uint64_t maxPixels) {
    int reduction = 1;
    while (reduction < 8 && size.width >= 16 && size.height >= 16 &&
           PixelSize{size.width / 2, size.height / 2}.pixels() >= maxPixels) {
        reduction *= 2;
        size = {size.width / 2, size.height / 2};
    }
    return reduction;
}

PixPointer decode(std::string_view bytes, PictureFormat format, int reduction) {
    silenceLeptonica();
    const auto* data = reinterpret_cast<const l_uint8*>(bytes.data());
    switch (format) {
    case PictureFormat::png:
        return PixPointer(pixReadMemPng(data, bytes.size()));
    case PictureFormat::jpeg: {
        // One that was cut short shows as much as a viewer shows of it.
        l_int32 warnings = 0;
        return PixPointer(
            pixReadMemJpeg(data, bytes.size(), 0, reduction, &warnings, L_JPEG_CONTINUE_WITH_BAD_DATA));
    }
    case PictureFormat::tiff:
        return PixPointer(pixReadMemTiff(data, bytes.size(), 0));
    case PictureFormat::gif:
        return PixPointer(pixReadMemGif(data, bytes.size()));
    case PictureFormat::webp:
        return PixPointer(pixReadMemWebP(data, bytes.size()));
    case PictureFormat::bmp:
        return isMaskedBMP(bytes) ? pixOfMaskedBMP(bytes) : PixPointer(pixReadMemBmp(data, bytes.size()));
    case PictureFormat::heic:
        break;
    }
    return nullptr;
}

bool isWithinLimits(const PictureHeader& header, PictureFormat format, std::uint64_t maxPixels) {
    const PixelSize size = header.size;
    if (size.width > maxPictureSide || size.height > maxPictureSide)
        return false;
    if (format != PictureFormat::jpeg)
        return header.decodedSize <= maxDecodedSize;
    const auto reduction = static_cast<std::uint64_t>(reductionOf(size, maxPixels));
    return size.pixels() <= maxJPEGPixels && header.decodedSize / reduction / reduction <= maxDecodedSize;
}

} // namespace

std::optional<PictureFile> openPicture(std::string_view bytes, std::uint64_t maxPixels) {
    const auto format = pictureFormatOf(bytes);
    if (!format)
        return std::nullopt;
    if (*format == PictureFormat::heic)
        return openHEIC(bytes, maxPixels);
    std::optional<std::string> frame;
    if (*format == PictureFormat::gif)
        frame = firstFrameOfGIF(bytes);
    else if (*format == PictureFormat::webp)
        frame = firstFrameOfWebP(bytes);
    const std::string_view still = frame ? std::string_view(*frame) : bytes;
    const auto header = pictureHeader(still, *format);
    if (!header || !isWithinLimits(*header, *format, maxPixels))
        return std::nullopt;
    const PixPointer pix = decode(still, *format, reductionOf(header->size, maxPixels));
    if (pix == nullptr)
        return std::nullopt;
    const PixelSize decoded{static_cast<std::uint32_t>(pixGetWidth(pix.get())),
                            static_cast<std::uint32_t>(pixGetHeight(pix.get()))};
    if (decoded.pixels() == 0 || decoded.width > maxPictureSide || decoded.height > maxPictureSide)
        return std::nullopt;

    PictureFile file;
    file.metadata = pictureMetadata(bytes, *format);
    file.size = header->size;
    file.raster = rasterOf(*pix, sizeWithin(decoded, maxPixels));
    if (*format == PictureFormat::tiff) { // turned by its decoder already
        if ((decoded.width > decoded.height) != (file.size.width > file.size.height))
            std::swap(file.size.width, file.size.height);
        return file;
    }
    if (isTransposed(file.metadata.orientation))
        std::swap(file.size.width, file.size.height);
    file.raster = upright(std::move(file.raster), file.metadata.orientation);
    return file;
}

} // namespace vesto::readers
