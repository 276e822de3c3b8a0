#pragma once
#include "core/files/Disk.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// The disks of this machine, but for what a test does before each call: make it fail, or play another
/// program. Thread-safe.
class HookedDisk : public Disk {
public:
    enum class Call {
        status,
        renameExclusively,
        moveToSecretName,
        link,
        unlink,
        list,
        syncFolder,
        attributeSize,
        readAttribute,
        writeAttribute
    };
    /// An error number makes the call fail. Called under a lock, on whichever thread calls.
    using Hook = std::function<int(Call call, const std::filesystem::path& path)>;

    void setHook(Hook hook) {
        const std::lock_guard lock(m_mutex);
        m_hook = std::move(hook);
    }

    std::expected<FileStatus, int> status(const std::filesystem::path& path) override {
        if (const int error = enter(Call::status, path))
            return std::unexpected(error);
        return systemDisk().status(path);
    }
    std::expected<FileStatus, int> statusNow(const std::filesystem::path& path) override {
        if (const int error = enter(Call::status, path))
            return std::unexpected(error);
        return systemDisk().statusNow(path);
    }
    bool inventsInodes(const std::filesystem::path& folder) override {
        return systemDisk().inventsInodes(folder);
    }
    std::optional<std::string> volumeName(std::uint64_t device) override {
        return systemDisk().volumeName(device);
    }
    Result renameExclusively(const std::filesystem::path& from, const std::filesystem::path& to) override {
        if (const int error = enter(Call::renameExclusively, from))
            return std::unexpected(error);
        return systemDisk().renameExclusively(from, to);
    }
    Result moveToSecretName(const std::filesystem::path& from, const std::filesystem::path& to) override {
        if (const int error = enter(Call::moveToSecretName, from))
            return std::unexpected(error);
        return systemDisk().moveToSecretName(from, to);
    }
    Result link(const std::filesystem::path& existing, const std::filesystem::path& name) override {
        if (const int error = enter(Call::link, existing))
            return std::unexpected(error);
        return systemDisk().link(existing, name);
    }
    Result unlink(const std::filesystem::path& path) override {
        if (const int error = enter(Call::unlink, path))
            return std::unexpected(error);
        return systemDisk().unlink(path);
    }
    std::expected<std::vector<std::string>, int> list(const std::filesystem::path& folder) override {
        if (const int error = enter(Call::list, folder))
            return std::unexpected(error);
        return systemDisk().list(folder);
    }
    Result syncFolder(const std::filesystem::path& folder) override {
        if (const int error = enter(Call::syncFolder, folder))
            return std::unexpected(error);
        return systemDisk().syncFolder(folder);
    }
    std::expected<std::size_t, int> attributeSize(const std::filesystem::path& path,
                                                  const char* name) override {
        if (const int error = enter(Call::attributeSize, path))
            return std::unexpected(error);
        return systemDisk().attributeSize(path, name);
    }
    std::expected<std::string, int> readAttribute(const std::filesystem::path& path, const char* name,
                                                  std::size_t size) override {
        if (const int error = enter(Call::readAttribute, path))
            return std::unexpected(error);
        return systemDisk().readAttribute(path, name, size);
    }
    Result writeAttribute(const std::filesystem::path& path, const char* name,
                          std::string_view value) override {
        if (const int error = enter(Call::writeAttribute, path))
            return std::unexpected(error);
        return systemDisk().writeAttribute(path, name, value);
    }

private:
    int enter(Call call, const std::filesystem::path& path) {
        const std::lock_guard lock(m_mutex);
        return m_hook ? m_hook(call, path) : 0;
    }

    std::mutex m_mutex;
    Hook m_hook;
};

/// What sets a disk apart from this machine's.
enum class DiskTrait {
    none,
    needsLinks,   // knows no exclusive rename
    noAttributes, // carries no marks
};

[[nodiscard]] inline int answerOf(DiskTrait trait, HookedDisk::Call call) {
    using Call = HookedDisk::Call;
    switch (trait) {
    case DiskTrait::none:
        return 0;
    case DiskTrait::needsLinks:
        return call == Call::renameExclusively ? EINVAL : 0;
    case DiskTrait::noAttributes:
        return call == Call::attributeSize || call == Call::readAttribute || call == Call::writeAttribute
                   ? EOPNOTSUPP
                   : 0;
    }
    return 0;
}

} // namespace vesto
