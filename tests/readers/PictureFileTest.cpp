#include "core/extraction/readers/PictureFile.h"

#include "core/extraction/readers/PictureContent.h"
#include "tests/readers/support/Pictures.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace vesto::readers {
namespace {

using tests::gradient;
using tests::pictureFile;

TEST(PictureFile, DecodesEachFormat) {
    const Raster picture = gradient(40, 30);
    for (const char* format : {"png", "jpeg", "tiff", "gif", "webp", "bmp"}) {
        SCOPED_TRACE(format);
        const auto file = openPicture(pictureFile(picture, format), 1'000'000);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->size, (PixelSize{40, 30}));
        ASSERT_EQ(file->raster.rgba.size(), picture.rgba.size());
        for (std::size_t i = 0; i < picture.rgba.size(); ++i)
            ASSERT_NEAR(file->raster.rgba[i], picture.rgba[i], 40) << i; // GIF has few colours
    }
}

} // namespace
} // namespace vesto::readers
