#pragma once
#include "cli/Options.h"
#include "cli/ReadingSession.h"
#include "core/extraction/SummarizerError.h"
#include "core/files/FileEligibility.h"
#include "core/naming/NamingPipeline.h"
#include "core/naming/Proposal.h"
#include "core/support/Json.h"

#include <filesystem>
#include <string>
#include <variant>

namespace vesto::cli {

/// What naming one file came to.
struct Naming {
    std::filesystem::path path;
    std::variant<PipelineOutcome, FileEligibility::Rejection, SummarizerError> result;

    /// Null unless a name is proposed.
    [[nodiscard]] const Proposal* proposal() const;

    /// Why no name is proposed, in French; empty where one is.
    [[nodiscard]] std::string reason() const;

    /// "path", "outcome" and what belongs to it: "fileName" and "proposal", or "reason", and "error".
    [[nodiscard]] Json record() const;
};

/// Names files by the words of the command line, without touching them.
class Namer {
public:
    Namer(const Options& options, ReadingSession& session);

    [[nodiscard]] Naming name(const std::filesystem::path& path) const;

private:
    ReadingSession& m_session;
    FileEligibility::Options m_eligibility;
    NamingPipeline m_pipeline;
};

/// The file name that a proposal stands for, before any collision.
[[nodiscard]] std::string proposedFileName(const Proposal& proposal);

} // namespace vesto::cli
