#include "app/model/ProposalList.h"

#include "core/files/FileName.h"
#include "core/naming/TitleEvidence.h"
#include "core/support/Text.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace vesto {

template <typename Proposals>
std::vector<ProposalList::Look> ProposalList::looksAt(const Proposals& proposals) {
    std::vector<Look> looks;
    looks.reserve(proposals.size());
    for (const PendingProposal& pending : proposals)
        looks.push_back({pending.id(), pending.proposal.url});
    return looks;
}

void ProposalList::look(std::vector<Look> looks, std::function<void(std::vector<Look>)> back) {
    m_context.onFiles(
        [looks = std::move(looks), &disk = m_context.given().disk]() mutable {
            for (Look& look : looks) {
                look.current = FileIdentity::of(look.path, disk);
                look.isMarked = look.current && ProcessedMarker::isMarked(look.path, disk);
            }
            return std::move(looks);
        },
        std::move(back));
}

void ProposalList::restore(const std::set<std::string, std::less<>>& folderIDs) {
    m_restored = m_context.ledger().pending();
    dropRestored([&](const PendingProposal& pending) { return !folderIDs.contains(pending.folderID); });
    if (!m_restored.empty())
        look(looksAt(m_restored), [this](const std::vector<Look>& looks) { finishRestore(looks); });
}

void ProposalList::dropRestored(const Meant& isMeant) {
    const auto gone = std::ranges::stable_partition(
        m_restored, [&](const PendingProposal& pending) { return !isMeant(pending); });
    for (const PendingProposal& pending : gone)
        m_context.ledger().removePending(pending.proposal.id);
    m_restored.erase(gone.begin(), gone.end());
}

void ProposalList::finishRestore(const std::vector<Look>& looks) {
    auto look = looks.begin();
    for (PendingProposal& pending : std::exchange(m_restored, {})) {
        // In the same order, but some may have been dropped meanwhile.
        look = std::ranges::find(look, looks.end(), pending.id(), &Look::proposalID);
        const auto& current = look->current;
        auto& identity = pending.proposal.identity;
        // One that is marked was answered just before the earlier run was killed.
        if (!current || !identity || !isSameStoredFile(*identity, *current) ||
            !stoodStill(*identity, *current) || look->isMarked || m_context.ledger().remembered(*current)) {
            m_context.ledger().removePending(pending.proposal.id);
            continue;
        }
        identity = current; // the device may have got another number
        m_context.ledger().take(*current);
        m_pending.push_back(std::move(pending));
    }
    Q_EMIT m_context.face().pendingChanged();
}

void ProposalList::add(const PendingProposal& proposed) {
    PendingProposal pending = proposed;
    keepOnlyText(pending.proposal.summary);
    m_context.ledger().save(pending);
    m_pending.push_front(pending);
    m_context.given().notifier.notifyProposal(pending);
    Q_EMIT m_context.face().pendingChanged();
    Q_EMIT m_context.face().proposed(pending);
}

std::optional<PendingProposal> ProposalList::taken(std::string_view proposalID) {
    const auto place = std::ranges::find(m_pending, proposalID, &PendingProposal::id);
    if (place == m_pending.end()) {
        m_context.fail(std::string(text("Cette proposition n'est plus d'actualité.")));
        return std::nullopt;
    }
    return removed(place);
}

PendingProposal ProposalList::removed(const Place& place) {
    PendingProposal pending = std::move(*place);
    m_pending.erase(place);
    m_changed.erase(pending.proposal.id);
    m_context.given().notifier.removeProposal(pending.proposal.id);
    Q_EMIT m_context.face().pendingChanged();
    return pending;
}

std::vector<PendingProposal> ProposalList::removedWhere(const Meant& isMeant) {
    const auto gone = std::ranges::stable_partition(
        m_pending, [&](const PendingProposal& pending) { return !isMeant(pending); });
    std::vector<PendingProposal> removed(std::move_iterator(gone.begin()), std::move_iterator(gone.end()));
    m_pending.erase(gone.begin(), gone.end());
    for (const PendingProposal& pending : removed) {
        m_changed.erase(pending.id());
        m_context.given().notifier.removeProposal(pending.id());
    }
    if (!removed.empty())
        Q_EMIT m_context.face().pendingChanged();
    return removed;
}

void ProposalList::forget(const PendingProposal& pending) {
    m_context.ledger().removePending(pending.proposal.id);
    m_context.ledger().release(*pending.proposal.identity);
}

