#include "core/extraction/readers/pictures/PictureMetadata.h"

#include "core/extraction/readers/Ascii.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <exiv2/exiv2.hpp>
#include <exiv2/webpimage.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>

namespace vesto::readers {
namespace {

// Numbers of EXIF's tags, the offsets of newer ones included, which Exiv2 does not all know by name.
enum Tag : std::uint16_t {
    make = 0x010F,
    model = 0x0110,
    orientation = 0x0112,
    dateTime = 0x0132,
    exposureTime = 0x829A,
    fNumber = 0x829D,
    speed = 0x8827,
    dateTimeOriginal = 0x9003,
    dateTimeDigitized = 0x9004,
    offsetTime = 0x9010,
    offsetTimeOriginal = 0x9011,
    offsetTimeDigitized = 0x9012,
    focalLength = 0x920A,
    userComment = 0x9286,
    fileSource = 0xA300,
    lensSpecification = 0xA432,
    lensMake = 0xA433,
    lensModel = 0xA434,
};

std::mutex& toolkitMutex() {
    static std::mutex mutex;
    return mutex;
}

/// Exiv2 and the XMP toolkit in it may be started by one thread only.
void prepareExiv2() {
    static const bool done = [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize();
        return true;
    }();
    static_cast<void>(done);
}

using Group = const char*;
constexpr Group mainGroup = "Image";
constexpr Group photoGroup = "Photo";

const Exiv2::Exifdatum* find(const Exiv2::ExifData& data, Group group, std::uint16_t tag) {
    const auto found = std::ranges::find_if(data, [&](const Exiv2::Exifdatum& datum) {
        return datum.tag() == tag && datum.groupName() == group;
    });
    return found == data.end() ? nullptr : &*found;
}

/// Text up to its first zero byte, trimmed; empty where there is none.
std::string textOf(const Exiv2::ExifData& data, Group group, std::uint16_t tag) {
    const Exiv2::Exifdatum* datum = find(data, group, tag);
    if (datum == nullptr || datum->size() > 4096)
        return {};
    const std::string text = datum->toString();
    return std::string(ascii::trimmed(std::string_view(text).substr(0, text.find('\0'))));
}

std::optional<std::int64_t> numberOf(const Exiv2::ExifData& data, Group group, std::uint16_t tag) {
    const Exiv2::Exifdatum* datum = find(data, group, tag);
    if (datum == nullptr || datum->count() < 1)
        return std::nullopt;
    return datum->toLong(0);
}

std::optional<Instant> dateOf(const Exiv2::ExifData& data) {
    struct Source {
        Group group;
        std::uint16_t date;
        std::uint16_t offset;
    };
    static constexpr std::array<Source, 3> sources{{{photoGroup, dateTimeOriginal, offsetTimeOriginal},
                                                    {photoGroup, dateTimeDigitized, offsetTimeDigitized},
                                                    {mainGroup, dateTime, offsetTime}}};
    for (const Source& source : sources) {
        if (auto date = instantOfEXIFDate(textOf(data, source.group, source.date),
                                          textOf(data, photoGroup, source.offset)))
            return date;
    }
    return std::nullopt;
}

std::optional<std::string> commentOf(const Exiv2::ExifData& data) {
    const Exiv2::Exifdatum* datum = find(data, photoGroup, userComment);
    if (datum == nullptr || datum->size() > 65'536)
        return std::nullopt;
    const auto* value = dynamic_cast<const Exiv2::CommentValue*>(&datum->value());
    const std::string text = unicode::repaired(value != nullptr ? value->comment() : datum->toString());
    const std::string_view trimmed =
        unicode::trimmedWhiteSpace(std::string_view(text).substr(0, text.find('\0')));
    return trimmed.empty() ? std::nullopt : std::optional<std::string>(trimmed);
}

/// A maker's name alone may be that of a scanner, which says so.
bool isOfCamera(const Exiv2::ExifData& data) {
    constexpr std::array exposure{exposureTime,      fNumber,  speed,    focalLength,
                                  lensSpecification, lensMake, lensModel};
    const auto source = numberOf(data, photoGroup, fileSource);
    if (source == 1 || source == 2)
        return false;
    if (std::ranges::any_of(exposure,
                            [&](std::uint16_t tag) { return find(data, photoGroup, tag) != nullptr; }))
        return true;
    return !textOf(data, mainGroup, make).empty() || !textOf(data, mainGroup, model).empty();
}

PictureMetadata metadataOf(const Exiv2::ExifData& data) {
    PictureMetadata metadata;
    const std::int64_t turned = numberOf(data, mainGroup, orientation).value_or(1);
    metadata.orientation = turned >= 1 && turned <= 8 ? static_cast<int>(turned) : 1;
    metadata.date = dateOf(data);
    metadata.comment = commentOf(data);
    metadata.hasCameraMetadata = isOfCamera(data);
    return metadata;
}

std::optional<std::string> commentOf(const Exiv2::XmpData& data) {
    const auto found = data.findKey(Exiv2::XmpKey("Xmp.exif.UserComment"));
    if (found == data.end() || found->size() > 65'536)
        return std::nullopt;
    return unicode::repaired(found->toString());
}

// The library's own signatures ask for std::auto_ptr.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::unique_ptr<Exiv2::Image> imageOf(std::string_view bytes, PictureFormat format) {
    const auto* data = reinterpret_cast<const Exiv2::byte*>(bytes.data());
    Exiv2::BasicIo::AutoPtr io(new Exiv2::MemIo(data, static_cast<long>(bytes.size())));
    switch (format) {
    case PictureFormat::png:
        return std::make_unique<Exiv2::PngImage>(io, false);
    case PictureFormat::jpeg:
        return std::make_unique<Exiv2::JpegImage>(io, false);
    case PictureFormat::tiff:
        return std::make_unique<Exiv2::TiffImage>(io, false);
    case PictureFormat::webp:
        return std::make_unique<Exiv2::WebPImage>(io);
    case PictureFormat::gif:
    case PictureFormat::bmp:
    case PictureFormat::heic:
        break;
    }
    return nullptr;
}
#pragma GCC diagnostic pop

bool takeCharacter(std::string_view& text, char character) {
    if (!text.starts_with(character))
        return false;
    text.remove_prefix(1);
    return true;
}

/// «+01:00», and nothing but that.
std::optional<std::chrono::minutes> offsetOf(std::string_view text) {
    const bool isWest = text.starts_with('-');
    if (!isWest && !text.starts_with('+'))
        return std::nullopt;
    text.remove_prefix(1);
    const auto hours = ascii::takeDigits(text, 2);
    const bool hasColon = takeCharacter(text, ':');
    const auto minutes = ascii::takeDigits(text, 2);
    if (!hours || !hasColon || !minutes || !text.empty() || *hours > 23 || *minutes > 59)
        return std::nullopt;
    return std::chrono::minutes((isWest ? -1 : 1) * (*hours * 60 + *minutes));
}

} // namespace

PictureMetadata pictureMetadata(std::string_view bytes, PictureFormat format) {
    const std::scoped_lock lock(toolkitMutex());
    try {
        prepareExiv2();
        const auto image = imageOf(bytes, format);
        if (image == nullptr)
            return {};
        image->readMetadata();
        PictureMetadata metadata = metadataOf(image->exifData());
        if (!metadata.comment)
            metadata.comment = commentOf(image->xmpData());
        return metadata;
    } catch (const std::exception&) {
        return {};
    }
}

PictureMetadata metadataOfEXIF(std::string_view block) {
    if (block.size() < 4)
        return {};
    std::uint32_t skipped = 0;
    for (const char c : block.substr(0, 4))
        skipped = skipped << 8 | static_cast<unsigned char>(c);
    block.remove_prefix(4);
    if (skipped >= block.size())
        return {};
    block.remove_prefix(skipped);
    const std::scoped_lock lock(toolkitMutex());
    try {
        prepareExiv2();
        Exiv2::ExifData data;
        Exiv2::ExifParser::decode(data, reinterpret_cast<const Exiv2::byte*>(block.data()),
                                  static_cast<std::uint32_t>(block.size()));
        return metadataOf(data);
    } catch (const std::exception&) {
        return {};
    }
}

std::optional<Instant> instantOfEXIFDate(std::string_view date, std::string_view offset) {
    unicode::CalendarTime time;
    struct Field {
        int unicode::CalendarTime::* member;
        std::size_t digits;
        char after; // none behind the last
    };
    static constexpr std::array<Field, 6> fields{{{&unicode::CalendarTime::year, 4, ':'},
                                                  {&unicode::CalendarTime::month, 2, ':'},
                                                  {&unicode::CalendarTime::day, 2, ' '},
                                                  {&unicode::CalendarTime::hour, 2, ':'},
                                                  {&unicode::CalendarTime::minute, 2, ':'},
                                                  {&unicode::CalendarTime::second, 2, '\0'}}};
    for (const Field& field : fields) {
        const auto number = ascii::takeDigits(date, field.digits);
        if (!number || (field.after != '\0' && !takeCharacter(date, field.after)))
            return std::nullopt;
        time.*field.member = *number;
    }
    if (!date.empty() || time.year == 0)
        return std::nullopt;
    const auto shift = offsetOf(offset);
    if (!shift)
        return unicode::instantOf(time);
    const auto instant = unicode::instantOf(time, "UTC");
    return instant ? std::optional<Instant>(*instant - *shift) : std::nullopt;
}

} // namespace vesto::readers
