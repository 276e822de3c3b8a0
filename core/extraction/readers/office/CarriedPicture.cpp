#include "core/extraction/readers/office/CarriedPicture.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/ZipReader.h"
#include "core/extraction/readers/pictures/PictureContent.h"

#include <array>

namespace vesto::readers {
namespace {

constexpr std::uint64_t recognizedPixels = 4'000'000;

// The larger ones of a format first.
constexpr std::array<std::string_view, 10> usualNames{"preview.jpg",
                                                      "QuickLook/Thumbnail.jpg",
                                                      "QuickLook/Preview.jpg",
                                                      "preview-web.jpg",
                                                      "preview-micro.jpg",
                                                      "docProps/thumbnail.jpeg",
                                                      "docProps/thumbnail.jpg",
                                                      "docProps/thumbnail.png",
                                                      "Thumbnails/thumbnail.png",
                                                      "QuickLook/Thumbnail.png"};

std::optional<Raster> pictureIn(const ZipReader& archive, std::string_view name, std::uint64_t maxPixels) {
    const std::optional<ZipMember> member = archive.data(name);
    return member ? decodePicture(member->view(), maxPixels) : std::nullopt;
}

} // namespace

std::optional<Raster> carriedPicture(std::string_view archive, std::string_view cover,
                                     std::uint64_t maxPixels) {
    const std::optional<ZipReader> reader = ZipReader::open(archive);
    if (!reader)
        return std::nullopt;
    if (!cover.empty()) {
        if (auto picture = pictureIn(*reader, cover, maxPixels))
            return picture;
    }
    for (const std::string_view name : usualNames) {
        if (auto picture = pictureIn(*reader, name, maxPixels))
            return picture;
    }
    return std::nullopt;
}

void readCarriedPicture(std::string_view archive, std::string_view cover, const ImageSummarizer& settings,
                        const ReadRequest& request, Reading& reading) {
    const std::optional<Raster> picture = carriedPicture(archive, cover, recognizedPixels);
    if (!picture)
        return;
    PictureContent content = recognizePicture(*picture, settings, request);
    LineCollector lines;
    for (const std::string& line : reading.summary.lines)
        lines.add(line);
    const std::size_t before = lines.characters();
    for (const std::string& line : content.lines)
        lines.add(line);
    reading.summary.textFromOCR = lines.characters() > before;
    reading.summary.lines = lines.take();
    reading.missingLanguages = std::move(content.missingLanguages);
}

} // namespace vesto::readers
