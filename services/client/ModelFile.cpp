#include "services/client/ModelFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>
#include <limits>
#include <string>

namespace vesto {
namespace {

std::int64_t nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

} // namespace

std::optional<ModelFile> openModelFile(const std::filesystem::path& path) {
    if (path.empty())
        return std::nullopt;
    // Without waiting for the other end of a pipe.
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status{};
    if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return ModelFile{std::move(fd),
                     {.device = static_cast<std::uint64_t>(status.st_dev),
                      .inode = static_cast<std::uint64_t>(status.st_ino),
                      .bytes = static_cast<std::uint64_t>(status.st_size),
                      .modified = nanoseconds(status.st_mtim),
                      .changed = nanoseconds(status.st_ctim)}};
}

std::uint64_t availableMemory() {
    std::ifstream file("/proc/meminfo");
    std::string word;
    std::uint64_t kibibytes = 0;
    while (file >> word)
        if (word == "MemAvailable:" && file >> kibibytes)
            return kibibytes * 1024;
    return std::numeric_limits<std::uint64_t>::max();
}

std::uint64_t memoryForModel(std::uint64_t fileBytes) {
    return fileBytes + fileBytes / 4 + (std::uint64_t{256} << 20);
}

} // namespace vesto
