#include "services/client/ModelFile.h"
#include "services/model/Engine.h"
#include "services/model/Library.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace vesto::tests {
namespace {

/// Leaves this process some memory in pieces, and none that would hold the tensors of a model.
void exhaustMemory() {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t most = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
    const rlimit limit{most, most};
    if (::setrlimit(RLIMIT_AS, &limit) == 0)
        while (std::malloc(128 << 10) != nullptr) {
        }
}

TEST(Engine, WantOfMemoryIsNotTheFilesFault) {
    ASSERT_TRUE(model::loadEngine());
    const auto file = openModelFile(std::string(VESTO_MODELS) + "/says.gguf");
    ASSERT_TRUE(file);
    for (const bool isExhausted : {false, true}) {
        const pid_t child = ::fork();
        if (child == 0) {
            if (isExhausted)
                exhaustMemory();
            model::Engine engine([] { return false; });
            ::_exit(static_cast<int>(engine.load(file->fd.get(), false).outcome));
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << status;
        EXPECT_EQ(static_cast<ipc::ModelOutcome>(WEXITSTATUS(status)),
                  isExhausted ? ipc::ModelOutcome::noMemory : ipc::ModelOutcome::done);
    }
}

} // namespace
} // namespace vesto::tests
