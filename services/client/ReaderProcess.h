#pragma once
#include "core/support/UniqueFd.h"
#include "services/ipc/Question.h"

#include <sys/types.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// Why the reader service does not run.
enum class ReaderStartFailure {
    programMissing, // not installed where it belongs
    notStarted,     // the system refused to start it
    noAnswer,       // it ended, said nothing, or speaks another version
    jailRefused,    // a part of the jail is not allowed here, by a container's filter for one
    noSeccomp,      // this kernel does not filter system calls: nothing can be read safely
};

/// For people, in French, without a capital; it goes behind «Le lecteur isolé n'a pas pu démarrer : ».
[[nodiscard]] std::string_view messageOf(ReaderStartFailure failure);

/// Where `vesto-reader` is: beside the program that runs, else in ../libexec/vesto/ from there. Empty where
/// the system does not say where that program is (no /proc).
[[nodiscard]] std::filesystem::path readerProgram();

/// One running reader service. Thread-safe. The last owner ends it.
class ReaderProcess {
public:
    /// `arguments` (without the program's own name) are for tests.
    [[nodiscard]] static std::expected<std::shared_ptr<ReaderProcess>, ReaderStartFailure>
    start(const std::filesystem::path& program, const std::vector<std::string>& arguments);

    ~ReaderProcess();
    ReaderProcess(const ReaderProcess&) = delete;
    ReaderProcess& operator=(const ReaderProcess&) = delete;

    [[nodiscard]] int socket() const { return m_socket.get(); }
    [[nodiscard]] ipc::Jail jail() const { return m_jail; }
    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// Whether it has closed its end, at the latest after `timeout`: it is dead or leaves.
    [[nodiscard]] bool isGone(std::chrono::milliseconds timeout) const;

    /// Whether a process that is gone left of its own accord, having been idle.
    [[nodiscard]] bool leftIdle() const;

private:
    ReaderProcess(UniqueFd socket, UniqueFd process, pid_t pid)
        : m_socket(std::move(socket))
        , m_process(std::move(process))
        , m_pid(pid) {}

    UniqueFd m_socket;
    UniqueFd m_process; // a pidfd
    pid_t m_pid;
    ipc::Jail m_jail = ipc::Jail::none;
};

} // namespace vesto
