#pragma once
#include "core/support/Assert.h"
#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace vesto {

/// A folder of empty files that are all eligible, half of them under a generic name; so a check takes every
/// step for each. Made below TMPDIR, removed at the end.
class CrowdedFolder {
public:
    static constexpr std::size_t fileCount = 100'000;

    explicit CrowdedFolder(std::size_t count) {
        std::string folder = std::filesystem::temp_directory_path() / "vesto-bench-XXXXXX";
        VESTO_ASSERT(::mkdtemp(folder.data()) != nullptr);
        path = folder;
        constexpr const char* extensions[] = {"pdf", "docx", "jpg", "txt", "xlsx"};
        files.reserve(count);
        for (std::size_t number = 0; number < count; ++number) {
            const char* extension = extensions[number % std::size(extensions)];
            files.push_back(path / (number % 2 == 0 ? fmt::format("document ({}).{}", number, extension)
                                                    : fmt::format("Facture du puits {}, commune de Lège.{}",
                                                                  number, extension)));
            const UniqueFd file(::open(files.back().c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
            VESTO_ASSERT(file.get() >= 0);
        }
    }
    CrowdedFolder(const CrowdedFolder&) = delete;
    ~CrowdedFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    /// One of `fileCount` for all benchmarks, made at first use.
    static const CrowdedFolder& shared() {
        static const CrowdedFolder folder(fileCount);
        return folder;
    }

    std::filesystem::path path;
    std::vector<std::filesystem::path> files;
};

} // namespace vesto
