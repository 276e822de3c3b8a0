#include "core/naming/FoundationNameGenerator.h"

#include "core/naming/ModelInstructions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vesto {
namespace {

using testing::HasSubstr;
using testing::Not;
using Availability = LanguageModel::Availability;
using Code = NameGenerationError::Code;
using Failure = LanguageModel::Failure;

class ScriptedModel : public LanguageModel {
public:
    Availability availability() override { return state; }
    bool supportsLanguage(std::string_view language) override {
        askedLanguage = language;
        return knowsLanguage;
    }
    void prewarm(const std::string& instructions) override { prewarmed = instructions; }
    std::expected<ProposedName, Failure> respond(const ModelRequest& request, std::stop_token) override {
        asked = request;
        return answer;
    }

    Availability state = Availability::available;
    bool knowsLanguage = true;
    std::string askedLanguage;
    std::string prewarmed;
    ModelRequest asked;
    std::expected<ProposedName, Failure> answer{ProposedName{"« Facture Edf ». "}};
};

TEST(ModelInstructions, FollowTheLanguage) {
    struct Row {
        std::string_view locale;
        std::string_view language; // empty for the French text
    };
    constexpr Row rows[] = {
        {"fr", {}},          {"fr_CA.UTF-8", {}},  {"FR-be", {}},   {"en_GB", "English"},
        {"de_AT", "German"}, {"pt", "Portuguese"}, {"", "English"}, {"_US", "English"},
        {"qqz", "English"},  {"{x}", "English"},
    };
    const std::string french = modelInstructions(Locale("fr"));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.locale);
        const std::string instructions = modelInstructions(Locale(row.locale));
        if (row.language.empty()) {
            EXPECT_EQ(instructions, french);
            continue;
        }
        const std::string language(row.language);
        EXPECT_THAT(instructions, HasSubstr("- 3 to 6 words, written in " + language + ".\n"));
        EXPECT_THAT(instructions, HasSubstr("translated into " + language + ". Otherwise no date."));
        EXPECT_THAT(instructions, Not(HasSubstr("{LANGUAGE}")));
    }
    // The kept state of a model belongs to these bytes: an accidental change is a different text.
    EXPECT_EQ(french.size(), 2187U);
    EXPECT_EQ(modelInstructions(Locale("en")).size(), 1261U - 2 * 10 + 2 * 7);
    EXPECT_TRUE(french.ends_with("→ Suivi des dépenses 2026"));
    EXPECT_TRUE(modelInstructions(Locale("en")).ends_with("→ Cat on a sofa"));
}

TEST(FoundationNameGenerator, SaysWhyTheModelCannotBeUsed) {
    struct Row {
        Availability state;
        bool knowsLanguage;
        std::string_view message;
    };
    constexpr Row rows[] = {
        {Availability::available, true, ""},
        {Availability::available, false, "Langue non prise en charge par le modèle on-device."},
        {Availability::deviceNotEligible, true, "Cet ordinateur n'a pas assez de mémoire pour le modèle."},
        {Availability::appleIntelligenceNotEnabled, true, "Le modèle est désactivé dans les réglages."},
        {Availability::modelNotReady, false, "Le modèle est en cours de chargement."},
        {Availability::unavailable, true, "Modèle indisponible."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message);
        const auto model = std::make_shared<ScriptedModel>();
        model->state = row.state;
        model->knowsLanguage = row.knowsLanguage;
        const auto found = FoundationNameGenerator::availability(model.get(), Locale("de_CH"));
        EXPECT_EQ(found.message, row.message);
        EXPECT_EQ(found.isAvailable(), row.message.empty());
        FoundationNameGenerator generator(model, Locale("de_CH"));
        const auto title = generator.title(ContentSummary{}, {});
        if (row.message.empty()) {
            EXPECT_EQ(model->askedLanguage, "de");
            EXPECT_TRUE(title);
        } else {
            ASSERT_FALSE(title);
            EXPECT_EQ(title.error(), (NameGenerationError{Code::modelUnavailable, std::string(row.message)}));
            EXPECT_EQ(model->asked, ModelRequest{}); // nothing of a file goes there
        }
    }
    EXPECT_EQ(FoundationNameGenerator::availability(nullptr, Locale("fr")).message, "Modèle indisponible.");
}

TEST(FoundationNameGenerator, HandsOverTheSummaryAndGivesTheTitleAsWritten) {
    const auto model = std::make_shared<ScriptedModel>();
    FoundationNameGenerator generator(model, Locale("en_US"));
    generator.prewarm();
    EXPECT_EQ(model->prewarmed, modelInstructions(Locale("en")));
    const ContentSummary summary{.lines = {"EDF", "84,20 €"},
                                 .period = DocumentPeriodExtractor::Period{.month = 10, .year = 2026}};
    EXPECT_EQ(generator.title(summary, {}), "« Facture Edf ». ");
    EXPECT_EQ(model->asked,
              (ModelRequest{modelInstructions(Locale("en")), summary.modelPrompt(Locale("en")), 64}));
    EXPECT_THAT(model->asked.prompt, HasSubstr("Période détectée : October 2026\n"));
}

TEST(FoundationNameGenerator, PassesFailuresOnAndIsFreeAfterwards) {
    const auto model = std::make_shared<ScriptedModel>();
    FoundationNameGenerator generator(model, Locale("fr"));
    struct Row {
        Failure::Code failure;
        Code error;
    };
    constexpr Row rows[] = {{Failure::Code::cancelled, Code::cancelled},
                            {Failure::Code::unusable, Code::platform},
                            {Failure::Code::tooLong, Code::platform},
                            {Failure::Code::engine, Code::platform}};
    for (const Row& row : rows) {
        model->answer = std::unexpected(Failure{row.failure, "why"});
        EXPECT_EQ(generator.title(ContentSummary{}, {}).error(), (NameGenerationError{row.error, "why"}));
    }
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_EQ(generator.title(ContentSummary{}, stopped.get_token()).error().code, Code::cancelled);
    model->answer = ProposedName{"Après"};
    EXPECT_EQ(generator.title(ContentSummary{}, {}), "Après");
}

} // namespace
} // namespace vesto
