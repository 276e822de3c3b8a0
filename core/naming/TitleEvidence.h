#pragma once
#include "core/naming/ContentSummary.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// Why a title has its confidence: which of its words were looked for in the file, and where each was found.
struct TitleEvidence {
    enum class Match {
        exact, // the word itself, letter case and accents aside
        near,  // a word that begins alike and is about as long
        month, // a month's name, by a date in digits
        absent,
        period, // repeats the period that was found in the file, and is not counted
    };

    struct Word {
        std::string word; // as the title writes it
        Match match = Match::absent;
        /// Of the summary's text, from 1; nothing where the metadata title or nothing holds the word.
        std::optional<std::size_t> line{};
        // What was found and what stands around it on its line, at most 24 characters on each side; an
        // ellipsis where the line goes on.
        std::string before{};
        std::string found{};
        std::string after{};

        [[nodiscard]] bool isJudged() const { return match != Match::period; }
        [[nodiscard]] bool isFound() const { return isJudged() && match != Match::absent; }
        bool operator==(const Word&) const = default;
    };

    /// Whether the file says enough for its words to count; where not, its labels do.
    bool isGrounded = false;
    std::vector<Word> words{}; // in the title's order; short ones and those that every text has are left out

    [[nodiscard]] std::size_t judgedCount() const;
    [[nodiscard]] std::size_t foundCount() const; // of these
    bool operator==(const TitleEvidence&) const = default;
};

/// Drops the lines that `text()` does not show: score and evidence of any title stay what they are, and no
/// more of the file is kept while its name waits for the user.
void keepOnlyText(ContentSummary& summary);

/// `foundCount` ÷ `judgedCount` is what `ConfidenceScorer::grounding` says. Pure and thread-safe.
[[nodiscard]] TitleEvidence evidence(std::string_view title, const ContentSummary& summary);

} // namespace vesto
