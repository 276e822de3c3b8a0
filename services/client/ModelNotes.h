#pragma once
#include "core/support/Json.h"
#include "services/client/ModelFile.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// What earlier runs found out about one model: its engine takes it, and how fast it is here.
struct ModelNote {
    ModelIdentity identity{}; // of the file that it was; another one under the same name is not known
    std::string name{};       // as the file says
    std::string architecture{};
    std::uint64_t parameters = 0;
    std::vector<std::string> languages{};      // as the file lists them
    std::uint32_t titles = 0;                  // that were measured
    std::chrono::duration<double> perTitle{0}; // mean of about the last twenty; 0 without any

    bool operator==(const ModelNote&) const = default;

    void measured(std::chrono::duration<double> title);
};

/// The notes of all models of one folder, in a small file beside them that only this user may read. Each call
/// reads the file anew; of two programs that write at the same time the later one's notes stand. What cannot
/// be read or written is not known, never an error. Thread-safe.
class ModelNotes {
public:
    /// An empty path: nothing is known, nothing kept.
    explicit ModelNotes(std::filesystem::path file = {})
        : m_file(std::move(file)) {}

    /// Of the file of this name, if it still is the one that was noted.
    [[nodiscard]] std::optional<ModelNote> of(std::string_view fileName, const ModelIdentity& identity) const;

    /// Also drops the notes of models that are no longer there.
    void keep(std::string_view fileName, const ModelNote& note) const;
    void forget(std::string_view fileName) const;

private:
    [[nodiscard]] Json read() const;
    void write(Json notes) const;

    std::filesystem::path m_file;
};

} // namespace vesto
