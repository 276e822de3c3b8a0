#include "cli/Naming.h"

#include "cli/Messages.h"
#include "core/files/FileName.h"
#include "core/naming/RecordCodec.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

#include <nlohmann/json.hpp>

namespace vesto::cli {

const Proposal* Naming::proposal() const {
    const auto* outcome = std::get_if<PipelineOutcome>(&result);
    return outcome == nullptr ? nullptr : outcome->proposal();
}

std::string Naming::reason() const {
    struct Reason {
        std::string operator()(const PipelineOutcome& outcome) const {
            return outcome.nothing() == nullptr ? std::string() : outcome.nothing()->reason;
        }
        std::string operator()(FileEligibility::Rejection rejection) const {
            return std::string(FileEligibility::message(rejection));
        }
        std::string operator()(const SummarizerError& error) const { return messageOf(error); }
    };
    return std::visit(Reason{}, result);
}

Json Naming::record() const {
    Json record;
    record["path"] = path.native();
    if (const Proposal* proposed = proposal()) {
        record["outcome"] = "proposal";
        record["fileName"] = proposedFileName(*proposed);
        record["proposal"] = toJson(*proposed);
    } else if (const auto* rejection = std::get_if<FileEligibility::Rejection>(&result)) {
        record["outcome"] = "rejected";
        record["reason"] = FileEligibility::rawValue(*rejection);
    } else if (const auto* error = std::get_if<SummarizerError>(&result)) {
        record["outcome"] = "error";
        record["reason"] = reason();
        record["error"] = error->name();
    } else {
        record["outcome"] = "nothing";
        record["reason"] = reason();
    }
    return record;
}

Namer::Namer(const Options& options, ReadingSession& session, ModelSession& model)
    : m_options(options)
    , m_session(session)
    , m_model(model)
    , m_eligibility{.genericOnly = options.genericOnly, .notBefore = {}, .includeProcessed = options.again} {}

const NamingPipeline& Namer::pipeline() {
    if (!m_pipeline)
        m_pipeline.emplace(m_session.summarizer(), m_model.generator(), m_options.nameTemplate,
                           m_options.locale, NamingPolicy{});
    return *m_pipeline;
}

Naming Namer::name(const std::filesystem::path& path) {
    if (const auto rejection = FileEligibility::check(path, m_eligibility))
        return {path, *rejection};
    if (!unicode::isValid(lastComponentOf(path)))
        return {path, PipelineOutcome::Nothing{std::string(text("Le nom de ce fichier n'est pas en UTF-8 : "
                                                                "Vesto ne le change pas.")),
                                               std::nullopt}};
    const NamingPipeline& pipeline = this->pipeline();
    m_session.tellStart(path);
    auto outcome = pipeline.run(path);
    if (!outcome) {
        m_session.tellWhetherReaderRuns();
        return {path, outcome.error()};
    }
    return {path, *std::move(outcome)};
}

std::string proposedFileName(const Proposal& proposal) {
    return proposal.policy.fileName(proposal.baseName, extensionOf(lastComponentOf(proposal.url)));
}

} // namespace vesto::cli
