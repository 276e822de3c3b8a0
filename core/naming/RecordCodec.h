#pragma once
#include "core/naming/Proposal.h"
#include "core/support/Json.h"

#include <optional>

/// The keyed records in which summaries and proposals are stored and shown to programs. Keys are the fields'
/// names. Reading gives nothing where a required key is missing, a value has the wrong type or a kind is
/// unknown.
namespace vesto {

[[nodiscard]] Json toJson(const ContentSummary& summary);
[[nodiscard]] Json toJson(const Proposal& proposal);
[[nodiscard]] std::optional<ContentSummary> contentSummaryFromJson(const Json& record);
[[nodiscard]] std::optional<Proposal> proposalFromJson(const Json& record);

} // namespace vesto
