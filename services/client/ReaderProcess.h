#pragma once
#include "services/client/ServiceProcess.h"
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

/// Where `vesto-reader` is.
[[nodiscard]] std::filesystem::path readerProgram();

/// One running reader service. Thread-safe. The last owner ends it.
class ReaderProcess {
public:
    /// `arguments` (without the program's own name) are for tests.
    [[nodiscard]] static std::expected<std::shared_ptr<ReaderProcess>, ReaderStartFailure>
    start(const std::filesystem::path& program, const std::vector<std::string>& arguments);

    [[nodiscard]] int socket() const { return m_process.socket(); }
    [[nodiscard]] ipc::Jail jail() const { return m_jail; }
    [[nodiscard]] pid_t pid() const { return m_process.pid(); }
    [[nodiscard]] bool isGone(std::chrono::milliseconds timeout) const { return m_process.isGone(timeout); }
    [[nodiscard]] bool leftIdle() const { return m_process.end() == ServiceProcess::End::left; }

private:
    explicit ReaderProcess(ServiceProcess process)
        : m_process(std::move(process)) {}

    ServiceProcess m_process;
    ipc::Jail m_jail = ipc::Jail::none;
};

} // namespace vesto
