#pragma once
#include "app/model/Applier.h"
#include "app/model/BatchDesk.h"
#include "app/model/FileTasks.h"
#include "app/model/FolderSet.h"
#include "app/model/ModelContext.h"
#include "app/model/ProposalList.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_set>
#include <variant>
#include <vector>

namespace vesto {

/// Names files strictly one after the other, in the order they came: those that watchers report, those of a
/// batch, those that the user asks for. Main thread; what touches files is done on the worker threads, and
/// whatever comes back finds the job that it belongs to by its serial number.
class JobLoop {
public:
    JobLoop(ModelContext& context, FolderSet& folders, ProposalList& proposals, Applier& applier,
            BatchDesk& batches)
        : m_context(context)
        , m_folders(folders)
        , m_proposals(proposals)
        , m_applier(applier)
        , m_batches(batches) {}

    struct Watched {
        std::filesystem::path path;
        std::string folderID;
    };
    struct Existing {
        std::filesystem::path path;
        std::string batchID;
        bool retry = false; // asked for although an earlier pass left it out
    };
    struct Asked {
        NamingOrder order;
        std::function<void(const NamingAnswer&)> done;
    };
    using Job = std::variant<Watched, Existing, Asked>;

    /// A watched file that waits already is not queued again.
    void enqueue(Job job);

    [[nodiscard]] const std::optional<std::string>& processingName() const { return m_processingName; }
    [[nodiscard]] std::size_t count() const { return m_queue.size() + (m_current ? 1 : 0); }
    [[nodiscard]] const std::vector<UnreadableFile>& unreadable() const { return m_unreadable; }
    void forgetUnreadable(std::string_view folderID);
    /// Forgets those that are gone.
    void reviewUnreadable();

    /// Takes no new job; the one at hand is finished unless its file is still being waited for, or takes too
    /// long to read.
    void finish();
    /// Ends the job at hand as soon as it can be.
    void cancel();

private:
    using Outcome = std::expected<PipelineOutcome, SummarizerError>;

    struct Entry {
        Job job;
        std::optional<FileStabilizer::Look> look{}; // taken while it waited
        bool wasLookedAt = false;                   // or is not to be
    };
    struct Current {
        std::uint64_t serial = 0;
        Job job;
        std::optional<FileStabilizer::Look> look{};
        std::stop_source stop{};
        bool isWaiting = false;                // for its file to stand still
        std::optional<FileIdentity> taken{};   // in flight for this job
        std::optional<FileIdentity> settled{}; // the file that is to be named, as it stood still
    };

    void next();
    void begin();
    [[nodiscard]] FileEligibility::Options optionsOf(const WatchedFolder& folder) const;
    /// The rest of a job's road; see docs/architecture.md.
    void beginWatched(const Watched& job);
    void watchedExamined(const FileTasks::Examination& examination);
    void await(const FileEligibility::Options& options);
    [[nodiscard]] std::vector<FileTasks::EarlyLook> notLookedAt();
    void keepLooks(const std::vector<FileTasks::EarlyLook>& looks);
    void watchedSettled(const FileTasks::Settled& settled);
    void watchedNamed(const Outcome& outcome);
    void propose(const Watched& job, const WatchedFolder& folder, const Proposal& proposal);
    void beginExisting(const Existing& job);
    void existingExamined(const FileTasks::Examination& examination);
    void existingNamed(const Outcome& outcome);
    void askedExamined(const FileTasks::Examination& examination);
    void askedNamed(const Outcome& outcome);

    void runPipeline(NamingPipeline pipeline, void (JobLoop::*back)(const Outcome&));
    void examine(const FileEligibility::Options& options, bool skippedToo,
                 void (JobLoop::*back)(const FileTasks::Examination&));
    void markSkipped();
    void answer(const NamingAnswer& answer);
    void fruitless(FolderWatcher::Fruitless reason, std::optional<FileState> seen);
    void setProcessingName(std::optional<std::string> name);
    void end();

    [[nodiscard]] const std::filesystem::path& path() const;
    [[nodiscard]] std::string_view name() const;

    ModelContext& m_context;
    FolderSet& m_folders;
    ProposalList& m_proposals;
    Applier& m_applier;
    BatchDesk& m_batches;
    std::deque<Entry> m_queue;
    std::unordered_set<std::string> m_queuedPaths; // of watched jobs
    std::optional<Current> m_current;
    std::uint64_t m_lastSerial = 0;
    std::optional<std::string> m_processingName;
    std::vector<UnreadableFile> m_unreadable;
    bool m_isStarting = false; // in next()
    bool m_isFinishing = false;
};

} // namespace vesto
