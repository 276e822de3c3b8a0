#include "tests/cli/Program.h"

#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace vesto::test {
namespace fs = std::filesystem;

namespace {

std::string drained(int fd) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = ::read(fd, buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(size));
    return text;
}

bool keepsUserAttributes(const fs::path& folder) {
    return ::setxattr(folder.c_str(), "user.vesto-test", "1", 1, 0) == 0 &&
           ::removexattr(folder.c_str(), "user.vesto-test") == 0;
}

fs::path currentProfile;

fs::path makeProfile() {
    std::string pattern = (fs::temp_directory_path() / "vesto-profile-XXXXXX").native();
    const fs::path path = ::mkdtemp(pattern.data());
    ::chmod(path.c_str(), 0777); // tests run as more than one user
    return path;
}

fs::path profileInUse() {
    if (currentProfile.empty())
        static const Profile shared; // which stays to the end
    return currentProfile;
}

fs::path dataHome(const fs::path& profile, uid_t user) {
    return profile / ("data-" + std::to_string(user));
}

void useProfile(const fs::path& profile, uid_t user) {
    ::setenv("XDG_DATA_HOME", dataHome(profile, user).c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (profile / "config").c_str(), 1);
    for (const char* name : {"XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "DISPLAY"})
        ::unsetenv(name);
}

/// `vesto` with these words, as a new program takes them.
struct CommandLine {
    explicit CommandLine(std::vector<std::string> rest)
        : words(std::move(rest)) {
        words.insert(words.begin(), VESTO_PROGRAM);
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
    }
    CommandLine(const CommandLine&) = delete;

    std::vector<std::string> words;
    std::vector<char*> pointers;
};

/// `program` is opened before: another user may have no way to it through its folders.
[[noreturn]] void becomeVesto(int program, std::vector<char*>& words, int out, int err,
                              std::optional<uid_t> user) {
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    for (const char* name : {"LANG", "LC_ALL", "LC_TIME"})
        ::unsetenv(name);
    if (user && (::setgid(*user) != 0 || ::setuid(*user) != 0))
        ::_exit(126);
    ::fexecve(program, words.data(), environ);
    ::_exit(127);
}

} // namespace

RunResult runVesto(const std::vector<std::string>& words, std::optional<uid_t> user, const char* output,
                   const std::function<void()>& before) {
    CommandLine line(words);

    // Files take the output, so that a long one cannot block the child.
    const UniqueFd out(output == nullptr ? ::memfd_create("output", MFD_CLOEXEC)
                                         : ::open(output, O_RDWR | O_CLOEXEC));
    const UniqueFd err(::memfd_create("errors", MFD_CLOEXEC));
    const UniqueFd opened(::open(VESTO_PROGRAM, O_PATH | O_CLOEXEC));
    const fs::path profile = profileInUse();
    const pid_t child = ::fork();
    if (child == 0) // no history, model or setting of whoever runs the tests
        useProfile(profile, user.value_or(::geteuid()));
    if (child == 0 && before)
        before();
    if (child == 0)
        becomeVesto(opened.get(), line.pointers, out.get(), err.get(), user);
    int status = 0;
    ::waitpid(child, &status, 0);
    ::lseek(out.get(), 0, SEEK_SET);
    ::lseek(err.get(), 0, SEEK_SET);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            output == nullptr ? drained(out.get()) : std::string(), drained(err.get())};
}

Profile::Profile()
    : m_path(makeProfile())
    , m_before(std::exchange(currentProfile, m_path)) {}

Profile::~Profile() {
    currentProfile = m_before;
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

fs::path Profile::data() const {
    return dataHome(m_path, ::geteuid()) / "vesto";
}

RunningVesto::RunningVesto(const std::vector<std::string>& words) {
    CommandLine line(words);
    const fs::path profile = profileInUse();
    m_output = (profile / "output-XXXXXX").native();
    const UniqueFd out(::mkostemp(m_output.data(), O_CLOEXEC));
    const UniqueFd opened(::open(VESTO_PROGRAM, O_PATH | O_CLOEXEC));
    m_process = ::fork();
    if (m_process == 0) {
        useProfile(profile, ::geteuid());
        becomeVesto(opened.get(), line.pointers, out.get(), out.get(), std::nullopt);
    }
}

RunningVesto::~RunningVesto() {
    if (m_process > 0)
        (void)end(SIGKILL);
}

bool RunningVesto::says(std::string_view text) const {
    for (int i = 0; i < 800; ++i) {
        if (out().find(text) != std::string::npos)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

std::string RunningVesto::out() const {
    return contentOf(m_output);
}

int RunningVesto::end(int signal) {
    ::kill(m_process, signal);
    int status = 0;
    ::waitpid(std::exchange(m_process, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Folder::Folder() {
    // Where every user may pass; Debian 12's tmpfs keeps no user attributes.
    for (const fs::path& place :
         {fs::path("/tmp"), fs::path("/var/tmp"), fs::path(VESTO_PROGRAM).parent_path()}) {
        std::string pattern = (place / "vesto-test-XXXXXX").native();
        const char* made = ::mkdtemp(pattern.data());
        if (made == nullptr)
            continue;
        m_path = made;
        if (keepsUserAttributes(m_path))
            return;
        fs::remove(m_path);
    }
    throw std::runtime_error("no folder here keeps user attributes");
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string Folder::write(std::string_view name, std::string_view content) const {
    const fs::path path = m_path / name;
    std::ofstream(path, std::ios::binary) << content;
    return path.native();
}

std::vector<std::string> Folder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_path))
        names.push_back(entry.path().filename().native());
    std::ranges::sort(names);
    return names;
}

std::vector<Json> objects(const std::string& out) {
    std::vector<Json> result;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        auto value = parseJson(line);
        EXPECT_TRUE(value && value->is_object()) << line;
        if (value)
            result.push_back(*std::move(value));
    }
    return result;
}

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace vesto::test
