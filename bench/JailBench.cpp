#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/LocalReader.h"
#include "core/support/Assert.h"
#include "core/support/UniqueFd.h"
#include "services/client/RemoteReader.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vesto {
namespace {

/// An empty text file below TMPDIR, open for reading.
class EmptyFile {
public:
    EmptyFile() {
        std::string path = std::filesystem::temp_directory_path() / "vesto-bench-XXXXXX";
        const UniqueFd made(::mkstemp(path.data()));
        m_file = UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        VESTO_ASSERT(m_file);
        ::unlink(path.c_str());
    }

    [[nodiscard]] ReadRequest request() const {
        return {.fd = m_file.get(), .path = "vide.txt", .type = {"public.plain-text"}, .bestDate = {}};
    }

private:
    UniqueFd m_file;
};

RemoteReader::Settings builtService() {
    RemoteReader::Settings settings;
    settings.program = VESTO_READER;
    return settings;
}

/// A line of /proc/PID/smaps_rollup, as "Pss" or "Private_Dirty", in MiB.
double memoryOf(pid_t process, std::string_view name) {
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string word; file >> word;) {
        if (word == std::string(name) + ':') {
            double kibibytes = 0;
            file >> kibibytes;
            return kibibytes / 1024;
        }
    }
    return 0;
}

void readAll(benchmark::State& state, ContentReading& reader) {
    const EmptyFile file;
    const SummarizerSettings settings({"fr-FR", "en-US"});
    VESTO_ASSERT(reader.read(file.request(), settings));
    for (auto _ : state)
        benchmark::DoNotOptimize(reader.read(file.request(), settings));
}

/// What reading costs without a jail.
void withoutJail(benchmark::State& state) {
    readers::LocalReader reader;
    readAll(state, reader);
}

/// With the service running: a fork, the jail, the way there and back. The difference to the one above is
/// what the jail costs. The memory is that of the service at rest, before any text was recognised.
void withJail(benchmark::State& state) {
    RemoteReader reader(builtService());
    readAll(state, reader);
    state.counters["service_pss_MiB"] = memoryOf(*reader.process(), "Pss");
    state.counters["service_private_MiB"] = memoryOf(*reader.process(), "Private_Dirty");
}

/// With a service to start for each file: what the first file of a run waits for.
void withNewService(benchmark::State& state) {
    const EmptyFile file;
    const SummarizerSettings settings({"fr-FR", "en-US"});
    for (auto _ : state) {
        RemoteReader reader(builtService());
        VESTO_ASSERT(reader.read(file.request(), settings));
    }
}

/// The service at rest with the recognition of text loaded: a picture is asked for that is none.
void atRestAfterRecognition(benchmark::State& state) {
    RemoteReader reader(builtService());
    const EmptyFile file;
    const SummarizerSettings settings({"fr-FR", "en-US"});
    ReadRequest request = file.request();
    request.route = Route::image;
    for (auto _ : state)
        benchmark::DoNotOptimize(reader.read(request, settings));
    state.counters["service_pss_MiB"] = memoryOf(*reader.process(), "Pss");
    state.counters["service_private_MiB"] = memoryOf(*reader.process(), "Private_Dirty");
}

BENCHMARK(withoutJail)->Name("jail/without")->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(withJail)->Name("jail/warm")->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(withNewService)->Name("jail/start")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(atRestAfterRecognition)->Name("jail/recognition")->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
} // namespace vesto
