#pragma once
#include "app/model/Applier.h"
#include "app/model/ModelContext.h"
#include "app/model/PendingProposal.h"

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// What waits for the user's word, newest first. It outlives a restart; a file that changed or left takes its
/// own proposal with it. Main thread.
class ProposalList {
public:
    /// `nameAgain`: a file has changed since its proposal was made.
    using NameAgain = std::function<void(const std::filesystem::path&, const std::string& folderID)>;

    ProposalList(ModelContext& context, Applier& applier, NameAgain nameAgain)
        : m_context(context)
        , m_applier(applier)
        , m_nameAgain(std::move(nameAgain)) {}

    /// Takes up what an earlier run left, but for the proposals of folders not in `folderIDs`.
    void restore(const std::set<std::string, std::less<>>& folderIDs);

    [[nodiscard]] const std::deque<PendingProposal>& all() const { return m_pending; }

    /// Its identity is in flight already, and stays so.
    void add(const PendingProposal& proposed);
    void accept(std::string_view proposalID, const std::optional<std::string>& title,
                AppModel::RecordDone done);
    bool reject(std::string_view proposalID);
    void rejectAll(const std::vector<std::string>& proposalIDs);
    /// Drops those of a folder, unmarked.
    void dropFolder(std::string_view folderID);
    /// Drops that of a file that got a name otherwise.
    void dropFile(const FileIdentity& identity);
    /// Looks whether the files are still there as they were.
    void review();

private:
    using Meant = std::function<bool(const PendingProposal&)>;
    using Place = std::deque<PendingProposal>::iterator;
    struct Look {
        std::string proposalID;
        std::filesystem::path path;
        std::optional<FileIdentity> current{};
        bool isMarked = false; // so that something was done with it
    };

    /// To be taken at the files of these.
    template <typename Proposals> [[nodiscard]] static std::vector<Look> looksAt(const Proposals& proposals);
    /// How the files are now; each look knows its proposal and path.
    void look(std::vector<Look> looks, std::function<void(std::vector<Look>)> back);
    void dropRestored(const Meant& isMeant);
    void finishRestore(const std::vector<Look>& looks);
    void judge(const std::vector<Look>& looks);
    /// False where the file changed or left.
    [[nodiscard]] bool isUpToDate(PendingProposal& pending, const Look& look);
    /// Nothing, and the user is told, where it is no longer pending.
    [[nodiscard]] std::optional<PendingProposal> taken(std::string_view proposalID);
    /// Out of the list and the notification centre, not yet out of the store.
    PendingProposal removed(const Place& place);
    /// The same for all of whom it holds.
    std::vector<PendingProposal> removedWhere(const Meant& isMeant);
    /// Marks the file of a proposal that is out of the list, and forgets it.
    void ignore(const PendingProposal& pending);
    void forget(const PendingProposal& pending);
    void drop(const Place& place) { forget(removed(place)); }

    ModelContext& m_context;
    Applier& m_applier;
    NameAgain m_nameAgain;
    std::deque<PendingProposal> m_pending;
    std::vector<PendingProposal> m_restored; // of an earlier run, until their files were looked at
    /// How files that were changed looked last, by proposal: one is named again once it has stood still.
    std::map<std::string, FileState, std::less<>> m_changed;
    bool m_isReviewing = false; // a disk that is slow or hangs must not be asked again and again meanwhile
};

} // namespace vesto
