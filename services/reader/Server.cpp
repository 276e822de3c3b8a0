#include "services/reader/Server.h"

#include "core/support/Assert.h"
#include "core/support/UniqueFd.h"
#include "services/ipc/Packet.h"
#include "services/sandbox/Jail.h"
#include "services/sandbox/Paths.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace vesto::reader {
namespace {

using Moment = std::chrono::steady_clock::time_point; // stands still while the machine sleeps

constexpr int jailFailedStatus = 78; // of a child that could not be shut in

struct Task {
    ipc::Question question;
    UniqueFd file;
    UniqueFd answer;
};

struct Child {
    UniqueFd process; // a pidfd
    Moment deadline;
    /// Held to the end: the other side sees the end of its pipe only when the child's place is free again,
    /// and its going away shows here.
    Task task;
    bool mayRunAgain = false; // where recognition turns out to be needed
};

/// A fork copies the one thread that calls it and every lock as it stands: with a second thread the child
/// could wait for ever.
void assertOneThread() {
    DIR* tasks = ::opendir("/proc/self/task");
    VESTO_ASSERT(tasks != nullptr);
    int threads = 0;
    while (const dirent* entry = ::readdir(tasks))
        threads += entry->d_name[0] != '.';
    ::closedir(tasks);
    VESTO_ASSERT(threads == 1);
}

/// What the application should have sent; a slip of its own must not hand a child more than it may have.
bool isReadOnlyFile(int fd) {
    struct stat status{};
    const int flags = ::fcntl(fd, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) == O_RDONLY && (flags & O_PATH) == 0 &&
           ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}
bool isPipeEnd(int fd) {
    struct stat status{};
    const int flags = ::fcntl(fd, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) == O_WRONLY && ::fstat(fd, &status) == 0 &&
           S_ISFIFO(status.st_mode);
}

/// Routes whose summary always asks for recognition, where there is anything to see.
bool needsRecognition(const ipc::Question& question) {
    return question.about == ipc::Question::About::summary &&
           (question.route == Route::image || question.route == Route::video);
}

class Server {
public:
    Server(int socket, const ServerSettings& settings)
        : m_socket(socket)
        , m_settings(settings)
        , m_jail(sandbox::readablePaths()) {}

