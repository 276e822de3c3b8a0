#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// Why a file was not renamed, or a folder not watched.
class RenameError {
public:
    enum class Case {
        system, // `code` is the system's error number
        sourceMissing,
        identityMismatch,
        unchanged,
        targetExists,
        invalidName,
        tooManyCollisions,
        alreadyStarted,
    };

    RenameError(Case value)
        : m_case(value) {}

    [[nodiscard]] static RenameError system(int code) {
        RenameError error(Case::system);
        error.m_code = code;
        return error;
    }

    [[nodiscard]] Case value() const { return m_case; }
    [[nodiscard]] int code() const { return m_code; } // 0 unless `system`

    /// The case's name, as "identityMismatch".
    [[nodiscard]] std::string_view name() const;

    /// For the user: French, but for `system`, which keeps the platform's own text. Names what could not be
    /// put back under its own name.
    [[nodiscard]] std::string message() const;

    /// Names beside the file under which something of the folder now stands, since its own was taken
    /// meanwhile.
    [[nodiscard]] const std::vector<std::string>& keptNames() const { return m_keptNames; }
    [[nodiscard]] RenameError keeping(std::vector<std::string> names) const;

    bool operator==(const RenameError&) const = default;

private:
    Case m_case;
    int m_code = 0;
    std::vector<std::string> m_keptNames;
};

/// What a person can do about a system error on a file, in French; nothing where there is nothing to say.
[[nodiscard]] std::optional<std::string_view> adviceFor(int errorNumber);

} // namespace vesto
