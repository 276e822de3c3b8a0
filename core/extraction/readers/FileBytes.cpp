#include "core/extraction/readers/FileBytes.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <limits>
#include <mutex>
#include <utility>

namespace vesto::readers {
namespace {

// What the signal handler may look at: no lock, no allocation, lives as long as the process.
struct GuardedMapping {
    std::atomic<bool> taken = false;
    std::atomic<bool> truncated = false;
    std::atomic<std::uintptr_t> begin = 0; // 0 where the slot guards nothing
    std::atomic<std::uintptr_t> end = 0;   // whole pages
};
constexpr std::size_t slotCount = 64;
constinit std::array<GuardedMapping, slotCount> guardedMappings;
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

struct sigaction previousAction; // written once, before the first mapping is guarded
std::uintptr_t pageSize = 4096;  // likewise

void passOn(int number, siginfo_t* info, void* context) {
    if ((previousAction.sa_flags & SA_SIGINFO) != 0) {
        previousAction.sa_sigaction(number, info, context);
    } else if (previousAction.sa_handler != SIG_DFL && previousAction.sa_handler != SIG_IGN) {
        previousAction.sa_handler(number);
    } else if (previousAction.sa_handler == SIG_DFL || info->si_code > 0) {
        // A fault that nobody handles ends the process, as it would have without us.
        struct sigaction standard = {};
        standard.sa_handler = SIG_DFL;
        ::sigaction(number, &standard, nullptr);
        ::raise(number); // comes once this handler returns
    }
}

void onBusError(int number, siginfo_t* info, void* context) {
    const int savedErrno = errno;
    bool handled = false;
    if (info->si_code == BUS_ADRERR) {
        const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
        for (GuardedMapping& mapping : guardedMappings) {
            const std::uintptr_t begin = mapping.begin.load(std::memory_order_acquire);
            if (begin == 0 || address < begin || address >= mapping.end.load(std::memory_order_acquire))
                continue;
            mapping.truncated.store(true, std::memory_order_release);
            // The bare call: a sanitizer's wrapper is not made for signal handlers.
            const long page = ::syscall(SYS_mmap, address & ~(pageSize - 1), pageSize, PROT_READ,
                                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
            handled = page != -1;
            break;
        }
    }
    if (!handled)
        passOn(number, info, context);
    errno = savedErrno;
}

bool installHandler() {
    static std::once_flag once;
    static bool installed = false;
    std::call_once(once, [] {
        pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        if (::sigaction(SIGBUS, nullptr, &previousAction) != 0)
            return;
        struct sigaction action = {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        ::sigemptyset(&action.sa_mask);
        installed = ::sigaction(SIGBUS, &action, nullptr) == 0;
    });
    return installed;
}

// The slot that guards the mapping from now on, or -1 where none is free.
int guard(void* address, std::size_t size) {
    if (!installHandler())
        return -1;
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    for (std::size_t index = 0; index < slotCount; ++index) {
        GuardedMapping& mapping = guardedMappings[index];
        if (mapping.taken.exchange(true, std::memory_order_acquire))
            continue;
        mapping.truncated.store(false, std::memory_order_relaxed);
        mapping.end.store(begin + (size + pageSize - 1) / pageSize * pageSize, std::memory_order_relaxed);
        mapping.begin.store(begin, std::memory_order_release);
        return static_cast<int>(index);
    }
    return -1;
}

void unguard(int slot) {
    GuardedMapping& mapping = guardedMappings[static_cast<std::size_t>(slot)];
    mapping.begin.store(0, std::memory_order_release);
    mapping.taken.store(false, std::memory_order_release);
}

} // namespace

std::optional<FileBytes> FileBytes::map(int fd, std::uint64_t maxBytes) {
    struct stat status = {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0)
        return std::nullopt;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > maxBytes || size > std::numeric_limits<std::size_t>::max() / 2)
        return std::nullopt;
    FileBytes bytes;
    bytes.m_fd = fd;
    bytes.m_size = static_cast<std::size_t>(size);
    if (bytes.m_size == 0)
        return bytes;
    void* address = ::mmap(nullptr, bytes.m_size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address != MAP_FAILED) {
        bytes.m_address = address;
        bytes.m_slot = guard(address, bytes.m_size);
        if (bytes.m_slot >= 0)
            return bytes;
        ::munmap(std::exchange(bytes.m_address, nullptr), bytes.m_size);
    }
    // More mappings than slots, or a file system that maps nothing (some on FUSE).
    if (!bytes.readCopy())
        return std::nullopt;
    return bytes;
}

bool FileBytes::readCopy() {
    void* address = ::mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (address == MAP_FAILED)
        return false;
    m_address = address;
    std::size_t done = 0;
    while (done < m_size) {
        const ssize_t count =
            ::pread(m_fd, static_cast<char*>(address) + done, m_size - done, static_cast<off_t>(done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        if (count == 0) {
            m_shortCopy = true;
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool FileBytes::wasTruncated() const {
    if (m_shortCopy)
        return true;
    if (m_slot >= 0 &&
        guardedMappings[static_cast<std::size_t>(m_slot)].truncated.load(std::memory_order_acquire))
        return true;
    // A cut inside the last page raises no signal: its rest reads as zeros.
    struct stat status = {};
    return m_fd >= 0 && ::fstat(m_fd, &status) == 0 && static_cast<std::uint64_t>(status.st_size) < m_size;
}

void FileBytes::release() noexcept {
    if (m_address != nullptr)
        ::munmap(m_address, m_size);
    if (m_slot >= 0)
        unguard(m_slot); // after unmapping: until then a fault of ours stays ours
    m_address = nullptr;
    m_slot = -1;
}

FileBytes::FileBytes(FileBytes&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1))
    , m_address(std::exchange(other.m_address, nullptr))
    , m_size(std::exchange(other.m_size, 0))
    , m_slot(std::exchange(other.m_slot, -1))
    , m_shortCopy(other.m_shortCopy) {}

FileBytes& FileBytes::operator=(FileBytes&& other) noexcept {
    if (this != &other) {
        release();
        m_fd = std::exchange(other.m_fd, -1);
        m_address = std::exchange(other.m_address, nullptr);
        m_size = std::exchange(other.m_size, 0);
        m_slot = std::exchange(other.m_slot, -1);
        m_shortCopy = other.m_shortCopy;
    }
    return *this;
}

FileBytes::~FileBytes() {
    release();
}

} // namespace vesto::readers
