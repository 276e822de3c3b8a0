#pragma once
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

/// The identifier of a known extension, as `typeOfExtension` gives it; empty for an unknown one.
[[nodiscard]] std::string_view identifierOfExtension(std::string_view extension);

/// A known type and all that it conforms to, itself first; empty for an unknown one.
[[nodiscard]] std::vector<std::string_view> lineage(std::string_view identifier);

/// Equality or inheritance, over any number of steps.
[[nodiscard]] bool conforms(const ContentType& type, std::string_view identifier);

} // namespace TypeRegistry
} // namespace vesto
