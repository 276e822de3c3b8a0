#include "core/naming/NamingPipeline.h"

#include "core/support/Uuid.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace vesto {
namespace {

using namespace std::chrono_literals;
using GenerationCode = NameGenerationError::Code;

class HandClock : public Clock {
public:
    [[nodiscard]] Instant now() const override { return referenceDate; }
    [[nodiscard]] std::chrono::nanoseconds sinceBoot() const override { return time; }
    std::chrono::nanoseconds time{5h};
};

/// Takes two seconds for each file.
class ScriptedReading : public ContentReading {
public:
    explicit ScriptedReading(HandClock& clock)
        : m_clock(clock) {}
    std::expected<Reading, SummarizerError> read(const ReadRequest&, const SummarizerSettings&) override {
        m_clock.time += 2s;
        if (!answer)
            return std::unexpected(answer.error());
        return Reading{.summary = *answer};
    }
    std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
    std::expected<ContentSummary, SummarizerError> answer{ContentSummary{}};

private:
    HandClock& m_clock;
};

/// Takes a quarter of a second for each title.
class ScriptedGenerator : public TitleGenerating {
public:
    explicit ScriptedGenerator(HandClock& clock)
        : m_clock(clock) {}
    std::expected<std::string, NameGenerationError> title(const ContentSummary&,
                                                          std::stop_token stop) override {
        m_clock.time += 250ms;
        if (stop.stop_requested())
            return std::unexpected(NameGenerationError{GenerationCode::cancelled, {}});
        return answer;
    }
    std::expected<std::string, NameGenerationError> answer{"Facture Edf"};

private:
    HandClock& m_clock;
};

class NamingPipelineTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "vesto-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        reading->answer = ContentSummary{.lines = {"Relevé annuel de consommation", "EDF EDF Edf"},
                                         .date = referenceDate + 12h};
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    [[nodiscard]] NamingPipeline pipeline(bool withGenerator = true, NamingPolicy policy = {}) const {
        return {
            reading, withGenerator ? generator : nullptr, NameTemplate{nameTemplate}, Locale("fr_FR"), policy,
            clock};
    }
    std::expected<PipelineOutcome, SummarizerError> run(const std::string& name, bool withGenerator = true,
                                                        const std::stop_token& stop = {}) const {
        std::ofstream(folder / name) << "text";
        return pipeline(withGenerator).run(folder / name, stop);
    }
    /// "title (source)", or the reason for none.
    std::string named(const std::string& name, bool withGenerator = true,
                      const std::stop_token& stop = {}) const {
        const auto outcome = run(name, withGenerator, stop);
        if (!outcome)
            return std::string(outcome.error().name());
        if (const PipelineOutcome::Nothing* nothing = outcome->nothing())
            return nothing->reason;
        return outcome->proposal()->title + " (" + std::string(rawValue(outcome->proposal()->source)) + ")";
    }

    HandClock clock;
    std::shared_ptr<ScriptedReading> reading = std::make_shared<ScriptedReading>(clock);
    std::shared_ptr<ScriptedGenerator> generator = std::make_shared<ScriptedGenerator>(clock);
    std::string nameTemplate = "{date:yyyy-MM-dd} {title}";
    std::filesystem::path folder;
};

TEST_F(NamingPipelineTest, ProposesANameWithAllThatIsKnown) {
    const auto outcome = run("scan.txt");
    ASSERT_TRUE(outcome && outcome->proposal());
    const Proposal& proposal = *outcome->proposal();
    EXPECT_EQ(proposal.url, folder / "scan.txt");
    EXPECT_EQ(proposal.identity, FileIdentity::of(folder / "scan.txt"));
    EXPECT_TRUE(proposal.identity);
    EXPECT_EQ(proposal.title, "Facture EDF");
    EXPECT_EQ(proposal.baseName, "2001-01-01 Facture EDF");
    EXPECT_EQ(proposal.source, ConfidenceScorer::Source::model);
    EXPECT_DOUBLE_EQ(proposal.confidence, 0.68); // one word of two
    EXPECT_EQ(proposal.summary, *reading->answer);
    EXPECT_EQ(proposal.summarizeSeconds, Seconds(2));
    EXPECT_EQ(proposal.generateSeconds, Seconds(0.25));
    EXPECT_EQ(proposal.policy, NamingPolicy{});
    EXPECT_EQ(parsedUuid(proposal.id), proposal.id);
    EXPECT_EQ(proposal.id[14], '4');
    EXPECT_NE(run("scan.txt")->proposal()->id, proposal.id);
}

TEST_F(NamingPipelineTest, TakesTheFallbackWhereTheGeneratorHasNoTitle) {
    const std::string fallback = "Relevé annuel de consommation (fallback)";
    EXPECT_EQ(named("a.txt", false), fallback);
    for (const GenerationCode code :
         {GenerationCode::modelUnavailable, GenerationCode::timeout, GenerationCode::busy,
          GenerationCode::nothingToPropose, GenerationCode::platform}) {
        generator->answer = std::unexpected(NameGenerationError{code, "x"});
        EXPECT_EQ(named("a.txt"), fallback);
    }
    for (const std::string title : {"", "«…»", "x", "\xFF\xFE"}) {
        generator->answer = title;
        EXPECT_EQ(named("a.txt"), fallback) << title;
    }
    generator->answer = "Facture";
    const std::stop_source stopped;
    EXPECT_TRUE(stopped.request_stop());
    EXPECT_EQ(named("a.txt", true, stopped.get_token()), fallback);
}

TEST_F(NamingPipelineTest, CompletesOnlyTheTitlesOfAModel) {
    reading->answer->period = DocumentPeriodExtractor::Period{10, 2026};
    EXPECT_EQ(named("a.txt"), "Facture EDF octobre 2026 (model)");
    EXPECT_EQ(named("a.txt", false), "Relevé annuel de consommation (fallback)");
}

TEST_F(NamingPipelineTest, SaysWhyThereIsNoProposal) {
    generator->answer = std::unexpected(NameGenerationError{});
    reading->answer = ContentSummary{.lines = {"1"}};
    auto outcome = run("a.txt");
    ASSERT_TRUE(outcome && outcome->nothing());
    EXPECT_EQ(*outcome->nothing(), (PipelineOutcome::Nothing{"Aucun contenu exploitable", *reading->answer}));

    nameTemplate = "{title}";
    generator->answer = "École EDF";
    for (const std::string name : {"École EDF.txt", "ÉCOLE Edf.TXT", "E\u0301cole EDF.txt"})
        EXPECT_EQ(named(name), "Nom identique") << name;
    EXPECT_EQ(named("École EDF (2).txt"), "École EDF (model)");

    EXPECT_EQ(named("a.vesto-unknown"), "unsupportedType");
    reading->answer = std::unexpected(SummarizerError::locked(folder / "a.txt"));
    EXPECT_EQ(run("a.txt").error(), SummarizerError::locked(folder / "a.txt"));
}

TEST_F(NamingPipelineTest, RendersTheTitleThatAUserWrites) {
    nameTemplate = "{date:yyyy-MM-dd} {original} {title}";
    reading->answer->period = DocumentPeriodExtractor::Period{10, 2026};
    const auto outcome = run("scan.v2.txt");
    ASSERT_TRUE(outcome && outcome->proposal());
    const NamingPipeline later = pipeline();
    EXPECT_EQ(later.baseNameForUserTitle(" mon Edf ! ", *outcome->proposal()), "2001-01-01 scan.v2 Mon Edf");
    EXPECT_EQ(later.baseNameForUserTitle("?", *outcome->proposal()), std::nullopt);
}

} // namespace
} // namespace vesto
