#include "core/naming/RecordCodec.h"

#include "core/files/FileURL.h"
#include "core/support/Time.h"
#include "core/support/Uuid.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace vesto {
namespace {

/// Reads the members of one record and remembers whether one was missing or of the wrong type.
class RecordReader {
public:
    explicit RecordReader(const Json& record)
        : m_record(record)
        , m_valid(record.is_object()) {}

    [[nodiscard]] bool isValid() const { return m_valid; }

    template <typename T, typename Read> void required(T& field, const char* key, Read read) {
        const Json* value = member(m_record, key);
        std::optional<T> found = value == nullptr ? std::nullopt : read(*value);
        if (found)
            field = std::move(*found);
        else
            m_valid = false;
    }

    /// A missing key and a null leave the field empty.
    template <typename T, typename Read> void optional(std::optional<T>& field, const char* key, Read read) {
        const Json* value = member(m_record, key);
        if (value == nullptr || value->is_null())
            return;
        field = read(*value);
        if (!field)
            m_valid = false;
    }

private:
    const Json& m_record;
    bool m_valid;
};

std::optional<std::string> stringOf(const Json& value) {
    return value.is_string() ? std::optional(value.get<std::string>()) : std::nullopt;
}

std::optional<bool> boolOf(const Json& value) {
    return value.is_boolean() ? std::optional(value.get<bool>()) : std::nullopt;
}

std::optional<double> finiteOf(const Json& value) {
    if (!value.is_number())
        return std::nullopt;
    const double number = value.get<double>();
    return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<std::int64_t> integerOf(const Json& value) {
    if (!value.is_number_integer())
        return std::nullopt;
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT64_MAX})
        return std::nullopt;
    return value.get<std::int64_t>();
}

std::optional<Seconds> secondsOf(const Json& value) {
    const std::optional<double> number = finiteOf(value);
    return number ? std::optional(Seconds(*number)) : std::nullopt;
}

/// A recording's length must be a whole number of seconds when rounded, or the prompt could not state it.
std::optional<Seconds> durationOf(const Json& value) {
    const std::optional<double> number = finiteOf(value);
    if (!number || std::round(*number) < -0x1p63 || std::round(*number) >= 0x1p63)
        return std::nullopt;
    return Seconds(*number);
}

std::optional<Instant> dateOf(const Json& value) {
    const std::optional<double> number = finiteOf(value);
    return number ? instantFromReference(*number) : std::nullopt;
}

std::optional<ContentSummary::Kind> kindOf(const Json& value) {
    return value.is_string() ? kindOfRawValue(value.get_ref<const std::string&>()) : std::nullopt;
}

std::optional<ConfidenceScorer::Source> sourceOf(const Json& value) {
    return value.is_string() ? sourceOfRawValue(value.get_ref<const std::string&>()) : std::nullopt;
}

std::optional<std::string> uuidOf(const Json& value) {
    return value.is_string() ? parsedUuid(value.get_ref<const std::string&>()) : std::nullopt;
}

std::optional<std::filesystem::path> pathOf(const Json& value) {
    return value.is_string() ? pathOfFileURL(value.get_ref<const std::string&>()) : std::nullopt;
}

template <typename T, typename Read> std::optional<std::vector<T>> listOf(const Json& value, Read read) {
    if (!value.is_array())
        return std::nullopt;
    std::vector<T> list;
    list.reserve(value.size());
    for (const Json& item : value) {
        std::optional<T> element = read(item);
        if (!element)
            return std::nullopt;
        list.push_back(std::move(*element));
    }
    return list;
}

std::optional<ContentSummary::Label> labelOf(const Json& value) {
    RecordReader reader(value);
    ContentSummary::Label label;
    reader.required(label.identifier, "identifier", stringOf);
    reader.required(label.confidence, "confidence", finiteOf);
    return reader.isValid() ? std::optional(std::move(label)) : std::nullopt;
}

std::optional<DocumentPeriodExtractor::Period> periodOf(const Json& value) {
    RecordReader reader(value);
    DocumentPeriodExtractor::Period period;
    reader.required(period.month, "month", integerOf);
    reader.required(period.year, "year", integerOf);
    return reader.isValid() ? std::optional(period) : std::nullopt;
}

