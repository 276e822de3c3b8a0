#pragma once
#include "app/model/FileTasks.h"
#include "app/model/ModelContext.h"
#include "app/model/Recovery.h"
#include "app/model/RenameRecord.h"
#include "core/files/RenameError.h"
#include "core/files/Renamer.h"

#include <expected>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vesto {

/// Renames by a proposal and undoes renames: written down first, then done, then written down again. Main
/// thread; what touches files is done on the worker thread.
class Applier {
public:
    struct Order {
        Proposal proposal;
        std::string baseName; // which may be another than the proposal's
        bool automatic = false;
        std::optional<std::string> batchID{};
    };
    struct Applied {
        RenameRecord record;
        bool marked = true; // on the file itself
    };
    struct Failure {
        std::string message;              // which the user was shown
        std::optional<RenameError> error; // nothing where the file was not touched
    };
    using Result = std::expected<Applied, Failure>;

    explicit Applier(ModelContext& context)
        : m_context(context) {}

    void apply(const Order& order, std::function<void(const Result&)> done);
    /// `standsAt`: where the file was moved to since; its row says so once the undo has succeeded.
    void undo(std::string_view recordID, AppModel::RecordDone done,
              const std::optional<std::filesystem::path>& standsAt = std::nullopt);
    /// Settles the rows that an earlier run left unfinished, as far as their disks are there.
    void recover();

private:
    void finishApply(RenameRecord record, const std::expected<RenameResult, RenameError>& renamed,
                     const std::function<void(const Result&)>& done);
    void finishRecover(const Recovery::Outcome& outcome);
    /// `record` as it was before the undo, which was tried in `folder`.
    void finishUndo(RenameRecord record, const std::filesystem::path& folder,
                    const std::expected<FileTasks::Restored, RenameError>& restored,
                    const AppModel::RecordDone& done);
    void refuseUndo(std::string_view reason, const AppModel::RecordDone& done);

    ModelContext& m_context;
    std::set<std::string> m_atWork; // ids of the rows that are unfinished because we are at it
};

} // namespace vesto
