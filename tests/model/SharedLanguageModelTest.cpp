#include "services/client/SharedLanguageModel.h"

#include "services/client/ControlSocket.h"
#include "services/ipc/Packet.h"
#include "tests/model/engine/Files.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <future>
#include <thread>

namespace vesto::tests {
namespace {

using namespace std::chrono_literals;
using Availability = LanguageModel::Availability;
using Code = LanguageModel::Failure::Code;

/// An engine that answers every title as it is told to, on a thread of its own.
class ScriptedEngine {
public:
    enum class Way { title, failure, refusal, nonsense, silence, leaves };

    ScriptedEngine(const std::filesystem::path& folder, Way way)
        : m_folder(folder)
        , m_way(way)
        , m_lock(*EngineLock::take(folder))
        , m_listener(*ControlListener::open(m_lock))
        , m_thread([this](const std::stop_token& stop) { serve(stop); }) {}

    std::atomic<int> asked = 0;   // for a title
    std::atomic<int> hangUps = 0; // in the middle of one

private:
    void serve(const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            if (!ipc::waitReadable(m_listener.socket(), 5ms))
                continue;
            ControlPeer peer(m_listener.accept(), ipc::maxControlRequest);
            static_cast<void>(
                peer.send(Json{{"protocol", ipc::controlProtocol}, {"lock", lockToken(m_folder)}}));
            Json order;
            while (!stop.stop_requested()) {
                const auto received = peer.receive(order);
                if (received == ControlPeer::Received::over ||
                    (received == ControlPeer::Received::message && !answer(peer, order)))
                    break;
                static_cast<void>(ipc::waitReadable(peer.socket(), 5ms));
            }
        }
    }

    /// False: hangs up.
    bool answer(ControlPeer& peer, const Json& order) {
        const auto tell = [&](const Json& line) {
            return peer.send(Json{{"line", line}}) && peer.send(Json{{"end", {{"done", true}}}});
        };
        if (order.value("verb", "") == "model") {
            lent::State state{.availability = Availability::available};
            state.facts.languages = {"fr"};
            return tell(lent::recordOf(state));
        }
        const auto request = lent::requestIn(order);
        ++asked;
        switch (m_way) {
        case Way::title:
            return tell(lent::recordOf(lent::Answer{.title = ProposedName{"Titre de " + request->prompt},
                                                    .written = {.tokens = 5}}));
        case Way::failure:
            return tell(lent::recordOf(
                lent::Answer{.title = std::unexpected(LanguageModel::Failure{Code::busy, "others"})}));
        case Way::refusal:
            return peer.send(Json{{"end", {{"done", false}}}});
        case Way::nonsense:
            return tell(Json{{"title", 7}});
        case Way::leaves:
            return false;
        case Way::silence:
            break;
        }
        // Until the asker gives up.
        Json ignored;
        while (peer.receive(ignored) != ControlPeer::Received::over)
            static_cast<void>(ipc::waitReadable(peer.socket(), 5ms));
        ++hangUps;
        return false;
    }

    std::filesystem::path m_folder;
    Way m_way;
    EngineLock m_lock;
    ControlListener m_listener;
    std::jthread m_thread;
};

/// Whose own model is none: what comes of that is "(engine)".
struct Asker {
    explicit Asker(const std::filesystem::path& folder)
        : model(folder, folder / "a.gguf", [this] {
            ++owns;
            return std::make_shared<RemoteLanguageModel>(RemoteLanguageModel::Settings{.model = {}});
        }) {}

    std::string title(std::stop_token stop = {}) {
        const auto answer =
            model.respond({.instructions = "Tu nommes.", .prompt = "relevé"}, std::move(stop));
        if (answer)
            return answer->title;
        return answer.error().code == Code::engine      ? "(engine)"
               : answer.error().code == Code::busy      ? "(busy)"
               : answer.error().code == Code::cancelled ? "(cancelled)"
                                                        : "(other)";
    }

    int owns = 0;
    SharedLanguageModel model;
};

TEST(SharedLanguageModelThreads, AsksTheEngineAndDoesWithoutWhereThatHasNoAnswer) {
    using Way = ScriptedEngine::Way;
    struct Row {
        Way way;
        std::string title;
        int owns;
    };
    for (const Row& row : {Row{Way::title, "Titre de relevé", 0}, Row{Way::failure, "(busy)", 0},
                           Row{Way::refusal, "(engine)", 1}, Row{Way::nonsense, "(engine)", 1},
                           Row{Way::leaves, "(engine)", 1}}) {
        SCOPED_TRACE(static_cast<int>(row.way));
        const Folder folder;
        Asker asker(folder.file("data"));
        {
            const ScriptedEngine engine(folder.file("data"), row.way);
            EXPECT_EQ(asker.model.availability(), Availability::available);
            EXPECT_TRUE(asker.model.supportsLanguage("fr_FR"));
            EXPECT_FALSE(asker.model.supportsLanguage("de"));
            asker.model.settle(1s);
            EXPECT_EQ(asker.title(), row.title);
            EXPECT_EQ(asker.owns, row.owns);
            EXPECT_EQ(asker.model.facts().lastTokens, row.way == Way::title ? 5U : 0U);
        }
        // Without the engine it has one of its own, and stays with that.
        EXPECT_EQ(asker.title(), "(engine)");
        EXPECT_EQ(asker.model.availability(), Availability::unavailable);
        const ScriptedEngine another(folder.file("data"), Way::title);
        EXPECT_EQ(asker.title(), "(engine)");
        EXPECT_EQ(asker.owns, 1);
    }
}

TEST(SharedLanguageModelThreads, StoppingHangsUp) {
    const Folder folder;
    const ScriptedEngine engine(folder.file("data"), ScriptedEngine::Way::silence);
    Asker asker(folder.file("data"));
    for (const bool isAsked : {false, true}) {
        std::stop_source stop;
        const int before = engine.asked;
        auto title = std::async([&] { return asker.title(stop.get_token()); });
        for (int i = 0; isAsked && i < 12'000 && engine.asked == before; ++i)
            std::this_thread::sleep_for(5ms);
        stop.request_stop();
        EXPECT_EQ(title.get(), "(cancelled)");
    }
    for (int i = 0; i < 12'000 && engine.hangUps == 0; ++i)
        std::this_thread::sleep_for(5ms);
    EXPECT_GT(engine.hangUps, 0);
    EXPECT_EQ(asker.owns, 0);
}

} // namespace
} // namespace vesto::tests
