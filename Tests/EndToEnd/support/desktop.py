"""A private desktop: an invisible X server, a window manager, a session bus, and several trays."""

import ctypes
import os
import re
import subprocess
import time

from .pictures import Picture
from .private_desktop import PrivateDesktop
from .steered import DEADLINE, SteeringError, end_process

WIDTH, HEIGHT = 1024, 700
WATCHER = "org.kde.StatusNotifierWatcher"

# A bar that contains only a tray, at its upper or left end.
XFCE_PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p={position};x=0;y=0"/>
      <property name="mode" type="uint" value="{mode}"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray">
      <property name="menu-is-primary" type="bool" value="false"/>
    </property>
  </property>
</channel>
"""

# Position and mode of xfce4-panel's bar.
EDGES = {"top": (6, 0), "bottom": (8, 0), "left": (6, 1), "right": (2, 1)}

TRAYS = {
    # An XEmbed tray, as wide as its icons, at the upper right.
    "trayer": ["trayer", "--edge", "top", "--align", "right", "--SetDockType", "true",
               "--height", "24", "--widthtype", "request"],
    # A StatusNotifierItem tray, which finds items on the session bus.
    "xfce4-panel": ["xfce4-panel", "--disable-wm-check"],
}
READY = {
    "trayer": ["xdotool", "search", "--onlyvisible", "--class", "^trayer$"],
    "xfce4-panel": ["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                    "org.freedesktop.DBus.GetNameOwner", f"string:{WATCHER}"],
}
ICONS = {"trayer": (WIDTH - 12, 12), "xfce4-panel": (17, 16)}


class Screen:
    """Reads what an X server shows."""

    ALL_PLANES, Z_PIXMAP = ctypes.c_ulong(-1), 2

    def __init__(self, display: str):
        self._x11 = ctypes.CDLL("libX11.so.6")
        self._x11.XOpenDisplay.restype = ctypes.c_void_p
        self._x11.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
        self._x11.XDefaultRootWindow.restype = ctypes.c_ulong
        self._x11.XGetImage.argtypes = [
            ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
            ctypes.c_uint, ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
        self._x11.XGetImage.restype = ctypes.POINTER(_Image)
        self._x11.XFree.argtypes = [ctypes.c_void_p]
        self._x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
        self._display = self._x11.XOpenDisplay(display.encode())
        if not self._display:
            raise SteeringError(f"no X server answers at {display}")
        self._root = self._x11.XDefaultRootWindow(self._display)

    def close(self):
        self._x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
        self._x11.XCloseDisplay(self._display)

    def own(self, selection: str):
        """Makes this connection the owner of the selection, as managers are."""
        self._x11.XInternAtom.restype = ctypes.c_ulong
        self._x11.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
        self._x11.XCreateSimpleWindow.restype = ctypes.c_ulong
        self._x11.XCreateSimpleWindow.argtypes = [
            ctypes.c_void_p, ctypes.c_ulong, *[ctypes.c_int] * 5, *[ctypes.c_ulong] * 2]
        self._x11.XSetSelectionOwner.argtypes = [ctypes.c_void_p, *[ctypes.c_ulong] * 3]
        window = self._x11.XCreateSimpleWindow(self._display, self._root, 0, 0, 1, 1, 0, 0, 0)
        self._x11.XSetSelectionOwner(self._display, self._x11.XInternAtom(
            self._display, selection.encode(), False), window, 0)
        self._x11.XSync(self._display, False)

    def grab(self):
        """The server serves no other client until `ungrab`."""
        self._x11.XGrabServer.argtypes = [ctypes.c_void_p]
        self._x11.XGrabServer(self._display)
        self._x11.XSync(self._display, False)

    def ungrab(self):
        self._x11.XUngrabServer.argtypes = [ctypes.c_void_p]
        self._x11.XUngrabServer(self._display)
        self._x11.XSync(self._display, False)

    def split(self, *widths: int, height: int):
        """Makes monitors of that width beside each other. The only output belongs to the last one,
        so that is where bars are."""
        class Monitor(ctypes.Structure):
            _fields_ = [("name", ctypes.c_ulong)] + [
                (name, ctypes.c_int) for name in ("primary", "automatic", "outputs", "x", "y",
                                                  "width", "height", "mwidth", "mheight")] + [
                ("output", ctypes.c_void_p)]
        randr = ctypes.CDLL("libXrandr.so.2")
        randr.XRRGetScreenResources.restype = ctypes.c_void_p
        randr.XRRGetScreenResources.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
        randr.XRRSetMonitor.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_void_p]
        self._x11.XInternAtom.restype = ctypes.c_ulong
        self._x11.XInternAtom.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]
        resources = ctypes.cast(
            randr.XRRGetScreenResources(self._display, self._root), ctypes.POINTER(_Resources))
        output = ctypes.c_ulong(resources.contents.outputs[0])
        for number, width in enumerate(widths):
            name = self._x11.XInternAtom(self._display, f"monitor-{number}".encode(), False)
            is_last = number + 1 == len(widths)
            monitor = Monitor(name, is_last, False, is_last, sum(widths[:number]), 0, width, height,
                              300, 200, ctypes.cast(ctypes.pointer(output), ctypes.c_void_p))
            randr.XRRSetMonitor(self._display, self._root, ctypes.byref(monitor))
        self._x11.XSync(self._display, False)

    def picture(self, width: int, height: int) -> Picture:
        pixels = self.pixels(0, 0, width, height)
        colors = bytearray(3 * width * height)
        colors[0::3], colors[1::3], colors[2::3] = pixels[2::4], pixels[1::4], pixels[0::4]
        return Picture(width, height, bytes(colors))

    def pixels(self, x: int, y: int, width: int, height: int) -> bytes:
        """Four bytes per pixel: blue, green, red, unused."""
        image = self._x11.XGetImage(
            self._display, self._root, x, y, width, height, self.ALL_PLANES, self.Z_PIXMAP)
        size = image.contents.bytes_per_line * height
        pixels = ctypes.string_at(image.contents.data, size)
        self._x11.XFree(image.contents.data)
        self._x11.XFree(image)
        return pixels


class _Image(ctypes.Structure):
    _fields_ = [(name, ctypes.c_int) for name in ("width", "height", "xoffset", "format")] + [
        ("data", ctypes.c_void_p)] + [
        (name, ctypes.c_int) for name in ("byte_order", "bitmap_unit", "bitmap_bit_order",
                                          "bitmap_pad", "depth", "bytes_per_line")]


class _Resources(ctypes.Structure):
    _fields_ = [("time", ctypes.c_ulong), ("changed", ctypes.c_ulong), ("controllers", ctypes.c_int),
                ("controller", ctypes.c_void_p), ("count", ctypes.c_int),
                ("outputs", ctypes.POINTER(ctypes.c_ulong))]


class Desktop(PrivateDesktop):
    """`monitors` are widths of equally high screens beside each other.

    with Desktop() as desktop:
        desktop.start_tray("trayer")
        with Application(socket, environment=desktop.environment) as application:
            desktop.wait_icon("trayer")
    """

    def __init__(self, window_manager: str | None = "openbox", width: int = WIDTH,
                 height: int = HEIGHT, monitors: tuple[int, ...] = ()):
        self.window_manager, self.width, self.height = window_manager, width, height
        self.monitors = monitors

    def _start(self):
        self._trays: dict[str, subprocess.Popen] = {}
        directories = {"HOME": self.home}
        for name in ("config", "cache", "run"):
            (self.home / name).mkdir(mode=0o700)
        binaries = self.home / "bin"
        binaries.mkdir()
        self.opened = self.home / "opened"
        # This desktop's browser records what it is asked to open.
        browser = binaries / "browser"
        browser.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >>{self.opened}\n')
        browser.chmod(0o755)
        entries = self.home / "share/applications"
        entries.mkdir(parents=True)
        (entries / "browser.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Browser\nExec={browser} %u\n")
        (self.home / "config/mimeapps.list").write_text(
            "[Default Applications]\n" + "".join(
                f"x-scheme-handler/{scheme}=browser.desktop\n" for scheme in ("http", "https")))
        directories |= {"XDG_CONFIG_HOME": self.home / "config",
                        "XDG_CACHE_HOME": self.home / "cache",
                        "XDG_RUNTIME_DIR": self.home / "run"}
        self.environment = {name: str(path) for name, path in directories.items()} | {
            "PATH": f"{binaries}:{os.environ['PATH']}",
            "LANG": "C.UTF-8",
            "XDG_DATA_DIRS": f"{self.home / 'share'}:/usr/local/share:/usr/share",
            "NO_AT_BRIDGE": "1",
            "GTK_A11Y": "none",
            "XDG_SESSION_TYPE": "x11",
            "XDG_CURRENT_DESKTOP": "XFCE",
            "QT_QPA_PLATFORM": "xcb",
        }
        self.environment["DISPLAY"] = self._spawn_x_server(self.width, self.height, self.environment)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._spawn_told(
            ["dbus-daemon", "--session", "--nofork", "--print-address={}"], self.environment)
        self.screen = Screen(self.environment["DISPLAY"])
        self._end.callback(self.screen.close)
        if self.monitors:
            self.screen.split(*self.monitors, height=self.height)
        if self.window_manager is None:
            return
        self._spawn([self.window_manager], self.environment)
        # A window that is shown while the window manager starts may stay invisible for good. Only
        # window managers know about desktops.
        self.await_that(lambda: self._succeeds(["xdotool", "get_desktop"]), "window manager")

    # Trays

    def start_tray(self, kind: str, edge: str = "top", options: tuple[str, ...] = ()):
        """Returns when the tray is ready. An XEmbed tray would lose an icon that comes earlier. A
        StatusNotifierItem tray becomes an XEmbed tray, too, a moment before it is ready."""
        if kind == "xfce4-panel":
            folder = self.home / "config/xfce4/xfconf/xfce-perchannel-xml"
            folder.mkdir(parents=True, exist_ok=True)
            (folder / "xfce4-panel.xml").write_text(XFCE_PANEL.format(
                position=EDGES[edge][0], mode=EDGES[edge][1]))
        self._trays[kind] = self._spawn([*TRAYS[kind], *options], self.environment)
        self.await_that(lambda: self._succeeds(READY[kind]), f"{kind} that is ready")

    def _succeeds(self, command: list[str]) -> bool:
        return subprocess.run(command, env=self.environment, capture_output=True,
                              timeout=DEADLINE).returncode == 0

    def end_tray(self, kind: str):
        end_process(self._trays.pop(kind))

    def icon_pixels(self, kind: str) -> set[bytes]:
        """The colors at the first item's icon."""
        x, y = ICONS[kind]
        pixels = self.screen.pixels(x - 8, y - 8, 16, 16)
        return {pixels[i:i + 3] for i in range(0, len(pixels), 4)}

    def around_icon(self, kind: str) -> bytes:
        """The area beside and below the icon, where its menu opens."""
        x, _ = ICONS[kind]
        return self.screen.pixels(max(0, min(x - 60, WIDTH - 120)), 34, 120, 60)

    def wait_icon(self, kind: str):
        """Waits until the icon shows a drawing, light on dark or dark on light, and is stable."""
        def shows_icon():
            colors = self.icon_pixels(kind)
            brightness = [sum(color) for color in colors]
            if len(colors) < 4 or max(brightness) - min(brightness) < 200:
                return False
            if kind == "xfce4-panel" and not self._items():
                return False
            time.sleep(0.2)
            return self.icon_pixels(kind) == colors
        self.await_that(shows_icon, f"icon in {kind}")

    def _items(self) -> str:
        """The items in the StatusNotifierItem tray; empty without such a tray."""
        asked = subprocess.run(
            ["dbus-send", "--session", "--print-reply=literal", f"--dest={WATCHER}",
             "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties.Get",
             f"string:{WATCHER}", "string:RegisteredStatusNotifierItems"],
            env=self.environment, capture_output=True, text=True, timeout=DEADLINE)
        return asked.stdout.split("[", 1)[-1].strip(" ]\n")

    def wait_item(self):
        """Waits until the StatusNotifierItem tray has an item."""
        self.await_that(self._items, "item in the tray")

    def activate_item(self):
        """Reports a click on the item, as the StatusNotifierItem tray does."""
        owner, _, path = self._items().partition("/")
        subprocess.run(
            ["dbus-send", "--session", "--type=method_call", f"--dest={owner}", f"/{path}",
             "org.kde.StatusNotifierItem.Activate", "int32:0", "int32:0"],
            env=self.environment, capture_output=True, check=True, timeout=DEADLINE)

    def tool_tip(self) -> str:
        """What the StatusNotifierItem tray tells about its item."""
        owner, _, path = self._items().partition("/")
        asked = subprocess.run(
            ["dbus-send", "--session", "--print-reply", f"--dest={owner}", f"/{path}",
             "org.freedesktop.DBus.Properties.Get", "string:org.kde.StatusNotifierItem",
             "string:ToolTip"],
            env=self.environment, capture_output=True, text=True, timeout=DEADLINE)
        return "".join(re.findall(r'string "(.*)"', asked.stdout))

    def wait_no_icon(self, kind: str):
        self.await_that(lambda: len(self.icon_pixels(kind)) == 1, f"end of the icon in {kind}")

    # Input

    def _xdotool(self, *arguments):
        subprocess.run(["xdotool", *map(str, arguments)], env=self.environment, check=True,
                       timeout=DEADLINE)

    def move(self, x: int, y: int):
        self._xdotool("mousemove", x, y)

    def click(self, x: int, y: int, button: int = 1):
        self._xdotool("mousemove", x, y, "click", button)

    def click_icon(self, kind: str, button: int = 1):
        self.click(*ICONS[kind], button)

    def keys(self, *names: str):
        self._xdotool("key", "--delay", 30, *names)

    # Output

    def shows_window_of(self, pid: int) -> bool:
        searched = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(pid)],
                                  env=self.environment, capture_output=True, timeout=DEADLINE)
        return bool(searched.stdout.strip())

    def panel_window_size(self) -> tuple[int, int]:
        """With its shadow, which is a part of the window."""
        found = subprocess.run(
            ["xdotool", "search", "--onlyvisible", "--name", "^Quoxelin$", "getwindowgeometry",
             "--shell"],
            env=self.environment, capture_output=True, text=True, check=True, timeout=DEADLINE)
        width, height = re.search(r"WIDTH=(\d+)\nHEIGHT=(\d+)", found.stdout).groups()
        return int(width), int(height)

    def shows_card_at(self, x: int, y: int) -> bool:
        """Whether the light background of a card is painted there."""
        return min(self.screen.pixels(x, y, 1, 1)[:3]) > 0xF0

    def opened_urls(self) -> list[str]:
        return self.opened.read_text().split("\n")[:-1] if self.opened.exists() else []
