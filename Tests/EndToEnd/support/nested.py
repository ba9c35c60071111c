"""A private Wayland desktop without a layer shell or without a bar: KWin, Mutter or Weston as a window
that fills an X server in memory, whose pointer and keyboard are theirs."""

import contextlib
import os
import re
import shutil
import subprocess
import time

from .application import Application
from .buses import Bus
from .desktop import WATCHER, Screen
from .pictures import Picture
from .private_desktop import CompositorDesktop
from .steered import DEADLINE

WIDTH, HEIGHT = 1280, 800
ICON = (1000, 12)

# A wallpaper and no bar, on which a clock would run.
WESTON = """[shell]
background-color=0xff305070
panel-position=none
locking=false
animation=none
startup-animation=none
close-animation=none
"""


class Nested(CompositorDesktop):
    """
    with Nested("kwin") as desktop:
        with Application(socket, environment=desktop.environment) as application:
            desktop.click_icon()
    """

    def __init__(self, compositor: str):
        self.compositor = compositor

    def _start(self):
        self._bus = self._end.enter_context(Bus("session"))
        self._bus.start()
        # The tray's end of the bus.
        self._bus.mock(WATCHER, "/StatusNotifierWatcher", WATCHER,
                       methods={"RegisterStatusNotifierItem": ("s", "", "")})
        self.outer = self._spawn_x_server(WIDTH, HEIGHT, dict(os.environ))
        self._run = self.home / "run"
        self._run.mkdir(mode=0o700)
        environment = {
            "PATH": os.environ["PATH"], "HOME": str(self.home), "XDG_RUNTIME_DIR": str(self._run),
            "XDG_CONFIG_HOME": str(self.home), "DISPLAY": self.outer, "LIBGL_ALWAYS_SOFTWARE": "1",
            "KWIN_COMPOSE": "Q", "MUTTER_DEBUG_DUMMY_MODE_SPECS": f"{WIDTH}x{HEIGHT}",
        } | self._bus.environment
        self._spawn_compositor(self._command(), self._run, environment)
        display = self._await(lambda: next(
            (path for path in self._run.iterdir() if re.fullmatch(r"wl-test", path.name)), None),
            "socket")
        self.environment = self._bus.environment | {
            "WAYLAND_DISPLAY": str(display), "XDG_SESSION_TYPE": "wayland", "QT_QPA_PLATFORM": "",
            "NO_AT_BRIDGE": "1"}
        if self.compositor == "mutter":
            display = self._await(lambda: re.search(
                r"public X11 display (:\d+)", (self.home / "log").read_text()), "X server")
            authority = self._await(lambda: next(
                (path for path in self._run.iterdir() if "auth" in path.name), None), "X authority")
            self.environment |= {"DISPLAY": display[1], "XAUTHORITY": str(authority)}
        self.screen = Screen(self.outer)
        self._end.callback(self.screen.close)
        if self.compositor != "kwin":
            self._await(lambda: self.screen.pixels(600, 400, 1, 1)[:3] != bytes(3), "wallpaper")
        if self.compositor == "mutter":
            # Before the first press it tells no X window about motion, and presses arrive where the
            # pointer was. xev sees the same.
            self.click(WIDTH // 2, HEIGHT - 1)
        if self.compositor == "weston":
            # It follows the pointer only after that has come in from outside its window.
            self.move(1, 0)
        self.background = self.picture()

    def _command(self) -> list:
        if self.compositor == "mutter":
            return ["mutter", "--nested", "--wayland", "--wayland-display", "wl-test"]
        if self.compositor == "weston":
            configuration = self.home / "weston.ini"
            configuration.write_text(WESTON)
            return ["weston", "--backend=x11-backend.so", "--use-pixman", f"--width={WIDTH}",
                    f"--height={HEIGHT}", "--socket=wl-test", "--idle-time=0",
                    f"--config={configuration}"]
        # The installed program has a capability that a container does not grant.
        program = self.home / "kwin_wayland"
        shutil.copy("/usr/bin/kwin_wayland", program)
        return [program, "--x11-display", self.outer, "--width", str(WIDTH), "--height", str(HEIGHT),
                "--socket", "wl-test", "--no-lockscreen", "--no-global-shortcuts"]

    def items(self) -> list[str]:
        """The names of all items that have been registered so far."""
        return re.findall(r'RegisterStatusNotifierItem "(:[\d.]+)"', "\n".join(self._bus.calls(WATCHER)))

    def activate_item(self, x: int, y: int):
        """What a tray does when the last registered icon is clicked there."""
        subprocess.run(
            ["dbus-send", f"--bus={self._bus.address}", "--print-reply", f"--dest={self.items()[-1]}",
             "/StatusNotifierItem", "org.kde.StatusNotifierItem.Activate", f"int32:{x}",
             f"int32:{y}"], check=True, capture_output=True, timeout=DEADLINE)

    def click_icon(self):
        """As if it were in a bar."""
        self.move(*ICON)
        self.activate_item(*ICON)

    def shows_window(self, title: str) -> bool:
        """Whether there is a window whose title begins like that."""
        if self.compositor == "kwin":
            searched = ["dbus-send", f"--bus={self._bus.address}", "--print-reply=literal",
                        "--dest=org.kde.KWin", "/WindowsRunner", "org.kde.krunner1.Match",
                        f"string:{title}"]
        else:
            searched = ["xdotool", "search", "--onlyvisible", "--name", f"^{title}"]
        found = subprocess.run(searched, env=os.environ | self.environment, capture_output=True,
                               text=True, timeout=DEADLINE)
        # An empty answer is an array without elements.
        return found.stdout.split() not in ([], ["array", "[", "]"])

    def picture(self) -> Picture:
        return self.screen.picture(WIDTH, HEIGHT)

    def card(self) -> tuple[int, int, int, int] | None:
        return self.picture().light_area(self.background)

    def _xdotool(self, *arguments):
        subprocess.run(["xdotool", *map(str, arguments)], check=True, timeout=DEADLINE,
                       env={"PATH": os.environ["PATH"], "DISPLAY": self.outer})

    def move(self, x: int, y: int):
        self._xdotool("mousemove", x - 1, y, "mousemove", x, y)

    def click(self, x: int, y: int):
        self.move(x, y)
        # The compositor looks for the window under the pointer with its next frame.
        time.sleep(0.2)
        self._xdotool("click", 1)

    def keys(self, *names: str):
        self._xdotool("key", "--delay", 30, *names)


@contextlib.contextmanager
def opened(desktop: Nested, daemon):
    """An application whose panel has been opened by a click on its icon."""
    before = len(desktop.items())
    with Application(daemon.socket, environment=desktop.environment) as application:
        application.wait_log("[State] HashiBus connected")
        desktop.await_that(lambda: len(desktop.items()) > before, "item of the tray")
        desktop.click_icon()
        application.wait(panel_visible=1)
        yield application
