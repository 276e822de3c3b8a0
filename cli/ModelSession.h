#pragma once
#include "cli/Options.h"
#include "core/files/ModelFolder.h"
#include "core/naming/FoundationNameGenerator.h"
#include "core/naming/LanguageModel.h"
#include "core/naming/TitleGenerating.h"
#include "services/client/ModelObstacle.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace vesto::cli {

/// Why a model cannot be used and what to do, in French; empty where nothing is in the way.
[[nodiscard]] std::string_view wordsOf(ModelObstacle obstacle);

/// The language model in one file, through its host.
struct LocalModel {
    /// What is told of it to people.
    struct Facts {
        std::string name{};           // as its file says; may be empty
        std::string architecture{};   // as the engine calls it; may be empty
        std::uint64_t parameters = 0; // 0: not known
        std::uint32_t lastTokens = 0; // written for the last title
        std::string_view obstacle{};  // why it cannot be used, in French; empty: nothing to add
    };

    std::shared_ptr<LanguageModel> model; // null: there is none
    /// Waits until nothing is being loaded or got ready, at most for this time.
    std::function<void(std::chrono::milliseconds)> settle;
    std::function<Facts()> facts;
};

[[nodiscard]] LocalModel openModel(const std::filesystem::path& file, bool isEnabled = true);

/// The model that the user's settings name.
[[nodiscard]] LocalModel openUsedModel(const ModelFolder& models);

/// The language model as one run of the command line uses it. What it has to say goes to `err`.
class ModelSession {
public:
    /// How long a run waits for its model.
    struct Wait {
        std::chrono::milliseconds silent = std::chrono::seconds(1); // before saying so
        std::chrono::milliseconds longest = std::chrono::seconds(60);
    };

    /// The model begins to get ready at once, in the background. `timeout` is of each title.
    ModelSession(const Options& options, LocalModel local, std::ostream& err, Wait wait,
                 std::chrono::nanoseconds timeout = FoundationNameGenerator::defaultTimeout);
    ModelSession(const Options& options, LocalModel local, std::ostream& err)
        : ModelSession(options, std::move(local), err, Wait{}) {}

    /// Waits until the model is loaded, at most a minute and only the first time. Null where it cannot be
    /// used then.
    [[nodiscard]] std::shared_ptr<TitleGenerating> generator();

    /// Where that gave null: why, in French.
    [[nodiscard]] std::string_view unavailableBecause() const;

    [[nodiscard]] LocalModel::Facts facts() const {
        return m_local.model ? m_local.facts() : LocalModel::Facts{};
    }

private:
    void await();

    bool m_verbose;
    Locale m_language;
    std::ostream& m_err;
    Wait m_wait;
    LocalModel m_local;
    std::shared_ptr<FoundationNameGenerator> m_generator;
    FoundationNameGenerator::Availability m_availability;
    bool m_hasWaited = false;
};

} // namespace vesto::cli
