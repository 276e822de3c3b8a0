#pragma once
#include "core/extraction/SpeechTranscribing.h"
#include "services/client/LentModel.h"
#include "services/client/OwnHost.h"
#include "services/client/RemoteTranscriber.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vesto {

/// A model of speech through the engine that watches this user's folders, where one does: so that one process
/// hosts it for all programs. Where none does, or it has no answer, it is a host of this program's own from
/// then on. Thread-safe.
class SharedTranscriber final : public SpeechTranscribing {
public:
    using MakeOwn = OwnHost<RemoteTranscriber>::Make;

    /// `makeOwn` makes the one that does it here; called once at most.
    SharedTranscriber(std::filesystem::path dataFolder, std::filesystem::path file, MakeOwn makeOwn)
        : m_dataFolder(std::move(dataFolder))
        , m_file(std::move(file))
        , m_own(std::move(makeOwn)) {}

    /// `timeout` is for all of it.
    [[nodiscard]] std::optional<std::vector<std::string>> transcribe(std::span<const std::int16_t> samples,
                                                                     const std::vector<std::string>& locales,
                                                                     Seconds timeout,
                                                                     std::stop_token stop) override;

    [[nodiscard]] RemoteTranscriber::Facts facts();

private:
    /// Nothing where the engine has no answer.
    [[nodiscard]] std::optional<lent::Heard> ask(const SealedSound& sound,
                                                 const std::vector<std::string>& locales, Seconds timeout,
                                                 const std::stop_token& stop);

    const std::filesystem::path m_dataFolder;
    const std::filesystem::path m_file;
    OwnHost<RemoteTranscriber> m_own; // if it came to that

    mutable std::mutex m_mutex;       // for all below
    RemoteTranscriber::Facts m_facts; // as last told by the engine
};

} // namespace vesto
