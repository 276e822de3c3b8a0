#include "app/model/Store.h"

#include "app/model/NameSearch.h"
#include "app/model/Sqlite.h"
#include "app/model/StoreFailure.h"
#include "app/model/StoreOpening.h"
#include "app/model/StoreRows.h"
#include "core/files/FileName.h"
#include "core/naming/RecordCodec.h"
#include "core/support/Locale.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>
#include <utility>

namespace vesto {
namespace {

using sqlite::Blob;
using sqlite::Error;
using sqlite::Query;
using sqlite::Work;
using std::filesystem::path;
using StoreFailure::Damage;

std::string selectRecords(std::string_view rest) {
    return std::string("SELECT ").append(StoreRows::recordColumns).append(" FROM RenameRecord ").append(rest);
}

std::vector<RenameRecord> recordsOf(Query& query, Work& work) {
    std::vector<RenameRecord> records;
    while (query.next())
        records.push_back(StoreRows::recordAt(query, work));
    return records;
}

std::optional<RenameRecord> recordOf(Query& query, Work& work) {
    if (!query.next())
        return std::nullopt;
    return StoreRows::recordAt(query, work);
}

std::int64_t limitOf(std::size_t limit) {
    constexpr auto most = static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max());
    return static_cast<std::int64_t>(std::min(limit, most));
}

} // namespace

class Store::Impl {
public:
    Impl(path file, sqlite::Connection connection)
        : m_file(std::move(file))
        , m_connection(std::move(connection)) {}

    /// `action` in one transaction: what it gives, or why all of it did not happen.
    template <typename Action>
    auto perform(Work::Kind kind, Action action) -> Result<decltype(action(std::declval<Work&>()))> {
        using Value = decltype(action(std::declval<Work&>()));
        if (m_broken)
            return std::unexpected(*m_broken);
        std::optional<Error> error;
        {
            Work work(m_connection, kind);
            if constexpr (std::is_void_v<Value>) {
                action(work);
                const auto finished = work.finish();
                if (finished)
                    return {};
                error = finished.error();
            } else {
                Value value = action(work);
                const auto finished = work.finish();
                if (finished)
                    return value;
                error = finished.error();
            }
        }
        if (!error->isDamage())
            return std::unexpected(StoreFailure::ofSqlite(m_file, *error));
        m_connection.abandon();
        m_broken = StoreFailure::ofDamage(m_file, Damage::unreadable);
        return std::unexpected(*m_broken);
    }

    template <typename Action> auto read(Action action) { return perform(Work::Kind::read, action); }
    template <typename Action> auto write(Action action) { return perform(Work::Kind::write, action); }

private:
    path m_file;
    sqlite::Connection m_connection;
    std::optional<StoreError> m_broken; // the file turned out to be damaged and was closed
};

Store::Store(std::unique_ptr<Impl> impl)
    : m_impl(std::move(impl)) {}
Store::Store(Store&&) noexcept = default;
Store& Store::operator=(Store&&) noexcept = default;
Store::~Store() = default;

Store::Result<Store> Store::open(const path& file) {
    auto connection = openStoreFile(file);
    if (!connection)
        return std::unexpected(std::move(connection).error());
    return Store(std::make_unique<Impl>(file, *std::move(connection)));
}

// ---- Watched folders ----

Store::Result<std::vector<WatchedFolder>> Store::folders() const {
    return m_impl->read([](Work& work) {
        std::vector<WatchedFolder> folders;
        Query query(work,
                    "SELECT id, path, bookmark, bookmarkName, addedAt, enabled, automatic FROM WatchedFolder "
                    "ORDER BY addedAt, number");
        while (query.next()) {
            WatchedFolder folder;
            folder.id = query.text(0);
            folder.path = query.text(1);
            if (!query.isNull(2)) {
                const auto record = parseJson(query.bytes(2));
                folder.bookmark = record ? fileIdentityFromJson(*record) : std::nullopt;
                if (!folder.bookmark)
                    work.fail(Error::damage("a bookmark that makes no sense"));
                else
                    folder.bookmark->name = query.optionalText(3);
            }
            folder.addedAt = StoreRows::dateOf(query.integer(4));
            folder.enabled = query.integer(5) != 0;
            folder.automatic = query.integer(6) != 0;
            folders.push_back(std::move(folder));
        }
        return folders;
    });
}

