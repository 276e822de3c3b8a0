#include "core/extraction/readers/pictures/PictureMetadata.h"

#include "core/support/UnicodeDates.h"
#include "tests/readers/support/Pictures.h"

#include <gtest/gtest.h>

namespace vesto::readers {
namespace {

using tests::EXIF;

PictureMetadata metadataOf(const EXIF& exif) {
    static const std::string jpeg = tests::pictureFile(tests::gradient(8, 8), "jpeg");
    return pictureMetadata(tests::withEXIF(jpeg, exif), PictureFormat::jpeg);
}

TEST(PictureMetadata, DatesWithAndWithoutOffset) {
    const auto utc = [](int day, int hour, int minute) {
        return unicode::instantOf({2025, 3, day, hour, minute, 12}, "UTC");
    };
    const auto local = unicode::instantOf({2025, 3, 7, 23, 11, 12});
    struct Row {
        std::string date, offset;
        std::optional<Instant> instant;
    };
    const std::vector<Row> rows{
        {"2025:03:07 23:11:12", "+01:00", utc(7, 22, 11)},
        {"2025:03:07 23:11:12", "-05:30", utc(8, 4, 41)},
        {"2025:03:07 23:11:12", "+00:00", utc(7, 23, 11)},
        {"2025:03:07 23:11:12", "", local},
        {"2025:03:07 23:11:12", "+1", local}, // no offset that could be read
        {"2025:03:07 23:11:12", "+01:00x", local},
        {"2025:03:07 23:11:12", "   :  ", local},
        {"2025-03-07 23:11:12", "", std::nullopt},
        {"2025:03:07", "", std::nullopt},
        {"2025:03:07 23:11:12.5", "", std::nullopt},
        {"0000:00:00 00:00:00", "", std::nullopt},
        {"    :  :     :  :  ", "", std::nullopt},
        {"2025:02:30 10:00:00", "", std::nullopt},
        {"", "+01:00", std::nullopt},
    };
    for (const Row& row : rows)
        EXPECT_EQ(instantOfEXIFDate(row.date, row.offset), row.instant) << row.date << row.offset;

    EXIF exif;
    exif.dateTime = "2026:01:01 00:00:00";
    EXPECT_EQ(metadataOf(exif).date, unicode::instantOf({2026, 1, 1, 0, 0, 0}));
    exif.dateTimeOriginal = "2025:03:07 23:11:12";
    EXPECT_EQ(metadataOf(exif).date, local);
    exif.offsetTimeOriginal = "+01:00";
    EXPECT_EQ(metadataOf(exif).date, utc(7, 22, 11));
}

TEST(PictureMetadata, TellsCamerasFromTheRest) {
    const std::vector<std::pair<EXIF, bool>> rows{
        {{}, false},
        {{.orientation = 6, .dateTimeOriginal = "2025:03:07 23:11:12"}, false},
        {{.make = "Appareil"}, true},
        {{.make = "  "}, false},
        {{.speed = 100}, true},
        {{.make = "Numériseur", .fileSource = 1}, false}, // a scanner, which says so
        {{.make = "Appareil", .fileSource = 3}, true},
    };
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(metadataOf(rows[i].first).hasCameraMetadata, rows[i].second) << i;
}

TEST(PictureMetadata, ReadsOrientationAndComment) {
    EXPECT_EQ(metadataOf({.orientation = 8}).orientation, 8);
    EXPECT_EQ(metadataOf({.orientation = 9}).orientation, 1);
    EXPECT_EQ(metadataOf({.orientation = 0}).orientation, 1);
    EXPECT_EQ(metadataOf({.userComment = "Screenshot"}).comment, "Screenshot");
    EXPECT_EQ(metadataOf({.userComment = "  "}).comment, std::nullopt);
}

TEST(PictureMetadata, ReadsTheBlockOfHEIC) {
    const std::string block = tests::blockOf({.orientation = 3, .userComment = "Screenshot"});
    EXPECT_EQ(metadataOfEXIF(tests::bigEndian(0) + block).orientation, 3);
    EXPECT_EQ(metadataOfEXIF(tests::bigEndian(6) + std::string("Exif\0\0", 6) + block).comment, "Screenshot");
    for (const std::string& bad : {std::string(), tests::bigEndian(0), tests::bigEndian(0xFFFFFFFF) + block,
                                   tests::bigEndian(7) + block, tests::bigEndian(0) + block.substr(0, 9)})
        EXPECT_EQ(metadataOfEXIF(bad), PictureMetadata());
}

} // namespace
} // namespace vesto::readers
