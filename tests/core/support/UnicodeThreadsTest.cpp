#include "core/support/Charset.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"
#include "core/support/UnicodePattern.h"

#include <gtest/gtest.h>

#include <latch>
#include <string>
#include <thread>
#include <vector>

namespace vesto {
namespace {

/// What every thread asks of the shared tables, at first use and again.
std::string everything(const unicode::Pattern& shared) {
    const Locale locale("fr_FR");
    std::string result;
    for (int round = 0; round < 50; ++round) {
        result = unicode::formatDate(referenceDate, "EEEE d MMMM yyyy", locale, "Europe/Paris");
        result += unicode::formatMonthAndYear(8, 2026, locale).value_or("");
        result += unicode::monthNames(Locale("en"))[1];
        result += unicode::folded("Relevé d’août") + unicode::composed("e\u0301");
        result += unicode::decodeCharset("\xe9t\xe9", "windows-1252").value_or("");
        result += std::to_string(unicode::graphemeCount("ab\u0301c"));
        for (const auto& match : shared.findAll("du 01/03/2025 au 31/03/2025"))
            result += match.groups.at(0).value_or("");
        result += text("Afficher dans le Finder");
    }
    return result;
}

TEST(UnicodeThreads, sharedTablesAnswerAlike) {
    const unicode::Pattern shared(R"((\d{1,2})/\d{2}/\d{4})");
    std::vector<std::string> answers(4);
    std::latch start(static_cast<std::ptrdiff_t>(answers.size()));
    {
        std::vector<std::jthread> threads;
        threads.reserve(answers.size());
        for (std::string& answer : answers)
            threads.emplace_back([&shared, &start, &answer] {
                start.arrive_and_wait();
                answer = everything(shared);
            });
    }
    for (const std::string& answer : answers)
        EXPECT_EQ(answer,
                  "lundi 1 janvier 2001août 2026Februaryreleve d'aoutéété30131Afficher dans le dossier");
}

} // namespace
} // namespace vesto
