#include "app/model/BatchDesk.h"

#include "core/files/FileName.h"
#include "core/naming/TitleEvidence.h"
#include "core/support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace vesto {

using ProcessedMarker::State;

std::string BatchDesk::start(const std::filesystem::path& folder) {
    close();
    m_batch = Batch{};
    m_batch->folderName = displayNameOf(folder);
    m_batch->url = folder;
    m_listing = std::stop_source();
    const auto& given = m_context.given();
    m_context.onFiles(
        [folder,
         options = FileEligibility::Options{.genericOnly = given.settings.genericOnly(), .notBefore = {}},
         stop = m_listing.get_token(),
         &disk = given.disk] { return FileTasks::list(folder, options, disk, stop); },
        [this, id = m_batch->id](const FileTasks::Listing& listing) {
            if (isCurrent(id))
                finishListing(listing);
        });
    changed();
    return m_batch->id;
}

void BatchDesk::finishListing(const FileTasks::Listing& listing) {
    if (!listing.isAccessible) {
        m_context.fail(fmt::format("{}« {} »{}", text("Accès perdu à "), m_batch->folderName,
                                   text(". Ajoutez-le à nouveau.")));
        close();
        return;
    }
    m_batch->isListing = false;
    m_batch->total = listing.eligible.size();
    m_batch->wellNamed = listing.wellNamed;
    m_batch->noTitleBefore = listing.noTitleBefore;
    m_batch->alreadyDone = listing.alreadyDone;
    m_batch->notLocal = listing.notLocal;
    m_batch->subfolders = listing.subfolders;
    const std::string id = m_batch->id;
    for (const std::filesystem::path& path : listing.eligible)
        m_enqueue(path, id, false);
    changed();
}

void BatchDesk::analyseAlso(AlsoAnalyse which) {
    if (!m_batch)
        return;
    auto& list = which == AlsoAnalyse::wellNamed ? m_batch->wellNamed : m_batch->noTitleBefore;
    const auto paths = std::exchange(list, {});
    m_batch->total += paths.size();
    const std::string id = m_batch->id;
    for (const std::filesystem::path& path : paths)
        m_enqueue(path, id, true);
    changed();
}

void BatchDesk::setTitle(std::string_view proposalID, std::string_view title) {
    Batch::Item* item = m_batch ? m_batch->item(proposalID) : nullptr;
    if (item == nullptr || !item->isProposed())
        return;
    item->title = title;
    changed();
}

void BatchDesk::setSelected(const std::vector<std::string>& proposalIDs, bool selected) {
    if (!m_batch)
        return;
    const std::unordered_set<std::string_view> ids(proposalIDs.begin(), proposalIDs.end());
    bool isChanged = false;
    for (Batch::Item& item : m_batch->items)
        if (item.isProposed() && item.selected != selected && ids.contains(item.proposal.id)) {
            item.selected = selected;
            isChanged = true;
        }
    if (isChanged)
        changed();
}

void BatchDesk::renameSelected(const AppModel::Done& done) {
    if (!m_batch || m_batch->isRenaming || m_batch->isUndoing) {
        if (done)
            m_context.later(done);
        return;
    }
    m_batch->isRenaming = true;
    // What is ticked later, or comes ticked from the analysis, waits for another word of the user's.
    std::vector<std::string> itemIDs;
    for (const Batch::Item& item : m_batch->items)
        if (item.selected && item.isProposed())
            itemIDs.push_back(item.proposal.id);
    std::ranges::reverse(itemIDs);
    renameNext(m_batch->id, std::move(itemIDs), done);
}

