#include "app/model/RenamedFiles.h"

#include "app/model/FileTasks.h"
#include "core/files/FileName.h"
#include "core/support/Text.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

namespace vesto {

using ProcessedMarker::Marker;
using ProcessedMarker::State;
using Status = RenameRecord::Status;

namespace {

bool isRowOf(const RenameRecord& row, const FileIdentity& file) {
    return isSameStoredFile(row.identity, file) || isSameStoredAcrossRename(row.identity, file);
}

/// Without links on the way.
std::filesystem::path realPathOf(const std::filesystem::path& file) {
    std::error_code error;
    const auto folder = std::filesystem::canonical(folderOf(file), error);
    return error ? file : folder / lastComponentOf(file);
}

/// Whether what stands where the row's file was renamed is that file, and `realPath` another one of its name,
/// where inodes are invented, or a name that somebody gave it besides.
bool standsWhereItWas(const RenameRecord& row, const std::filesystem::path& realPath, Disk& disk) {
    const auto place = std::filesystem::path(row.folderPath) / row.newName;
    const auto there = FileIdentity::of(place, disk);
    if (!there || !isRowOf(row, *there) || realPathOf(place) == realPath)
        return false;
    const auto status = disk.status(place);
    const bool hasOneName = status && status->links == 1; // seen by two paths, as in a bind mount
    return there->inventedInode() || !hasOneName;
}

/// What a mark alone tells, but for the place.
RenameRecord unrecordedRow(const FileIdentity& identity, const Marker& marker) {
    return {.id = {},
            .date = marker.date,
            .folderPath = {},
            .originalName = marker.originalName,
            .newName = {},
            .identity = identity,
            .status = Status::done,
            .errorMessage = std::nullopt,
            .batchID = std::nullopt};
}

} // namespace

RenamedFiles::Look RenamedFiles::lookAt(const std::filesystem::path& file, Disk& disk) {
    Look look{.realPath = realPathOf(file),
              .identity = FileIdentity::of(file, disk), // first, so that the marker is never another file's
              .marker = std::nullopt};
    look.marker = ProcessedMarker::read(file, disk);
    return look;
}

void RenamedFiles::find(const std::filesystem::path& file, FoundDone done) {
    m_context.onFiles([file, &disk = m_context.given().disk] { return lookAt(file, disk); },
                      [this, file, done = std::move(done)](const Look& look) {
                          const Found row = rowAt(file, look);
                          const bool isItsRow =
                              row && *row && look.identity && isRowOf(**row, *look.identity);
                          if (!row || !look.identity || isItsRow)
                              done(row);
                          else
                              findByMark(file, look, [done, row](const Found& found) {
                                  // The undo of the place's own row says that another file stands there.
                                  const bool isNoRow = found && (!*found || (*found)->id.empty());
                                  done(isNoRow && *row ? row : found);
                              });
                      });
}

RenamedFiles::Found RenamedFiles::rowAt(const std::filesystem::path& file, const Look& look) {
    Found row = m_context.given().store.doneAt(file);
    return row && !*row ? m_context.given().store.doneAt(look.realPath) : row;
}

void RenamedFiles::findByMark(const std::filesystem::path& file, const Look& look, FoundDone done) {
    // What is remembered is truer than a mark that could not be changed.
    const auto remembered = m_context.ledger().remembered(*look.identity);
    const auto marker = remembered ? remembered : look.marker;
    if (!marker || marker->state != State::renamed) {
        done(std::nullopt);
        return;
    }
    auto rows = rowsByMark(*look.identity, *marker);
    if (!rows) {
        done(std::unexpected(std::move(rows).error()));
        return;
    }
    // What was remembered by a name alone is perhaps another file's.
    const bool isItsOwn = look.marker == marker;
    if (!isItsOwn && look.identity->inventedInode())
        std::erase_if(*rows,
                      [&](const RenameRecord& row) { return !haveSameState(row.identity, *look.identity); });
    const bool mayBeUnrecorded = look.identity->inventedInode() ? isItsOwn : rows->empty();
    m_context.onFiles(
        [rows = std::move(*rows), realPath = look.realPath, &disk = m_context.given().disk] {
            const auto row = std::ranges::find_if(
                rows, [&](const RenameRecord& known) { return !standsWhereItWas(known, realPath, disk); });
            return row == rows.end() ? std::nullopt : std::optional(*row);
        },
        [file,
         unrecorded = mayBeUnrecorded ? std::optional(unrecordedRow(*look.identity, *marker)) : std::nullopt,
         done = std::move(done)](std::optional<RenameRecord> record) {
            if (!record)
                record = unrecorded;
            if (record) {
                record->folderPath = folderOf(file).native();
                record->newName = lastComponentOf(file);
            }
            done(record);
        });
}

/// A file is marked right after its row was written, or at the next start: the row is not far before the
/// mark.
Store::Result<RenamedFiles::Rows> RenamedFiles::rowsByMark(const FileIdentity& identity,
                                                           const Marker& marker) {
    constexpr std::size_t pageSize = 500;
    constexpr int mostPages = 4;
    constexpr auto roundedAway = std::chrono::seconds(2);
    Rows found;
    Store::Place place{marker.date + roundedAway, {}};
    for (int page = 0; page < mostPages; ++page) {
        const auto rows = m_context.given().store.history({}, pageSize, place);
        if (!rows)
            return std::unexpected(rows.error());
        for (const RenameRecord& row : *rows)
            if (row.originalName == marker.originalName && isRowOf(row, identity)) {
                auto record = m_context.ledger().record(row.id); // which may be newer than the store's
                if (record && (record->status == Status::done || record->status == Status::pending))
                    found.push_back(std::move(*record));
            }
        if (rows->size() < pageSize)
            break;
        place = {rows->back().date, rows->back().id};
    }
    return found;
}

void RenamedFiles::undo(const RenameRecord& found, AppModel::RecordDone done) {
    if (found.id.empty())
        undoUnrecorded(found, done);
    else
        m_applier.undo(found.id, std::move(done), std::filesystem::path(found.folderPath) / found.newName);
}

void RenamedFiles::undoUnrecorded(const RenameRecord& found, const AppModel::RecordDone& done) {
    const auto refuse = [this, done](std::string_view reason) {
        std::string message = std::string(text("Annulation impossible : ")) + std::string(reason);
        m_context.fail(message);
        m_context.later([done, message = std::move(message)] { done(std::unexpected(message)); });
    };
    if (m_context.ledger().isInFlight(found.identity)) {
        refuse(text("une opération est en cours sur ce fichier."));
        return;
    }
    m_context.ledger().take(found.identity);
    const auto& given = m_context.given();
    m_context.onFiles(
        [found, &disk = given.disk, &clock = given.clock] {
            return FileTasks::restore(std::filesystem::path(found.folderPath) / found.newName,
                                      found.originalName, found.identity, disk, clock);
        },
        [this, found, done, refuse](const std::expected<FileTasks::Restored, RenameError>& restored) {
            m_context.ledger().release(found.identity);
            if (!restored) {
                refuse(restored.error().message());
                return;
            }
            if (restored->identity)
                m_context.ledger().noteMark(*restored->identity,
                                            Marker{.state = State::undone,
                                                   .originalName = found.originalName,
                                                   .date = m_context.given().clock.now()},
                                            restored->marked);
            RenameRecord undone = found;
            undone.status = Status::undone;
            done(undone);
            Q_EMIT m_context.face().undone(undone);
        });
}

} // namespace vesto
