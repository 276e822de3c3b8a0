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

bool isRowOf(const RenameRecord& record, const FileIdentity& file, const Marker& marker) {
    return record.originalName == marker.originalName &&
           (isSameStoredFile(record.identity, file) || isSameStoredAcrossRename(record.identity, file));
}

} // namespace

RenamedFiles::Look RenamedFiles::lookAt(const std::filesystem::path& file, Disk& disk) {
    std::error_code error;
    const auto folder = std::filesystem::canonical(folderOf(file), error);
    Look look{.realPath = error ? file : folder / lastComponentOf(file),
              .identity = FileIdentity::of(file, disk), // first, so that the marker is never another file's
              .marker = std::nullopt};
    look.marker = ProcessedMarker::read(file, disk);
    return look;
}

RenamedFiles& RenamedFiles::of(AppModel& model) {
    const auto isIt = [](QObject* child) { return dynamic_cast<RenamedFiles*>(child) != nullptr; };
    return dynamic_cast<RenamedFiles&>(**std::ranges::find_if(model.children(), isIt));
}

void RenamedFiles::find(const std::filesystem::path& file, FoundDone done) {
    m_context.onFiles([file, &disk = m_context.given().disk] { return lookAt(file, disk); },
                      [this, file, done = std::move(done)](const Look& look) { done(found(file, look)); });
}

RenamedFiles::Found RenamedFiles::found(const std::filesystem::path& file, const Look& look) {
    for (const std::filesystem::path& place : {file, look.realPath}) {
        auto row = m_context.given().store.doneAt(place);
        if (!row || *row)
            return row;
    }
    if (!look.identity)
        return std::nullopt;
    Ledger& ledger = m_context.ledger();
    const auto remembered = ledger.remembered(*look.identity); // truer than a mark that could not be changed
    const auto& marker = remembered ? remembered : look.marker;
    if (!marker || marker->state != State::renamed)
        return std::nullopt;
    auto row = foundByMark(*look.identity, *marker);
    if (!row)
        return row;
    RenameRecord record = row->value_or(RenameRecord{.id = {},
                                                     .date = marker->date,
                                                     .folderPath = {},
                                                     .originalName = marker->originalName,
                                                     .newName = {},
                                                     .identity = *look.identity,
                                                     .status = Status::done,
                                                     .errorMessage = std::nullopt,
                                                     .batchID = std::nullopt});
    record.folderPath = folderOf(file).native();
    record.newName = lastComponentOf(file);
    if (record.status == Status::done && !record.id.empty())
        ledger.settle(record); // the file was moved, and its row follows
    return record;
}

/// A file is marked right after its row was written, or at the next start: the row is not far from the mark.
RenamedFiles::Found RenamedFiles::foundByMark(const FileIdentity& identity, const Marker& marker) {
    constexpr std::size_t pageSize = 500;
    constexpr int mostPages = 4;
    Store::Place place{marker.date + std::chrono::minutes(1), {}};
    for (int page = 0; page < mostPages; ++page) {
        const auto rows = m_context.given().store.history({}, pageSize, place);
        if (!rows)
            return std::unexpected(rows.error());
        for (const RenameRecord& row : *rows)
            if (isRowOf(row, identity, marker)) {
                auto record = m_context.ledger().record(row.id); // which may be newer than the store's
                if (record && (record->status == Status::done || record->status == Status::pending))
                    return record;
            }
        if (rows->size() < pageSize)
            break;
        place = {rows->back().date, rows->back().id};
    }
    return std::nullopt;
}

void RenamedFiles::undo(const RenameRecord& found, AppModel::RecordDone done) {
    if (found.id.empty())
        undoUnrecorded(found, done);
    else
        m_context.face().undo(found.id, std::move(done));
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
