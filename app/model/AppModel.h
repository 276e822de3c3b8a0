#pragma once
#include "app/model/Batch.h"
#include "app/model/FolderCheck.h"
#include "app/model/Notifier.h"
#include "app/model/PendingProposal.h"
#include "app/model/RenameRecord.h"
#include "app/model/Settings.h"
#include "app/model/Store.h"
#include "app/model/WatchedFolder.h"
#include "core/extraction/Summarizer.h"
#include "core/files/Disk.h"
#include "core/files/FileEligibility.h"
#include "core/files/FileStabilizer.h"
#include "core/files/RenameError.h"
#include "core/naming/FoundationNameGenerator.h"
#include "core/naming/NameTemplate.h"
#include "core/naming/Proposal.h"
#include "core/naming/TitleGenerating.h"
#include "core/support/Clock.h"
#include "core/support/Locale.h"
#include "core/watch/FolderWatcher.h"

#include <QObject>
#include <chrono>
#include <cstddef>
#include <deque>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vesto {

class RenamedFiles;

/// A file that was read in vain as often as it makes sense.
struct UnreadableFile {
    std::string folderID;
    std::filesystem::path path;

    bool operator==(const UnreadableFile&) const = default;
};

/// How one file that the user names is to be named; what is missing comes from the settings.
struct NamingOrder {
    std::filesystem::path path;
    std::optional<NameTemplate> nameTemplate{};
    std::optional<Locale> locale{};        // of dates and of {kind}
    bool genericOnly = false;              // only where the name says nothing
    bool again = false;                    // also where it was handled before
    std::optional<double> minConfidence{}; // for the rename; below it the file stays as it is
    bool apply = true;                     // false: only tells the name
};

/// What came of it.
struct NamingAnswer {
    std::variant<PipelineOutcome, FileEligibility::Rejection, SummarizerError> naming;
    /// Where a rename was tried: its row, or why there is none, in French.
    std::optional<std::expected<RenameRecord, std::string>> rename{};
    std::optional<RenameError> error{}; // where it was tried on the disk and failed
    bool marked = true; // false: the mark is remembered elsewhere, since the file could not carry it
};

/// The application without its windows: watches folders, names what arrives there one file after the other,
/// keeps proposals for the user, renames, undoes, and writes down what it does before it does it.
///
/// Main thread only. No call here waits for a watched folder, which may be a share that hangs: orders return
/// at once, what came of them is told by the signals and, where an order takes one, by its `done`, which is
/// called once, later, on the main thread, and not at all once the model is gone. Orders name folders,
/// proposals and rows by their ids; what is no longer there is not an error but for what `lastError` says.
class AppModel final : public QObject {
    Q_OBJECT
public:
    /// What it works with. What is referred to must outlive the model.
    struct Dependencies {
        Store& store;
        const Settings& settings;
        Notifier& notifier;
        Summarizer summarizer;
        std::shared_ptr<TitleGenerating> generator{}; // null: titles come from the first usable lines
        /// Why `generator` cannot be used now; asked on the main thread before each file. Empty: it can.
        std::function<FoundationNameGenerator::Availability()> modelAvailability{};
        /// Lets what writes titles in a language get ready, `generator` where none is named; called on the
        /// main thread when watching starts, when a file that may be named begins to settle or is about to be
        /// read, and by `prepareModel`.
        std::function<void(const std::optional<Locale>&)> prepareModel{};
        /// What writes titles in a language and now gets ready to; null where nothing does. Asked on the main
        /// thread for an order that names its language. Empty: `generator` writes them.
        std::function<std::shared_ptr<TitleGenerating>(const Locale&)> generatorIn{};
        Locale locale = Locale::user();
        FileStabilizer stabilizer{};
        std::chrono::milliseconds rescanInterval = std::chrono::seconds(30); // and of looks for lost folders
        /// After which a disk that does not answer is told of.
        std::chrono::milliseconds silenceLimit = std::chrono::seconds(20);
        /// How long `finish` lets a file be read before it is left for the next start.
        std::chrono::milliseconds finishPatience = std::chrono::seconds(5);
        Disk& disk = systemDisk();
        const Clock& clock = systemClock();
    };

    enum class Watching {
        asSet, // every enabled folder, unless paused
        none,  // orders only
    };

    using Done = std::function<void()>;
    using RecordDone = std::function<void(const std::expected<RenameRecord, std::string>&)>;
    using FolderDone = std::function<void(const std::optional<WatchedFolder>&, // nothing: was not added
                                          const std::vector<FolderNote>&)>;

    explicit AppModel(Dependencies dependencies, QObject* parent = nullptr);

    /// Ends what waits or reads; renames that were begun are finished and written down, or left to the next
    /// start as rows that are "pending". What hangs on a disk is left to itself.
    ~AppModel() override;
    AppModel(const AppModel&) = delete;

    /// Once: settles what an earlier run left behind, takes up what waits for the user, watches. `ready`: of
    /// all that, only the watching is perhaps still to begin; orders make sense from here on.
    void start(Watching watching = Watching::asSet, Done ready = {});

    /// Watches no more, forgets the queue (the next start finds those files again), lets the file at hand be
    /// finished unless it is still being waited for or takes too long; then `done`, at the latest when a disk
    /// has not answered for a while.
    void finish(Done done);

