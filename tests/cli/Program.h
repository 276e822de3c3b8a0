#pragma once
#include "core/support/Json.h"

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::test {

/// What a run of the real `vesto` left behind.
struct RunResult {
    int status = -1; // the exit status; -1 where a signal ended it
    std::string out;
    std::string err;
};

/// Where runs of `vesto` keep their history and settings: the one that was made last, else one that all tests
/// of a process share. Gone at the end.
class Profile {
public:
    Profile();
    ~Profile();
    Profile(const Profile&) = delete;

    /// The folder of the history, as this user has it.
    [[nodiscard]] std::filesystem::path data() const;

private:
    std::filesystem::path m_path;
    std::filesystem::path m_before;
};

/// A `vesto` that runs beside the test, in the current profile; killed at the end unless it ended before.
class RunningVesto {
public:
    explicit RunningVesto(const std::vector<std::string>& words);
    ~RunningVesto();
    RunningVesto(const RunningVesto&) = delete;

    /// Whether it has printed this, at the latest after 40 seconds.
    [[nodiscard]] bool says(std::string_view text) const;
    [[nodiscard]] std::string out() const;
    /// Sends a signal and waits for the end; the exit status, -1 where a signal ended it.
    int end(int signal);
    /// Waits for it to end by itself.
    int wait() { return end(0); }
    [[nodiscard]] pid_t process() const { return m_process; }

private:
    std::string m_output;
    pid_t m_process = -1;
};

/// Runs `vesto` with these words and no locale in its environment; as another user and with another standard
/// output where one is given; `before` runs in its process ahead of it.
[[nodiscard]] RunResult runVesto(const std::vector<std::string>& words,
                                 std::optional<uid_t> user = std::nullopt, const char* output = nullptr,
                                 const std::function<void()>& before = {});

/// A folder of its own, on a disk that keeps user attributes; removed at the end.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// Writes a file and gives its path as a word of the command line.
    std::string write(std::string_view name, std::string_view content) const;

    /// The names in the folder, sorted.
    [[nodiscard]] std::vector<std::string> names() const;

private:
    std::filesystem::path m_path;
};

/// The objects that `--json` printed, one a line.
[[nodiscard]] std::vector<Json> objects(const std::string& out);

[[nodiscard]] std::string contentOf(const std::filesystem::path& path);

} // namespace vesto::test
