#include "core/extraction/readers/office/CarriedPicture.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/ZipReader.h"
#include "core/extraction/readers/pictures/PictureContent.h"

#include <array>

namespace vesto::readers {
namespace {

constexpr std::uint64_t maxPixels = 4'000'000;

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

bool readMember(const ZipReader& archive, std::string_view name, const ImageSummarizer& settings,
                const ReadRequest& request, Reading& reading) {
    const std::optional<ZipMember> member = archive.data(name);
    const std::optional<Raster> picture = member ? decodePicture(member->view(), maxPixels) : std::nullopt;
    if (!picture)
        return false;
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
    return true;
}

} // namespace

void readCarriedPicture(std::string_view archive, std::string_view cover, const ImageSummarizer& settings,
                        const ReadRequest& request, Reading& reading) {
    const std::optional<ZipReader> reader = ZipReader::open(archive);
    if (!reader || (!cover.empty() && readMember(*reader, cover, settings, request, reading)))
        return;
    for (const std::string_view name : usualNames)
        if (readMember(*reader, name, settings, request, reading))
            return;
}

} // namespace vesto::readers
