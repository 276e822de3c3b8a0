#include "core/extraction/readers/TextRecognition.h"

#include "tests/readers/support/Pictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vesto::readers {
namespace {

const std::vector<std::string> languages{"fr-FR", "en-US"};

TEST(TextRecognition, ReadsDarkAndLightPages) {
    for (const bool isDark : {false, true}) {
        SCOPED_TRACE(isDark);
        const Raster page = tests::pageOfLines(
            {"Relevé de compte", "Le premier février, Élodie a payé 845 euros"}, 150, isDark);
        EXPECT_THAT(recognizeText(page, languages).lines,
                    testing::ElementsAre("Relevé de compte", "Le premier février, Élodie a payé 845 euros"));
    }
}

} // namespace
} // namespace vesto::readers
