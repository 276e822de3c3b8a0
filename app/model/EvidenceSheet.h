#pragma once
#include "core/naming/Proposal.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// A line that explains a title's confidence: its pieces are shown one after the other.
struct EvidenceLine {
    enum class Mark { found, near, absent, note, label };
    enum class Tone { strong, plain, secondary };
    struct Piece {
        std::string text;
        Tone tone = Tone::plain;
        bool operator==(const Piece&) const = default;
    };
    Mark mark = Mark::absent;
    std::vector<Piece> pieces{};

    [[nodiscard]] std::string text() const; // the pieces joined
    bool operator==(const EvidenceLine&) const = default;
};

/// Why a title has its confidence, in French, for who asks.
struct EvidenceSheet {
    std::optional<double> confidence{};   // nothing where the user wrote the title
    std::vector<std::string> sentences{}; // at least one
    std::vector<EvidenceLine> lines{};    // one for each word that counts, or for each label of a picture

    bool operator==(const EvidenceSheet&) const = default;
};

/// `title`: the proposal's own, or what the user made of it. What is quoted of the file holds no control or
/// format characters, and its direction ends where it does.
[[nodiscard]] EvidenceSheet evidenceSheet(const Proposal& proposal, std::string_view title);

} // namespace vesto
