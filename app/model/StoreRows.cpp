#include "app/model/StoreRows.h"

#include <limits>
#include <utility>

namespace vesto::StoreRows {
namespace {

using Status = RenameRecord::Status;

void bindTime(sqlite::Query& query, const std::optional<FileTime>& time) {
    query.bind(time ? std::optional(time->seconds) : std::nullopt);
    query.bind(time ? std::optional(std::int64_t{time->nanoseconds}) : std::nullopt);
}

std::optional<FileTime> timeAt(const sqlite::Query& query, int column, sqlite::Work& work) {
    if (query.isNull(column))
        return std::nullopt;
    const std::int64_t nanoseconds = query.integer(column + 1);
    if (nanoseconds < 0 || nanoseconds > std::numeric_limits<std::uint32_t>::max()) {
        work.fail(sqlite::Error::damage("a time out of range"));
        return std::nullopt;
    }
    return FileTime{query.integer(column), static_cast<std::uint32_t>(nanoseconds)};
}

std::optional<Status> statusOf(std::string_view raw) {
    for (const Status status : {Status::pending, Status::done, Status::undone, Status::failed})
        if (rawValue(status) == raw)
            return status;
    return std::nullopt;
}

} // namespace

std::string_view rawValue(Status status) {
    switch (status) {
    case Status::pending:
        return "pending";
    case Status::done:
        return "done";
    case Status::undone:
        return "undone";
    case Status::failed:
        return "failed";
    }
    std::unreachable();
}

void bindIdentity(sqlite::Query& query, const FileIdentity& identity) {
    query.bind(patternOf(identity.device));
    query.bind(patternOf(identity.inode));
    bindTime(query, identity.birth);
    query.bind(identity.name);
    query.bind(identity.volume);
    query.bind(identity.state ? std::optional(patternOf(identity.state->size)) : std::nullopt);
    bindTime(query, identity.state ? std::optional(identity.state->modified) : std::nullopt);
}

FileIdentity identityAt(const sqlite::Query& query, int column, sqlite::Work& work) {
    FileIdentity identity;
    identity.device = std::bit_cast<std::uint64_t>(query.integer(column));
    identity.inode = std::bit_cast<std::uint64_t>(query.integer(column + 1));
    identity.birth = timeAt(query, column + 2, work);
    identity.name = query.optionalText(column + 4);
    identity.volume = query.optionalText(column + 5);
    if (const auto modified = timeAt(query, column + 7, work))
        identity.state = FileState{std::bit_cast<std::uint64_t>(query.integer(column + 6)), *modified};
    return identity;
}

void bindRecord(sqlite::Query& query, const RenameRecord& record) {
    query.bind(record.id);
    query.bind(numberOf(record.date));
    query.bind(record.folderPath);
    query.bind(record.originalName);
    query.bind(record.newName);
    query.bind(rawValue(record.status));
    query.bind(rawValue(record.source));
    query.bind(record.confidence);
    query.bind(record.automatic);
    query.bind(record.errorMessage);
    query.bind(record.batchID);
    query.bind(record.undoing);
    bindIdentity(query, record.identity);
}

RenameRecord recordAt(const sqlite::Query& query, sqlite::Work& work) {
    RenameRecord record;
    record.id = query.text(0);
    record.date = dateOf(query.integer(1));
    record.folderPath = query.text(2);
    record.originalName = query.text(3);
    record.newName = query.text(4);
    const auto status = statusOf(query.bytes(5));
    const auto source = sourceOfRawValue(query.bytes(6));
    if (!status || !source)
        work.fail(sqlite::Error::damage("a row of the history with an unknown status or source"));
    record.status = status.value_or(Status::failed);
    record.source = source.value_or(ConfidenceScorer::Source::fallback);
    record.confidence = query.real(7);
    record.automatic = query.integer(8) != 0;
    record.errorMessage = query.optionalText(9);
    record.batchID = query.optionalText(10);
    record.undoing = query.integer(11) != 0;
    record.identity = identityAt(query, 12, work);
    return record;
}

} // namespace vesto::StoreRows
