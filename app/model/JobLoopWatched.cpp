// The road of a file that a watcher reported.
#include "app/model/JobLoop.h"
#include "core/files/FileName.h"
#include "core/support/Log.h"

#include <algorithm>
#include <ranges>
#include <unordered_map>
#include <utility>

namespace vesto {

using End = FileStabilizer::End;
using Fruitless = FolderWatcher::Fruitless;

namespace {

/// Another file may be made under the name before the watcher looks, to which the name is not new then.
bool isGone(const FileTasks::Examination& examination) {
    return examination.rejection ? *examination.rejection == FileEligibility::Rejection::missing
                                 : !examination.identity;
}

} // namespace

FileEligibility::Options JobLoop::optionsOf(const WatchedFolder& folder) const {
    return {.genericOnly = m_context.given().settings.genericOnly(), .notBefore = folder.addedAt};
}

void JobLoop::beginWatched(const Watched& job) {
    const WatchedFolder* folder = m_folders.find(job.folderID);
    if (folder == nullptr)
        end();
    else
        examine(optionsOf(*folder), false, &JobLoop::watchedExamined);
}

void JobLoop::watchedExamined(const FileTasks::Examination& examination) {
    if (examination.rejection)
        log::write(log::Level::debug, "ignoré (%{public}s) : %{private}s",
                   {rawValue(*examination.rejection), name()});
    if (isGone(examination))
        fruitless(Fruitless::replaced, std::nullopt);
    const WatchedFolder* folder = m_folders.find(std::get<Watched>(m_current->job).folderID);
    if (folder == nullptr || m_isFinishing || !examination.isFine() ||
        m_context.ledger().isTaken(*examination.identity)) {
        end();
        return;
    }
    log::write(log::Level::info, "traitement : %{private}s", {name()});
    m_context.ledger().take(*examination.identity);
    m_current->taken = examination.identity;
    await(optionsOf(*folder));
}

void JobLoop::await(const FileEligibility::Options& options) {
    m_current->isWaiting = true;
    m_context.prepareModel();
    // Whoever waits behind this file gets a look now, and need not wait again for what stands still since.
    struct Waited {
        FileTasks::Settled settled;
        std::vector<FileTasks::EarlyLook> others;
    };
    const auto& given = m_context.given();
    m_context.onNaming(
        [path = path(), options, look = m_current->look, stop = m_current->stop.get_token(),
         stabilizer = given.stabilizer, others = notLookedAt(), &disk = given.disk,
         &clock = given.clock]() mutable {
            FileTasks::lookAt(others, disk, clock);
            FileTasks::Settled settled{stabilizer.settle(path, stop, look, disk, clock), {}};
            if (settled.settling.end == End::stable)
                settled.examination = FileTasks::examine(path, options, false, disk);
            return Waited{std::move(settled), std::move(others)};
        },
        [this, serial = m_current->serial](const Waited& waited) {
            keepLooks(waited.others);
            if (!m_current || m_current->serial != serial)
                return;
            m_current->isWaiting = false;
            watchedSettled(waited.settled);
        });
}

/// Each of them once: they are the last ones, since what comes goes to the end.
std::vector<FileTasks::EarlyLook> JobLoop::notLookedAt() {
    std::vector<FileTasks::EarlyLook> files;
    for (Entry& entry : m_queue | std::views::reverse) {
        if (std::exchange(entry.wasLookedAt, true))
            break;
        if (const auto* watched = std::get_if<Watched>(&entry.job))
            files.push_back({watched->path});
    }
    return files;
}

void JobLoop::keepLooks(const std::vector<FileTasks::EarlyLook>& looks) {
    std::unordered_map<std::string_view, FileStabilizer::Look> byPath;
    for (const FileTasks::EarlyLook& early : looks)
        if (early.look)
            byPath.emplace(early.path.native(), *early.look);
    for (Entry& entry : m_queue | std::views::reverse) {
        if (byPath.empty())
            break; // they are near the end
        const auto* watched = std::get_if<Watched>(&entry.job);
        if (watched == nullptr || entry.look)
            continue;
        if (const auto found = byPath.find(watched->path.native()); found != byPath.end()) {
            entry.look = found->second;
            byPath.erase(found);
        }
    }
}

void JobLoop::watchedSettled(const FileTasks::Settled& settled) {
    const auto& identity = settled.examination.identity;
    switch (settled.settling.end) {
    case End::stable:
        break;
    case End::empty:
        fruitless(Fruitless::empty, settled.settling.lastLook);
        end();
        return;
    case End::held:
        fruitless(Fruitless::held, settled.settling.lastLook);
        end();
        return;
    case End::restless:
        fruitless(Fruitless::restless, settled.settling.lastLook);
        end();
        return;
    case End::gone:
        fruitless(Fruitless::replaced, std::nullopt);
        end();
        return;
    case End::cancelled:
        end();
        return;
    }
    if (settled.examination.rejection)
        log::write(log::Level::debug, "ignoré (%{public}s) : %{private}s",
                   {rawValue(*settled.examination.rejection), name()});
    if (isGone(settled.examination))
        fruitless(Fruitless::replaced, std::nullopt);
    else if (identity && *identity != *m_current->taken)
        fruitless(Fruitless::replaced, identity->state);
    // An order of the user's may have handled the file meanwhile.
    if (m_folders.find(std::get<Watched>(m_current->job).folderID) == nullptr || m_isFinishing ||
        !settled.examination.isFine() || *identity != *m_current->taken ||
        m_context.ledger().remembered(*identity)) {
        end();
        return;
    }
    m_current->settled = identity;
    setProcessingName(std::string(name()));
    runPipeline(m_context.pipeline(), &JobLoop::watchedNamed);
}

void JobLoop::watchedNamed(const Outcome& outcome) {
    const auto& job = std::get<Watched>(m_current->job);
    const WatchedFolder* folder = m_folders.find(job.folderID);
    if (outcome && std::erase(m_unreadable, UnreadableFile{job.folderID, job.path}) > 0)
        Q_EMIT m_context.face().unreadableChanged();
    if (!outcome) {
        log::write(log::Level::info, "pipeline %{private}s: %{public}s", {name(), outcome.error().name()});
        fruitless(Fruitless::unreadable, m_current->settled->state);
        end();
    } else if (folder == nullptr) {
        end();
    } else if (const Proposal* proposal = outcome->proposal()) {
        propose(job, *folder, *proposal);
    } else {
        log::write(log::Level::info, "aucune proposition : %{private}s", {name()});
        markSkipped();
    }
}

void JobLoop::propose(const Watched& job, const WatchedFolder& folder, const Proposal& proposal) {
    const FileIdentity& settled = *m_current->settled;
    if (!proposal.identity || *proposal.identity != settled || !stoodStill(settled, *proposal.identity)) {
        const bool isAnother = proposal.identity && *proposal.identity != settled;
        fruitless(isAnother ? Fruitless::replaced : Fruitless::changed, settled.state);
        end();
        return;
    }
    log::write(log::Level::info, "proposition %{public}s conf %f : %{private}s",
               {rawValue(proposal.source), proposal.confidence, proposedNameOf(proposal)});
    if (!folder.automatic || m_context.given().settings.autoThreshold() > proposal.confidence) {
        m_current->taken.reset(); // stays in flight with the proposal
        m_proposals.add({proposal, job.folderID});
        end();
        return;
    }
    m_applier.apply({.proposal = proposal, .baseName = proposal.baseName, .automatic = true},
                    [this, serial = m_current->serial](const Applier::Result& applied) {
                        if (applied && m_context.given().settings.notifyAutomatic())
                            m_context.given().notifier.notifyRenamed(applied->record);
                        if (!m_current || m_current->serial != serial)
                            return;
                        if (!applied &&
                            applied.error().error == RenameError(RenameError::Case::identityMismatch))
                            fruitless(Fruitless::changed, m_current->settled->state);
                        end();
                    });
}

void JobLoop::fruitless(Fruitless reason, std::optional<FileState> seen) {
    const auto& job = std::get<Watched>(m_current->job);
    if (m_folders.reportAgain(job.folderID, name(), reason, seen))
        return;
    const UnreadableFile file{job.folderID, job.path};
    if (std::ranges::find(m_unreadable, file) == m_unreadable.end())
        m_unreadable.push_back(file);
    Q_EMIT m_context.face().unreadableChanged();
}

} // namespace vesto
