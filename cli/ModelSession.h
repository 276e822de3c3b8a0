#pragma once
#include "app/model/LocalModel.h"
#include "cli/Options.h"
#include "core/naming/FoundationNameGenerator.h"
#include "core/naming/TitleGenerating.h"

#include <chrono>
#include <iosfwd>
#include <memory>
#include <string_view>
#include <utility>

namespace vesto::cli {

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
