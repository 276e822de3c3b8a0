#include "core/naming/FoundationNameGenerator.h"
#include "core/naming/OnceGate.h"

#include <gtest/gtest.h>

#include <array>
#include <future>
#include <latch>
#include <semaphore>
#include <thread>
#include <vector>

namespace vesto {
namespace {

using namespace std::chrono_literals;
using Code = NameGenerationError::Code;

class HandClock : public Clock {
public:
    [[nodiscard]] Instant now() const override { return referenceDate; }
    [[nodiscard]] std::chrono::nanoseconds sinceBoot() const override { return time.load(); }
    std::atomic<std::chrono::nanoseconds> time{5h};
};

/// Answers when it is let, whatever it is asked meanwhile.
class SlowModel : public LanguageModel {
public:
    Availability availability() override { return Availability::available; }
    bool supportsLanguage(std::string_view) override { return true; }
    void prewarm(const std::string&) override {}
    std::expected<ProposedName, Failure> respond(const ModelRequest&, std::stop_token stop) override {
        const std::stop_callback told(stop, [this] { toldToStop.release(); });
        ++calls;
        started.release();
        finish.acquire();
        ++ended;
        return ProposedName{"Titre"};
    }

    std::counting_semaphore<> started{0};
    std::counting_semaphore<> toldToStop{0};
    std::counting_semaphore<> finish{0};
    std::atomic<int> calls{0};
    std::atomic<int> ended{0};
};

struct Bench {
    std::shared_ptr<SlowModel> model = std::make_shared<SlowModel>();
    HandClock clock;
    ActiveGeneration active;
    FoundationNameGenerator generator{model, Locale("fr"), 8s, clock, active};

    std::future<DeadlineRunner::Result> ask(std::stop_token stop = {}) {
        return std::async(std::launch::async,
                          [this, stop] { return generator.title(ContentSummary{}, stop); });
    }
    Code errorNow() { return generator.title(ContentSummary{}, {}).error().code; }

    /// Asks until the call that was left behind has wound down; its end has no other sign.
    std::string titleOnceFree() {
        model->finish.release();
        for (;;)
            if (const auto title = generator.title(ContentSummary{}, {}))
                return *title;
            else if (title.error().code != Code::busy)
                return "failed";
    }
};

TEST(FoundationNameGeneratorThreads, IsBusyUntilTheCallLeftBehindHasEnded) {
    Bench bench;
    auto late = bench.ask();
    bench.model->started.acquire();
    EXPECT_EQ(bench.errorNow(), Code::busy);
    bench.clock.time = 5h + 8s - 1ns;
    EXPECT_EQ(late.wait_for(300ms), std::future_status::timeout); // longer than the longest look away
    bench.clock.time = 5h + 8s;
    EXPECT_EQ(late.get().error().code, Code::timeout);
    bench.model->toldToStop.acquire();
    EXPECT_EQ(bench.errorNow(), Code::busy);
    EXPECT_EQ(bench.model->calls, 1);
    bench.model->finish.release();
    EXPECT_EQ(bench.titleOnceFree(), "Titre");
}

TEST(FoundationNameGeneratorThreads, ACancelledCallerLeavesAtOnce) {
    Bench bench;
    std::stop_source stop;
    auto cancelled = bench.ask(stop.get_token());
    bench.model->started.acquire();
    stop.request_stop();
    EXPECT_EQ(cancelled.get().error().code, Code::cancelled);
    bench.model->toldToStop.acquire();
    EXPECT_EQ(bench.errorNow(), Code::busy);
    bench.model->finish.release();
    EXPECT_EQ(bench.titleOnceFree(), "Titre");
}

TEST(FoundationNameGeneratorThreads, OneOfManyIsAdmittedThenTheNext) {
    Bench bench;
    constexpr int callers = 8;
    std::latch start(callers);
    std::atomic<int> busy = 0;
    std::atomic<int> titled = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < callers; ++i)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                const auto title = bench.generator.title(ContentSummary{}, {});
                if (title)
                    ++titled;
                else if (++busy == callers - 1)
                    bench.model->finish.release();
            });
    }
    EXPECT_EQ(titled, 1);
    EXPECT_EQ(busy, callers - 1);
    EXPECT_EQ(bench.model->calls, 1);
    // Who has a title may ask for the next one at once.
    bench.model->finish.release(50);
    for (int i = 0; i < 50; ++i)
        ASSERT_TRUE(bench.generator.title(ContentSummary{}, {}));
}

TEST(FoundationNameGeneratorThreads, AnEndWaitsForWhatWasLeftBehind) {
    const auto model = std::make_shared<SlowModel>();
    ActiveGeneration active;
    std::jthread letGo;
    {
        FoundationNameGenerator generator(model, Locale("fr"), 0s, systemClock(), active);
        EXPECT_EQ(generator.title(ContentSummary{}, {}).error().code, Code::timeout);
        letGo = std::jthread([&model] {
            model->toldToStop.acquire();
            model->finish.release();
        });
    }
    EXPECT_EQ(model->ended, 1);
    EXPECT_TRUE(active.begin());
}

TEST(OnceGateThreads, GivesTheFirstOfRacingDeliveries) {
    for (int round = 0; round < 300; ++round) {
        std::atomic<int> finished = 0;
        OnceGate<int> gate([&finished] { ++finished; });
        std::array<std::atomic<bool>, 3> counted{};
        std::latch start(4);
        int got = -1;
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < 3; ++i)
                threads.emplace_back([&, i] {
                    start.arrive_and_wait();
                    counted.at(static_cast<std::size_t>(i)) = gate.deliver(i);
                });
            start.arrive_and_wait();
            // In every other round the deadline races as well.
            got = gate.wait(round % 2 == 0 ? 0ns : systemClock().sinceBoot() + 1h, systemClock(), 3);
        }
        EXPECT_EQ(finished, 1);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(counted.at(static_cast<std::size_t>(i)), got == i);
    }
}

TEST(OnceGateThreads, KeepsWhatComesBeforeItsWaiter) {
    OnceGate<int> gate;
    EXPECT_TRUE(gate.deliver(1));
    EXPECT_FALSE(gate.deliver(2));
    EXPECT_EQ(gate.wait(0ns, systemClock(), 3), 1);
    EXPECT_FALSE(gate.deliver(4));
}

} // namespace
} // namespace vesto