Store::Result<void> Store::save(const WatchedFolder& folder) {
    return m_impl->write([&](Work& work) {
        // The name apart, byte by byte: JSON holds no text that is not UTF-8.
        const auto bookmark =
            folder.bookmark ? std::optional(writeJson(toJson(*folder.bookmark))) : std::nullopt;
        const auto name = folder.bookmark ? folder.bookmark->name : std::nullopt;
        work.run(
            "INSERT INTO WatchedFolder (id, path, bookmark, bookmarkName, addedAt, enabled, automatic) "
            "VALUES (?, ?, ?, ?, ?, ?, ?) ON CONFLICT (id) DO UPDATE SET path = excluded.path, "
            "bookmark = excluded.bookmark, bookmarkName = excluded.bookmarkName, addedAt = excluded.addedAt, "
            "enabled = excluded.enabled, automatic = excluded.automatic",
            folder.id, folder.path, bookmark ? std::optional(Blob{*bookmark}) : std::nullopt, name,
            StoreRows::numberOf(folder.addedAt), folder.enabled, folder.automatic);
    });
}

Store::Result<void> Store::removeFolder(std::string_view id) {
    return m_impl->write([&](Work& work) { work.run("DELETE FROM WatchedFolder WHERE id = ?", id); });
}

// ---- The history ----

namespace {

void saveRecord(Work& work, const RenameRecord& record) {
    struct Present {
        std::int64_t number;
        bool isFoundElsewhere; // its date or names change, by which it is searched
    };
    std::optional<Present> present;
    {
        Query query(work, "SELECT number, date, originalName, newName FROM RenameRecord WHERE id = ?",
                    record.id);
        if (query.next())
            present = {query.integer(0), query.integer(1) != StoreRows::numberOf(record.date) ||
                                             query.bytes(2) != record.originalName ||
                                             query.bytes(3) != record.newName};
    }
    if (present) {
        static const std::string update =
            std::string("UPDATE RenameRecord SET (") + StoreRows::recordColumns +
            ") = (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) WHERE number = ?";
        Query query(work, update.c_str());
        StoreRows::bindRecord(query, record);
        query.bind(present->number);
        query.run();
        if (present->isFoundElsewhere)
            NameSearch::rowChanged(work, present->number);
        return;
    }
    static const std::string insert =
        std::string("INSERT INTO RenameRecord (") + StoreRows::recordColumns +
        ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) RETURNING number";
    std::int64_t number = 0;
    {
        Query query(work, insert.c_str());
        StoreRows::bindRecord(query, record);
        while (query.next())
            number = query.integer(0);
    }
    NameSearch::rowAdded(work, number);
}

} // namespace

Store::Result<void> Store::save(const RenameRecord& record) {
    return save(std::span(&record, 1));
}

Store::Result<void> Store::save(std::span<const RenameRecord> records) {
    return m_impl->write([&](Work& work) {
        for (const RenameRecord& record : records)
            saveRecord(work, record);
    });
}

Store::Result<void> Store::removeRecord(std::string_view id) {
    return m_impl->write([&](Work& work) { work.run("DELETE FROM RenameRecord WHERE id = ?", id); });
}

Store::Result<std::optional<RenameRecord>> Store::record(std::string_view id) const {
    static const std::string select = selectRecords("WHERE id = ?");
    return m_impl->read([&](Work& work) {
        Query query(work, select.c_str(), id);
        return recordOf(query, work);
    });
}

Store::Result<std::vector<RenameRecord>> Store::history(std::string_view search, std::size_t limit,
                                                        const std::optional<Place>& after) const {
    auto whole = historyPart(search, limit, after, std::numeric_limits<std::size_t>::max());
    if (!whole)
        return std::unexpected(std::move(whole.error()));
    return std::move(whole->records);
}

