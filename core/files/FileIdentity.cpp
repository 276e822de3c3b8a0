#include "core/files/FileIdentity.h"

#include "core/files/Disk.h"
#include "core/files/FileName.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <string_view>
#include <system_error>

namespace vesto {
namespace {

bool bothKnownAndDiffer(const auto& left, const auto& right) {
    return left.has_value() && right.has_value() && *left != *right;
}

/// For disks that invent inodes. A volume without a lasting name is told by its device after all: better to
/// take a known file for a new one than the reverse.
bool onSameStoredVolume(const FileIdentity& stored, const FileIdentity& current) {
    if (stored.volume.has_value() && current.volume.has_value())
        return *stored.volume == *current.volume;
    return stored.device == current.device;
}

/// In place of an invented inode: the same for all paths that lead to the folder of `path`.
std::uint64_t numberOfFolder(const std::filesystem::path& path) {
    const auto folder = folderOf(path);
    std::error_code error;
    const auto real = std::filesystem::canonical(folder, error);
    return std::hash<std::string>{}(error ? folder.native() : real.native());
}

Json timeToJson(const FileTime& time) {
    return Json::array({time.seconds, time.nanoseconds});
}

std::optional<FileTime> timeFromJson(const Json& value) {
    const auto isInteger = [](const Json& number) {
        return number.is_number_integer() &&
               (!number.is_number_unsigned() ||
                number.get<std::uint64_t>() <=
                    static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
    };
    if (!value.is_array() || value.size() != 2 || !isInteger(value[0]) || !value[1].is_number_unsigned() ||
        value[1].get<std::uint64_t>() >= 1'000'000'000)
        return std::nullopt;
    return FileTime{value[0].get<std::int64_t>(), value[1].get<std::uint32_t>()};
}

} // namespace

std::optional<FileIdentity> FileIdentity::of(const std::filesystem::path& path, Disk& disk) {
    const auto status = disk.status(path);
    if (!status)
        return std::nullopt;
    FileIdentity identity;
    identity.device = status->device;
    identity.inode = status->inode;
    identity.birth = status->birth;
    identity.state = FileState{status->size, status->modified};
    if (disk.inventsInodes(folderOf(path))) {
        identity.name = lastComponentOf(path);
        identity.volume = disk.volumeName(status->device);
        identity.inode = numberOfFolder(path);
    }
    return identity;
}

bool FileIdentity::operator==(const FileIdentity& other) const {
    return device == other.device && inode == other.inode && birth == other.birth && name == other.name;
}

bool isSameStoredFile(const FileIdentity& stored, const FileIdentity& current) {
    if (stored.inventedInode() != current.inventedInode() || bothKnownAndDiffer(stored.birth, current.birth))
        return false;
    if (!current.inventedInode())
        return stored.inode == current.inode;
    return stored.name == current.name && onSameStoredVolume(stored, current);
}

bool isSameAcrossRename(const FileIdentity& before, const FileIdentity& after) {
    if (!before.inventedInode() || !after.inventedInode())
        return before == after;
    return before.device == after.device && before.birth == after.birth && haveSameState(before, after);
}

bool isSameStoredAcrossRename(const FileIdentity& before, const FileIdentity& after) {
    if (!before.inventedInode() || !after.inventedInode())
        return isSameStoredFile(before, after);
    return !bothKnownAndDiffer(before.birth, after.birth) && onSameStoredVolume(before, after) &&
           haveSameState(before, after);
}

bool haveSameState(const FileIdentity& left, const FileIdentity& right) {
    return left.state.has_value() && left.state == right.state;
}

bool stoodStill(const FileIdentity& before, const FileIdentity& after) {
    return !bothKnownAndDiffer(before.state, after.state);
}

Json toJson(const FileIdentity& identity) {
    Json record = Json::object();
    record["device"] = identity.device;
    record["inode"] = identity.inode;
    if (identity.birth)
        record["birth"] = timeToJson(*identity.birth);
    if (identity.name)
        record["name"] = *identity.name;
    if (identity.volume)
        record["volume"] = *identity.volume;
    if (identity.state) {
        record["size"] = identity.state->size;
        record["modified"] = timeToJson(identity.state->modified);
    }
    return record;
}

std::optional<FileIdentity> fileIdentityFromJson(const Json& record) {
    const auto device = unsignedMember(record, "device");
    const auto inode = unsignedMember(record, "inode");
    if (!device || !inode)
        return std::nullopt;
    FileIdentity identity;
    identity.device = *device;
    identity.inode = *inode;
    if (const Json* birth = member(record, "birth")) {
        identity.birth = timeFromJson(*birth);
        if (!identity.birth)
            return std::nullopt;
    }
    for (const auto& [key, field] : {std::pair{"name", &identity.name}, {"volume", &identity.volume}}) {
        if (member(record, key) == nullptr)
            continue;
        *field = stringMember(record, key);
        if (!*field)
            return std::nullopt;
    }
    const Json* modified = member(record, "modified");
    if (modified != nullptr || member(record, "size") != nullptr) {
        const auto size = unsignedMember(record, "size");
        const auto time = modified == nullptr ? std::nullopt : timeFromJson(*modified);
        if (!size || !time)
            return std::nullopt;
        identity.state = FileState{*size, *time};
    }
    return identity;
}

} // namespace vesto

std::size_t std::hash<vesto::FileIdentity>::operator()(const vesto::FileIdentity& identity) const noexcept {
    const auto mix = [](std::size_t seed, std::size_t value) {
        return seed ^ (value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
    };
    std::size_t seed = std::hash<std::uint64_t>{}(identity.device);
    seed = mix(seed, identity.name ? std::hash<std::string>{}(*identity.name) : identity.inode);
    if (identity.birth) {
        seed = mix(seed, static_cast<std::size_t>(identity.birth->seconds));
        seed = mix(seed, identity.birth->nanoseconds);
    }
    return seed;
}
