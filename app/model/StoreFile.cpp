#include "app/model/StoreFile.h"

#include "core/files/Disk.h"
#include "core/files/FileName.h"
#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vesto::StoreFile {
namespace {

using std::filesystem::path;

constexpr std::array<std::string_view, 2> journals{"-wal", "-journal"};

path with(const path& file, std::string_view ending) {
    return file.native() + std::string(ending);
}

bool makeFolders(const path& folder) {
    if (folder.empty() || ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST)
        return true;
    if (errno != ENOENT || folderOf(folder) == folder || !makeFolders(folderOf(folder)))
        return false;
    return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

/// Fills `buffer` from `fd`; fewer bytes at the end only, -1 with errno for an error.
ssize_t readFully(int fd, std::vector<char>& buffer) {
    std::size_t size = 0;
    while (size < buffer.size()) {
        const ssize_t read = ::read(fd, buffer.data() + size, buffer.size() - size);
        if (read < 0 && errno == EINTR)
            continue;
        if (read < 0)
            return -1;
        if (read == 0)
            break;
        size += static_cast<std::size_t>(read);
    }
    return static_cast<ssize_t>(size);
}

bool writeFully(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

constexpr std::size_t chunk = 1U << 18U; // bytes

/// Whether both are missing, or both hold the same bytes.
bool areSame(const path& left, const path& right) {
    const UniqueFd first(::open(left.c_str(), O_RDONLY | O_CLOEXEC));
    const bool firstIsMissing = !first && errno == ENOENT;
    const UniqueFd second(::open(right.c_str(), O_RDONLY | O_CLOEXEC));
    const bool secondIsMissing = !second && errno == ENOENT;
    if (!first || !second)
        return firstIsMissing && secondIsMissing;
    std::vector<char> firstBytes(chunk);
    std::vector<char> secondBytes(chunk);
    for (;;) {
        const ssize_t size = readFully(first.get(), firstBytes);
        if (size < 0 || size != readFully(second.get(), secondBytes))
            return false;
        if (!std::equal(firstBytes.begin(), firstBytes.begin() + size, secondBytes.begin()))
            return false;
        if (size == 0)
            return true;
    }
}

bool isSameStore(const path& file, const path& copy) {
    return areSame(file, copy) && std::ranges::all_of(journals, [&](auto ending) {
               return areSame(with(file, ending), with(copy, ending));
           });
}

/// 0, or the error's number; then nothing of the copy is left. EEXIST where the name is taken.
int copyTo(const path& from, const path& to) {
    const UniqueFd source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    if (!source)
        return errno;
    const UniqueFd target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!target)
        return errno;
    std::vector<char> buffer(chunk);
    ssize_t size = 0;
    while ((size = readFully(source.get(), buffer)) > 0)
        if (!writeFully(target.get(), {buffer.data(), static_cast<std::size_t>(size)}))
            break;
    if (size == 0 && ::fsync(target.get()) == 0)
        return 0;
    const int number = errno;
    ::unlink(to.c_str());
    return number;
}

/// 0, ENOENT where there is nothing to copy, or another error's number; then nothing of the copy is left.
int copyStore(const path& file, const path& copy) {
    std::vector<path> made;
    int failure = ENOENT;
    for (const std::string_view ending : {std::string_view(), journals[0], journals[1]}) {
        const int number = copyTo(with(file, ending), with(copy, ending));
        if (number == ENOENT)
            continue;
        failure = number;
        if (number != 0)
            break;
        made.push_back(with(copy, ending));
    }
    if (failure != 0)
        for (const path& part : made)
            ::unlink(part.c_str());
    return failure;
}

} // namespace

std::expected<Presence, int> look(const path& file) {
    // The journals first: one that stands alone was so before the file was looked for.
    bool hasChanges = false;
    struct stat status{};
    for (const std::string_view ending : journals)
        hasChanges = hasChanges || (::stat(with(file, ending).c_str(), &status) == 0 && status.st_size > 0);
    if (::stat(file.c_str(), &status) == 0)
        return Presence::present;
    if (errno != ENOENT)
        return std::unexpected(errno);
    return hasChanges ? Presence::incomplete : Presence::missing;
}

std::expected<path, int> makeBeside(const path& file) {
    if (!makeFolders(folderOf(file)))
        return std::unexpected(errno);
    std::string name = file.native() + ".XXXXXX";
    const UniqueFd fd(::mkostemp(name.data(), O_CLOEXEC));
    if (!fd)
        return std::unexpected(errno);
    return name;
}

std::expected<void, int> putInPlace(const path& made, const path& file) {
    Disk& disk = systemDisk();
    if (const UniqueFd fd(::open(made.c_str(), O_RDONLY | O_CLOEXEC)); !fd || ::fsync(fd.get()) != 0) {
        const int number = errno;
        ::unlink(made.c_str());
        return std::unexpected(number);
    }
    auto placed = disk.renameExclusively(made, file);
    if (!placed && (placed.error() == EINVAL || placed.error() == ENOSYS))
        placed = disk.link(made, file);
    ::unlink(made.c_str());
    if (!placed && placed.error() != EEXIST)
        return placed;
    (void)disk.syncFolder(folderOf(file)); // the file stands either way
    return {};
}

void discard(const path& made) {
    for (const std::string_view ending : {"", "-wal", "-shm", "-journal"})
        ::unlink(with(made, ending).c_str());
}

void makePrivate(const path& file) {
    for (const std::string_view ending : {"", "-wal", "-shm", "-journal"}) {
        const path part = with(file, ending);
        struct stat status{};
        if (::stat(part.c_str(), &status) == 0 && (status.st_mode & 077) != 0)
            (void)::chmod(part.c_str(), 0600);
    }
}

std::expected<path, int> copyAside(const path& file) {
    constexpr int lastNumber = 999;
    for (int number = 1; number <= lastNumber; ++number) {
        path copy = file.native() + fmt::format(".copie-{}", number);
        if (isSameStore(file, copy))
            return copy;
        const int failure = copyStore(file, copy);
        if (failure == 0) {
            (void)systemDisk().syncFolder(folderOf(file));
            return copy;
        }
        if (failure != EEXIST)
            return std::unexpected(failure);
    }
    return std::unexpected(EEXIST);
}

} // namespace vesto::StoreFile
