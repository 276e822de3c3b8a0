#include "core/watch/FolderWatcher.h"

#include "core/support/Assert.h"
#include "core/watch/FolderWatch.h"

#include <mutex>
#include <utility>

namespace vesto {

bool isLocalFile(const std::filesystem::path&) {
    return true;
}

/// Hands out the watch that is running; the watches do the work.
class FolderWatcher::Impl {
public:
    explicit Impl(Settings settings)
        : m_settings(std::move(settings)) {
        VESTO_ASSERT(m_settings.rescanInterval > std::chrono::nanoseconds::zero());
    }

    std::expected<void, RenameError> start(Consumer consumer) {
        // A stop must get through while a watch that hangs on a dead disk is waited for.
        const std::unique_lock starting(m_starting, std::try_to_lock);
        const auto last = current();
        if (!starting || (last && last->isWatching()))
            return std::unexpected(RenameError(RenameError::Case::alreadyStarted));
        if (last) {
            last->join();
            m_placeholders = last->takePlaceholders();
        }
        const auto watch = std::make_shared<FolderWatch>(m_settings, std::move(consumer), m_placeholders);
        {
            const std::lock_guard lock(m_mutex);
            if (m_isLeaving)
                return {};
            m_watch = watch;
            if (auto launched = watch->launch(); !launched)
                return launched;
        }
        return watch->firstLook();
    }

    void leave() {
        {
            const std::lock_guard lock(m_mutex);
            m_isLeaving = true;
        }
        if (const auto watch = current()) {
            watch->stop();
            watch->join();
        }
    }

    [[nodiscard]] std::shared_ptr<FolderWatch> current() const {
        const std::lock_guard lock(m_mutex);
        return m_watch;
    }

private:
    const Settings m_settings;
    std::mutex m_starting; // one at a time; guards the next
    std::set<std::string> m_placeholders;
    mutable std::mutex m_mutex; // guards the rest
    std::shared_ptr<FolderWatch> m_watch;
    bool m_isLeaving = false;
};

FolderWatcher::FolderWatcher(Settings settings)
    : m_impl(std::make_shared<Impl>(std::move(settings))) {}

FolderWatcher::~FolderWatcher() {
    m_impl->leave();
}

std::expected<void, RenameError> FolderWatcher::start(Consumer consumer) {
    const auto impl = m_impl; // the destructor may run meanwhile
    return impl->start(std::move(consumer));
}

void FolderWatcher::stop() {
    if (const auto watch = m_impl->current())
        watch->stop();
}

void FolderWatcher::rescanNow() {
    if (const auto watch = m_impl->current())
        watch->rescanNow();
}

bool FolderWatcher::reportAgain(std::string_view name, Fruitless reason, std::optional<FileState> seen) {
    const auto watch = m_impl->current();
    return !watch || watch->reportAgain(name, reason, seen);
}

FolderWatcher::Mode FolderWatcher::mode() const {
    const auto watch = m_impl->current();
    return watch ? watch->mode() : Mode::events;
}

} // namespace vesto
