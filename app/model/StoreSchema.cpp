#include "app/model/StoreSchema.h"

#include <array>
#include <cstdlib>
#include <string>

namespace vesto::StoreSchema {
namespace {

// Dates count microseconds since 1970. Numbers of 64 bits without sign keep their bit pattern. Texts are
// bytes as the system gave them: SQLite stores what is no UTF-8 as it is. Where `name` is set, the disk
// invents its inode numbers. `number` is never given twice, since NameBlock tells rows by it.
constexpr const char* first = R"sql(
CREATE TABLE RenameRecord (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    date INTEGER NOT NULL,
    folderPath TEXT NOT NULL,
    originalName TEXT NOT NULL,
    newName TEXT NOT NULL,
    device INTEGER NOT NULL,
    inode INTEGER NOT NULL,
    statusRaw TEXT NOT NULL,
    sourceRaw TEXT NOT NULL,
    confidence REAL NOT NULL,
    automatic INTEGER NOT NULL,
    errorMessage TEXT,
    batchID TEXT,
    undoing INTEGER NOT NULL,
    birthSeconds INTEGER,
    birthNanoseconds INTEGER,
    name TEXT,
    volume TEXT,
    size INTEGER,
    modifiedSeconds INTEGER,
    modifiedNanoseconds INTEGER
) STRICT;
CREATE INDEX RenameRecordByDate ON RenameRecord (date DESC, id DESC);
CREATE INDEX RenameRecordByBatch ON RenameRecord (batchID, date DESC, id DESC) WHERE batchID IS NOT NULL;
CREATE INDEX RenameRecordByPlace ON RenameRecord (folderPath, newName, date DESC, id DESC)
    WHERE statusRaw = 'done';
CREATE INDEX RenameRecordUnsettled ON RenameRecord (number) WHERE statusRaw = 'pending' OR undoing = 1;

CREATE TABLE NameBlock (
    last INTEGER PRIMARY KEY,
    newest INTEGER NOT NULL,
    oldest INTEGER NOT NULL,
    rows BLOB NOT NULL,
    keys BLOB NOT NULL
) STRICT;
CREATE INDEX NameBlockByDate ON NameBlock (newest DESC, oldest);

CREATE TABLE WatchedFolder (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    path TEXT NOT NULL,
    bookmark BLOB,
    bookmarkName TEXT,
    addedAt INTEGER NOT NULL,
    enabled INTEGER NOT NULL,
    automatic INTEGER NOT NULL
) STRICT;

CREATE TABLE PendingProposal (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    folderID TEXT NOT NULL,
    proposal TEXT NOT NULL
) STRICT;

CREATE TABLE UnmarkedFile (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    device INTEGER NOT NULL,
    inode INTEGER NOT NULL,
    birthSeconds INTEGER,
    birthNanoseconds INTEGER,
    name TEXT,
    volume TEXT,
    size INTEGER,
    modifiedSeconds INTEGER,
    modifiedNanoseconds INTEGER,
    version INTEGER NOT NULL,
    state TEXT NOT NULL,
    originalName TEXT NOT NULL,
    date INTEGER NOT NULL
) STRICT;
CREATE INDEX UnmarkedFileByInode ON UnmarkedFile (inode);
CREATE INDEX UnmarkedFileByName ON UnmarkedFile (name) WHERE name IS NOT NULL;
)sql";

constexpr std::array<const char*, version> allSteps{first};

constexpr std::array probes{
    "SELECT count(number) FROM (SELECT min(number) AS number FROM RenameRecord UNION ALL "
    "SELECT max(number) FROM RenameRecord)",
    "SELECT date FROM RenameRecord INDEXED BY RenameRecordByDate ORDER BY date DESC, id DESC LIMIT 1",
    "SELECT id FROM RenameRecord ORDER BY id LIMIT 1",
    "SELECT batchID FROM RenameRecord INDEXED BY RenameRecordByBatch WHERE batchID IS NOT NULL LIMIT 1",
    "SELECT newName FROM RenameRecord INDEXED BY RenameRecordByPlace WHERE statusRaw = 'done' LIMIT 1",
    "SELECT number FROM RenameRecord INDEXED BY RenameRecordUnsettled "
    "WHERE statusRaw = 'pending' OR undoing = 1 LIMIT 1",
    "SELECT max(last) FROM NameBlock",
    "SELECT newest FROM NameBlock INDEXED BY NameBlockByDate ORDER BY newest DESC LIMIT 1",
    "SELECT id, path, bookmark, bookmarkName, addedAt, enabled, automatic FROM WatchedFolder LIMIT 1",
    "SELECT id, folderID, proposal FROM PendingProposal LIMIT 1",
    "SELECT state FROM UnmarkedFile LIMIT 1",
    "SELECT inode FROM UnmarkedFile INDEXED BY UnmarkedFileByInode WHERE inode >= 0 LIMIT 1",
    "SELECT name FROM UnmarkedFile INDEXED BY UnmarkedFileByName WHERE name IS NOT NULL LIMIT 1",
};

} // namespace

Steps steps() {
    return allSteps;
}

std::expected<void, sqlite::Error> bringUpToDate(sqlite::Connection& connection, std::int64_t from,
                                                 Steps path) {
    const auto last = static_cast<std::int64_t>(path.size());
    if (from == last)
        return {};
    sqlite::Work work(connection, sqlite::Work::Kind::write);
    // Another program may have done it meanwhile.
    auto present = connection.answer("PRAGMA user_version");
    if (!present)
        work.fail(std::move(present).error());
    else
        from = std::strtoll(present->value_or("0").c_str(), nullptr, 10);
    for (auto step = static_cast<std::size_t>(from); step < path.size() && !work.failed(); ++step)
        if (auto done = connection.run(path[step]); !done)
            work.fail(std::move(done).error());
    const std::string marks = "PRAGMA user_version=" + std::to_string(last) +
                              "; PRAGMA application_id=" + std::to_string(applicationId);
    if (!work.failed() && from < last)
        if (auto marked = connection.run(marks.c_str()); !marked)
            work.fail(std::move(marked).error());
    return work.finish();
}

std::expected<void, sqlite::Error> check(sqlite::Connection& connection) {
    for (const char* probe : probes)
        if (const auto answer = connection.answer(probe); !answer)
            return std::unexpected(answer.error());
    constexpr long long smallFile = 2'048; // pages, of 4 KiB: checked in some milliseconds
    const auto pages = connection.answer("PRAGMA page_count");
    if (!pages)
        return std::unexpected(pages.error());
    if (std::strtoll(pages->value_or("0").c_str(), nullptr, 10) > smallFile)
        return {};
    const auto finding = connection.answer("PRAGMA quick_check(1)");
    if (!finding)
        return std::unexpected(finding.error());
    if (*finding != "ok")
        return std::unexpected(sqlite::Error::damage(finding->value_or("")));
    return {};
}

} // namespace vesto::StoreSchema
