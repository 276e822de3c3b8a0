#include "services/client/EngineLock.h"

#include "core/files/FileURL.h"
#include "core/support/Clock.h"
#include "core/support/Json.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <thread>

namespace vesto {
namespace {

namespace fs = std::filesystem;

constexpr const char* fileName = "engine.lock";
constexpr std::size_t maxNote = 16 * 1024; // bytes

std::string hostName() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : std::string();
}

std::optional<EngineNote> noteIn(int fd) {
    std::string content(maxNote, '\0');
    const ssize_t size = ::pread(fd, content.data(), content.size(), 0);
    if (size <= 0)
        return std::nullopt;
    content.resize(static_cast<std::size_t>(size));
    const auto record = parseJson(content);
    if (!record)
        return std::nullopt;
    const auto pid = integerMember(*record, "pid");
    auto host = stringMember(*record, "host");
    const auto url = stringMember(*record, "socket");
    auto socket = url ? pathOfFileURL(*url) : std::nullopt;
    if (!pid || *pid <= 0 || *pid > INT32_MAX || !host || !socket || !socket->is_absolute())
        return std::nullopt;
    return EngineNote{static_cast<pid_t>(*pid), *std::move(host), *std::move(socket)};
}

/// Readable by its user only where we make it.
std::expected<void, int> makeFolder(const fs::path& folder) {
    if (folder.empty() || folder.is_relative())
        return std::unexpected(ENOENT);
    std::error_code error;
    fs::create_directories(folder.parent_path(), error);
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return std::unexpected(errno);
    return {};
}

} // namespace

std::optional<EngineNote> engineNote(const fs::path& folder) {
    const UniqueFd file(::open((folder / fileName).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    auto note = file ? noteIn(file.get()) : std::nullopt;
    return note && note->host == hostName() ? std::move(note) : std::nullopt;
}

std::string lockToken(const fs::path& folder) {
    struct stat status{};
    if (::lstat((folder / fileName).c_str(), &status) != 0)
        return {};
    return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

std::expected<EngineLock, int> EngineLock::take(const fs::path& folder) {
    if (const auto made = makeFolder(folder); !made)
        return std::unexpected(made.error());
    UniqueFd file(::open((folder / fileName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file)
        return std::unexpected(errno);
    int result = 0;
    do
        result = ::flock(file.get(), LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    if (result != 0)
        return std::unexpected(errno);
    auto leftover = noteIn(file.get());
    if (::ftruncate(file.get(), 0) != 0)
        return std::unexpected(errno);
    if (leftover && leftover->host != hostName())
        leftover.reset(); // its socket is on another machine
    return EngineLock(std::move(file), folder, std::move(leftover));
}

std::expected<EngineLock, int>
EngineLock::await(const fs::path& folder, std::chrono::milliseconds timeout,
                  const std::function<bool(std::chrono::milliseconds)>& goesOn) {
    constexpr std::chrono::milliseconds step(50);
    const auto start = systemClock().sinceBoot();
    for (;;) {
        auto lock = take(folder);
        if (lock || lock.error() != EWOULDBLOCK)
            return lock;
        const auto waited =
            std::chrono::duration_cast<std::chrono::milliseconds>(systemClock().sinceBoot() - start);
        if (waited >= timeout || !goesOn(waited))
            return lock;
        std::this_thread::sleep_for(step);
    }
}

std::expected<void, int> EngineLock::announce(const fs::path& socket) const {
    Json record;
    record["pid"] = ::getpid();
    record["host"] = hostName();
    record["socket"] = fileURL(socket);
    const std::string content = writeJson(record) + '\n';
    // Whoever reads half of it reads no note, and looks again.
    const ssize_t written = ::pwrite(m_file.get(), content.data(), content.size(), 0);
    if (written != static_cast<ssize_t>(content.size()))
        return std::unexpected(written < 0 ? errno : ENOSPC);
    return {};
}

} // namespace vesto
