#pragma once
#include "core/files/Disk.h"
#include "core/files/ModelFileError.h"
#include "core/support/SettingsFile.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// The folder of this user's models: GGUF files of language, of which one is used, and one of speech, which
/// has its name from here. Of their content nobody but the jailed host looks at more than the first four
/// bytes. Each call looks at the disk anew. Thread-safe.
class ModelFolder {
public:
    /// The settings that decide on the model; the settings window has the same.
    static constexpr std::string_view choiceKey = "model";         // a file name
    static constexpr std::string_view enabledKey = "modelEnabled"; // true where it is not set

    static constexpr std::string_view speechName = "speech.bin";

    struct Model {
        std::string name;        // of its file, with ".gguf" or speechName
        std::uint64_t bytes = 0; // 0 for a link that leads nowhere
        bool isLink = false;

        bool operator==(const Model&) const = default;
    };

    enum class Way { copy, link };

    explicit ModelFolder(std::filesystem::path folder = userDataFolder() / "models",
                         SettingsFile settings = SettingsFile{}, Disk& disk = systemDisk())
        : m_folder(std::move(folder))
        , m_settings(std::move(settings))
        , m_disk(disk) {}

    /// Those of language, in the order of their names.
    [[nodiscard]] std::vector<Model> models() const;

    /// The one of speech; nothing where there is none.
    [[nodiscard]] std::optional<Model> speech() const;
    /// Where that one is, or would be; empty where this user has no folder of data.
    [[nodiscard]] std::filesystem::path speechPath() const {
        return m_folder.is_absolute() ? m_folder / speechName : std::filesystem::path();
    }

    /// The chosen one where it is there, else the first one that is no broken link; nothing where there is
    /// none.
    [[nodiscard]] std::optional<Model> used() const;

    [[nodiscard]] std::filesystem::path pathOf(const Model& model) const { return m_folder / model.name; }
    [[nodiscard]] const std::filesystem::path& path() const { return m_folder; }
    /// Where programs write down what they find out about these models.
    [[nodiscard]] std::filesystem::path notesPath() const { return m_folder / "notes.json"; }

    [[nodiscard]] bool isEnabled() const { return m_settings.flag(enabledKey, true); }
    [[nodiscard]] std::expected<void, ModelFileError> setEnabled(bool enabled) const;

    /// What `add` would call this file, after the checks that need no copy.
    [[nodiscard]] std::expected<std::string, ModelFileError> nameFor(const std::filesystem::path& file) const;

    /// Copies the file (or makes a symbolic link to it) under its own name, or speechName, and gives that
    /// name. A copy appears whole, on disk, or not at all, and never in another's place.
    [[nodiscard]] std::expected<std::string, ModelFileError> add(const std::filesystem::path& file,
                                                                 Way way) const;

    /// `name` with or without its extension. Of a link, only the link goes.
    [[nodiscard]] std::expected<void, ModelFileError> remove(std::string_view name) const;
    /// A model of language.
    [[nodiscard]] std::expected<void, ModelFileError> use(std::string_view name) const;

private:
    [[nodiscard]] std::optional<Model> modelAt(const std::filesystem::directory_entry& entry) const;
    [[nodiscard]] std::optional<Model> find(std::string_view name) const;
    [[nodiscard]] std::expected<void, ModelFileError> copyTo(int source,
                                                             const std::filesystem::path& target) const;
    [[nodiscard]] std::expected<void, ModelFileError> publish(const std::filesystem::path& temporary,
                                                              const std::filesystem::path& target) const;
    void removeLeftovers() const;

    std::filesystem::path m_folder;
    SettingsFile m_settings;
    Disk& m_disk;
};

} // namespace vesto
