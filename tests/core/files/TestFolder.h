#pragma once
#include "core/files/FileName.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vesto {

/// A fresh folder that carries user attributes, gone with all that is in it at the end.
class TestFolder {
public:
    TestFolder() {
        for (const std::filesystem::path& parent :
             {std::filesystem::temp_directory_path(), std::filesystem::path("/var/tmp"),
              std::filesystem::current_path()}) {
            std::string pattern = (parent / "vesto-XXXXXX").string();
            if (::mkdtemp(pattern.data()) == nullptr)
                continue;
            m_path = pattern;
            if (::setxattr(m_path.c_str(), "user.probe", "1", 1, 0) == 0)
                break;
            std::filesystem::remove_all(m_path);
        }
        ::chmod(m_path.c_str(), 0755);
    }
    TestFolder(const TestFolder&) = delete;
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

inline std::filesystem::path write(const std::filesystem::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

inline std::string contentOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline std::set<std::string> namesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

/// Runs `action` in a process of its own; what it returns.
inline bool inOwnProcess(const std::function<bool()>& action) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(action() ? 0 : 1);
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// The same as a user whom permissions bind.
inline bool asOrdinaryUser(const std::function<bool()>& action) {
    return inOwnProcess([&] {
        const bool dropped = ::getuid() != 0 || (::setgid(65534) == 0 && ::setuid(65534) == 0);
        return dropped && action();
    });
}

/// Runs a program of the machine; whether it ended well.
inline bool runs(std::initializer_list<std::string> words) {
    std::vector<char*> arguments;
    std::vector<std::string> copies(words);
    arguments.reserve(copies.size() + 1);
    for (std::string& word : copies)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t quiet{};
    ::posix_spawn_file_actions_init(&quiet);
    for (const int stream : {1, 2})
        ::posix_spawn_file_actions_addopen(&quiet, stream, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, arguments[0], &quiet, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&quiet);
    int status = 0;
    return error == 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

enum class MountKind { bindfs, ntfs3g, ramfs, smallTmpfs };

/// A disk of another kind, mounted for a test; `path` is nothing where this machine may not.
class TestMount {
public:
    explicit TestMount(MountKind kind) {
        const auto point = m_folder / "mount";
        std::filesystem::create_directory(point);
        if (mount(kind, point))
            path = point;
    }
    TestMount(const TestMount&) = delete;
    ~TestMount() {
        if (path)
            ::umount2(path->c_str(), MNT_DETACH);
    }

    std::optional<std::filesystem::path> path;

private:
    bool mount(MountKind kind, const std::filesystem::path& point) const {
        switch (kind) {
        case MountKind::ramfs:
            return ::mount("none", point.c_str(), "ramfs", 0, nullptr) == 0;
        case MountKind::smallTmpfs:
            return ::mount("none", point.c_str(), "tmpfs", 0, "size=1m") == 0;
        case MountKind::bindfs:
            std::filesystem::create_directory(m_folder / "source");
            return runs({"bindfs", m_folder / "source", point});
        case MountKind::ntfs3g: {
            const auto image = write(m_folder / "image", "");
            std::filesystem::resize_file(image, 8U << 20U);
            return runs({"mkfs.ntfs", "-F", "-Q", image}) && runs({"ntfs-3g", image, point});
        }
        }
        return false;
    }

    TestFolder m_folder;
};

} // namespace vesto
