#pragma once
#include "cli/Options.h"
#include "core/extraction/SpeechTranscribing.h"
#include "services/client/RemoteTranscriber.h"

#include <filesystem>
#include <iosfwd>
#include <string>

namespace vesto::cli {

/// What is said in recordings, as one run of the command line hears it: by the model of speech in one file.
/// With --verbose it tells `err` what comes of each.
class SpokenWords final : public SpeechTranscribing {
public:
    SpokenWords(const std::filesystem::path& model, bool verbose, std::ostream& err)
        : m_verbose(verbose)
        , m_err(err)
        , m_speech({.model = model}) {}

    [[nodiscard]] std::optional<std::vector<std::string>> transcribe(std::span<const std::int16_t> samples,
                                                                     const std::vector<std::string>& locales,
                                                                     Seconds timeout,
                                                                     std::stop_token stop) override;

private:
    bool m_verbose;
    std::ostream& m_err;
    RemoteTranscriber m_speech;
};

/// Whether the model of speech in this file answers here; says how long that takes, or why not.
[[nodiscard]] bool trySpeech(const std::filesystem::path& file, std::ostream& out, std::ostream& err);

} // namespace vesto::cli
