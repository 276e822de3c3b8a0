#include "services/ipc/ModelMessages.h"

#include "services/client/RemoteLanguageModel.h"

#include <gtest/gtest.h>

namespace vesto::tests {
namespace {

using namespace ipc;

TEST(ModelMessages, AreReadAsTheyWereWritten) {
    const ModelOrder orders[] = {
        LoadModel{.kind = ModelKind::speech, .describe = true},
        WarmModel{.instructions = "Tu nommes", .stateBytes = 7, .threads = {.reading = 2, .writing = 1}},
        AskModel{.prompt = "Relevé", .maxTokens = 64},
        CancelWork{},
        TranscribeSound{.samples = 480,
                        .languages = {"fr", "en"},
                        .longest = std::chrono::milliseconds(20'000),
                        .threads = 2},
    };
    for (const ModelOrder& order : orders)
        EXPECT_EQ(decodeModelOrder(encode(order)), order) << order.index();
    const ModelReport reports[] = {
        ModelLoaded{ModelOutcome::done, "Nom", "llama", 1, 4096, {"fr", "en"}},
        ModelWarmed{ModelOutcome::cancelled, 600, 9, true, {.reading = 1, .writing = 2}},
        ModelAnswered{ModelOutcome::done, "Facture", 9, 8, 1, std::chrono::microseconds(5),
                      std::chrono::microseconds(6)},
        SoundTranscribed{ModelOutcome::late, "fr", {"Bonjour.", ""}},
    };
    for (const ModelReport& report : reports)
        EXPECT_EQ(decodeModelReport(encode(report)), report) << report.index();
    const ModelGreeting greeting{Jail::reduced, "moteur 1"};
    EXPECT_EQ(decodeModelGreeting(encode(greeting)), greeting);
}

TEST(ModelMessages, NoCutOneIsTakenAndNoOtherByteMore) {
    for (const ModelReport& report :
         {ModelReport(ModelLoaded{ModelOutcome::done, "Nom", "llama", 1, 4096, {"fr"}}),
          ModelReport(SoundTranscribed{ModelOutcome::done, "fr", {"Bonjour.", "À tous."}})}) {
        const std::string whole = encode(report);
        for (std::size_t size = 0; size < whole.size(); ++size)
            EXPECT_FALSE(decodeModelReport(std::string_view(whole).substr(0, size))) << size;
        EXPECT_FALSE(decodeModelReport(whole + '\0'));
    }
    std::string title = encode(ModelReport(ModelAnswered{ModelOutcome::done, "Facture"}));
    title[6] = '\xFF'; // in its first letter
    EXPECT_FALSE(decodeModelReport(title));
}

TEST(ModelMessages, OfAHostThatWasFedLongOrBadTextStillFit) {
    ModelLoaded loaded{ModelOutcome::done, std::string(1000, 'n'), "\xFF", 1, 1, {}};
    loaded.languages.assign(500, std::string(100, 'l'));
    const std::string bytes = encode(ModelReport(loaded));
    EXPECT_LE(bytes.size(), limits::reportBytes);
    EXPECT_TRUE(decodeModelReport(bytes));
    // Cut between two letters.
    std::string title = "x";
    while (title.size() <= limits::titleBytes)
        title += "é";
    EXPECT_TRUE(decodeModelReport(encode(ModelReport(ModelAnswered{ModelOutcome::done, title}))));
    // More is said than fits: the beginning of it, never more than the limit in all lines together.
    for (const auto& lines : {std::vector<std::string>(9, std::string(3000, 'a') + "\xFF"),
                              std::vector<std::string>(1000, "oui")}) {
        const std::string said = encode(ModelReport(SoundTranscribed{ModelOutcome::done, "fr", lines}));
        EXPECT_LE(said.size(), limits::reportBytes);
        const auto report = decodeModelReport(said);
        ASSERT_TRUE(report);
        EXPECT_FALSE(std::get<SoundTranscribed>(*report).lines.empty());
    }
}

TEST(ModelMessages, NoLieAboutASoundIsTaken) {
    using std::chrono::milliseconds;
    const TranscribeSound good{
        .samples = limits::heardSamples, .languages = {"fr"}, .longest = milliseconds(1)};
    EXPECT_TRUE(decodeModelOrder(encode(ModelOrder(good))));
    TranscribeSound tooMany = good;
    ++tooMany.samples;
    EXPECT_FALSE(decodeModelOrder(encode(ModelOrder(tooMany))));
    std::string languages = encode(ModelOrder(good));
    languages[5] = static_cast<char>(limits::spokenLanguages + 1); // their number
    EXPECT_FALSE(decodeModelOrder(languages));
}

TEST(RemoteLanguageModel, WritesInTheLanguagesThatItsFileLists) {
    const auto supports = [](std::vector<std::string> languages, std::string_view language) {
        RemoteLanguageModel::Facts facts;
        facts.languages = std::move(languages);
        return RemoteLanguageModel::supports(facts, language);
    };
    EXPECT_TRUE(supports({}, "fr"));
    EXPECT_TRUE(supports({"en", "fr-CA"}, "fr_FR"));
    EXPECT_TRUE(supports({"eng", "fra"}, "fr"));
    EXPECT_TRUE(supports({"multilingual"}, "fr"));
    EXPECT_FALSE(supports({"en"}, "fr"));
    EXPECT_FALSE(supports({"frr", "french-ish", ""}, "fr"));
}

TEST(RemoteLanguageModel, WithoutTheProgramOrAFileIsUnavailableAtOnce) {
    using Obstacle = RemoteLanguageModel::Obstacle;
    struct Row {
        std::string model;
        bool enabled;
        LanguageModel::Availability availability;
        Obstacle obstacle;
    };
    const Row rows[] = {
        {"", true, LanguageModel::Availability::unavailable, Obstacle::none}, // nothing to say of no file
        {"/nirgendwo.gguf", true, LanguageModel::Availability::unavailable, Obstacle::noFile},
        {VESTO_SOURCE_DIR, true, LanguageModel::Availability::unavailable, Obstacle::noFile},
        {VESTO_SOURCE_DIR "/README.md", true, LanguageModel::Availability::unavailable, Obstacle::noEngine},
        {VESTO_SOURCE_DIR "/README.md", false, LanguageModel::Availability::appleIntelligenceNotEnabled,
         Obstacle::none},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.model);
        RemoteLanguageModel model({.model = row.model, .enabled = row.enabled, .program = "/nirgendwo"});
        EXPECT_EQ(model.availability(), row.availability);
        EXPECT_EQ(model.facts().obstacle, row.obstacle);
        EXPECT_FALSE(model.respond({.instructions = "Nomme", .prompt = "Texte"}, {}));
    }
}

} // namespace
} // namespace vesto::tests
