#pragma once
#include "app/model/AppModel.h"
#include "app/model/Applier.h"
#include "app/model/ModelContext.h"
#include "app/model/RenameRecord.h"
#include "core/files/FileIdentity.h"
#include "core/files/ProcessedMarker.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace vesto {

/// Which rename a file had, wherever it stands now: told by its place, else by its mark and its identity.
/// Main thread; what touches files is done on the worker thread.
class RenamedFiles {
public:
    RenamedFiles(ModelContext& context, Applier& applier)
        : m_context(context)
        , m_applier(applier) {}

    using Found = Store::Result<std::optional<RenameRecord>>;
    using FoundDone = std::function<void(const Found&)>;

    /// The rename of the file at this path that may be undone, as if it had been done there; nothing where
    /// there is none. Where only its mark tells of the rename, the row has no id, and is not in the history.
    void find(const std::filesystem::path& file, FoundDone done);
    /// Undoes what `find` found, or any other row. The history follows the file once that has succeeded.
    void undo(const RenameRecord& found, AppModel::RecordDone done);

private:
    struct Look {
        std::filesystem::path realPath; // without links on the way
        std::optional<FileIdentity> identity;
        std::optional<ProcessedMarker::Marker> marker;
    };
    using Rows = std::vector<RenameRecord>;

    [[nodiscard]] static Look lookAt(const std::filesystem::path& file, Disk& disk);
    [[nodiscard]] Found rowAt(const std::filesystem::path& file, const Look& look);
    void findByMark(const std::filesystem::path& file, const Look& look, FoundDone done);
    [[nodiscard]] Store::Result<Rows> rowsByMark(const FileIdentity& identity,
                                                 const ProcessedMarker::Marker& marker);
    void undoUnrecorded(const RenameRecord& found, const AppModel::RecordDone& done);

    ModelContext& m_context;
    Applier& m_applier;
};

} // namespace vesto
