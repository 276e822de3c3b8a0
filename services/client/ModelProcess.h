#pragma once
#include "services/client/ServiceProcess.h"
#include "services/ipc/ModelMessages.h"

#include <chrono>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

/// Where `vesto-model` is.
[[nodiscard]] std::filesystem::path modelProgram();

/// One running host of the language model, and what is said to it. Not thread-safe.
class ModelProcess {
public:
    enum class StartFailure {
        programMissing, // Vesto was built or installed without it
        notStarted,     // the system refused to start it, or it ended or was left without a word
        killed,         // by somebody, before its first word
        noJail,         // it could not be shut in
    };

    /// How to wait for the first word, or for a report.
    struct Patience {
        int bell = -1;                      // when it can be read from, `isCancelled` is asked
        std::function<bool()> isCancelled;  // once it says yes, the host is told to stop
        std::chrono::milliseconds longest;  // after which the host is taken to hang
        std::chrono::milliseconds windDown; // for a host that was told to stop
    };

    [[nodiscard]] static std::expected<ModelProcess, StartFailure>
    start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
          const Patience& patience);

    [[nodiscard]] const std::string& engine() const { return m_engine; }
    [[nodiscard]] const ServiceProcess& process() const { return m_process; }

    /// Gives an order, with a descriptor where that is not negative, and waits for its report. Nothing where
    /// the host is gone, hangs, or says what is no report of this order: it is of no more use then.
    template <typename Report>
    [[nodiscard]] std::optional<Report> give(const ipc::ModelOrder& order, int descriptor,
                                             const Patience& patience) {
        auto report = reportOf(order, descriptor, patience);
        auto* expected = report ? std::get_if<Report>(&*report) : nullptr;
        return expected != nullptr ? std::optional(std::move(*expected)) : std::nullopt;
    }

private:
    ModelProcess(ServiceProcess process, std::string engine)
        : m_process(std::move(process))
        , m_engine(std::move(engine)) {}

    [[nodiscard]] std::optional<ipc::ModelReport> reportOf(const ipc::ModelOrder& order, int descriptor,
                                                           const Patience& patience) const;

    ServiceProcess m_process;
    std::string m_engine;
};

} // namespace vesto
