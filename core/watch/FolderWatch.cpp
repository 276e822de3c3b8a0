#include "core/watch/FolderWatch.h"

#include "core/files/Disk.h"
#include "core/support/Assert.h"
#include "core/support/Clock.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

namespace vesto {
namespace {

using std::chrono::nanoseconds;
using Kind = FolderEvents::Kind;
using Mode = FolderWatcher::Mode;

constexpr nanoseconds debounce = std::chrono::milliseconds(300);

/// A file made right after `since` may carry the time of the system's last tick before it.
FileTime earliestStamp(Instant since) {
    timespec tick{};
    ::clock_getres(CLOCK_REALTIME_COARSE, &tick);
    const auto length =
        std::chrono::ceil<Instant::duration>(std::chrono::seconds(tick.tv_sec) + nanoseconds(tick.tv_nsec));
    constexpr Instant farPast{-std::chrono::seconds(9'000'000'000'000)}; // with room below it
    const Instant earliest = std::max(since, farPast) - length;
    const auto second = std::chrono::floor<std::chrono::seconds>(earliest);
    return {second.time_since_epoch().count(),
            static_cast<std::uint32_t>(nanoseconds(earliest - second).count())};
}

bool isFolderGone(int error) {
    return error == ENOENT || error == ENOTDIR;
}

} // namespace

FolderWatch::FolderWatch(const FolderWatcher::Settings& settings, FolderWatcher::Consumer consumer,
                         std::set<std::string> placeholders)
    : m_settings(settings)
    , m_consumer(std::move(consumer))
    , m_reports(settings.url)
    , m_placeholders(std::move(placeholders)) {}

FolderWatch::Start FolderWatch::launch() {
    // The process's signals are for the threads that it had before.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    Start result;
    try {
        const std::lock_guard lock(m_joining);
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error& error) {
        m_state = State::stopped;
        result = std::unexpected(RenameError::system(error.code().value()));
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return result;
}

void FolderWatch::stop() {
    auto watching = State::watching;
    m_state.compare_exchange_strong(watching, State::stopped);
    m_alarm.ring();
}

void FolderWatch::rescanNow() {
    m_isRescanAsked = true;
    m_alarm.ring();
}

bool FolderWatch::reportAgain(std::string_view name, FolderWatcher::Fruitless reason,
                              std::optional<FileState> seen) {
    const bool isKept = m_reports.fruitless(name, reason, seen);
    m_alarm.ring();
    return isKept;
}

void FolderWatch::join() {
    const std::lock_guard lock(m_joining);
    VESTO_ASSERT(m_thread.get_id() != std::this_thread::get_id());
    if (m_thread.joinable())
        m_thread.join();
}

// ---- The own thread ----

void FolderWatch::run() {
    const Start started = begin();
    bool isThere = started.has_value();
    if (!isThere)
        m_state = State::stopped;
    m_firstLook.set_value(started);
    while (isThere && isWatching())
        isThere = waitAndWork();
    // No descriptor outlives the watch, and with it goes what the kernel keeps for a folder that was moved.
    m_events.reset();
    auto watching = State::watching;
    if (m_state.compare_exchange_strong(watching, State::ended) && m_consumer.ended)
        m_consumer.ended();
}

FolderWatch::Start FolderWatch::begin() {
    // Before the folder is listed, so that nothing falls between the two.
    watchEvents();
    auto folder = OpenFolder::open(m_settings.url);
    if (!folder)
        return std::unexpected(RenameError::system(folder.error()));
    m_identity = folder->identity();
    if (folder->isRemote()) {
        m_events.reset();
        m_mode = Mode::rescanRemote;
    }
    m_known = std::move(*folder).names().value_or(std::vector<std::string>());
    if (m_settings.catchUpSince)
        catchUp(*m_settings.catchUpSince);
    m_rescanAt = systemClock().sinceBoot() + m_settings.rescanInterval;
    return {};
}

void FolderWatch::watchEvents() {
    auto events = FolderEvents::of(m_settings.url);
    m_mode = events ? Mode::events : Mode::rescanLimited;
    if (events)
        m_events = std::move(*events);
}

void FolderWatch::catchUp(Instant since) {
    const FileTime earliest = earliestStamp(since);
    for (const std::string& name : m_known) {
        const auto status = systemDisk().status(m_settings.url / name);
        if (status && status->birth.value_or(status->modified) >= earliest)
            report(name);
    }
}

bool FolderWatch::waitAndWork() {
    const auto woken = m_alarm.wait(m_scanAt ? std::min(*m_scanAt, m_rescanAt) : m_rescanAt,
                                    m_events ? m_events->descriptor() : -1);
    if (!isWatching())
        return true;
    bool isScanDue = m_isRescanAsked.exchange(false);
    if (woken.rung)
        isScanDue = m_reports.takeNews() || isScanDue;
    if (woken.readable && !takeEvents())
        return false;
    const nanoseconds now = systemClock().sinceBoot();
    if (m_scanAt && now >= *m_scanAt) {
        m_scanAt.reset();
        isScanDue = true;
    }
    if (now >= m_rescanAt) {
        const auto missed = (now - m_rescanAt) / m_settings.rescanInterval;
        m_rescanAt += (missed + 1) * m_settings.rescanInterval;
        if (m_mode == Mode::rescanLimited)
            watchEvents(); // the limit may have been raised
        m_reports.rescan();
        isScanDue = true;
    }
    return !isScanDue || scan() == Look::done;
}

bool FolderWatch::takeEvents() {
    m_events->take([this](Kind kind, std::string_view name) { noteEvent(kind, name); });
    return !m_hasEnded;
}

void FolderWatch::noteEvent(Kind kind, std::string_view name) {
    // A writer that opens and closes the same file all the time must neither make us list the folder all the
    // time nor put off the look at the others.
    const auto scanUnlessSoon = [this] {
        if (!m_scanAt)
            scanSoon();
    };
    switch (kind) {
    case Kind::ended:
        m_hasEnded = true;
        return;
    case Kind::movedOnto:
        m_reports.movedOnto(name);
        return scanSoon();
    case Kind::entries:
    case Kind::lost:
        return scanSoon();
    case Kind::closed:
        if (m_reports.closed(name) || !m_placeholders.empty() ||
            !std::ranges::binary_search(m_known, name, std::less<>()))
            scanUnlessSoon();
        return;
    case Kind::attributes: // our own markers among them
        if (name.empty() || !m_placeholders.empty())
            scanUnlessSoon();
        return;
    }
}

void FolderWatch::scanSoon() {
    m_scanAt = systemClock().sinceBoot() + debounce;
}

FolderWatch::Look FolderWatch::scan() {
    auto folder = OpenFolder::open(m_settings.url);
    if (folder ? folder->identity() != m_identity : isFolderGone(folder.error()))
        return Look::gone;
    std::vector<std::string> names;
    if (folder) {
        auto listed = std::move(*folder).names();
        if (!listed && isFolderGone(listed.error()))
            return Look::gone;
        // What cannot be listed counts as empty: what is in it is reported afresh when it can be again.
        names = std::move(listed).value_or(std::vector<std::string>());
    }
    compare(names);
    m_known = std::move(names);
    std::erase_if(m_placeholders,
                  [this](const std::string& name) { return !std::ranges::binary_search(m_known, name); });
    m_reports.keepOnly(m_known);
    return Look::done;
}

void FolderWatch::compare(const std::vector<std::string>& names) {
    const bool isNewAll = m_placeholders.empty() && m_reports.isEmpty();
    auto known = m_known.cbegin();
    for (const std::string& name : names) {
        int order = 1;
        while (known != m_known.cend() && (order = known->compare(name)) < 0)
            ++known;
        if (known == m_known.cend() || order != 0) {
            m_reports.forget(name);
            report(name);
        } else if (isNewAll) {
            continue;
        } else if (m_placeholders.contains(name) && m_settings.isLocal(m_settings.url / name)) {
            m_placeholders.erase(name);
            m_reports.forget(name);
            report(name);
        } else if (m_reports.take(name)) {
            report(name);
        }
    }
}

void FolderWatch::report(const std::string& name) {
    if (!isWatching())
        return;
    const auto path = m_settings.url / name;
    m_consumer.found(path);
    if (!m_settings.isLocal(path))
        m_placeholders.insert(name);
}

} // namespace vesto
