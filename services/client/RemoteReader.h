#pragma once
#include "core/extraction/ContentReading.h"
#include "core/support/Alarm.h"
#include "services/client/ReaderProcess.h"
#include "services/ipc/Answer.h"
#include "services/ipc/ReadingLimits.h"

#include <sys/types.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <semaphore>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace vesto {

/// Reads each file in a jailed process. The service is started when it is needed, again where it died, and
/// again after it left because nothing was asked. Whatever a file does to its reader (a crash, too long a
/// time, a malformed answer) makes this one file `unreadable`; so does a file with which the service died
/// twice. Thread-safe; at most `ipc::readingsAtOnce()` files are read side by side, further callers wait.
/// Owns one thread, which lets go of a service that has left.
class RemoteReader : public ContentReading {
public:
    struct Settings {
        std::filesystem::path program = readerProgram();
        std::vector<std::string> arguments{}; // of the program; for tests
        /// After this time the service has long stopped the reader, the second one as well where the first
        /// found recognition not loaded; it is hung itself and does not count.
        std::function<std::chrono::milliseconds(Route)> patience = [](Route route) {
            return 2 * ipc::limitsOf(route).time + ipc::slack;
        };
    };

    RemoteReader()
        : RemoteReader(Settings{}) {}
    explicit RemoteReader(Settings settings);
    ~RemoteReader() override;

    /// How well files are shut in, from the service that runs; starts it where none does. Worth a call before
    /// the first file: without it a service that cannot start shows only as files that are unreadable.
    [[nodiscard]] std::expected<ipc::Jail, ReaderStartFailure> start();

    [[nodiscard]] std::expected<Reading, SummarizerError> read(const ReadRequest& request,
                                                               const SummarizerSettings& settings) override;
    [[nodiscard]] std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override;

    /// The process of the service that runs now; nothing soon after it left.
    [[nodiscard]] std::optional<pid_t> process() const;

private:
    using Running = std::shared_ptr<ReaderProcess>;

    [[nodiscard]] std::expected<Running, ReaderStartFailure> running();
    [[nodiscard]] std::optional<ipc::Answer> ask(const ReadRequest& request, const ipc::Question& question);
    [[nodiscard]] std::optional<ipc::Answer> askOnce(const ReaderProcess& service, const ReadRequest& request,
                                                     std::string_view question) const;

    void letGoOfTheDead(const std::stop_token& stop);

    Settings m_settings;
    std::counting_semaphore<> m_places;
    mutable std::mutex m_mutex; // for the next two
    Running m_running;
    std::jthread m_undertaker; // from the first service on
    Alarm m_changed;           // rung for it
};

} // namespace vesto
