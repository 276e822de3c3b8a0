#pragma once
#include "core/files/FileIdentity.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/naming/ContentSummary.h"
#include "core/naming/NamingPolicy.h"
#include "core/support/Time.h"

#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace vesto {

/// A new name for one file, with all that is needed to judge it and to apply it later.
struct Proposal {
    std::string id;                       // a random UUID, lower case
    std::filesystem::path url;            // the file as it was
    std::optional<FileIdentity> identity; // taken before it was read
    std::string title;
    std::string baseName; // the proposed name without extension
    ConfidenceScorer::Source source = ConfidenceScorer::Source::fallback;
    double confidence = 0; // 0 to 1
    ContentSummary summary;
    Seconds summarizeSeconds{0};
    Seconds generateSeconds{0};
    NamingPolicy policy;

    bool operator==(const Proposal&) const = default;
};

/// What came of naming one file.
class PipelineOutcome {
public:
    struct Nothing {
        std::string reason; // in French, for the user
        std::optional<ContentSummary> summary;
        bool operator==(const Nothing&) const = default;
    };
    using Case = std::variant<Proposal, Nothing>;

    PipelineOutcome(Proposal proposal)
        : m_case(std::move(proposal)) {}
    PipelineOutcome(Nothing nothing)
        : m_case(std::move(nothing)) {}

    [[nodiscard]] const Proposal* proposal() const { return std::get_if<Proposal>(&m_case); }
    [[nodiscard]] const Nothing* nothing() const { return std::get_if<Nothing>(&m_case); }

private:
    Case m_case;
};

} // namespace vesto