    // ---- The state ----

    [[nodiscard]] const std::deque<PendingProposal>& pending() const; // newest first
    [[nodiscard]] const std::optional<std::string>& processingName() const;
    [[nodiscard]] std::size_t jobCount() const; // that wait or run
    [[nodiscard]] const Batch* batch() const;   // null: none
    [[nodiscard]] const FoundationNameGenerator::Availability& modelStatus() const;
    [[nodiscard]] const std::optional<std::string>& lastError() const; // in French
    [[nodiscard]] bool paused() const;
    /// Whether what an earlier run left behind is settled and taken up.
    [[nodiscard]] bool isReady() const;
    [[nodiscard]] const std::vector<WatchedFolder>& folders() const; // in the order they were added
    [[nodiscard]] bool isWatching(std::string_view folderID) const;
    /// How changes in a folder are learnt; nothing where it is not watched.
    [[nodiscard]] std::optional<FolderWatcher::Mode> watchMode(std::string_view folderID) const;
    /// Why a folder that should be watched is not; nothing where it is, or where nothing is wrong.
    [[nodiscard]] std::optional<FolderTrouble> folderTrouble(std::string_view folderID) const;
    [[nodiscard]] const std::vector<UnreadableFile>& unreadable() const;
    /// To read the history from.
    [[nodiscard]] const Store& store() const;

    // ---- Folders ----

    void addFolder(const std::filesystem::path& path, FolderDone done = {});
    // False: it could not be stored; `lastError` says why. A folder stays as it was then.

    bool removeFolder(std::string_view folderID);
    bool setEnabled(std::string_view folderID, bool enabled);
    bool setAutomatic(std::string_view folderID, bool automatic);
    bool setPaused(bool paused); // which holds until the end of the program in any case

    // ---- Proposals and history ----

    void accept(std::string_view proposalID, RecordDone done = {});
    /// With the title that the user wrote instead.
    void accept(std::string_view proposalID, std::string_view title, RecordDone done = {});
    /// False where the proposal is no longer pending.
    bool reject(std::string_view proposalID);
    /// Those that are still pending.
    void rejectAll(const std::vector<std::string>& proposalIDs);
    void undo(std::string_view recordID, RecordDone done = {});
    /// Undoes by files, wherever they stand now.
    [[nodiscard]] RenamedFiles& renamedFiles();
    /// What the user did to a notification.
    void respond(const NotificationResponse& response);
    /// Names one file in its turn, also outside the watched folders.
    void name(NamingOrder order, std::function<void(const NamingAnswer&)> done);

    // ---- The files that a folder held already ----

    /// Replaces and cancels the batch that is there. Gives the id of the new one.
    std::string startBatch(const std::filesystem::path& folder);
    void analyseAlso(AlsoAnalyse which);
    void setItemTitle(std::string_view proposalID, std::string_view title);
    void setItemsSelected(const std::vector<std::string>& proposalIDs, bool selected);
    /// One item after the other, in their order; `done` after the last, also where the batch was closed
    /// meanwhile.
    void renameSelected(const Done& done = {});
    /// Undoes what is done of any batch, also an earlier one.
    void undoBatch(std::string_view batchID, const Done& done = {});
    void closeBatch();

    // ---- What a window wants to know of a folder, looked up without making it wait ----

    /// A file that is to be named.
    struct WantedName {
        std::filesystem::path file;
        std::string baseName;
        NamingPolicy policy{};
        std::size_t namesakes = 0; // files that get the same name before it
    };
    /// The base name for a title that the user wrote; nothing where it cleans to nothing.
    [[nodiscard]] std::optional<std::string> baseNameFor(std::string_view title,
                                                         const Proposal& proposal) const;
    /// The names that those files would get now, with the numbers of names that are taken.
    void lookUpNames(std::vector<WantedName> wanted,
                     std::function<void(const std::vector<std::string>&)> done);
    /// Which of those files are there.
    void lookUpFiles(std::vector<std::filesystem::path> files,
                     std::function<void(const std::vector<bool>&)> done);

    /// What the disk of a folder can do: see `checkDiskOf`.
    void checkDisk(std::filesystem::path folder, std::function<void(const std::vector<FolderNote>&)> done);

    // ---- The rest ----

    void refreshModelStatus();
    /// Soon there will be titles to write, in this language or the engine's own, which it tells.
    Locale prepareModel(const std::optional<Locale>& language = {});
    /// Says in French what went wrong beside the model, where its own errors are shown.
    void showError(std::string message);
    void clearLastError();
    /// To be called by who changed a setting, with what came of it: for all who show what follows from it, or
    /// as an error.
    void tellSettings(const std::expected<void, int>& saved);

Q_SIGNALS:
    void pendingChanged();
    void processingNameChanged();
    void batchChanged();
    void modelStatusChanged();
    void lastErrorChanged();
    void settingsChanged(); // by a window; another program's changes count as well, but nobody tells
    void pausedChanged();
    void foldersChanged(); // also what is watched and how
    void unreadableChanged();
    void historyChanged();
    void becameReady();

    // What happened, for who follows it.
    void proposed(const vesto::PendingProposal& pending);
    void renamed(const vesto::RenameRecord& record);
    void undone(const vesto::RenameRecord& record);
    void idle(); // the last job has ended

private:
    class Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace vesto
