#pragma once
#include "app/model/Applier.h"
#include "app/model/Batch.h"
#include "app/model/FileTasks.h"
#include "app/model/ModelContext.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// The one batch that there is: lists its folder, gathers what the job loop finds out, renames what the user
/// chose. Main thread.
class BatchDesk {
public:
    using Enqueue = std::function<void(const std::filesystem::path&, const std::string& batchID, bool retry)>;

    BatchDesk(ModelContext& context, Applier& applier, Enqueue enqueue)
        : m_context(context)
        , m_applier(applier)
        , m_enqueue(std::move(enqueue)) {}

    [[nodiscard]] const Batch* current() const { return m_batch ? &*m_batch : nullptr; }
    [[nodiscard]] bool isCurrent(std::string_view batchID) const { return m_batch && m_batch->id == batchID; }

    std::string start(const std::filesystem::path& folder);
    void analyseAlso(AlsoAnalyse which);
    void setTitle(std::string_view proposalID, std::string_view title);
    void setSelected(const std::vector<std::string>& proposalIDs, bool selected);
    void renameSelected(const AppModel::Done& done);
    void undo(std::string_view batchID, const AppModel::Done& done);
    void close();
    /// A rename was undone: where it was one of the current batch's, its item is proposed again, unselected.
    void noteUndone(const RenameRecord& record);

    // What became of a file of the current batch.
    void add(const Proposal& proposal);
    void countNoTitle();
    void leaveOut();
    /// Handled before, which its own mark could not tell.
    void leaveOutHandled(const std::filesystem::path& path, ProcessedMarker::State state);

private:
    void finishListing(const FileTasks::Listing& listing);
    /// The last of `itemIDs` first.
    void renameNext(const std::string& batchID, std::vector<std::string> itemIDs, const AppModel::Done& done);
    void undoNext(const std::string& batchID, std::vector<std::string> recordIDs, const AppModel::Done& done);
    void noteUndoing(std::string_view batchID, bool isUndoing);
    void changed();

    ModelContext& m_context;
    Applier& m_applier;
    Enqueue m_enqueue;
    std::optional<Batch> m_batch;
    std::stop_source m_listing; // of the current batch's folder
};

} // namespace vesto
