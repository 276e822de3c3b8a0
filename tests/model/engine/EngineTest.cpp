#include "services/model/Engine.h"

#include "services/client/ModelFile.h"
#include "services/model/Library.h"

#include <gtest/gtest.h>

#include <thread>

namespace vesto::tests {
namespace {

TEST(Engine, TakesNoMoreThreadsThanThereAreProcessors) {
    ASSERT_TRUE(model::loadEngine());
    model::Engine engine([] { return false; });
    const auto file = openModelFile(std::string(VESTO_MODELS) + "/says.gguf");
    ASSERT_TRUE(file);
    ASSERT_EQ(engine.load(file->fd.get(), false).outcome, ipc::ModelOutcome::done);
    const std::uint32_t all = std::thread::hardware_concurrency();
    for (const std::uint32_t threads : {1U, ipc::limits::threads}) {
        const auto warmed = engine.warm({.instructions = "Tu nommes.", .threads = {threads, threads}}, {});
        ASSERT_EQ(warmed.outcome, ipc::ModelOutcome::done);
        EXPECT_EQ(warmed.threads, (ipc::ModelThreads{std::min(threads, all), std::min(threads, all)}));
    }
}

} // namespace
} // namespace vesto::tests
