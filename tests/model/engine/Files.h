#pragma once
#include <gtest/gtest.h>
#include <sys/types.h>
#include <time.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace vesto::tests {

/// A folder for models that change.
class Folder {
public:
    Folder() {
        std::string pattern = ::testing::TempDir() + "vesto-models-XXXXXX";
        m_path = ::mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] std::filesystem::path file(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

inline std::string bytesOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void write(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// The processor time that a process has had.
inline std::chrono::nanoseconds workOf(pid_t process) {
    clockid_t clock{};
    timespec time{};
    EXPECT_EQ(::clock_getcpuclockid(process, &clock), 0);
    EXPECT_EQ(::clock_gettime(clock, &time), 0);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Whether the process of a remote model ends, at the latest after a minute.
template <typename Remote> bool comesToHaveNoHost(const Remote& remote) {
    for (int i = 0; i < 6000 && remote.process(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return !remote.process();
}

} // namespace vesto::tests
