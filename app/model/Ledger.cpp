#include "app/model/Ledger.h"

#include "core/support/Log.h"
#include "core/support/Text.h"

#include <utility>

namespace vesto {

Ledger::Ledger(Store& store, std::function<void(std::string)> report)
    : m_store(store)
    , m_report(std::move(report)) {}

/// Nothing of it where it could not be read, which is told.
template <typename Value> Value Ledger::valueOf(Store::Result<Value> found) {
    if (found)
        return *std::move(found);
    fail(found.error());
    return {};
}

std::expected<void, std::string> Ledger::begin(const RenameRecord& record) {
    flush();
    const auto saved = m_store.save(record);
    if (saved)
        return {};
    fail(saved.error());
    return std::unexpected(std::string(text("Journal non enregistré : ")) + saved.error().description);
}

void Ledger::settle(const RenameRecord& record) {
    m_unsaved.insert_or_assign(record.id, record);
    flush();
}

void Ledger::drop(const RenameRecord& record) {
    m_unsaved.insert_or_assign(record.id, std::nullopt);
    flush();
}

std::vector<RenameRecord> Ledger::unsettled() {
    auto rows = valueOf(m_store.unsettled());
    std::erase_if(rows, [this](const RenameRecord& row) { return m_unsaved.contains(row.id); });
    return rows;
}

std::optional<RenameRecord> Ledger::record(std::string_view id) {
    if (const auto unsaved = m_unsaved.find(id); unsaved != m_unsaved.end())
        return unsaved->second;
    return valueOf(m_store.record(id));
}

bool Ledger::save(const WatchedFolder& folder) {
    return check(m_store.save(folder));
}

bool Ledger::removeFolder(std::string_view id) {
    return check(m_store.removeFolder(id));
}

std::vector<PendingProposal> Ledger::pending() {
    return valueOf(m_store.pending());
}

void Ledger::save(const PendingProposal& pending) {
    check(m_store.save(pending));
}

void Ledger::removePending(std::string_view proposalID) {
    check(m_store.removePending(proposalID));
}

void Ledger::noteMark(const FileIdentity& file, ProcessedMarker::Marker marker, bool marked) {
    if (marked) {
        m_unmarked.erase(file);
        if (remembered(file))
            check(m_store.forget(file));
    } else {
        m_unmarked.insert_or_assign(file, std::move(marker));
        flush();
    }
}

std::optional<ProcessedMarker::Marker> Ledger::remembered(const FileIdentity& file) {
    if (const auto here = m_unmarked.find(file); here != m_unmarked.end())
        return here->second;
    return valueOf(m_store.remembered(file));
}

bool Ledger::isTaken(const FileIdentity& file) {
    return isInFlight(file) || remembered(file).has_value();
}

void Ledger::flush() {
    const auto writeAll = [this](auto& waiting, const auto& write) {
        while (!waiting.empty() && check(write(*waiting.begin())))
            waiting.erase(waiting.begin());
        return waiting.empty();
    };
    const bool areRowsSaved = writeAll(m_unsaved, [this](const auto& row) {
        return row.second ? m_store.save(*row.second) : m_store.removeRecord(row.first);
    });
    if (areRowsSaved)
        writeAll(m_unmarked, [this](const auto& file) { return m_store.remember(file.first, file.second); });
}

bool Ledger::check(const Store::Result<void>& result) {
    if (!result)
        fail(result.error());
    return result.has_value();
}

void Ledger::fail(const StoreError& error) {
    log::write(log::Level::error, std::string(text("SwiftData :")) + " %{public}s", {error.description});
    m_report(std::string(text("Journal non enregistré : ")) + error.description);
}

} // namespace vesto
