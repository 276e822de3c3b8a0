#pragma once
#include <cstdint>
#include <string_view>

struct xcb_connection_t;

/// The X11 display of this process, where it has one.
namespace vesto::x11 {

/// Null where the windows are not X11's.
[[nodiscard]] xcb_connection_t* connection();

/// The number that stands for this name; 0 where the display does not answer. Waits for it.
[[nodiscard]] std::uint32_t atom(xcb_connection_t* connection, std::string_view name);

} // namespace vesto::x11