Store::Result<Store::Part> Store::historyPart(std::string_view search, std::size_t limit,
                                              const std::optional<Place>& after, std::size_t effort) const {
    static const std::string newest = selectRecords("ORDER BY date DESC, id DESC LIMIT ?");
    static const std::string behind =
        selectRecords("WHERE (date, id) < (?, ?) ORDER BY date DESC, id DESC LIMIT ?");
    return m_impl->read([&](Work& work) {
        if (!search.empty())
            return NameSearch::find(work, search, Locale::user().languageCode(), limit, after, effort);
        Part part;
        if (after) {
            Query query(work, behind.c_str(), StoreRows::numberOf(after->date), after->id, limitOf(limit));
            part.records = recordsOf(query, work);
        } else {
            Query query(work, newest.c_str(), limitOf(limit));
            part.records = recordsOf(query, work);
        }
        if (!part.records.empty() && part.records.size() == limit)
            part.next = Place::of(part.records.back());
        return part;
    });
}

Store::Result<Store::Tally> Store::historyCount(std::string_view search, const Tally& soFar) const {
    return m_impl->read([&](Work& work) {
        if (search.empty()) {
            Query query(work, "SELECT count(*) FROM RenameRecord");
            return Tally{query.next() ? static_cast<std::size_t>(query.integer(0)) : 0, 0, true};
        }
        const NameSearch::Count counted =
            NameSearch::count(work, search, Locale::user().languageCode(), soFar.upTo);
        return Tally{soFar.rows + counted.matches, counted.upTo, counted.isComplete};
    });
}

Store::Result<std::vector<RenameRecord>> Store::unsettled() const {
    static const std::string select =
        selectRecords("WHERE statusRaw = 'pending' OR undoing = 1 ORDER BY number");
    return m_impl->read([](Work& work) {
        Query query(work, select.c_str());
        return recordsOf(query, work);
    });
}

Store::Result<std::vector<RenameRecord>> Store::batch(std::string_view batchID) const {
    static const std::string select = selectRecords("WHERE batchID = ? ORDER BY date DESC, id DESC");
    return m_impl->read([&](Work& work) {
        Query query(work, select.c_str(), batchID);
        return recordsOf(query, work);
    });
}

Store::Result<std::optional<RenameRecord>> Store::lastDone() const {
    static const std::string select =
        selectRecords("WHERE statusRaw = 'done' ORDER BY date DESC, id DESC LIMIT 1");
    return m_impl->read([](Work& work) {
        Query query(work, select.c_str());
        return recordOf(query, work);
    });
}

Store::Result<std::optional<RenameRecord>> Store::doneAt(const path& file) const {
    static const std::string select = selectRecords(
        "WHERE statusRaw = 'done' AND folderPath = ? AND newName = ? ORDER BY date DESC, id DESC LIMIT 1");
    return m_impl->read([&](Work& work) {
        const path folder = folderOf(file);
        Query query(work, select.c_str(), folder.native(), lastComponentOf(file));
        return recordOf(query, work);
    });
}

namespace {

/// Ids are of lower-case hexadecimal digits and "-": each that begins so comes before `prefix` and a "g".
std::vector<std::string> idsFrom(Work& work, const char* select, std::string_view prefix) {
    const std::string end = std::string(prefix) + 'g';
    Query query(work, select, prefix, std::string_view(end));
    std::vector<std::string> ids;
    while (query.next())
        ids.push_back(query.text(0));
    return ids;
}

} // namespace

Store::Result<std::vector<std::string>> Store::recordIDs(std::string_view prefix) const {
    return m_impl->read([&](Work& work) {
        return idsFrom(work, "SELECT id FROM RenameRecord WHERE id >= ? AND id < ? ORDER BY id LIMIT 2",
                       prefix);
    });
}

Store::Result<std::vector<std::string>> Store::batchIDs(std::string_view prefix) const {
    return m_impl->read([&](Work& work) {
        return idsFrom(work,
                       "SELECT DISTINCT batchID FROM RenameRecord WHERE batchID IS NOT NULL AND batchID >= ? "
                       "AND batchID < ? ORDER BY batchID LIMIT 2",
                       prefix);
    });
}

// ---- What could not be marked ----

