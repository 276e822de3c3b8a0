#pragma once
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

namespace vesto {

/// Why a file could not be summarized.
class SummarizerError {
public:
    /// No route takes the file: its type's identifier, or its extension (perhaps empty) where it has no type.
    struct UnsupportedType {
        std::string type;
        bool operator==(const UnsupportedType&) const = default;
    };
    /// It could not be opened, read or decoded.
    struct Unreadable {
        std::filesystem::path path;
        bool operator==(const Unreadable&) const = default;
    };
    /// It asks for a password.
    struct Locked {
        std::filesystem::path path;
        bool operator==(const Locked&) const = default;
    };
    using Case = std::variant<UnsupportedType, Unreadable, Locked>;

    [[nodiscard]] static SummarizerError unsupportedType(std::string type) {
        return SummarizerError(UnsupportedType{std::move(type)});
    }
    [[nodiscard]] static SummarizerError unreadable(std::filesystem::path path) {
        return SummarizerError(Unreadable{std::move(path)});
    }
    [[nodiscard]] static SummarizerError locked(std::filesystem::path path) {
        return SummarizerError(Locked{std::move(path)});
    }

    [[nodiscard]] const Case& value() const { return m_case; }

    /// "unsupportedType", "unreadable" or "locked".
    [[nodiscard]] std::string_view name() const;

    bool operator==(const SummarizerError&) const = default;

private:
    explicit SummarizerError(Case value)
        : m_case(std::move(value)) {}

    Case m_case;
};

} // namespace vesto
