#include "bench/CrowdedFolder.h"
#include "core/files/FileEligibility.h"

#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace vesto {
namespace {

/// The two system calls that each check makes, and nothing else.
void bareCalls(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::filesystem::path& path : CrowdedFolder::shared().files) {
            struct statx status;
            const int found = ::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW,
                                      STATX_BASIC_STATS | STATX_BTIME, &status);
            VESTO_ASSERT(found == 0 && S_ISREG(status.stx_mode));
            benchmark::DoNotOptimize(::lgetxattr(path.c_str(), "user.com.vesto.processed", nullptr, 0));
        }
    }
}

void check(benchmark::State& state, const FileEligibility::Options& options) {
    for (auto _ : state) {
        std::size_t eligible = 0;
        for (const std::filesystem::path& path : CrowdedFolder::shared().files)
            eligible += FileEligibility::check(path, options).has_value() ? 0U : 1U;
        VESTO_ASSERT(eligible ==
                     (options.genericOnly ? CrowdedFolder::fileCount / 2 : CrowdedFolder::fileCount));
    }
}

void checkAll(benchmark::State& state) {
    check(state, {});
}

void checkGenericOnly(benchmark::State& state) {
    FileEligibility::Options options;
    options.genericOnly = true;
    check(state, options);
}

BENCHMARK(bareCalls)->Name("eligibility/bareCalls")->Unit(benchmark::kMillisecond);
BENCHMARK(checkAll)->Name("eligibility/check")->Unit(benchmark::kMillisecond);
BENCHMARK(checkGenericOnly)->Name("eligibility/genericOnly")->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vesto
