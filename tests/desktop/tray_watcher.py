"""A tray as StatusNotifierItem knows it: keeps what registers, reads it, opens its menu and clicks there."""
import dbus
import dbus.service

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
PROPERTIES = "org.freedesktop.DBus.Properties"


class TrayWatcher(dbus.service.Object):
    """The session's watcher, with one host. Needs a running main loop."""

    def __init__(self, bus):
        self.items = []
        self.bus = bus
        super().__init__(bus, "/StatusNotifierWatcher")
        self.name = dbus.service.BusName(WATCHER, bus)  # last: whoever sees the name asks at once

    @dbus.service.method(WATCHER, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        self.items.append((sender, service) if service.startswith("/") else (service, "/StatusNotifierItem"))

    @dbus.service.method(WATCHER, in_signature="s")
    def RegisterStatusNotifierHost(self, service):
        pass

    @dbus.service.signal(WATCHER)
    def StatusNotifierHostRegistered(self):
        pass

    # Qt asks only for properties that it was told of.
    @dbus.service.method(dbus.INTROSPECTABLE_IFACE, out_signature="s")
    def Introspect(self):
        return f"""<node><interface name="{WATCHER}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/>
<property name="RegisteredStatusNotifierItems" type="as" access="read"/>
<signal name="StatusNotifierHostRegistered"/></interface></node>"""

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.GetAll(interface)[name]

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return {"IsStatusNotifierHostRegistered": dbus.Boolean(True), "ProtocolVersion": dbus.Int32(0),
                "RegisteredStatusNotifierItems": dbus.Array([item[0] for item in self.items], signature="s")}


class TrayItem:
    """An icon, as a host sees it."""

    def __init__(self, bus, service, path):
        self.item = bus.get_object(service, path, introspect=False)
        menu = self.property("Menu")
        self.menu = dbus.Interface(bus.get_object(service, menu, introspect=False), MENU)

    def property(self, name):
        return self.item.Get(ITEM, name, dbus_interface=PROPERTIES)

    def activate(self):
        self.item.Activate(dbus.Int32(0), dbus.Int32(0), dbus_interface=ITEM)

    def entries(self):
        """Label to number, as the menu stands."""
        self.menu.AboutToShow(dbus.Int32(0))
        _, (_, _, children) = self.menu.GetLayout(dbus.Int32(0), dbus.Int32(-1), dbus.Array([], signature="s"))
        return {str(properties["label"]): int(number) for number, properties, _ in children if "label" in properties}

    def click(self, label):
        self.menu.Event(dbus.Int32(self.entries()[label]), "clicked", dbus.Int32(0, variant_level=1), dbus.UInt32(0))
