#pragma once
#include "cli/ModelSession.h"
#include "cli/Options.h"
#include "cli/ReadingSession.h"
#include "core/extraction/SummarizerError.h"
#include "core/files/FileEligibility.h"
#include "core/naming/NamingPipeline.h"
#include "core/naming/Proposal.h"
#include "core/support/Json.h"

#include <filesystem>
#include <optional>
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
    Namer(const Options& options, ReadingSession& session, ModelSession& model);

    [[nodiscard]] Naming name(const std::filesystem::path& path);

private:
    const NamingPipeline& pipeline();

    const Options& m_options;
    ReadingSession& m_session;
    ModelSession& m_model;
    FileEligibility::Options m_eligibility;
    std::optional<NamingPipeline> m_pipeline; // made at the first file that may be named
};

class Report;

/// Tells what came of naming and renaming one file, by the engine's record of it.
void tellNamed(const std::filesystem::path& path, Json record, std::optional<double> minConfidence,
               Report& report);

/// The file name that a proposal stands for, before any collision.
[[nodiscard]] std::string proposedFileName(const Proposal& proposal);

} // namespace vesto::cli
