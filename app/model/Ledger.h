#pragma once
#include "app/model/Store.h"

#include <expected>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vesto {

/// The model's hand on the store: what could not be written is kept and tried again with the next change, and
/// `report` tells the user. Knows besides which files are taken: at work, waiting for the user, or handled
/// without a mark. Main thread.
class Ledger {
public:
    /// `report` takes a message for the user.
    Ledger(Store& store, std::function<void(std::string)> report);

    /// Before the file is touched. Where this fails the row is forgotten, and the file is to be left alone.
    [[nodiscard]] std::expected<void, std::string> begin(const RenameRecord& record);
    /// What became of a row.
    void settle(const RenameRecord& record);
    /// What is unfinished, perhaps since an earlier run, but for what is merely not on disk yet; a failure
    /// was reported.
    [[nodiscard]] std::vector<RenameRecord> unsettled();
    /// A rename that failed leaves no row.
    void drop(const RenameRecord& record);
    /// Also one that is not on disk yet. Nothing where there is none; a failure was reported.
    [[nodiscard]] std::optional<RenameRecord> record(std::string_view id);

    /// These two are not tried again: false where they failed.
    bool save(const WatchedFolder& folder);
    bool removeFolder(std::string_view id);
    [[nodiscard]] std::vector<PendingProposal> pending(); // newest first; a failure was reported
    void save(const PendingProposal& pending);
    void removePending(std::string_view proposalID);

    /// What was done to a file, and whether the file itself could be marked. In vain for one that is gone.
    void noteMark(const FileIdentity& file, ProcessedMarker::Marker marker, bool marked);
    [[nodiscard]] std::optional<ProcessedMarker::Marker> remembered(const FileIdentity& file);

    /// Files that are being processed or whose proposal waits.
    void take(const FileIdentity& file) { m_inFlight.insert(file); }
    void release(const FileIdentity& file) { m_inFlight.erase(file); }
    [[nodiscard]] bool isInFlight(const FileIdentity& file) const { return m_inFlight.contains(file); }
    /// In flight, or handled without a mark.
    [[nodiscard]] bool isTaken(const FileIdentity& file);

    [[nodiscard]] Store& store() { return m_store; }

private:
    template <typename Value> [[nodiscard]] Value valueOf(Store::Result<Value> found);
    bool check(const Store::Result<void>& result);
    void fail(const StoreError& error);
    void flush();

    Store& m_store;
    std::function<void(std::string)> m_report;
    /// By id; nothing: the row is to go.
    std::map<std::string, std::optional<RenameRecord>, std::less<>> m_unsaved;
    std::unordered_set<FileIdentity> m_inFlight;
    std::unordered_map<FileIdentity, ProcessedMarker::Marker> m_unmarked; // that the store did not take
};

} // namespace vesto