void BatchDesk::renameNext(const std::string& batchID, std::vector<std::string> itemIDs,
                           const AppModel::Done& done) {
    const NamingPipeline pipeline = m_context.pipeline();
    while (isCurrent(batchID)) {
        if (itemIDs.empty()) {
            m_batch->isRenaming = false;
            changed();
            break;
        }
        Batch::Item* item = m_batch->item(itemIDs.back());
        itemIDs.pop_back();
        if (item == nullptr || !item->selected || !item->isProposed())
            continue;
        auto baseName = pipeline.baseNameForUserTitle(item->title, item->proposal);
        if (!baseName) {
            item->state = Batch::Failed{std::string(text("Titre vide."))};
            continue;
        }
        m_applier.apply({.proposal = item->proposal, .baseName = std::move(*baseName), .batchID = batchID},
                        [this, batchID, itemIDs = std::move(itemIDs), done,
                         id = item->proposal.id](const Applier::Result& applied) mutable {
                            if (Batch::Item* tried = isCurrent(batchID) ? m_batch->item(id) : nullptr) {
                                if (applied)
                                    tried->state = Batch::Renamed{applied->record.newName};
                                else
                                    tried->state = Batch::Failed{applied.error().message};
                                changed();
                            }
                            renameNext(batchID, std::move(itemIDs), done);
                        });
        return;
    }
    if (done)
        m_context.later(done);
}

void BatchDesk::undo(std::string_view batchID, const AppModel::Done& done) {
    if (isCurrent(batchID) && m_batch->isUndoing) {
        if (done)
            m_context.later(done);
        return;
    }
    std::vector<std::string> recordIDs;
    const auto records = m_context.given().store.batch(batchID);
    if (records)
        for (const RenameRecord& record : *records)
            if (record.status == RenameRecord::Status::done)
                recordIDs.push_back(record.id);
    if (!records)
        m_context.fail(fmt::format("{} {}", text("SwiftData :"), records.error().description));
    std::ranges::reverse(recordIDs);
    noteUndoing(batchID, true);
    undoNext(std::string(batchID), std::move(recordIDs), done);
}

void BatchDesk::noteUndoing(std::string_view batchID, bool isUndoing) {
    if (!isCurrent(batchID))
        return;
    m_batch->isUndoing = isUndoing;
    changed();
}

/// The last first.
void BatchDesk::undoNext(const std::string& batchID, std::vector<std::string> recordIDs,
                         const AppModel::Done& done) {
    if (recordIDs.empty()) {
        noteUndoing(batchID, false);
        if (done)
            m_context.later(done);
        return;
    }
    const std::string id = std::move(recordIDs.back());
    recordIDs.pop_back();
    m_applier.undo(id, [this, batchID, recordIDs = std::move(recordIDs),
                        done](const std::expected<RenameRecord, std::string>&) mutable {
        undoNext(batchID, std::move(recordIDs), done);
    });
}

void BatchDesk::noteUndone(const RenameRecord& record) {
    if (!m_batch || record.batchID != m_batch->id)
        return;
    const auto item = std::ranges::find_if(m_batch->items, [&](const Batch::Item& each) {
        return std::holds_alternative<Batch::Renamed>(each.state) &&
               lastComponentOf(each.proposal.url) == record.originalName &&
               folderOf(each.proposal.url) == record.folderPath;
    });
    if (item == m_batch->items.end())
        return;
    item->state = Batch::Proposed{};
    item->selected = false;
    changed();
}

void BatchDesk::close() {
    if (!m_batch)
        return;
    m_listing.request_stop();
    m_batch.reset();
    changed();
}

void BatchDesk::add(const Proposal& proposal) {
    Proposal kept = proposal;
    keepOnlyText(kept.summary);
    m_batch->items.push_back({.proposal = std::move(kept),
                              .title = proposal.title,
                              .selected = m_context.given().settings.autoThreshold() <= proposal.confidence,
                              .state = Batch::Proposed{}});
    ++m_batch->analysed;
    changed();
}

void BatchDesk::countNoTitle() {
    ++m_batch->noTitle;
    ++m_batch->analysed;
    changed();
}

void BatchDesk::leaveOut() {
    ++m_batch->analysed;
    changed();
}

void BatchDesk::leaveOutHandled(const std::filesystem::path& path, State state) {
    --m_batch->total;
    if (state == State::skipped)
        m_batch->noTitleBefore.push_back(path);
    else
        ++m_batch->alreadyDone;
    changed();
}

void BatchDesk::changed() {
    Q_EMIT m_context.face().batchChanged();
}

} // namespace vesto
