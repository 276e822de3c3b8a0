#include "app/platform/X11.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace vesto::x11 {

xcb_connection_t* connection() {
    auto* application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return application == nullptr ? nullptr : application->connection();
}

std::uint32_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace vesto::x11
