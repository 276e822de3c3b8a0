#include "core/files/FileEligibility.h"
#include "core/support/Assert.h"
#include "core/support/UniqueFd.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace vesto {
namespace {

constexpr std::size_t fileCount = 100'000;

/// A folder of 100,000 empty files that are all eligible, half of them under a generic name; so the check
/// takes every step for each. Made at first use below TMPDIR, removed when the program ends.
class CrowdedFolder {
public:
    static const std::vector<std::filesystem::path>& files() {
        static const CrowdedFolder folder;
        return folder.m_files;
    }

private:
    CrowdedFolder() {
        std::string folder = std::filesystem::temp_directory_path() / "vesto-bench-XXXXXX";
        VESTO_ASSERT(::mkdtemp(folder.data()) != nullptr);
        m_folder = folder;
        constexpr const char* extensions[] = {"pdf", "docx", "jpg", "txt", "xlsx"};
        m_files.reserve(fileCount);
        for (std::size_t number = 0; number < fileCount; ++number) {
            const char* extension = extensions[number % std::size(extensions)];
            m_files.push_back(
                m_folder / (number % 2 == 0
                                ? fmt::format("document ({}).{}", number, extension)
                                : fmt::format("Facture du puits {}, commune de Lège.{}", number, extension)));
            const UniqueFd file(
                ::open(m_files.back().c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
            VESTO_ASSERT(file.get() >= 0);
        }
    }
    ~CrowdedFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::filesystem::path m_folder;
    std::vector<std::filesystem::path> m_files;
};

/// The two system calls that each check makes, and nothing else.
void bareCalls(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::filesystem::path& path : CrowdedFolder::files()) {
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
        for (const std::filesystem::path& path : CrowdedFolder::files())
            eligible += FileEligibility::check(path, options).has_value() ? 0U : 1U;
        VESTO_ASSERT(eligible == (options.genericOnly ? fileCount / 2 : fileCount));
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
