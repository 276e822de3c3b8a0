#pragma once
#include "app/model/PendingProposal.h"
#include "app/model/RenameRecord.h"
#include "app/model/WatchedFolder.h"
#include "core/files/ProcessedMarker.h"
#include "core/support/UserFolders.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// Why the store did not do what it was asked.
struct StoreError {
    std::string description; // for the user; in French where it is ours
    bool isDamaged = false;  // the file is no readable store; a copy was made, which the description names

    bool operator==(const StoreError&) const = default;
};

/// What Vesto keeps on disk: the history, the watched folders, and privately what waits for the user and what
/// could not be marked. One SQLite file; every change is on disk when its call returns, whole or not at all.
/// One thread. Two programs may have it open.
class Store {
public:
    template <typename T> using Result = std::expected<T, StoreError>;

    /// Opens the file, makes it where there is none, brings an older one up to date.
    [[nodiscard]] static Result<Store> open(const std::filesystem::path& file = userDataFolder() /
                                                                                "history.sqlite");
    Store(Store&&) noexcept;
    Store& operator=(Store&&) noexcept;
    ~Store();

    // Watched folders, by `addedAt`, oldest first.
    [[nodiscard]] Result<std::vector<WatchedFolder>> folders() const;
    [[nodiscard]] Result<void> save(const WatchedFolder& folder); // new or changed
    [[nodiscard]] Result<void> removeFolder(std::string_view id); // its history stays

    // The history.
    [[nodiscard]] Result<void> save(const RenameRecord& record);            // new or changed
    [[nodiscard]] Result<void> save(std::span<const RenameRecord> records); // all of them or none
    [[nodiscard]] Result<void> removeRecord(std::string_view id);
    [[nodiscard]] Result<std::optional<RenameRecord>> record(std::string_view id) const;

    /// Where a page of the history ended: the next one goes on behind it.
    struct Place {
        Instant date;
        std::string id;

        [[nodiscard]] static Place of(const RenameRecord& record) { return {record.date, record.id}; }
        /// The nearer to the end, the less.
        auto operator<=>(const Place&) const = default;
    };
    /// Newest first. `search`, unless empty: only rows whose old or new name contains it, by the rules of the
    /// user's language, letter case aside.
    [[nodiscard]] Result<std::vector<RenameRecord>> history(std::string_view search, std::size_t limit,
                                                            const std::optional<Place>& after = {}) const;
    struct Part {
        std::vector<RenameRecord> records;
        std::optional<Place> next; // where to go on; nothing where that was the end
    };
    /// The same for who must not wait: a search ends after some milliseconds, with the rows down to a place,
    /// perhaps none. `effort`: blocks of names to look through, 512 rows each.
    [[nodiscard]] Result<Part> historyPart(std::string_view search, std::size_t limit,
                                           const std::optional<Place>& after = {},
                                           std::size_t effort = 16) const;
    /// How many rows `history` would give in all.
    struct Tally {
        std::size_t rows = 0;
        std::int64_t upTo = 0; // how far it came: the store's own
        bool isComplete = false;
    };
    /// Counts on from an earlier answer, `{}` at first, for some milliseconds. What changes meanwhile
    /// may be missed: then begin again.
    [[nodiscard]] Result<Tally> historyCount(std::string_view search, const Tally& soFar) const;
    [[nodiscard]] Result<std::vector<RenameRecord>> unsettled() const; // pending, or with an undo under way
    [[nodiscard]] Result<std::vector<RenameRecord>> batch(std::string_view batchID) const; // newest first
    /// The newest row that is done, which `undo --last` means.
    [[nodiscard]] Result<std::optional<RenameRecord>> lastDone() const;
    /// The newest row that is done and says that its file stands at this path.
    [[nodiscard]] Result<std::optional<RenameRecord>> doneAt(const std::filesystem::path& path) const;
    /// Ids of rows, or of batches, that begin so (in lower case): two at most, which tells whether it is one.
    [[nodiscard]] Result<std::vector<std::string>> recordIDs(std::string_view prefix) const;
    [[nodiscard]] Result<std::vector<std::string>> batchIDs(std::string_view prefix) const;

    // What could not be marked on the file itself, told by the stored file.
    [[nodiscard]] Result<void> remember(const FileIdentity& file, const ProcessedMarker::Marker& marker);
    [[nodiscard]] Result<void> forget(const FileIdentity& file);
    [[nodiscard]] Result<std::optional<ProcessedMarker::Marker>> remembered(const FileIdentity& file) const;

    // What waits for the user, newest first.
    [[nodiscard]] Result<std::vector<PendingProposal>> pending() const;
    [[nodiscard]] Result<void> save(const PendingProposal& pending);
    [[nodiscard]] Result<void> removePending(std::string_view proposalID);

private:
    class Impl;
    explicit Store(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

} // namespace vesto
