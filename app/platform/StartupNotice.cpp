#include "app/platform/StartupNotice.h"

#include "app/platform/X11.h"

#include <xcb/xcb.h>

#include <QByteArray>
#include <QWidget>
#include <QtGlobal>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace vesto::StartupNotice {
namespace {

constexpr const char* tokenName = "XDG_ACTIVATION_TOKEN";
constexpr const char* timeMark = "_TIME";
constexpr std::uint32_t fromApplication = 1;
constexpr qsizetype longestToken = 1'000; // a stranger's may be as long as it likes
constexpr qsizetype pieceSize = 20;       // bytes that one event carries

xcb_window_t rootOf(xcb_connection_t* display) {
    return xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
}

xcb_client_message_event_t eventOf(std::uint8_t format, xcb_window_t window, xcb_atom_t type) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = format;
    event.window = window;
    event.type = type;
    return event;
}

void send(xcb_connection_t* display, std::uint32_t mask, const xcb_client_message_event_t& event) {
    std::array<char, sizeof event> bytes{};
    std::memcpy(bytes.data(), &event, sizeof event);
    xcb_send_event(display, 0, rootOf(display), mask, bytes.data());
}

void activate(xcb_connection_t* display, xcb_window_t window, xcb_timestamp_t time) {
    auto event = eventOf(32, window, x11::atom(display, "_NET_ACTIVE_WINDOW"));
    event.data.data32[0] = fromApplication;
    event.data.data32[1] = time;
    send(display, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT, event);
}

/// To whoever shows that something is being started.
void endWaiting(xcb_connection_t* display, xcb_window_t window, const QByteArray& token) {
    QByteArray message = "remove: ID=\"" + QByteArray(token).replace('\\', "\\\\").replace('"', "\\\"") + '"';
    message.append('\0');
    xcb_atom_t type = x11::atom(display, "_NET_STARTUP_INFO_BEGIN");
    for (qsizetype start = 0; start < message.size(); start += pieceSize) {
        auto event = eventOf(8, window, type);
        const QByteArray piece = message.mid(start, pieceSize);
        std::ranges::copy(piece, event.data.data8);
        send(display, XCB_EVENT_MASK_PROPERTY_CHANGE, event);
        type = x11::atom(display, "_NET_STARTUP_INFO");
    }
}

} // namespace

void take(const QString& token) {
    if (!token.isEmpty())
        qputenv(tokenName, token.toUtf8());
}

unsigned timeOf(const QString& token) {
    const qsizetype mark = token.lastIndexOf(QLatin1String(timeMark));
    return mark < 0 ? 0 : token.sliced(mark + 5).toUInt(); // 0 where it is no number
}

void answer(const QWidget& window, const QString& token) {
    xcb_connection_t* display = x11::connection();
    if (display == nullptr || token.isEmpty() || token.size() > longestToken)
        return;
    const auto id = static_cast<xcb_window_t>(window.window()->winId());
    const QByteArray bytes = token.toUtf8();
    xcb_change_property(display, XCB_PROP_MODE_REPLACE, id, x11::atom(display, "_NET_STARTUP_ID"),
                        x11::atom(display, "UTF8_STRING"), 8, static_cast<std::uint32_t>(bytes.size()),
                        bytes.constData());
    if (const xcb_timestamp_t time = timeOf(token); time != 0)
        activate(display, id, time);
    endWaiting(display, id, bytes);
    xcb_flush(display);
}

} // namespace vesto::StartupNotice
