#include "core/files/FileIdentity.h"
#include "core/files/FileURL.h"
#include "core/files/ProcessedMarker.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/naming/RecordCodec.h"
#include "core/support/Json.h"
#include "fuzz/Input.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

using namespace vesto;

namespace {

/// What was read once is read again from what is written of it.
void readMarker(std::string_view bytes) {
    const auto marker = ProcessedMarker::decode(bytes);
    if (!marker)
        return;
    const auto again = ProcessedMarker::decode(ProcessedMarker::encode(*marker));
    VESTO_ASSERT(again && again->state == marker->state && again->originalName == marker->originalName);
}

template <typename Record> std::optional<Record> reread(const Record& record, auto read) {
    const auto json = parseJson(writeJson(toJson(record)));
    VESTO_ASSERT(json.has_value());
    return read(*json);
}

void readIdentity(const Json& json) {
    if (const auto identity = fileIdentityFromJson(json))
        VESTO_ASSERT(reread(*identity, fileIdentityFromJson) == identity);
}

void useSummary(const ContentSummary& summary) {
    const std::string text = summary.text();
    VESTO_ASSERT(unicode::isValid(text) && unicode::graphemeCount(text) <= 1500);
    VESTO_ASSERT(summary.modelPrompt(Locale("fr_FR")).starts_with("Type : "));
    for (const auto source : {ConfidenceScorer::Source::model, ConfidenceScorer::Source::fallback}) {
        const double score = ConfidenceScorer().score("Facture EDF octobre", summary, source);
        VESTO_ASSERT(score >= 0 && score <= 1);
        VESTO_ASSERT(std::abs(score * 100 - std::round(score * 100)) < 1e-9);
    }
}

void readSummary(const Json& json) {
    const auto summary = contentSummaryFromJson(json);
    if (!summary)
        return;
    VESTO_ASSERT(reread(*summary, contentSummaryFromJson).has_value());
    useSummary(*summary);
}

void readProposal(const Json& json) {
    const auto proposal = proposalFromJson(json);
    if (!proposal)
        return;
    const auto again = reread(*proposal, proposalFromJson);
    VESTO_ASSERT(again && again->id == proposal->id && again->url == proposal->url);
    fuzz::checkFileName(proposal->policy.fileName(proposal->baseName, "pdf", 2));
    useSummary(proposal->summary);
}

void readURL(std::string_view text) {
    const auto path = pathOfFileURL(text);
    if (!path)
        return;
    VESTO_ASSERT(path->native().find('\0') == std::string::npos);
    VESTO_ASSERT(pathOfFileURL(fileURL(*path)) == path);
}

} // namespace

/// The first byte chooses the record.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const unsigned choice = input.choice(5);
    if (choice == 0) {
        readMarker(input.rest());
        return 0;
    }
    if (choice == 4) {
        readURL(input.rest());
        return 0;
    }
    const auto json = parseJson(input.rest());
    if (!json)
        return 0;
    if (choice == 1)
        readIdentity(*json);
    else if (choice == 2)
        readSummary(*json);
    else
        readProposal(*json);
    return 0;
}
