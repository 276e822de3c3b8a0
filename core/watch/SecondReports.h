#pragma once
#include "core/files/OfficeLock.h"
#include "core/watch/FolderWatcher.h"

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// Which names of a folder, whose files gave nothing, are to be reported once more. `fruitless` is for any
/// thread; all else is the watcher's alone, and looks at files without holding anybody up.
class SecondReports {
public:
    static constexpr int vainLimit = 5;

    explicit SecondReports(const std::filesystem::path& folder, bool (*programRuns)() = officeProgramRuns)
        : m_folder(folder)
        , m_officeProgramRuns(programRuns) {}

    /// As FolderWatcher::reportAgain. What it tells waits until `takeNews`.
    bool fruitless(std::string_view name, FolderWatcher::Fruitless reason, std::optional<FileState> seen);

    /// Whether there is a name that has to be reported now.
    [[nodiscard]] bool takeNews();

    /// An entry was closed by a writer; whether that may be reason to report it.
    bool closed(std::string_view name);
    bool movedOnto(std::string_view name);

    /// At each rescan, whose distance is what "still" means: two looks in a row that agree.
    void rescan();

    [[nodiscard]] bool isEmpty() const { return m_waiting.empty(); }

    /// Whether the name is to be reported now; it no longer waits then.
    [[nodiscard]] bool take(const std::string& name);

    /// A name that is reported as new waits for nothing.
    void forget(const std::string& name) { m_waiting.erase(name); }

    /// Forgets what is not in the folder any more; `names` is in order.
    void keepOnly(const std::vector<std::string>& names);

private:
    struct Waiting {
        FolderWatcher::Fruitless reason;
        std::optional<FileState> seen;
        std::optional<FileState> lastLook = std::nullopt; // at a rescan
        bool isDue = false;
        bool stoodStill = false;
        bool wasClosed = false;
        bool wasClosedBefore = false; // perhaps before `seen` was

        [[nodiscard]] bool differs(const FileState& state) const { return !seen || state != *seen; }
        [[nodiscard]] bool isUnrest() const {
            return reason == FolderWatcher::Fruitless::restless ||
                   reason == FolderWatcher::Fruitless::changed ||
                   reason == FolderWatcher::Fruitless::replaced;
        }
        /// Whether a report in vain counts: a close or a replacement amid unrest promised little.
        [[nodiscard]] bool isPromising() const { return !isUnrest() || stoodStill; }
    };
    struct Told {
        std::string name;
        Waiting waiting;
    };
    struct Tally {
        bool isAgain = false; // the last report had been given reason to hope
        int inVain = 0;
        int amidUnrest = 0; // reports that a close, a move or a replacement was reason for
    };

    [[nodiscard]] bool wasTouchedLately(std::string_view name) const;
    [[nodiscard]] bool comesToNoRest(std::string_view name);
    [[nodiscard]] Waiting* touched(std::string_view name);
    [[nodiscard]] std::optional<FileState> look(const std::string& name) const;
    [[nodiscard]] bool isDue(const std::string& name, Waiting& waiting) const;

    const std::filesystem::path& m_folder;
    bool (*m_officeProgramRuns)();

    std::mutex m_mutex; // guards the two below
    std::vector<Told> m_told;
    std::map<std::string, Tally, std::less<>> m_tallies;

    std::map<std::string, Waiting, std::less<>> m_waiting;
    // Closed or moved onto since the last rescan but one: a file may be finished between the look at it and
    // the news that it gave nothing.
    std::set<std::string, std::less<>> m_closedLately, m_closedEarlier;
};

} // namespace vesto
