#pragma once
#include "core/files/Disk.h"
#include "core/files/FileName.h"

#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace vesto {

/// A disk in memory whose calls can fail or be raced, each in its turn.
class FakeDisk final : public Disk {
public:
    struct File {
        std::string content;
        FileStatus status;
        std::map<std::string, std::string> attributes;
    };

    // What kind of disk it is.
    int exclusiveAnswer = 0; // what it says to an exclusive rename, where it knows none
    int linkAnswer = 0;
    int attributeAnswer = 0;
    int listAnswer = 0;
    bool invents = false; // inode numbers follow the name

    /// Asked before each call with its number, from 1: an error number makes the call fail. It may also play
    /// another program and change `files`.
    std::function<int(int call)> beforeCall;
    int calls = 0;
    std::function<void()> beforeSync; // what stands then is what a power cut leaves

    std::map<std::string, std::shared_ptr<File>> files;

    void add(const std::string& path, std::string content) {
        auto file = std::make_shared<File>();
        const auto tick = ++m_ticks;
        file->content = std::move(content);
        file->status = {.isRegular = true,
                        .device = 7,
                        .inode = static_cast<std::uint64_t>(tick),
                        .size = file->content.size(),
                        .birth = FileTime{tick},
                        .modified = {tick},
                        .changed = {tick}};
        files[path] = file;
    }

    /// The contents of all files, each once, however many names it has.
    [[nodiscard]] std::multiset<std::string> contents() const {
        std::set<std::shared_ptr<File>> distinct;
        for (const auto& [path, file] : files)
            distinct.insert(file);
        std::multiset<std::string> found;
        for (const auto& file : distinct)
            found.insert(file->content);
        return found;
    }

    std::expected<FileStatus, int> status(const std::filesystem::path& path) override {
        if (const int error = enter(path))
            return std::unexpected(error);
        FileStatus found = files[path.native()]->status;
        found.links = static_cast<std::uint64_t>(files[path.native()].use_count());
        if (invents)
            found.inode = std::hash<std::string>{}(path.native());
        return found;
    }

    bool inventsInodes(const std::filesystem::path&) override { return invents; }
    std::optional<std::string> volumeName(std::uint64_t) override { return "uuid:CAFE-0001"; }

    Result renameExclusively(const std::filesystem::path& from, const std::filesystem::path& to) override {
        if (const int error = enter(from))
            return std::unexpected(error);
        if (files.contains(to.native()))
            return std::unexpected(EEXIST);
        if (exclusiveAnswer != 0)
            return std::unexpected(exclusiveAnswer);
        return move(from, to);
    }

    Result moveToSecretName(const std::filesystem::path& from, const std::filesystem::path& to) override {
        if (const int error = enter(from))
            return std::unexpected(error);
        return move(from, to);
    }

    Result link(const std::filesystem::path& existing, const std::filesystem::path& name) override {
        if (const int error = enter(existing))
            return std::unexpected(error);
        if (files.contains(name.native()))
            return std::unexpected(EEXIST);
        if (linkAnswer != 0)
            return std::unexpected(linkAnswer);
        files[name.native()] = files[existing.native()];
        return {};
    }

    Result unlink(const std::filesystem::path& path) override {
        if (const int error = enter(path))
            return std::unexpected(error);
        files.erase(path.native());
        return {};
    }

    std::expected<std::vector<std::string>, int> list(const std::filesystem::path& folder) override {
        ++calls;
        if (const int error = beforeCall ? beforeCall(calls) : 0)
            return std::unexpected(error);
        if (listAnswer != 0)
            return std::unexpected(listAnswer);
        std::vector<std::string> names;
        for (const auto& [path, file] : files)
            if (folderOf(path) == folder)
                names.emplace_back(lastComponentOf(path));
        return names;
    }

    Result syncFolder(const std::filesystem::path&) override {
        ++calls;
        if (beforeSync)
            beforeSync();
        if (const int error = beforeCall ? beforeCall(calls) : 0)
            return std::unexpected(error);
        return {};
    }

    std::expected<std::size_t, int> attributeSize(const std::filesystem::path& path,
                                                  const char* name) override {
        const auto value = readAttribute(path, name, SIZE_MAX);
        if (!value)
            return std::unexpected(value.error());
        return value->size();
    }

    std::expected<std::string, int> readAttribute(const std::filesystem::path& path, const char* name,
                                                  std::size_t) override {
        if (const int error = enter(path))
            return std::unexpected(error);
        const auto& attributes = files[path.native()]->attributes;
        const auto found = attributes.find(name);
        if (attributeAnswer != 0 || found == attributes.end())
            return std::unexpected(attributeAnswer != 0 ? attributeAnswer : ENODATA);
        return found->second;
    }

    Result writeAttribute(const std::filesystem::path& path, const char* name,
                          std::string_view value) override {
        if (const int error = enter(path))
            return std::unexpected(error);
        if (attributeAnswer != 0)
            return std::unexpected(attributeAnswer);
        files[path.native()]->attributes[name] = value;
        return {};
    }

private:
    int enter(const std::filesystem::path& path) {
        ++calls;
        if (const int error = beforeCall ? beforeCall(calls) : 0)
            return error;
        return files.contains(path.native()) ? 0 : ENOENT;
    }

    Result move(const std::filesystem::path& from, const std::filesystem::path& to) {
        auto file = files[from.native()];
        files.erase(from.native());
        files[to.native()] = std::move(file);
        return {};
    }

    std::int64_t m_ticks = 1'700'000'000;
};

} // namespace vesto
