#pragma once
#include "core/support/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// Where a service of ours is: beside the program that runs, else in ../libexec/vesto/ from there. Empty
/// where the system does not say where that program is (no /proc).
[[nodiscard]] std::filesystem::path serviceProgram(std::string_view name);

/// One running service, with a socket for packets to it. The owner ends it.
class ServiceProcess {
public:
    enum class Failure {
        programMissing, // not installed where it belongs
        notStarted,     // the system refused to start it
    };

    /// Starts the program with its end of the socket as descriptor 3, nothing else open, and of the
    /// environment what a service may know besides `environment` ("NAME=value"). It is started by this
    /// thread: where it asks the kernel to end with its parent, it ends with this thread.
    [[nodiscard]] static std::expected<ServiceProcess, Failure>
    start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
          std::vector<std::string> environment);

    ServiceProcess(ServiceProcess&&) noexcept = default;
    ServiceProcess& operator=(ServiceProcess&&) = delete;
    ~ServiceProcess();

    [[nodiscard]] int socket() const { return m_socket.get(); }
    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// Whether it has closed its end, at the latest after `timeout`: it is dead or leaves.
    [[nodiscard]] bool isGone(std::chrono::milliseconds timeout) const;

    enum class End {
        left,   // of its own accord, having been idle
        failed, // a crash, or an error that it ended with
        killed, // by somebody: a user, or the system for want of memory
    };
    /// How a process that is gone came to its end, at the latest after a second; nothing where it still runs.
    [[nodiscard]] std::optional<End> end() const;

private:
    ServiceProcess(UniqueFd socket, UniqueFd process, pid_t pid)
        : m_socket(std::move(socket))
        , m_process(std::move(process))
        , m_pid(pid) {}

    UniqueFd m_socket;
    UniqueFd m_process; // a pidfd
    pid_t m_pid;
};

} // namespace vesto
