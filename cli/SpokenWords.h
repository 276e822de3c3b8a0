#pragma once
#include "app/model/LocalModel.h"
#include "cli/Options.h"
#include "core/extraction/SpeechTranscribing.h"

#include <filesystem>
#include <iosfwd>
#include <string>
#include <utility>

namespace vesto::cli {

/// What is said in recordings, as one run of the command line hears it. With --verbose it tells `err` what
/// comes of each. Where there is no model of speech, nothing is heard, and nothing said about it.
class SpokenWords final : public SpeechTranscribing {
public:
    SpokenWords(LocalSpeech speech, bool verbose, std::ostream& err)
        : m_speech(std::move(speech))
        , m_verbose(verbose)
        , m_err(err) {}

    [[nodiscard]] std::optional<std::vector<std::string>> transcribe(std::span<const std::int16_t> samples,
                                                                     const std::vector<std::string>& locales,
                                                                     Seconds timeout,
                                                                     std::stop_token stop) override;

private:
    LocalSpeech m_speech;
    bool m_verbose;
    std::ostream& m_err;
};

/// Whether the model of speech in this file answers here; says how long that takes, or why not.
[[nodiscard]] bool trySpeech(const std::filesystem::path& file, std::ostream& out, std::ostream& err);

} // namespace vesto::cli
