#include "services/client/ModelFile.h"
#include "services/model/Engine.h"
#include "services/model/Library.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

namespace vesto::tests {
namespace {

/// What comes of loading the model where this process may have so many bytes more of address space.
ipc::ModelOutcome outcomeWith(rlim_t bytes, int file) {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t most = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + bytes;
    const rlimit limit{most, most};
    model::Engine engine([] { return false; });
    return ::setrlimit(RLIMIT_AS, &limit) == 0 ? engine.load(file, false).outcome : ipc::ModelOutcome::engine;
}

TEST(Engine, ToldOfTooLittleMemoryItSaysSoAndDoesNotBlameTheFile) {
    ASSERT_TRUE(model::loadEngine());
    const auto file = openModelFile(std::string(VESTO_MODELS) + "/says.gguf");
    ASSERT_TRUE(file);
    struct Row {
        rlim_t bytes;
        ipc::ModelOutcome outcome;
    };
    for (const Row& row :
         {Row{rlim_t{1} << 30, ipc::ModelOutcome::done}, Row{0, ipc::ModelOutcome::noMemory}}) {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(static_cast<int>(outcomeWith(row.bytes, file->fd.get())));
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << status;
        EXPECT_EQ(static_cast<ipc::ModelOutcome>(WEXITSTATUS(status)), row.outcome) << row.bytes;
    }
}

} // namespace
} // namespace vesto::tests