void ProposalList::accept(std::string_view proposalID, const std::optional<std::string>& title,
                          AppModel::RecordDone done) {
    const auto refuse = [&](std::string_view key) {
        m_context.fail(std::string(text(key)));
        if (done)
            m_context.later([done, message = std::string(text(key))] { done(std::unexpected(message)); });
    };
    const auto place = std::ranges::find(m_pending, proposalID, &PendingProposal::id);
    if (place == m_pending.end()) {
        refuse("Cette proposition n'est plus d'actualité.");
        return;
    }
    std::string baseName = place->proposal.baseName;
    if (title) {
        const auto rendered = m_context.pipeline().baseNameForUserTitle(*title, place->proposal);
        if (!rendered) {
            refuse("Titre vide.");
            return;
        }
        baseName = *rendered;
    }
    PendingProposal pending = removed(place);
    const Applier::Order order{pending.proposal, std::move(baseName)};
    m_applier.apply(
        order, [this, pending = std::move(pending), done = std::move(done)](const Applier::Result& applied) {
            forget(pending);
            if (!applied && applied.error().error == RenameError(RenameError::Case::identityMismatch))
                m_nameAgain(pending.proposal.url, pending.folderID);
            if (!done)
                return;
            if (applied)
                done(applied->record);
            else
                done(std::unexpected(applied.error().message));
        });
}

bool ProposalList::reject(std::string_view proposalID) {
    const auto pending = taken(proposalID);
    if (pending)
        ignore(*pending);
    return pending.has_value();
}

void ProposalList::rejectAll(const std::vector<std::string>& proposalIDs) {
    const std::unordered_set<std::string_view> ids(proposalIDs.begin(), proposalIDs.end());
    for (const PendingProposal& pending :
         removedWhere([&](const PendingProposal& each) { return ids.contains(each.id()); }))
        ignore(pending);
}

void ProposalList::ignore(const PendingProposal& pending) {
    const auto& given = m_context.given();
    const FileIdentity identity = *pending.proposal.identity;
    m_context.onFiles(
        [path = pending.proposal.url, identity, &disk = given.disk, &clock = given.clock] {
            return FileTasks::mark(path, identity, ProcessedMarker::State::ignored, disk, clock);
        },
        [this, pending](const FileTasks::Marked& marked) {
            if (marked.identity)
                m_context.ledger().noteMark(
                    *marked.identity,
                    {.state = ProcessedMarker::State::ignored,
                     .originalName = std::string(lastComponentOf(pending.proposal.url)),
                     .date = m_context.given().clock.now()},
                    marked.marked);
            forget(pending);
        });
}

void ProposalList::dropFolder(std::string_view folderID) {
    const auto isMeant = [&](const PendingProposal& each) { return each.folderID == folderID; };
    for (const PendingProposal& pending : removedWhere(isMeant))
        forget(pending);
    dropRestored(isMeant);
}

void ProposalList::dropFile(const FileIdentity& identity) {
    const auto place =
        std::ranges::find(m_pending, identity, [](const PendingProposal& pending) -> const auto& {
            return pending.proposal.identity;
        });
    if (place != m_pending.end())
        drop(place);
}

void ProposalList::review() {
    if (m_pending.empty() || std::exchange(m_isReviewing, true))
        return;
    look(looksAt(m_pending), [this](const std::vector<Look>& looks) {
        m_isReviewing = false;
        judge(looks);
    });
}

void ProposalList::judge(const std::vector<Look>& looks) {
    std::unordered_map<std::string_view, const Look*> byProposal;
    for (const Look& look : looks)
        byProposal.emplace(look.proposalID, &look);
    std::unordered_set<std::string_view> outdated;
    for (PendingProposal& pending : m_pending)
        if (const auto found = byProposal.find(pending.id());
            found != byProposal.end() && !isUpToDate(pending, *found->second))
            outdated.insert(found->first);
    for (const PendingProposal& pending :
         removedWhere([&](const PendingProposal& each) { return outdated.contains(each.id()); })) {
        forget(pending);
        if (const Look& look = *byProposal.at(pending.id()); look.current)
            m_nameAgain(look.path, pending.folderID);
    }
}

bool ProposalList::isUpToDate(PendingProposal& pending, const Look& look) {
    FileIdentity& known = *pending.proposal.identity;
    const bool isSame = look.current && isSameStoredFile(known, *look.current);
    if (isSame && stoodStill(known, *look.current)) {
        m_changed.erase(look.proposalID);
        if (known != *look.current) { // its disk was away, and has another number now
            m_context.ledger().release(known);
            known = *look.current;
            m_context.ledger().take(known);
        }
        return true;
    }
    if (!isSame)
        return false;
    auto& seen = m_changed[look.proposalID];
    // Where it looks otherwise than the last time it is perhaps being written.
    return std::exchange(seen, *look.current->state) != *look.current->state;
}

} // namespace vesto
