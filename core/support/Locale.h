#pragma once
#include <string>
#include <string_view>

namespace vesto {

/// A language with its customs, as "fr_FR" or "en". It decides dates, month names and the {kind} word.
class Locale {
public:
    /// Takes "fr", "fr_FR", "fr-FR" or "fr_FR.UTF-8@euro"; the code set and the modifier are dropped.
    explicit Locale(std::string_view identifier);

    /// What LC_ALL, LC_TIME or LANG name (the first that is set); French where none does, or "C" or "POSIX".
    [[nodiscard]] static Locale user();

    [[nodiscard]] const std::string& identifier() const { return m_identifier; }

    /// The part before the first "_", in lower case; may be empty.
    [[nodiscard]] std::string languageCode() const;

    bool operator==(const Locale&) const = default;

private:
    std::string m_identifier;
};

} // namespace vesto
