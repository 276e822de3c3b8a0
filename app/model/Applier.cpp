#include "app/model/Applier.h"

#include "core/files/FileName.h"
#include "core/support/Text.h"

#include <utility>

namespace vesto {

using ProcessedMarker::Marker;
using ProcessedMarker::State;
using Status = RenameRecord::Status;

namespace {

constexpr std::int64_t maxAttempts = 99; // names that are tried

/// The volume's name where it outlives a restart, as that of a device without a UUID does not.
std::optional<std::string> lastingVolumeOf(const FileIdentity& file, Disk& disk) {
    if (file.volume)
        return file.volume;
    auto volume = disk.volumeName(file.device);
    if (volume && volume->find(":/dev/") != std::string::npos)
        volume.reset();
    return volume;
}

/// By its volume the next start knows whether the disk is there, should it have to settle the row.
RenameRecord recordOf(const Applier::Order& order, Instant now, Disk& disk) {
    const std::string_view currentName = lastComponentOf(order.proposal.url);
    RenameRecord record{.date = now,
                        .folderPath = folderOf(order.proposal.url).native(),
                        .originalName = std::string(currentName),
                        .newName = order.proposal.policy.fileName(order.baseName, extensionOf(currentName)),
                        .identity = *order.proposal.identity,
                        .source = order.proposal.source,
                        .confidence = order.proposal.confidence,
                        .automatic = order.automatic,
                        .errorMessage = std::nullopt,
                        .batchID = order.batchID};
    record.identity.volume = lastingVolumeOf(record.identity, disk);
    return record;
}

} // namespace

void Applier::apply(const Order& order, std::function<void(const Result&)> done) {
    const auto refuse = [&](std::string message, std::optional<RenameError> error) {
        m_context.fail(message);
        m_context.later([done, failure = Failure{std::move(message), std::move(error)}] {
            done(std::unexpected(failure));
        });
    };
    if (!order.proposal.identity) {
        const RenameError missing(RenameError::Case::sourceMissing);
        refuse(missing.message(), missing);
        return;
    }
    const auto& given = m_context.given();
    RenameRecord record = recordOf(order, given.clock.now(), given.disk);
    // Without its row the rename could not be undone: then there is none.
    if (auto begun = m_context.ledger().begin(record); !begun) {
        refuse(std::move(begun).error(), std::nullopt);
        return;
    }
    m_atWork.insert(record.id);
    m_context.onFiles(
        [order, &disk = given.disk, &clock = given.clock] {
            const Renamer renamer(order.proposal.policy, maxAttempts, disk, clock);
            return renamer.rename(order.proposal.url, order.baseName, order.proposal.identity,
                                  /*mark=*/true);
        },
        [this, record = std::move(record),
         done = std::move(done)](const std::expected<RenameResult, RenameError>& renamed) mutable {
            finishApply(std::move(record), renamed, done);
        });
}

void Applier::finishApply(RenameRecord record, const std::expected<RenameResult, RenameError>& renamed,
                          const std::function<void(const Result&)>& done) {
    m_atWork.erase(record.id);
    Ledger& ledger = m_context.ledger();
    if (!renamed) {
        ledger.drop(record);
        m_context.fail(renamed.error().message());
        done(std::unexpected(Failure{renamed.error().message(), renamed.error()}));
        Q_EMIT m_context.face().historyChanged();
        return;
    }
    record.newName = lastComponentOf(renamed->to);
    auto volume = std::move(record.identity.volume);
    record.identity = renamed->identity;
    if (!record.identity.volume)
        record.identity.volume = std::move(volume);
    record.status = Status::done;
    record.undoing = renamed->leftover != Leftover::none; // so that the next start looks at it
    ledger.noteMark(renamed->identity,
                    Marker{.state = State::renamed,
                           .originalName = record.originalName,
                           .date = m_context.given().clock.now()},
                    renamed->marked);
    ledger.settle(record);
    done(Applied{record, renamed->marked});
    Q_EMIT m_context.face().historyChanged();
    Q_EMIT m_context.face().renamed(record);
}

void Applier::recover() {
    auto unsettled = m_context.ledger().unsettled();
    std::erase_if(unsettled, [&](const RenameRecord& record) { return m_atWork.contains(record.id); });
    if (unsettled.empty())
        return;
    const auto& given = m_context.given();
    m_context.onFiles([unsettled = std::move(unsettled), &disk = given.disk,
                       &clock = given.clock] { return Recovery::settle(unsettled, disk, clock); },
                      [this](const Recovery::Outcome& outcome) { finishRecover(outcome); });
}

void Applier::finishRecover(const Recovery::Outcome& outcome) {
    for (const Recovery::Unmarked& unmarked : outcome.unmarked)
        m_context.ledger().noteMark(unmarked.file, unmarked.marker, /*marked=*/false);
    bool isChanged = false;
    for (const RenameRecord& record : outcome.settled) {
        if (m_atWork.contains(record.id))
            continue; // an order of the user's came in between, and will settle it
        m_context.ledger().settle(record);
        isChanged = true;
    }
    if (isChanged)
        Q_EMIT m_context.face().historyChanged();
}

void Applier::refuseUndo(std::string_view reason, const AppModel::RecordDone& done) {
    std::string message = std::string(text("Annulation impossible : ")) + std::string(reason);
    m_context.fail(message);
    if (done)
        m_context.later([done, message = std::move(message)] { done(std::unexpected(message)); });
}

void Applier::undo(std::string_view recordID, AppModel::RecordDone done,
                   const std::optional<std::filesystem::path>& standsAt) {
    auto record = m_context.ledger().record(recordID);
    if (!record) {
        refuseUndo(text("ce renommage n'est pas dans l'historique."), done);
        return;
    }
    if (m_atWork.contains(record->id)) {
        refuseUndo(text("une opération est en cours sur ce fichier."), done);
        return;
    }
    if (record->status != Status::done) {
        refuseUndo(record->status == Status::undone ? text("ce renommage est déjà annulé.")
                                                    : text("ce renommage n'a pas eu lieu."),
                   done);
        return;
    }
    RenameRecord begun = *record;
    begun.undoing = true; // where it is tried, so that the next start looks there
    const std::filesystem::path path =
        standsAt.value_or(std::filesystem::path(record->folderPath) / record->newName);
    begun.folderPath = folderOf(path).native();
    begun.newName = lastComponentOf(path);
    if (const auto written = m_context.ledger().begin(begun); !written) {
        refuseUndo(written.error(), done);
        return;
    }
    m_atWork.insert(record->id);
    const auto& given = m_context.given();
    m_context.onFiles(
        [path, record = *record, &disk = given.disk, &clock = given.clock] {
            return FileTasks::restore(path, record.originalName, record.identity, disk, clock);
        },
        [this, record = *record, folder = folderOf(path),
         done = std::move(done)](const std::expected<FileTasks::Restored, RenameError>& restored) mutable {
            finishUndo(std::move(record), folder, restored, done);
        });
}

void Applier::finishUndo(RenameRecord record, const std::filesystem::path& folder,
                         const std::expected<FileTasks::Restored, RenameError>& restored,
                         const AppModel::RecordDone& done) {
    m_atWork.erase(record.id);
    Ledger& ledger = m_context.ledger();
    if (!restored) {
        ledger.settle(record);
        refuseUndo(restored.error().message(), done);
        return;
    }
    record.status = Status::undone;
    record.folderPath = folder.native();
    // The rename may have left a hidden name already.
    record.undoing = record.undoing || restored->leftover != Leftover::none;
    if (restored->identity)
        ledger.noteMark(*restored->identity,
                        Marker{.state = State::undone,
                               .originalName = record.originalName,
                               .date = m_context.given().clock.now()},
                        restored->marked);
    ledger.settle(record);
    if (done)
        done(record);
    Q_EMIT m_context.face().historyChanged();
    Q_EMIT m_context.face().undone(record);
}

} // namespace vesto
