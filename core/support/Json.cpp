#include "core/support/Json.h"

#include <nlohmann/json.hpp>

#include <limits>

namespace vesto {

std::optional<Json> parseJson(std::string_view bytes) {
    Json value = Json::parse(bytes.begin(), bytes.end(), nullptr, /*allow_exceptions=*/false);
    if (value.is_discarded())
        return std::nullopt;
    return value;
}

std::string writeJson(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const Json* member(const Json& value, std::string_view key) {
    if (!value.is_object())
        return nullptr;
    const auto found = value.find(key);
    return found == value.end() ? nullptr : &*found;
}

std::optional<std::string> stringMember(const Json& value, std::string_view key) {
    const Json* found = member(value, key);
    if (found == nullptr || !found->is_string())
        return std::nullopt;
    return found->get<std::string>();
}

std::optional<bool> boolMember(const Json& value, std::string_view key) {
    const Json* found = member(value, key);
    if (found == nullptr || !found->is_boolean())
        return std::nullopt;
    return found->get<bool>();
}

std::optional<double> numberMember(const Json& value, std::string_view key) {
    const Json* found = member(value, key);
    if (found == nullptr || !found->is_number())
        return std::nullopt;
    return found->get<double>();
}

std::optional<std::int64_t> integerMember(const Json& value, std::string_view key) {
    const Json* found = member(value, key);
    if (found == nullptr || !found->is_number_integer())
        return std::nullopt;
    if (found->is_number_unsigned() &&
        found->get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return std::nullopt;
    return found->get<std::int64_t>();
}

std::optional<std::uint64_t> unsignedMember(const Json& value, std::string_view key) {
    const Json* found = member(value, key);
    if (found == nullptr || !found->is_number_unsigned())
        return std::nullopt;
    return found->get<std::uint64_t>();
}

} // namespace vesto
