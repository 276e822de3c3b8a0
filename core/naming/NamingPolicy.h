#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// The limits that every proposed name obeys, and what enforces them. Pure and thread-safe, linear time.
struct NamingPolicy {
    std::int64_t maxTitleLength = 60;    // grapheme clusters
    std::int64_t maxFileNameBytes = 255; // bytes of UTF-8

    bool operator==(const NamingPolicy&) const = default;

    /// A short, tidy, single-line title out of whatever a generator wrote; empty where fewer than two letters
    /// are left.
    [[nodiscard]] std::string cleanTitle(std::string_view raw) const;

    /// Any text made safe as a base name; may be empty.
    [[nodiscard]] static std::string sanitizeFileName(std::string_view text);

    /// Base name, collision number (positive) and extension (without its dot, may be empty) joined and cut to
    /// the byte limit at a grapheme boundary. Never an empty stem.
    [[nodiscard]] std::string fileName(std::string_view base, std::string_view ext,
                                       std::optional<std::int64_t> suffix = std::nullopt) const;
};

} // namespace vesto
