#include "core/files/ProcessedMarker.h"

#include "core/support/Json.h"

#include <nlohmann/json.hpp>

#include <array>
#include <utility>

namespace vesto::ProcessedMarker {

std::string_view rawValue(State state) {
    switch (state) {
    case State::renamed:
        return "renamed";
    case State::undone:
        return "undone";
    case State::ignored:
        return "ignored";
    case State::skipped:
        return "skipped";
    }
    std::unreachable();
}

std::optional<State> stateOfRawValue(std::string_view raw) {
    for (const State state : {State::renamed, State::undone, State::ignored, State::skipped})
        if (rawValue(state) == raw)
            return state;
    return std::nullopt;
}

std::string encode(const Marker& marker) {
    Json record = Json::object();
    record["version"] = marker.version;
    record["state"] = rawValue(marker.state);
    record["originalName"] = marker.originalName;
    record["date"] = secondsSinceReference(marker.date);
    return writeJson(record);
}

std::optional<Marker> decode(std::string_view bytes) {
    const auto record = parseJson(bytes);
    if (!record)
        return std::nullopt;
    const auto version = integerMember(*record, "version");
    const auto rawState = stringMember(*record, "state");
    const auto state = rawState ? stateOfRawValue(*rawState) : std::nullopt;
    auto originalName = stringMember(*record, "originalName");
    const auto seconds = numberMember(*record, "date");
    const auto date = seconds ? instantFromReference(*seconds) : std::nullopt;
    if (!version || !state || !originalName || !date)
        return std::nullopt;
    return Marker{*version, *state, *std::move(originalName), *date};
}

bool isMarked(const std::filesystem::path& path, Disk& disk) {
    return disk.attributeSize(path, attributeName).value_or(0) > 0;
}

std::optional<Marker> read(const std::filesystem::path& path, Disk& disk) {
    const std::size_t size = disk.attributeSize(path, attributeName).value_or(0);
    if (size == 0)
        return std::nullopt;
    const auto bytes = disk.readAttribute(path, attributeName, size);
    if (!bytes || bytes->size() != size)
        return std::nullopt;
    return decode(*bytes);
}

std::expected<void, RenameError> write(const std::filesystem::path& path, State state,
                                       std::string_view originalName, Instant date, Disk& disk) {
    const Marker marker{.state = state, .originalName = std::string(originalName), .date = date};
    if (const auto written = disk.writeAttribute(path, attributeName, encode(marker)); !written)
        return std::unexpected(RenameError::system(written.error()));
    return {};
}

} // namespace vesto::ProcessedMarker
