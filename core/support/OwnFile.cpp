#include "core/support/OwnFile.h"

#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace vesto {
namespace {

namespace fs = std::filesystem;

/// False with errno where not all could be written and synced.
bool writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = ::write(fd, content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return ::fsync(fd) == 0;
}

void syncFolder(const fs::path& folder) {
    if (const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)); fd)
        static_cast<void>(::fsync(fd.get())); // the file stands either way
}

} // namespace

std::expected<std::string, int> readOwnFile(const fs::path& path, std::size_t maxBytes) {
    const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd)
        return std::unexpected(errno);
    std::string content(maxBytes + 1, '\0');
    std::size_t size = 0;
    while (size < content.size()) {
        const ssize_t read = ::read(fd.get(), content.data() + size, content.size() - size);
        if (read < 0 && errno == EINTR)
            continue;
        if (read < 0)
            return std::unexpected(errno);
        if (read == 0)
            break;
        size += static_cast<std::size_t>(read);
    }
    if (size > maxBytes)
        return std::unexpected(EFBIG);
    content.resize(size);
    return content;
}

std::expected<void, int> replaceOwnFile(const fs::path& path, std::string_view content) {
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    if (error)
        return std::unexpected(error.value());
    // A link, as of those who keep their settings elsewhere: the file that it leads to is replaced.
    const fs::path whole = fs::weakly_canonical(path, error);
    const fs::path target = error ? path : whole;

    std::string temporary = target.native() + ".XXXXXX";
    const UniqueFd fd(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!fd)
        return std::unexpected(errno);
    struct stat present{};
    if (::stat(target.c_str(), &present) == 0)
        static_cast<void>(::fchmod(fd.get(), present.st_mode & 0777));
    if (!writeAll(fd.get(), content) || ::rename(temporary.c_str(), target.c_str()) != 0) {
        const int number = errno;
        ::unlink(temporary.c_str());
        return std::unexpected(number);
    }
    syncFolder(target.parent_path());
    return {};
}

} // namespace vesto
