#pragma once
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// A file's type, told by a uniform identifier such as "com.adobe.pdf".
struct ContentType {
    std::string identifier;
    bool operator==(const ContentType&) const = default;
};

/// The types that Vesto knows and how they conform to each other. Immutable and thread-safe.
namespace TypeRegistry {

/// The type of an extension in any letter case, without its dot. An unknown one gets an identifier of its
/// own, "dyn." followed by it; an empty one nothing.
[[nodiscard]] std::optional<ContentType> typeOfExtension(std::string_view extension);

/// The type that the first 16 bytes of a file show by fixed signatures. A comparison, not a parser.
[[nodiscard]] std::optional<ContentType> typeOfSignature(std::string_view firstBytes);

/// Equality or inheritance, over any number of steps.
[[nodiscard]] bool conforms(const ContentType& type, std::string_view identifier);

} // namespace TypeRegistry
} // namespace vesto
