#include "cli/SpokenWords.h"

#include "cli/Messages.h"
#include "cli/ModelSession.h"
#include "core/extraction/Summarizer.h"
#include "core/support/Text.h"

#include <fmt/format.h>

#include <ostream>

namespace vesto::cli {
namespace {

using End = RemoteTranscriber::End;

std::string endWords(const RemoteTranscriber::Facts& facts) {
    switch (facts.end) {
    case End::heard:
        return fmt::format("{} ({}, {})", text("Parole transcrite"), printable(facts.language),
                           secondsWords(facts.took));
    case End::silence:
        return std::string(text("Aucune parole comprise."));
    case End::late:
        return std::string(text("Parole : pas de transcription dans le délai."));
    case End::failed:
        if (const std::string_view why = wordsOf(facts.obstacle); !why.empty())
            return fmt::format("{} {}", text("Parole : le modèle ne sert pas,"), why);
        return std::string(text("Parole : le moteur s'est arrêté sur cet enregistrement."));
    case End::none:
        break;
    }
    return {};
}

/// A minute of a hiss that a model has to listen to.
std::vector<std::int16_t> hiss() {
    std::vector<std::int16_t> samples(ipc::limits::heardSamples);
    std::uint32_t state = 1;
    for (std::int16_t& sample : samples) {
        state = state * 1'664'525 + 1'013'904'223;
        sample = static_cast<std::int16_t>(static_cast<std::int32_t>(state >> 20) - 2048);
    }
    return samples;
}

} // namespace

std::optional<std::vector<std::string>> SpokenWords::transcribe(std::span<const std::int16_t> samples,
                                                                const std::vector<std::string>& locales,
                                                                Seconds timeout, std::stop_token stop) {
    std::error_code ignored;
    if (!std::filesystem::is_symlink(m_speech.file, ignored) &&
        !std::filesystem::exists(m_speech.file, ignored))
        return std::nullopt;
    if (m_verbose)
        m_err << text("Transcription de la parole…") << '\n' << std::flush;
    auto lines = m_speech.model->transcribe(samples, locales, timeout, std::move(stop));
    if (m_verbose)
        m_err << endWords(m_speech.facts()) << '\n' << std::flush;
    return lines;
}

bool trySpeech(const std::filesystem::path& file, std::ostream& out, std::ostream& err) {
    RemoteTranscriber speech({.model = file});
    // In English: there are models of that alone. What it makes of a hiss does not matter.
    constexpr Seconds longest = std::chrono::milliseconds(ipc::limits::transcribingMilliseconds);
    static_cast<void>(speech.transcribe(hiss(), {"en_US"}, longest, {}));
    const RemoteTranscriber::Facts facts = speech.facts();
    switch (facts.end) {
    case End::heard:
    case End::silence: {
        out << shownName(file) << " : " << text("modèle de parole");
        if (!facts.name.empty())
            out << " (" << printable(facts.name) << ')';
        out << '\n' << text("Essai : une minute de son en ") << secondsWords(facts.took) << '\n';
        if (facts.took > AudioSummarizer().transcriptionTimeout)
            out << text("C'est trop lent pour cet ordinateur : au-delà de 20 secondes, la transcription est "
                        "interrompue. Un modèle plus petit conviendra mieux.")
                << '\n';
        return true;
    }
    case End::late:
        err << shownName(file) << " : "
            << text("pas de réponse en une minute ; un modèle plus petit conviendra mieux.") << '\n';
        return false;
    case End::failed:
    case End::none:
        break;
    }
    const std::string_view why = wordsOf(facts.obstacle);
    err << shownName(file) << " : "
        << (why.empty() ? text("le moteur s'est arrêté pendant l'essai ; prenez un autre modèle.") : why)
        << '\n';
    return false;
}

} // namespace vesto::cli
