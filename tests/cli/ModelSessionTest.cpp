#include "cli/ModelSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

namespace vesto::cli {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using Availability = LanguageModel::Availability;

/// Loads while it is waited for: `settle` sleeps for as long as loading takes, at most as long as it may.
class LoadingModel : public LanguageModel {
public:
    Availability availability() override { return left > 0ms ? Availability::modelNotReady : after; }
    bool supportsLanguage(std::string_view) override { return true; }
    void prewarm(const std::string&) override { ++prewarms; }
    std::expected<ProposedName, Failure> respond(const ModelRequest&, std::stop_token) override {
        return ProposedName{"Titre"};
    }

    std::chrono::milliseconds left{0};
    Availability after = Availability::available;
    int prewarms = 0;
};

TEST(ModelSession, WaitsForTheFirstLoadAndSaysSo) {
    struct Row {
        std::chrono::milliseconds load;
        Availability after;
        bool verbose;
        bool usable;
        std::vector<std::string> says;
    };
    const Row rows[] = {
        {0ms, Availability::available, false, true, {}},
        {5ms, Availability::available, false, true, {}},
        {5ms, Availability::available, true, true, {"Titres par le modèle local : Essai"}},
        {1100ms, Availability::available, false, true, {"se charge"}},
        {3000ms, Availability::available, false, false, {"se charge", "en cours de chargement"}},
        {1100ms, Availability::deviceNotEligible, false, false, {"se charge", "pas assez de mémoire"}},
        {0ms, Availability::unavailable, false, false, {}},
        {0ms, Availability::unavailable, true, false, {"Modèle indisponible."}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.load.count() << " ms, verbose " << row.verbose);
        const auto model = std::make_shared<LoadingModel>();
        model->left = row.load;
        model->after = row.after;
        const LocalModel local{model,
                               [&model](std::chrono::milliseconds longest) {
                                   const auto slept = std::min(longest, model->left);
                                   std::this_thread::sleep_for(slept);
                                   model->left -= slept;
                               },
                               [] { return LocalModel::Facts{.name = "Essai"}; }};
        Options options;
        options.verbose = row.verbose;
        std::ostringstream err;
        ModelSession session(options, local, err, {.silent = 1000ms, .longest = 1200ms});
        // What cannot be used is not loaded all the same.
        EXPECT_EQ(model->prewarms, row.load > 0ms || row.after == Availability::available ? 1 : 0);
        EXPECT_EQ(session.generator() != nullptr, row.usable);
        for (const std::string& words : row.says)
            EXPECT_THAT(err.str(), HasSubstr(words));
        EXPECT_EQ(err.str().empty(), row.says.empty());
        const std::string before = err.str();
        static_cast<void>(session.generator());
        EXPECT_EQ(err.str(), before); // one wait a run
    }
}

TEST(ModelSession, NoModelIsNoGenerator) {
    std::ostringstream err;
    ModelSession session(Options{}, LocalModel{}, err);
    EXPECT_EQ(session.generator(), nullptr);
    EXPECT_EQ(err.str(), "");
}

} // namespace
} // namespace vesto::cli
