#pragma once
#include "core/support/UniqueFd.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace vesto {

/// Which file a model is. Another one, or the same one written to, is another model.
struct ModelIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t bytes = 0;
    std::int64_t modified = 0; // in nanoseconds
    std::int64_t changed = 0;

    bool operator==(const ModelIdentity&) const = default;
};

struct ModelFile {
    UniqueFd fd; // open for reading
    ModelIdentity identity;
};

/// Nothing where there is no such regular file, or it may not be read.
[[nodiscard]] std::optional<ModelFile> openModelFile(const std::filesystem::path& path);

/// The memory that programs can still get without swapping, in bytes; all there could be where the system
/// does not say.
[[nodiscard]] std::uint64_t availableMemory();

/// What a model of this size takes up: its file, parts of it rearranged, its context.
[[nodiscard]] std::uint64_t memoryForModel(std::uint64_t fileBytes);

} // namespace vesto