std::optional<NamingPolicy> policyOf(const Json& value) {
    RecordReader reader(value);
    NamingPolicy policy;
    reader.required(policy.maxTitleLength, "maxTitleLength", integerOf);
    reader.required(policy.maxFileNameBytes, "maxFileNameBytes", integerOf);
    return reader.isValid() ? std::optional(policy) : std::nullopt;
}

template <typename T> void write(Json& record, const char* key, const std::optional<T>& value) {
    if (value)
        record[key] = *value;
}

} // namespace

Json toJson(const ContentSummary& summary) {
    Json record = Json::object();
    record["kind"] = rawValue(summary.kind);
    record["lines"] = summary.lines;
    record["labels"] = Json::array();
    for (const ContentSummary::Label& label : summary.labels)
        record["labels"].push_back({{"identifier", label.identifier}, {"confidence", label.confidence}});
    write(record, "documentTitle", summary.documentTitle);
    write(record, "pageCount", summary.pageCount);
    write(record, "pixelWidth", summary.pixelWidth);
    write(record, "pixelHeight", summary.pixelHeight);
    if (summary.date)
        record["date"] = secondsSinceReference(*summary.date);
    record["textFromOCR"] = summary.textFromOCR;
    if (summary.period)
        record["period"] = {{"month", summary.period->month}, {"year", summary.period->year}};
    if (summary.duration)
        record["duration"] = summary.duration->count();
    record["textFromSpeech"] = summary.textFromSpeech;
    write(record, "formatName", summary.formatName);
    return record;
}

std::optional<ContentSummary> contentSummaryFromJson(const Json& record) {
    RecordReader reader(record);
    ContentSummary summary;
    reader.required(summary.kind, "kind", kindOf);
    reader.required(summary.lines, "lines",
                    [](const Json& value) { return listOf<std::string>(value, stringOf); });
    reader.required(summary.labels, "labels",
                    [](const Json& value) { return listOf<ContentSummary::Label>(value, labelOf); });
    reader.optional(summary.documentTitle, "documentTitle", stringOf);
    reader.optional(summary.pageCount, "pageCount", integerOf);
    reader.optional(summary.pixelWidth, "pixelWidth", integerOf);
    reader.optional(summary.pixelHeight, "pixelHeight", integerOf);
    reader.optional(summary.date, "date", dateOf);
    reader.required(summary.textFromOCR, "textFromOCR", boolOf);
    reader.optional(summary.period, "period", periodOf);
    reader.optional(summary.duration, "duration", durationOf);
    reader.required(summary.textFromSpeech, "textFromSpeech", boolOf);
    reader.optional(summary.formatName, "formatName", stringOf);
    return reader.isValid() ? std::optional(std::move(summary)) : std::nullopt;
}

Json toJson(const Proposal& proposal) {
    Json record = Json::object();
    record["id"] = proposal.id;
    record["url"] = fileURL(proposal.url);
    if (proposal.identity)
        record["identity"] = toJson(*proposal.identity);
    record["title"] = proposal.title;
    record["baseName"] = proposal.baseName;
    record["source"] = rawValue(proposal.source);
    record["confidence"] = proposal.confidence;
    record["summary"] = toJson(proposal.summary);
    record["summarizeSeconds"] = proposal.summarizeSeconds.count();
    record["generateSeconds"] = proposal.generateSeconds.count();
    record["policy"] = {{"maxTitleLength", proposal.policy.maxTitleLength},
                        {"maxFileNameBytes", proposal.policy.maxFileNameBytes}};
    return record;
}

std::optional<Proposal> proposalFromJson(const Json& record) {
    RecordReader reader(record);
    Proposal proposal;
    reader.required(proposal.id, "id", uuidOf);
    reader.required(proposal.url, "url", pathOf);
    reader.optional(proposal.identity, "identity", fileIdentityFromJson);
    reader.required(proposal.title, "title", stringOf);
    reader.required(proposal.baseName, "baseName", stringOf);
    reader.required(proposal.source, "source", sourceOf);
    reader.required(proposal.confidence, "confidence", finiteOf);
    reader.required(proposal.summary, "summary", contentSummaryFromJson);
    reader.required(proposal.summarizeSeconds, "summarizeSeconds", secondsOf);
    reader.required(proposal.generateSeconds, "generateSeconds", secondsOf);
    reader.required(proposal.policy, "policy", policyOf);
    return reader.isValid() ? std::optional(std::move(proposal)) : std::nullopt;
}

} // namespace vesto
