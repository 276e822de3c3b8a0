#include "core/naming/GenericNameDetector.h"

#include "core/support/Unicode.h"
#include "core/support/UnicodePattern.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <vector>

namespace vesto {
namespace {

using namespace GenericNameDetector;

TEST(GenericNameDetector, TellsGenericNames) {
    for (const std::string_view name : {"",
                                        " \t\u00A0",
                                        "IMG_0042",
                                        "Capture d’e\u0301cran 2",
                                        "Document sans titre 3",
                                        "Copie de document final",
                                        "docs",
                                        "WhatsApp Image 2024-05-01 at 10.11.12",
                                        "photo ab",
                                        "Photo 1\uFE0F\u20E3 copie",
                                        "snapshot of the sea",
                                        "3f2504e0-4f89-11d3-9a0c-0305e82c3301-notes",
                                        "a1b2c3d4e5f6a7b8",
                                        "2024-03-07 (1)",
                                        "٢٠٢٤",
                                        "Facture 2024031512",
                                        "Bail Rhône 100000",
                                        "ab °°°°°°°",
                                        "Mars 2025",
                                        "Aou\u0302t 2024"})
        EXPECT_TRUE(isGeneric(name)) << name;
}

TEST(GenericNameDetector, KeepsNamesThatSaySomething) {
    for (const std::string_view name :
         {"Imagerie médicale", "Photographie de classe", "Photo vacances Bretagne", "Copy of document 2",
          "Facture 12345 client fidèle", "Mars 2025 budget", "a1b2c3d4e5f6a7b", "Bail", "A12", "ab °°°°°°",
          "Bail Rhônes 100000", "q\u0301\u0316\u0330 1", "mars2025b"})
        EXPECT_FALSE(isGeneric(name)) << name;
}

TEST(GenericNameDetector, NormalizesAndTellsScreenshots) {
    EXPECT_EQ(normalize("\u00A0\tL’E\u0301TE\u0301\u202Fd`Ôm\u00A0 "), "l'été d'ôm");
    EXPECT_TRUE(isScreenshotName("CleanShot 2024"));
    EXPECT_TRUE(isScreenshotName("Enregistrement de l‘écran"));
    EXPECT_FALSE(isScreenshotName("Ma capture d'écran"));
}

TEST(GenericNameDetector, ReadsIdentifiersAsPatternsDo) {
    const unicode::Pattern pattern(R"(^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}|)"
                                   R"(^[0-9a-f]{16,}$|^[\d\s_\-\.\(\)]+$)");
    RandomText random(13);
    int matches = 0;
    for (int round = 0; round < 5'000; ++round) {
        // Letters enough that no rule about shares of letters and digits decides.
        const std::string name =
            (round % 2 == 0 ? "abcdefabc" + random.of(U"abcdef", 12) + random.of(U"g\n\r\u2028 -", 2)
                            : "abcdefab-cdef-abcd-efab-" + random.of(U"abcdef", 20) + random.of(U"-g", 3));
        matches += pattern.matchesIn(normalize(name)) ? 1 : 0;
        ASSERT_EQ(isGeneric(name), pattern.matchesIn(normalize(name))) << name;
    }
    EXPECT_GT(matches, 500);
}

TEST(GenericNameDetector, TakesAnyText) {
    RandomText random(17);
    for (int round = 0; round < 4'000; ++round) {
        const std::string name = round % 2 == 0 ? random.bytes(60) : random.of(hostileAlphabet, 40);
        const std::string normalized = normalize(name);
        ASSERT_TRUE(unicode::isValid(normalized)) << name;
        // Digits and punctuation are generic whatever stands around them.
        ASSERT_TRUE(isGeneric("  " + random.of(U"0123456789_-.() ", 20)));
        ASSERT_EQ(isScreenshotName("Screenshot" + name), true);
        static_cast<void>(isGeneric(name));
    }
    for (const std::string_view piece : {" ", "1", "-", "\u0301", "photo ", "🇫", "\xFF", "a1"}) {
        const std::string much = hostile(piece);
        static_cast<void>(isGeneric(much));
        static_cast<void>(isGeneric("photo " + much + " Bretagne"));
    }
}

} // namespace
} // namespace vesto
