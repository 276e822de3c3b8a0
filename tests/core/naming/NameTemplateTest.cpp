#include "core/naming/NameTemplate.h"

#include "core/support/UnicodePattern.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <vector>

namespace vesto {
namespace {

using Code = NameTemplate::ValidationError::Code;
using Kind = ContentSummary::Kind;

constexpr Instant march = std::chrono::sys_days{std::chrono::year{2025} / 3 / 7};

std::string rendered(std::string_view pattern, std::string_view title, std::optional<Instant> date = {},
                     std::string_view locale = "fr_FR", std::string_view original = "IMG_1") {
    return NameTemplate{std::string(pattern)}.render({.title = std::string(title),
                                                      .date = date,
                                                      .kind = Kind::spreadsheet,
                                                      .originalBaseName = std::string(original),
                                                      .locale = Locale(locale),
                                                      .timeZone = "UTC"},
                                                     {});
}

TEST(NameTemplate, Validates) {
    struct Row {
        std::string pattern;
        std::optional<Code> code;
        std::string token;
        std::string message;
    };
    const std::vector<Row> rows{
        {"{date:yyyy-MM-dd} {title}", {}, "", ""},
        {"{title:x}", {}, "", ""},
        {"}{title}{", {}, "", ""},
        {"{title} { x }{date_2}{}", {}, "", ""},
        {"{Title}", Code::unknownToken, "Title", "Jeton inconnu : {Title}."},
        {"{foo} {bar} {title}", Code::unknownToken, "foo", "Jeton inconnu : {foo}."},
        {"{date}", Code::missingTitle, "", "Le modèle doit contenir {title}."},
        {"{ title }", Code::missingTitle, "", "Le modèle doit contenir {title}."},
        {"", Code::missingTitle, "", "Le modèle doit contenir {title}."},
        {"{title", Code::unbalancedBraces, "", "Accolades non appariées."},
        {"{foo}{", Code::unbalancedBraces, "", "Accolades non appariées."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.pattern);
        const auto result = NameTemplate{row.pattern}.validate();
        ASSERT_EQ(result.has_value(), !row.code.has_value());
        if (result)
            continue;
        EXPECT_EQ(result.error().code, *row.code);
        EXPECT_EQ(result.error().token, row.token);
        EXPECT_EQ(result.error().message(), row.message);
    }
}

TEST(NameTemplate, Renders) {
    struct Row {
        std::string pattern, title;
        std::optional<Instant> date;
        std::string expected;
    };
    const std::vector<Row> rows{
        {"{date:yyyy-MM-dd} {title}", "Facture électricité", march, "2025-03-07 Facture électricité"},
        {"{date:yyyy-MM-dd} {title}", "Facture électricité", {}, "Facture électricité"},
        {"{date} - {title}", "Bail", {}, "Bail"},
        {"{title} ({date})", "Bail", {}, "Bail"},
        {"{title} [ {date:dd/MM} ]", "Bail", march, "Bail [ 07-03 ]"},
        {"{date:}_{title}", "Bail", march, "2025-03-07_Bail"},
        {"{title} {date:MMMM yyyy}", "Bail", march, "Bail mars 2025"},
        {"{title}_{kind}", "Titre", {}, "Titre_Tableur"},
        {"{title}", "A -- B", {}, "A - B"},
        {"{title}", "A — · — B", {}, "A - B"},
        {"{title}", "— A –", {}, "— A –"}, // long dashes stay at the edges
        {"{title:x}{original}", "Bail ", {}, "Bail IMG_1"},
        {"{title}", "07/03: bail", {}, "07-03- bail"},
        {"{title}", ". . .", {}, ""},
        {"}{title}{", "Bail", {}, "}Bail{"},
        {"{title} { x }", "Bail", {}, "Bail { x }"},
        {"{title} {}{title}", "{kind}", {}, "{kind} {}{kind}"}, // values are not searched for tokens
        {"{nom}", "Bail", march, "2025-03-07 Bail"},            // the default pattern instead
    };
    for (const Row& row : rows)
        EXPECT_EQ(rendered(row.pattern, row.title, row.date), row.expected)
            << row.pattern << " of " << row.title;
    EXPECT_EQ(rendered("{title}_{kind}", "Title", {}, "en_GB"), "Title_Spreadsheet");
    EXPECT_EQ(rendered("{title}_{kind}", "Title", {}, ""), "Title_Spreadsheet");
    EXPECT_EQ(rendered("{title} {date:MMMM}", "Lease", march, "en"), "Lease March");
}

TEST(NameTemplate, TidiesAsItsPatternsDo) {
    const unicode::Pattern emptyBrackets(R"(\(\s*\)|\[\s*\])");
    const unicode::Pattern separators(R"((?:\s*[-–—_·]\s*){2,})");
    const unicode::Pattern blanks(R"(\s{2,})");
    const unicode::Pattern edges("^[ \\-_·]+|[ \\-_·]+\\z");
    RandomText random(5);
    for (int round = 0; round < 20'000; ++round) {
        const std::string title = random.of(U"ab  --–_·()[]\u00A0\n\u0301", 12);
        std::string tidy = emptyBrackets.replaceAll(title, "");
        tidy = blanks.replaceAll(separators.replaceAll(tidy, " - "), " ");
        const std::string expected = NamingPolicy::sanitizeFileName(edges.replaceAll(tidy, ""));
        ASSERT_EQ(rendered("{title}", title), expected) << "of «" << title << "»";
    }
}

TEST(NameTemplate, HostileTitlesAndPatternsAreNoWork) {
    for (const std::string_view piece : {" ", "- ", "(", "( ", "\u202E", "\u0301", "{a", "{", "{a:"}) {
        const std::string much = hostile(piece);
        EXPECT_TRUE(rendered("{title}", "Q" + much + "B").starts_with('Q'));
        EXPECT_FALSE(rendered("A{title}" + much, "B").empty());
    }
}

} // namespace
} // namespace vesto
