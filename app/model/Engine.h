#pragma once
#include "app/model/ModelDesk.h"
#include "core/extraction/Summarizer.h"
#include "core/naming/FoundationNameGenerator.h"
#include "core/naming/TitleGenerating.h"
#include "core/support/Json.h"
#include "core/support/Locale.h"
#include "services/client/EngineLock.h"

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vesto {

/// The application's model with all it works with, for a program without windows: it serves orders (see
/// Commands) for a moment, or watches until it is told to stop. Main thread. It alone handles the files of
/// its store while it lives, since it has the lock.
class Engine {
public:
    struct Parts {
        Summarizer summarizer;
        std::shared_ptr<TitleGenerating> generator{};
        std::function<FoundationNameGenerator::Availability()> modelAvailability{};
        std::function<void(const std::optional<Locale>&)> prepareModel{}; // see AppModel
        std::function<std::shared_ptr<TitleGenerating>(const Locale&)> generatorIn{};
        // To other programs, while it watches:
        ModelDesk::Lend lendModel{};
        std::shared_ptr<RemoteTranscriber> speech{};
        Locale locale = Locale::user();
    };

    /// Opens the store; why that cannot be, in French.
    [[nodiscard]] static std::expected<std::unique_ptr<Engine>, std::string> open(EngineLock lock,
                                                                                  Parts parts);

    /// Finishes what was begun with files.
    ~Engine();
    Engine(const Engine&) = delete;

    /// Gives false where nobody hears of it any more.
    using OnEvent = std::function<bool(const Json&)>;

    /// Serves one order and gives the last event. Where an event is not heard, the rest of the order is
    /// dropped.
    Json ask(const Json& order, const OnEvent& onEvent);

    enum class WatchEnd {
        stopped, // by a signal or an order; all that was begun is finished
        unheard,
        noControl, // the control socket could not be opened
    };

    /// Watches the store's folders, `folders` added to them first, and serves the control socket. Events are
    /// objects with "event": "watching", "unwatched", "note", "started" (once each folder is watched, or has
    /// told why not), "paused", "processing", "proposed", "renamed", "undone", "error", "stopping".
    /// `prepareToStop` was called at the start of the program; it is called once.
    WatchEnd watch(const std::vector<std::filesystem::path>& folders, const OnEvent& onEvent);

    /// Keeps SIGINT, SIGTERM and SIGHUP for `watch`: before any thread is made. A broken pipe is no end
    /// either.
    static void prepareToStop();

private:
    class Impl;
    explicit Engine(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

} // namespace vesto
