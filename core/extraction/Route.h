#pragma once
#include "core/extraction/TypeRegistry.h"

#include <optional>
#include <string_view>
#include <vector>

namespace vesto {

/// Which kind of reader takes a file.
enum class Route { pdf, image, email, quickLook, video, audio, document };

/// The first route in table order that takes `type`, or nothing.
[[nodiscard]] std::optional<Route> routeOf(const ContentType& type);

/// The same for the type of an extension.
[[nodiscard]] std::optional<Route> routeOfExtension(std::string_view extension);

/// Every type of the route table, in its order.
[[nodiscard]] const std::vector<ContentType>& supportedTypes();

} // namespace vesto