    int run() {
        const ipc::Jail jail = jailHere();
        if (!ipc::sendPacket(m_socket, ipc::encode(ipc::Greeting{jail}), {}, std::chrono::seconds(1)) ||
            jail == ipc::Jail::none || jail == ipc::Jail::refused)
            return 1;
        m_lastQuestion = std::chrono::steady_clock::now(); // its own start was nobody's idleness
        while (turn()) {
        }
        return 0; // the children die with this process
    }

private:
    /// A child that reads nothing tries the jail first: where the system refuses a part of it, that is said
    /// once, and not as a failure of every file.
    [[nodiscard]] ipc::Jail jailHere() const {
        if (!m_jail.filtersCalls())
            return ipc::Jail::none;
        const pid_t self = ::getpid();
        assertOneThread();
        const pid_t pid = ::fork();
        if (pid == 0)
            ::_exit(m_jail.enter(resourcesOf(m_settings.limits(Route::document)), {}, self)
                        ? 0
                        : jailFailedStatus);
        int status = -1;
        while (pid > 0 && ::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        if (pid < 0 || status != 0)
            return ipc::Jail::refused;
        return m_jail.restrictsPaths() ? ipc::Jail::full : ipc::Jail::reduced;
    }

    static sandbox::Resources resourcesOf(const ipc::ReadingLimits& limits) {
        return {.addressSpace = limits.addressSpace, .processorTime = limits.time};
    }

    /// Waits for whatever happens next and sees to it. False where the server is to leave.
    bool turn() {
        std::vector<pollfd> entries;
        entries.reserve(2 * m_children.size() + 1);
        for (const Child& child : m_children) {
            entries.push_back({child.process.get(), POLLIN, 0});
            entries.push_back({child.task.answer.get(), 0, 0}); // says when nobody reads any more
        }
        // Where all places are taken, questions wait in the socket; its other end is watched all the same.
        const bool listens = m_children.size() < m_settings.readingsAtOnce;
        entries.push_back({m_socket, static_cast<short>(listens ? POLLIN : 0), 0});

        const int ready = ::poll(entries.data(), entries.size(), untilNextMoment());
        const Moment now = std::chrono::steady_clock::now();
        if (ready < 0)
            return true; // a signal
        stopLateChildren(now);
        if (ready == 0)
            return !(m_children.empty() && now - m_lastQuestion >= m_settings.idle);
        for (std::size_t i = m_children.size(); i-- > 0;) {
            if (entries[2 * i].revents != 0)
                finish(i);
            else if (entries[2 * i + 1].revents != 0)
                stop(m_children[i]);
        }
        const short happened = entries.back().revents;
        if ((happened & POLLIN) != 0)
            return takeQuestion();
        return (happened & (POLLHUP | POLLERR | POLLNVAL)) == 0;
    }

    [[nodiscard]] int untilNextMoment() const {
        const Moment now = std::chrono::steady_clock::now();
        Moment next = m_lastQuestion + m_settings.idle;
        if (!m_children.empty())
            next = std::ranges::min_element(m_children, {}, &Child::deadline)->deadline;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
        return static_cast<int>(std::clamp<std::int64_t>(left, 0, 600'000));
    }

    void stopLateChildren(Moment now) {
        for (Child& child : m_children) {
            if (now >= child.deadline)
                stop(child);
        }
    }

    /// Its end is seen at the next turn. Whoever asked sees the end of the pipe then, and no sooner.
    static void stop(Child& child) {
        ::syscall(SYS_pidfd_send_signal, child.process.get(), SIGKILL, nullptr, 0U);
        child.mayRunAgain = false;
        child.deadline = Moment::max();
    }

    bool takeQuestion() {
        auto failure = ipc::PacketFailure::none;
        auto packet =
            ipc::receivePacket(m_socket, ipc::Question::maxBytes, ipc::Question::descriptors, failure);
        if (!packet)
            return failure != ipc::PacketFailure::closed;
        m_lastQuestion = std::chrono::steady_clock::now();
        auto question = ipc::decodeQuestion(packet->bytes);
        if (!question || packet->descriptors.size() != ipc::Question::descriptors)
            return true; // its descriptors are closed: the other side sees the end of its pipe
        Task task{*std::move(question), std::move(packet->descriptors[0]), std::move(packet->descriptors[1])};
        if (isReadOnlyFile(task.file.get()) && isPipeEnd(task.answer.get()))
            start(std::move(task));
        return true;
    }

    [[nodiscard]] bool isWarmFor(const ipc::Question& question) const {
        return std::ranges::find(m_warm, question.recognitionLanguages) != m_warm.end();
    }
    void warmFor(const ipc::Question& question) {
        if (isWarmFor(question))
            return;
        m_settings.warmRecognition(question.recognitionLanguages);
        m_warm.push_back(question.recognitionLanguages);
    }

    void start(Task task) {
        m_settings.loadReaders(task.question.route);
        if (needsRecognition(task.question))
            warmFor(task.question);
        const auto limits = m_settings.limits(task.question.route);
        const bool warm = isWarmFor(task.question);
        const pid_t self = ::getpid();
        assertOneThread();
        const pid_t pid = ::fork();
        if (pid == 0)
            beChild(task, limits, self, warm);
        if (pid < 0)
            return;
        const Moment deadline = std::chrono::steady_clock::now() + limits.time;
        UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)));
        if (!process) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
            return;
        }
        m_children.push_back({std::move(process), deadline, std::move(task), !warm});
    }

    [[noreturn]] void beChild(const Task& task, const ipc::ReadingLimits& limits, pid_t parent,
                              bool warm) const {
        std::array<int, 2> kept{task.file.get(), task.answer.get()};
        std::ranges::sort(kept);
        if (!m_jail.enter(resourcesOf(limits), kept, parent))
            ::_exit(jailFailedStatus);
        ::_exit(m_settings.work(task.question, task.file.get(), task.answer.get(), warm));
    }

    void finish(std::size_t index) {
        Child child = std::move(m_children[index]);
        m_children.erase(m_children.begin() + static_cast<std::ptrdiff_t>(index));
        siginfo_t end{};
        int result = 0;
        do
            result = ::waitid(P_PIDFD, static_cast<id_t>(child.process.get()), &end, WEXITED);
        while (result != 0 && errno == EINTR);
        if (end.si_code != CLD_EXITED)
            return;
        if (end.si_status == coldStatus && child.mayRunAgain) {
            warmFor(child.task.question);
            start(std::move(child.task));
        } else if (end.si_status == otherLanguagesStatus) {
            child.task.answer.reset(); // whoever asked waits for nothing
            m_settings.warmOtherLanguages(child.task.question.recognitionLanguages);
        }
    }

    int m_socket;
    const ServerSettings& m_settings;
    sandbox::Jail m_jail;
    std::vector<Child> m_children;
    std::vector<std::vector<std::string>> m_warm; // lists of languages that recognition is loaded for
    Moment m_lastQuestion;                        // or the greeting
};

} // namespace

int serve(int socket, const ServerSettings& settings) {
    return Server(socket, settings).run();
}

} // namespace vesto::reader
