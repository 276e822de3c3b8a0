#include "core/naming/RecordCodec.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <limits>

namespace vesto {
namespace {

ContentSummary fullSummary() {
    return {.kind = ContentSummary::Kind::spreadsheet,
            .lines = {"Été", ""},
            .labels = {{"cat", 0.92}},
            .documentTitle = "",
            .pageCount = -3,
            .pixelWidth = 640,
            .pixelHeight = INT64_MAX,
            .date = referenceDate + std::chrono::microseconds(763'042'312'520'001),
            .textFromOCR = true,
            .period = DocumentPeriodExtractor::Period{3, 2026},
            .duration = Seconds(0.1),
            .textFromSpeech = true,
            .formatName = "Excel"};
}

Proposal fullProposal() {
    FileIdentity identity;
    identity.device = UINT64_MAX;
    identity.inode = 42;
    return {.id = "0f8fad5b-d9cb-469f-a165-70867728950e",
            .url = "/home/zoé/a b%.pdf",
            .identity = identity,
            .title = "Facture EDF",
            .baseName = "2025-03-01 Facture EDF",
            .source = ConfidenceScorer::Source::model,
            .confidence = 0.68,
            .summary = fullSummary(),
            .summarizeSeconds = Seconds(0.25),
            .generateSeconds = Seconds(1.5),
            .policy = {.maxTitleLength = 40, .maxFileNameBytes = 200}};
}

TEST(RecordCodec, WritesTheKeysInOrderAndOnlyWhatIsPresent) {
    EXPECT_EQ(writeJson(toJson(ContentSummary{.kind = ContentSummary::Kind::photo})),
              R"({"kind":"photo","lines":[],"labels":[],"textFromOCR":false,"textFromSpeech":false})");
    EXPECT_EQ(writeJson(toJson(fullSummary())),
              R"({"kind":"spreadsheet","lines":["Été",""],"labels":[{"identifier":"cat","confidence":0.92}],)"
              R"("documentTitle":"","pageCount":-3,"pixelWidth":640,"pixelHeight":9223372036854775807,)"
              R"("date":763042312.520001,"textFromOCR":true,"period":{"month":3,"year":2026},"duration":0.1,)"
              R"("textFromSpeech":true,"formatName":"Excel"})");
    Proposal bare = fullProposal();
    bare.identity.reset();
    bare.summary = {};
    EXPECT_EQ(
        writeJson(toJson(bare)),
        R"({"id":"0f8fad5b-d9cb-469f-a165-70867728950e","url":"file:///home/zo%C3%A9/a%20b%25.pdf",)"
        R"("title":"Facture EDF","baseName":"2025-03-01 Facture EDF","source":"model","confidence":0.68,)"
        R"("summary":{"kind":"document","lines":[],"labels":[],"textFromOCR":false,"textFromSpeech":false},)"
        R"("summarizeSeconds":0.25,"generateSeconds":1.5,)"
        R"("policy":{"maxTitleLength":40,"maxFileNameBytes":200}})");
}

TEST(RecordCodec, ReadsBackWhatItWrote) {
    for (int kind = 0; kind <= static_cast<int>(ContentSummary::Kind::ebook); ++kind) {
        Proposal proposal = fullProposal();
        proposal.summary.kind = static_cast<ContentSummary::Kind>(kind);
        const auto record = parseJson(writeJson(toJson(proposal)));
        ASSERT_TRUE(record);
        EXPECT_EQ(proposalFromJson(*record), proposal);
    }
    const ContentSummary bare;
    EXPECT_EQ(contentSummaryFromJson(toJson(bare)), bare);
}

TEST(RecordCodec, NeedsEachKeyButTheOptionalOnes) {
    const std::vector<std::string> optionalKeys{"identity",   "documentTitle", "pageCount",
                                                "pixelWidth", "pixelHeight",   "date",
                                                "period",     "duration",      "formatName"};
    const auto isOptional = [&](const std::string& key) { return std::ranges::count(optionalKeys, key) > 0; };
    const Json whole = toJson(fullProposal());
    // Wherever an object stands, each of its keys goes missing once, is null once and has a wrong type once.
    for (const std::string folder :
         {"", "/identity", "/summary", "/summary/labels/0", "/summary/period", "/policy"}) {
        const Json::json_pointer place(folder);
        for (const auto& item : whole.at(place).items()) {
            SCOPED_TRACE(folder + "/" + item.key());
            Json missing = whole;
            missing.at(place).erase(item.key());
            EXPECT_EQ(proposalFromJson(missing).has_value(), isOptional(item.key()));
            Json null = whole;
            null.at(place)[item.key()] = nullptr;
            EXPECT_EQ(proposalFromJson(null).has_value(), isOptional(item.key()));
            Json wrong = whole;
            wrong.at(place)[item.key()] = item.value().is_string() ? Json(1) : Json("1");
            EXPECT_FALSE(proposalFromJson(wrong));
        }
    }
    EXPECT_FALSE(proposalFromJson(Json(nullptr)));
    EXPECT_FALSE(contentSummaryFromJson(Json::array()));
}

TEST(RecordCodec, RefusesValuesThatHaveNoMeaning) {
    const std::vector<std::pair<std::string, Json>> rows{
        {"/summary/kind", "Photo"},
        {"/summary/lines", {"a", 1}},
        {"/summary/labels", {{{"identifier", "cat"}}}},
        {"/summary/pageCount", 1.5},
        {"/summary/pageCount", UINT64_MAX},
        {"/summary/date", 1e300},
        {"/summary/duration", std::numeric_limits<double>::infinity()},
        {"/summary/duration", std::numeric_limits<double>::quiet_NaN()},
        {"/summary/duration", 0x1p63},
        {"/summary/duration", -0x1.0000000000001p63},
        {"/source", "Model"},
        {"/id", "0f8fad5b-d9cb-469f-a165-70867728950"},
        {"/id", "0f8fad5b-d9cb-469f-a165-70867728950g"},
        {"/id", "0f8fad5bxd9cb-469f-a165-70867728950e"},
        {"/url", "http://example.org/a"},
        {"/url", "/home/a"},
    };
    for (const auto& [place, value] : rows) {
        SCOPED_TRACE(place + " " + value.dump());
        Json record = toJson(fullProposal());
        record.at(Json::json_pointer(place)) = value;
        EXPECT_FALSE(proposalFromJson(record));
    }
    Json longest = toJson(ContentSummary{});
    longest["duration"] = -0x1p63;
    ASSERT_TRUE(contentSummaryFromJson(longest));
    EXPECT_FALSE(contentSummaryFromJson(longest)->modelPrompt(Locale("fr")).empty());
}

} // namespace
} // namespace vesto
