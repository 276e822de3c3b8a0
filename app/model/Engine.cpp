#include "app/model/Engine.h"

#include "app/model/AppModel.h"
#include "app/model/Commands.h"
#include "app/model/ControlServer.h"
#include "app/model/EndSignals.h"
#include "app/model/EngineWatch.h"
#include "app/model/QtLog.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <QCoreApplication>
#include <QEventLoop>
#include <array>
#include <utility>

namespace vesto {
namespace {

/// The one of the process.
QCoreApplication& application() {
    static int count = 1;
    static std::array<char, 6> name{"vesto"};
    static std::array<char*, 2> words{name.data(), nullptr};
    sendQtMessagesToLog();
    static QCoreApplication instance(count, words.data());
    return instance;
}

} // namespace

class Engine::Impl {
public:
    Impl(EngineLock taken, Store opened, Parts parts)
        : lendModel(std::move(parts.lendModel))
        , speech(std::move(parts.speech))
        , lock(std::move(taken))
        , store(std::move(opened))
        , model({.store = store,
                 .settings = settings,
                 .notifier = notifier,
                 .summarizer = std::move(parts.summarizer),
                 .generator = std::move(parts.generator),
                 .modelAvailability = std::move(parts.modelAvailability),
                 .prepareModel = std::move(parts.prepareModel),
                 .generatorIn = std::move(parts.generatorIn),
                 .locale = std::move(parts.locale)}) {}

    void start() {
        if (std::exchange(isStarted, true))
            return;
        QEventLoop loop;
        bool isReady = false;
        model.start(AppModel::Watching::none, [&] {
            isReady = true;
            loop.quit();
        });
        if (!isReady)
            loop.exec();
    }

    void finish() {
        if (!isStarted)
            return;
        QEventLoop loop;
        model.finish([&loop] { loop.quit(); });
        loop.exec();
    }

    ModelDesk::Lend lendModel;
    std::shared_ptr<RemoteTranscriber> speech;
    EngineLock lock;
    Store store;
    Settings settings;
    NullNotifier notifier;
    AppModel model;
    bool isStarted = false; // for orders; a watch starts and finishes the model itself
};

Engine::Engine(std::unique_ptr<Impl> impl)
    : m_impl(std::move(impl)) {}

Engine::~Engine() {
    m_impl->finish();
}

std::expected<std::unique_ptr<Engine>, std::string> Engine::open(EngineLock lock, Parts parts) {
    auto store = Store::open(lock.folder() / "history.sqlite");
    if (!store)
        return std::unexpected(fmt::format("{} {}", text("SwiftData :"), store.error().description));
    (void)application();
    return std::unique_ptr<Engine>(
        new Engine(std::make_unique<Impl>(std::move(lock), *std::move(store), std::move(parts))));
}

Json Engine::ask(const Json& order, const OnEvent& onEvent) {
    m_impl->start();
    QEventLoop loop;
    Json last;
    bool isHeard = true;
    Commands commands(m_impl->model, {});
    const auto request = commands.begin(order, [&](const Json& event) {
        if (member(event, "end") != nullptr)
            last = event;
        else if (isHeard)
            isHeard = onEvent(event);
        if (!last.is_null() || !isHeard)
            loop.quit();
    });
    if (last.is_null() && isHeard)
        loop.exec();
    if (last.is_null()) {
        request->cancel();
        last = Json{{"end", {{"done", false}}}};
    }
    return last;
}

Engine::WatchEnd Engine::watch(const std::vector<std::filesystem::path>& folders, const OnEvent& onEvent) {
    auto listener = ControlListener::open(m_impl->lock);
    if (!listener)
        return WatchEnd::noControl;
    EngineWatch watch(m_impl->model, onEvent);
    Commands commands(m_impl->model, [&watch] { watch.stop(); });
    commands.lendModel(m_impl->lendModel);
    commands.lendSpeech(m_impl->speech);
    const ControlServer server(
        *std::move(listener),
        Json{{"protocol", ipc::controlProtocol}, {"lock", lockToken(m_impl->lock.folder())}},
        [&](const Json& order, CommandRequest::Emit emit, UniqueFd attachment) {
            return commands.begin(order, std::move(emit), std::move(attachment));
        });
    return watch.run(folders) ? WatchEnd::stopped : WatchEnd::unheard;
}

void Engine::prepareToStop() {
    EndSignals::keep();
}

} // namespace vesto
