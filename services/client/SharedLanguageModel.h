#pragma once
#include "core/naming/LanguageModel.h"
#include "services/client/ControlClient.h"
#include "services/client/LentModel.h"
#include "services/client/OwnHost.h"
#include "services/client/RemoteLanguageModel.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vesto {

/// A model file through the engine that watches this user's folders, where one does: so that one process
/// hosts the model for all programs. Where none does, has another model or other instructions, or leaves, it
/// is a host of this program's own from then on. Thread-safe.
class SharedLanguageModel final : public LanguageModel {
public:
    using MakeOwn = OwnHost<RemoteLanguageModel>::Make;

    /// `makeOwn` makes the one that does it here; called once at most.
    SharedLanguageModel(std::filesystem::path dataFolder, std::filesystem::path file, MakeOwn makeOwn)
        : m_dataFolder(std::move(dataFolder))
        , m_file(std::move(file))
        , m_own(std::move(makeOwn)) {}

    [[nodiscard]] Availability availability() override;
    [[nodiscard]] bool supportsLanguage(std::string_view language) override;
    void prewarm(const std::string& instructions) override;
    [[nodiscard]] std::expected<ProposedName, Failure> respond(const ModelRequest& request,
                                                               std::stop_token stop) override;

    /// Waits until nothing is being loaded or got ready, at most for `timeout`.
    void settle(std::chrono::milliseconds timeout);

    [[nodiscard]] RemoteLanguageModel::Facts facts();

private:
    /// What the engine says of its model, at most after a moment; nothing where it has none for us.
    [[nodiscard]] std::optional<lent::State> state(std::optional<std::string> instructions);
    [[nodiscard]] std::optional<lent::Answer> ask(const ModelRequest& request, const std::stop_token& stop);

    const std::filesystem::path m_dataFolder;
    const std::filesystem::path m_file;
    OwnHost<RemoteLanguageModel> m_own; // if it came to that

    mutable std::mutex m_mutex;             // for all below
    lent::State m_state;                    // as last told
    RemoteLanguageModel::Written m_written; // of the last title that was lent
};

} // namespace vesto
