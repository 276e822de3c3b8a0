#include "cli/Messages.h"

#include "core/extraction/SummarizerMessage.h"
#include "core/files/FileName.h"
#include "core/support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace vesto::cli {

std::string shownName(const std::filesystem::path& path) {
    return printable(lastComponentOf(path));
}

std::string percentage(double share) {
    return fmt::format("{}\u202F%", std::lround(share * 100));
}

namespace {

std::string withComma(double number, std::string_view unit) {
    std::string words = fmt::format("{:.1f}\u00A0{}", number, unit);
    std::ranges::replace(words, '.', ',');
    return words;
}

} // namespace

std::string secondsWords(Seconds time) {
    return withComma(time.count(), "s");
}

std::string sizeWords(std::uint64_t bytes) {
    const auto count = static_cast<double>(bytes);
    return bytes >= 1'000'000'000 ? withComma(count / 1e9, "Go") : withComma(count / 1e6, "Mo");
}

std::string_view sourceWords(ConfidenceScorer::Source source) {
    switch (source) {
    case ConfidenceScorer::Source::model:
        return text("modèle local");
    case ConfidenceScorer::Source::fallback:
        return text("premières lignes du texte lu");
    }
    return {};
}

std::string messageOf(const SummarizerError& error) {
    return printable(vesto::messageOf(error));
}

} // namespace vesto::cli
