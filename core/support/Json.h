#pragma once
#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// Keeps its keys in the order in which they were written.
using Json = nlohmann::ordered_json;

/// Nothing where the bytes are not one whole JSON value. Never throws, whatever the bytes.
[[nodiscard]] std::optional<Json> parseJson(std::string_view bytes);

/// Compact; invalid UTF-8 in a string comes out as U+FFFD.
[[nodiscard]] std::string writeJson(const Json& value);

/// The member of an object under `key`, or nullptr where `value` is no object or lacks it.
[[nodiscard]] const Json* member(const Json& value, std::string_view key);

// A member of the exact type, or nothing. Integers that do not fit are nothing.
[[nodiscard]] std::optional<std::string> stringMember(const Json& value, std::string_view key);
[[nodiscard]] std::optional<bool> boolMember(const Json& value, std::string_view key);
[[nodiscard]] std::optional<double> numberMember(const Json& value, std::string_view key);
[[nodiscard]] std::optional<std::int64_t> integerMember(const Json& value, std::string_view key);
[[nodiscard]] std::optional<std::uint64_t> unsignedMember(const Json& value, std::string_view key);

} // namespace vesto
