"""What assistive technology gets to know: reads the accessibility bus of a private desktop."""

import subprocess
import threading
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

from .steered import DEADLINE, SteeringError

ROOT = "/org/a11y/atspi/accessible/root"
REGISTRY = "org.a11y.atspi.Registry"
ACCESSIBLE = "org.a11y.atspi.Accessible"
EVENT = "org.a11y.atspi.Event."
# The numbers of the states that a dump shows.
STATES = {5: "collapsed", 9: "expandable", 10: "expanded", 11: "focusable", 42: "has-popup"}
ENABLED, FOCUSED = 8, 12


class AccessibilityBus:
    """
    with Desktop() as desktop, AccessibilityBus(desktop) as bus:
        Application(..., environment=bus.environment)
        bus.application().dump()
    """

    def __init__(self, desktop):
        self._environment = desktop.environment
        self._folder = desktop.home
        self.announcements: list[str] = []
        self._events: list[str] = []

    def __enter__(self):
        self._launcher = subprocess.Popen(
            ["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"],
            env={name: value for name, value in self._environment.items() if name != "NO_AT_BRIDGE"},
            cwd=self._folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        try:
            self._connect()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if hasattr(self, "_loop"):
            self._loop.quit()
            self._thread.join(DEADLINE)
            self._bus.close_sync()
        self._launcher.terminate()
        self._launcher.wait(DEADLINE)

    @property
    def environment(self) -> dict[str, str]:
        """For a program that assistive technology shall see."""
        seen = {name: value for name, value in self._environment.items() if name != "NO_AT_BRIDGE"}
        return seen | {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}

    def _connect(self):
        session = connection(self._environment["DBUS_SESSION_BUS_ADDRESS"])
        address = until(lambda: answer(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus",
                                       "GetAddress"), "accessibility bus")[0]
        session.close_sync()
        # A separate thread receives the signals.
        context = GLib.MainContext()
        self._loop = GLib.MainLoop(context)
        context.push_thread_default()
        self._bus = connection(address)
        for kind in ("Object", "Window", "Focus", "Document"):
            self._bus.signal_subscribe(None, EVENT + kind, None, None, None,
                                       Gio.DBusSignalFlags.NONE, self._happened)
            # Programs send only what was asked for.
            answer(self._bus, REGISTRY, "/org/a11y/atspi/registry", REGISTRY, "RegisterEvent",
                   GLib.Variant("(sass)", (f"{kind.lower()}:", [], "")))
        context.pop_thread_default()
        self._thread = threading.Thread(target=self._loop.run, daemon=True)
        self._thread.start()

    def _happened(self, _bus, _sender, path, interface, signal, arguments):
        if signal == "Announcement":
            self.announcements.append(arguments.unpack()[3])
        self._events.append(f"{interface}.{signal} of {path}: {arguments.print_(False)}")

    def take_events(self) -> list[str]:
        """All events since the last time. The bus keeps the order, so what programs have sent until
        now is before our own event."""
        self._bus.emit_signal(None, "/", EVENT + "Object", "End", None)
        mark = f"{EVENT}Object.End of /: ()"
        until(lambda: mark in self._events, "event of ours")
        at = self._events.index(mark)
        taken, self._events = self._events[:at], self._events[at + 1:]
        return taken

    def wait_announcement(self, text: str):
        until(lambda: text in self.announcements, f"announcement {text!r}")

    def application(self) -> "Element":
        """The only application there is."""
        return until(lambda: next(iter(Element(self._bus, REGISTRY, ROOT).children()), None),
                     "accessible application")


class Element:
    def __init__(self, bus, owner: str, path: str):
        self._bus, self._owner, self._path = bus, owner, path

    def _call(self, interface: str, method: str, arguments=None):
        return answer(self._bus, self._owner, self._path, interface, method, arguments)

    def _property(self, name: str):
        arguments = GLib.Variant("(ss)", (ACCESSIBLE, name))
        return self._call("org.freedesktop.DBus.Properties", "Get", arguments)[0]

    @property
    def role(self) -> str:
        return self._call(ACCESSIBLE, "GetRoleName")[0]

    @property
    def name(self) -> str:
        return self._property("Name")

    @property
    def description(self) -> str:
        return self._property("Description")

    @property
    def states(self) -> set[int]:
        low, high = self._call(ACCESSIBLE, "GetState")[0]
        bits = low | high << 32
        return {number for number in range(64) if bits >> number & 1}

    def children(self) -> list["Element"]:
        return [Element(self._bus, *child) for child in self._call(ACCESSIBLE, "GetChildren")[0]]

    def press(self):
        self._call("org.a11y.atspi.Action", "DoAction", GLib.Variant("(i)", (0,)))

    def find(self, name: str) -> "Element | None":
        """The first element with that name below this one."""
        for child in self.children():
            if child.name == name:
                return child
            if found := child.find(name):
                return found
        return None

    def dump(self, depth: int = 0) -> str:
        """A line for this element and each below it."""
        states = self.states
        line = "  " * depth + f'{self.role} "{self.name}"'
        if self.description:
            line += f' described as "{self.description}"'
        line += "".join(f" {name}" for number, name in STATES.items() if number in states)
        if self.role == "push button" and ENABLED not in states:
            line += " disabled"
        lines = [line.replace("\n", "\\n")] + [child.dump(depth + 1) for child in self.children()]
        return "\n".join(lines)


def connection(address: str) -> Gio.DBusConnection:
    flags = Gio.DBusConnectionFlags
    return Gio.DBusConnection.new_for_address_sync(
        address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)


def answer(bus, owner: str, path: str, interface: str, method: str, arguments=None) -> tuple:
    """Empty until the application answers."""
    try:
        return bus.call_sync(owner, path, interface, method, arguments, None,
                             Gio.DBusCallFlags.NONE, int(DEADLINE * 1000), None).unpack()
    except GLib.Error as error:
        if error.matches(Gio.dbus_error_quark(), Gio.DBusError.SERVICE_UNKNOWN):
            return ()
        raise


def until(find, what: str):
    end = time.monotonic() + DEADLINE
    while not (found := find()):
        if time.monotonic() > end:
            raise SteeringError(f"no {what} within {DEADLINE} s")
        time.sleep(0.01)
    return found
