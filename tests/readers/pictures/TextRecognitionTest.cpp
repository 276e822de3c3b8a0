#include "core/extraction/readers/pictures/TextRecognition.h"

#include "core/extraction/readers/pictures/RecognizedLine.h"
#include "core/extraction/readers/pictures/TextContrast.h"
#include "core/support/Unicode.h"
#include "tests/readers/support/Pictures.h"

#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace vesto::readers {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> languages{"fr-FR", "en-US"};
constexpr std::chrono::minutes patience(5); // a busy machine recognises slowly

std::string joined(const std::vector<std::string>& lines) {
    return fmt::format("{}", fmt::join(lines, "|"));
}

TEST(TextRecognition, ReadsPagesAndDarkScreens) {
    const std::vector<std::string> lines{"Relevé de compte",
                                         "Le 12 février, Zoé a payé 845,50 euros à Besançon"};
    // A screen's resolution, where print is small, and that of a scan.
    for (const auto& [resolution, isDark] : {std::pair(96.0, true), std::pair(200.0, false)}) {
        SCOPED_TRACE(resolution);
        EXPECT_THAT(recognizeText(tests::pageOfLines(lines, resolution, isDark), languages, patience).lines,
                    testing::ElementsAreArray(lines));
    }
}

TEST(TextRecognition, ReadsThroughShadowAndNoise) {
    Raster page = tests::pageOfLines({"Boulangerie du marché", "Total 24,10 euros"}, 200);
    std::mt19937 random(7);
    for (std::uint32_t y = 0; y < page.height; ++y) {
        for (std::uint32_t x = 0; x < page.width; ++x) {
            const unsigned light = 255 - 190 * x / page.width; // from the left to the right
            for (std::size_t i = 0; i < 3; ++i) {
                std::uint8_t& value = page.rgba[(std::size_t{y} * page.width + x) * 4 + i];
                value = static_cast<std::uint8_t>(
                    std::min(255U, value * light / 255 + static_cast<unsigned>(random() % 24)));
            }
        }
    }
    EXPECT_EQ(joined(recognizeText(page, languages, patience).lines),
              "Boulangerie du marché|Total 24,10 euros");
}

TEST(TextRecognition, FindsNoTextWhereNoneIs) {
    Raster noise = tests::gradient(600, 400);
    std::mt19937 random(7);
    for (std::uint8_t& value : noise.rgba)
        value = static_cast<std::uint8_t>(value / 2 + random() % 128);
    EXPECT_THAT(recognizeText(noise, languages, patience).lines, IsEmpty());
    EXPECT_THAT(recognizeText(tests::gradient(1, 1), languages).lines, IsEmpty());
    EXPECT_THAT(recognizeText(Raster(), languages).lines, IsEmpty());
}

TEST(TextRecognition, GivesWhatItHasInTime) {
    const Raster page = tests::pageOfLines(std::vector<std::string>(40, "Une ligne de texte"), 150);
    EXPECT_THAT(recognizeText(page, languages, std::chrono::milliseconds(1)).lines,
                testing::SizeIs(testing::Lt(40U)));
    // Nothing of that stays behind.
    EXPECT_THAT(recognizeText(tests::pageOfLines({"Contrat"}, 150), languages, patience).lines,
                ElementsAre("Contrat"));
}

TEST(TextRecognition, WorksWithTheLanguagesThatAreThere) {
    const Raster page = tests::pageOfLines({"Contrat de location"}, 120);
    const RecognizedText text = recognizeText(page, {"pl-PL", "fr-FR"}, patience);
    EXPECT_THAT(text.lines, ElementsAre("Contrat de location"));
    EXPECT_THAT(text.missingLanguages, ElementsAre("pol"));
    const RecognizedText none = recognizeText(page, {"pl-PL"});
    EXPECT_THAT(none.lines, IsEmpty());
    EXPECT_THAT(none.missingLanguages, ElementsAre("pol"));
    EXPECT_THAT(recognitionCodes({"fr-FR", "en", "fr-CA", "EN-us", "tlh"}), ElementsAre("fra", "eng"));
}

TEST(RecognizedLine, LeavesOutWhatNobodyCouldBeSureOf) {
    const std::vector<std::pair<std::vector<RecognizedWord>, std::string>> rows{
        {{{"Conditions", 96}, {"générales", 95}, {"du", 96}, {"bail", 12}}, "Conditions générales du bail"},
        {{{"Contrat", 96}, {"de", 95}, {"location", 12}}, "Contrat de"}, // too weak as a whole
        {{{"|", 90}, {"F", 20}, {"Contrat", 96}, {"©", 40}, {"—", 95}, {"x", 30}}, "Contrat —"}, // icons
        {{{"entre", 96}, {"9", 33}, {"h", 33}, {"et", 40}, {"11", 96}, {"heures", 96}},
         "entre 9 h et 11 heures"},
        {{{"Total", 75}, {"TFC", 59}, {"24,10", 61}}, "Total 24,10"},
        {{{"sw", 85}}, ""},
        {{{"OK", 93}}, "OK"},
        {{{"TETE", 20}, {"eee", 16}, {"€", 59}}, ""},
        {{{"———", 99}}, ""},
        {{}, ""},
    };
    for (const auto& [words, text] : rows)
        EXPECT_EQ(trustedText({.words = words}), text);
}

TEST(TextContrast, TurnsDarkScreensAndLeavesPagesAlone) {
    const auto screen = [](std::uint8_t ground, std::uint8_t ink) {
        GreyPicture picture{.size = {200, 100}};
        picture.pixels.assign(picture.size.pixels(), ground);
        for (std::size_t i = 0; i < picture.pixels.size(); i += 9)
            picture.pixels[i] = ink;
        return picture;
    };
    GreyPicture page = screen(250, 10);
    EXPECT_TRUE(makeTextDark(page));
    EXPECT_EQ(page.pixels, screen(250, 10).pixels);
    GreyPicture dark = screen(40, 220);
    EXPECT_TRUE(makeTextDark(dark));
    EXPECT_EQ(dark.pixels, screen(215, 35).pixels);
    GreyPicture shaded = screen(100, 20);
    EXPECT_TRUE(makeTextDark(shaded));
    EXPECT_GT(shaded.pixels[1], 240);
    EXPECT_LT(shaded.pixels[0], 60);
    GreyPicture texture = screen(200, 190);
    EXPECT_FALSE(makeTextDark(texture));
}

} // namespace
} // namespace vesto::readers
