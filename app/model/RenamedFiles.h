#pragma once
#include "app/model/AppModel.h"
#include "app/model/ModelContext.h"
#include "app/model/RenameRecord.h"
#include "core/files/FileIdentity.h"
#include "core/files/ProcessedMarker.h"

#include <QObject>
#include <filesystem>
#include <functional>
#include <optional>

namespace vesto {

/// Which rename a file had, wherever it stands now: told by its place, else by its mark and its identity.
/// Main thread; what touches files is done on the worker thread. A child of the model, which has one.
class RenamedFiles : public QObject {
public:
    explicit RenamedFiles(ModelContext& context)
        : QObject(&context.face())
        , m_context(context) {}

    [[nodiscard]] static RenamedFiles& of(AppModel& model);

    using FoundDone = std::function<void(const Store::Result<std::optional<RenameRecord>>&)>;

    /// The rename of the file at this path that may be undone; nothing where there is none. Where the file
    /// was moved since, its row now says so; where only its mark tells of the rename, the row has no id, and
    /// is not in the history.
    void find(const std::filesystem::path& file, FoundDone done);
    /// Undoes what `find` found, or any other row.
    void undo(const RenameRecord& found, AppModel::RecordDone done);

private:
    void undoUnrecorded(const RenameRecord& found, const AppModel::RecordDone& done);

    struct Look {
        std::filesystem::path realPath; // without links on the way
        std::optional<FileIdentity> identity;
        std::optional<ProcessedMarker::Marker> marker;
    };
    using Found = Store::Result<std::optional<RenameRecord>>;

    [[nodiscard]] static Look lookAt(const std::filesystem::path& file, Disk& disk);
    [[nodiscard]] Found found(const std::filesystem::path& file, const Look& look);
    [[nodiscard]] Found foundByMark(const FileIdentity& identity, const ProcessedMarker::Marker& marker);

    ModelContext& m_context;
};

} // namespace vesto
