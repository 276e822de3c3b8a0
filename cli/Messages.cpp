#include "cli/Messages.h"

#include "core/files/FileName.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace vesto::cli {

std::string printable(std::string_view text) {
    std::string result;
    for (std::size_t offset = 0; offset < text.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        const bool shown = !unicode::isControl(scalar.value) && !unicode::isNewline(scalar.value);
        unicode::append(result, shown ? scalar.value : unicode::replacementCharacter);
        offset += scalar.size;
    }
    return result;
}

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
    struct Message {
        std::string operator()(const SummarizerError::UnsupportedType& unsupported) const {
            if (unsupported.type.empty())
                return std::string(text("Le type de ce fichier est inconnu."));
            return fmt::format("{} ({})", text("Ce type de fichier n'est pas pris en charge."),
                               printable(unsupported.type));
        }
        std::string operator()(const SummarizerError::Unreadable&) const {
            return std::string(text("Le contenu de ce fichier n'a pas pu être lu."));
        }
        std::string operator()(const SummarizerError::Locked&) const {
            return std::string(text("Ce document est protégé par un mot de passe."));
        }
    };
    return std::visit(Message{}, error.value());
}

} // namespace vesto::cli
