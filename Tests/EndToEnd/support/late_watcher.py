"""A StatusNotifierItem tray, without a window, that appears while the bus is too busy to announce it."""

import contextlib
import os
import signal

from gi.repository import Gio, GLib

from .desktop import WATCHER

BUS = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus")
# Clients ask for one property only: whether there is a tray.
ANSWERS = {
    "RegisterStatusNotifierItem": GLib.Variant("()", ()),
    "Get": GLib.Variant("(v)", (GLib.Variant("b", True),)),
    "Introspect": GLib.Variant("(s)", (
        f"<node><interface name='{WATCHER}'>"
        "<property name='IsStatusNotifierHostRegistered' type='b' access='read'/>"
        "</interface></node>",)),
}


class LateWatcher:
    """
    with LateWatcher(address) as watcher:
        with watcher.coming():
            ...
        watcher.items
    """

    def __init__(self, address: str):
        self.items: list[str] = []
        self._connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._connection.add_filter(self._hear)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._connection.close_sync(None)

    @contextlib.contextmanager
    def coming(self):
        """Holds the bus up. When it continues, it answers this tray first."""
        asked = self._connection.call_sync(
            *BUS, "GetConnectionUnixProcessID", GLib.Variant("(s)", BUS[:1]), None,
            Gio.DBusCallFlags.NONE, -1, None)
        bus = asked.unpack()[0]
        os.kill(bus, signal.SIGSTOP)
        try:
            self._connection.call(*BUS, "RequestName", GLib.Variant("(su)", (WATCHER, 0)), None,
                                  Gio.DBusCallFlags.NONE, -1, None, None)
            self._connection.flush_sync(None)
            yield
        finally:
            os.kill(bus, signal.SIGCONT)

    def _hear(self, connection, message, is_incoming):
        answer = ANSWERS.get(message.get_member()) if is_incoming else None
        if answer is None:
            return message
        if message.get_member() == "RegisterStatusNotifierItem":
            self.items.append(message.get_sender())
        reply = message.new_method_reply()
        reply.set_body(answer)
        connection.send_message(reply, Gio.DBusSendMessageFlags.NONE)
        return None
