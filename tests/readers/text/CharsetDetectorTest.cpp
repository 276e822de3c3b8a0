#include "core/extraction/readers/text/CharsetDetector.h"

#include "core/support/Unicode.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace vesto::readers {
namespace {

using namespace std::string_literals;
using Text = std::optional<std::string>;

TEST(CharsetDetector, tellsTheCharset) {
    struct Row {
        const char* what;
        std::string bytes;
        Text expected;
    };
    const std::vector<Row> rows{
        {"nothing", "", ""},
        {"UTF-8", "Relevé d’août", "Relevé d’août"},
        {"UTF-8 with a mark", "\xEF\xBB\xBFRelev\xC3\xA9", "Relevé"},
        {"UTF-16 LE with a mark", "\xFF\xFE\xE9\0t\0\xE9\0"s, "été"},
        {"UTF-16 BE with a mark", "\xFE\xFF\0\xE9\0t\0\xE9"s, "été"},
        {"UTF-16 cut inside a unit", "\xFE\xFF\0\xE9\0t\0"s, "ét"},
        {"UTF-32 LE with a mark", "\xFF\xFE\0\0\xE9\0\0\0t\0\0\0"s, "ét"},
        {"UTF-32 BE with a mark", "\0\0\xFE\xFF\0\0\0\xE9"s, "é"},
        {"UTF-16 LE without a mark", "F\0a\0c\0t\0u\0r\0e\0 \0\xE9\0"s, "Facture é"},
        {"UTF-16 BE without a mark", "\0F\0a\0c\0t\0u\0r\0e"s, "Facture"},
        {"cut in the middle of a sequence", "Relevé d\xE2\x80", "Relevé d"},
        {"a lone é at the end is no cut sequence", "Caf\xE9", "Café"},
        {"one damaged place among many good ones", "ééééé\xFF", "ééééé\uFFFD"},
        {"Latin-1", "Pay\xE9 \xE0 l'\xE9t\xE9, No\xEBl", "Payé à l'été, Noël"},
        {"windows-1252", "L\x92\x9Cuvre co\xFBte 12 \x80 \x85", "L’œuvre coûte 12 € …"},
        {"windows-1252, capital Ž",
         "\x8Ei\x9E"
         "ek, n\xE9",
         "Žižek, né"},
        {"ISO 8859-15, euro", "D\xFB : 120 \xA4", "Dû : 120 €"},
        {"ISO 8859-15, œ", "s\xBDur", "sœur"},
        {"a half is no œ", "2\xBD tasses de caf\xE9", "2½ tasses de café"},
        {"Mac Roman", "R\x8Esum\x8E pr\x8Esent\x8E \x88 la f\x90te", "Résumé présenté à la fête"},
        {"Mac Roman, apostrophe", "don\xD5t", "don’t"},
        {"Mac line ends", "b\x99le\rc\x99t\x8E\rt\x99t", "bôle\rcôté\rtôt"},
        {"DOS", "pr\x82sent\x82 le pr\x82nom", "présenté le prénom"},
        {"zeros that pad the end", "Facture\0\0\0"s, "Facture"},
        {"zeros inside", "MZ\x90\0\3\0\0\0\4\0\0\0\xFF\xFF"s, {}},
        {"zeros only", "\0\0\0\0"s, {}},
        {"control characters", "\1\2\3\4abcd\5\6", {}},
        {"a mark before what is no text", "\xFF\xFE\1\0\0\0\1\0"s, {}},
        {"terminal colours", "\x1B[31mErreur\x1B[0m", "\x1B[31mErreur\x1B[0m"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(decodeText(row.bytes), row.expected);
    }
}

TEST(CharsetDetector, believesADeclarationOnlyWhereBytesAllow) {
    EXPECT_EQ(decodeText("\xCF\xF0\xE8\xE2\xE5\xF2", "windows-1251"), "Привет");
    EXPECT_EQ(decodeText("été", "iso-8859-1"), "été");
    EXPECT_EQ(decodeText("l\x92\xE9t\xE9", "ISO-8859-1"), "l’été");
    EXPECT_EQ(decodeText("\xE9t\xE9", "utf-8"), "été");
    EXPECT_EQ(decodeText("\xE9t\xE9", "no-such-charset"), "été");
}

TEST(CharsetDetector, cutsBetweenSequences) {
    EXPECT_EQ(wholeSequences("abcdé", 100), "abcdé");
    EXPECT_EQ(wholeSequences("abc\xC3\xA9z", 4), "abc");
    EXPECT_EQ(wholeSequences("ab\xC3\xA9zzz", 5), "ab\xC3\xA9");
    EXPECT_EQ(wholeSequences("abcdefgh\xF0\x9F\x98\x80", 8), "abcdefgh");
}

TEST(CharsetDetector, givesValidTextOrNothing) {
    std::mt19937 random(1);
    const std::string alphabet = "\0\r\n a\xE9\xC3\xA9\xFE\xFF\xEF\xBB\xBF\x8E\x82z"s;
    for (int i = 0; i < 20'000; ++i) {
        std::string bytes(random() % 24, ' ');
        for (char& c : bytes)
            c = i % 2 == 0 ? static_cast<char>(random()) : alphabet[random() % alphabet.size()];
        if (const Text text = decodeText(bytes)) {
            ASSERT_TRUE(unicode::isValid(*text));
            ASSERT_EQ(text->find('\0'), text->npos);
        }
    }
}

} // namespace
} // namespace vesto::readers