namespace {

struct Remembered {
    std::int64_t number;
    ProcessedMarker::Marker marker;
};

/// What is kept of one stored file, latest first.
std::vector<Remembered> rememberedRows(Work& work, const FileIdentity& file) {
    static const std::string columns = std::string("SELECT ") + StoreRows::identityColumns +
                                       ", number, version, state, originalName, date FROM UnmarkedFile ";
    static const std::string byName = columns + "WHERE name = ? ORDER BY number DESC";
    static const std::string byInode = columns + "WHERE inode = ? ORDER BY number DESC";
    const auto rows = [&](Query query) {
        std::vector<Remembered> found;
        while (query.next()) {
            if (!isSameStoredFile(StoreRows::identityAt(query, 0, work), file))
                continue;
            constexpr int first = StoreRows::identityColumnCount;
            const auto state = ProcessedMarker::stateOfRawValue(query.bytes(first + 2));
            if (!state)
                work.fail(Error::damage("a marker of an unknown state"));
            found.push_back({query.integer(first),
                             {.version = query.integer(first + 1),
                              .state = state.value_or(ProcessedMarker::State::renamed),
                              .originalName = query.text(first + 3),
                              .date = StoreRows::dateOf(query.integer(first + 4))}});
        }
        return found;
    };
    if (file.name)
        return rows(Query(work, byName.c_str(), *file.name));
    return rows(Query(work, byInode.c_str(), StoreRows::patternOf(file.inode)));
}

void forgetFile(Work& work, const FileIdentity& file) {
    for (const Remembered& row : rememberedRows(work, file))
        work.run("DELETE FROM UnmarkedFile WHERE number = ?", row.number);
}

} // namespace

Store::Result<void> Store::remember(const FileIdentity& file, const ProcessedMarker::Marker& marker) {
    static const std::string insert = std::string("INSERT INTO UnmarkedFile (") + StoreRows::identityColumns +
                                      ", version, state, originalName, date) "
                                      "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
    return m_impl->write([&](Work& work) {
        forgetFile(work, file);
        Query query(work, insert.c_str());
        StoreRows::bindIdentity(query, file);
        query.bind(marker.version);
        query.bind(ProcessedMarker::rawValue(marker.state));
        query.bind(marker.originalName);
        query.bind(StoreRows::numberOf(marker.date));
        query.run();
    });
}

Store::Result<void> Store::forget(const FileIdentity& file) {
    return m_impl->write([&](Work& work) { forgetFile(work, file); });
}

Store::Result<std::optional<ProcessedMarker::Marker>> Store::remembered(const FileIdentity& file) const {
    return m_impl->read([&](Work& work) -> std::optional<ProcessedMarker::Marker> {
        auto rows = rememberedRows(work, file);
        if (rows.empty())
            return std::nullopt;
        return std::move(rows.front().marker);
    });
}

// ---- What waits ----

Store::Result<std::vector<PendingProposal>> Store::pending() const {
    return m_impl->read([](Work& work) {
        std::vector<PendingProposal> pending;
        Query query(work, "SELECT folderID, proposal FROM PendingProposal ORDER BY number DESC");
        while (query.next()) {
            const auto record = parseJson(query.bytes(1));
            auto proposal = record ? proposalFromJson(*record) : std::nullopt;
            if (proposal) // else the file is looked at again, which gives another
                pending.push_back({*std::move(proposal), query.text(0)});
        }
        return pending;
    });
}

Store::Result<void> Store::save(const PendingProposal& pending) {
    return m_impl->write([&](Work& work) {
        const std::string record = writeJson(toJson(pending.proposal));
        work.run("INSERT INTO PendingProposal (id, folderID, proposal) VALUES (?, ?, ?) "
                 "ON CONFLICT (id) DO UPDATE SET folderID = excluded.folderID, proposal = excluded.proposal",
                 pending.proposal.id, pending.folderID, record);
    });
}

Store::Result<void> Store::removePending(std::string_view proposalID) {
    return m_impl->write(
        [&](Work& work) { work.run("DELETE FROM PendingProposal WHERE id = ?", proposalID); });
}

} // namespace vesto
