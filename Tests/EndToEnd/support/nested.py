"""A private Wayland desktop without a layer shell or without a bar: KWin or Mutter as a window that
fills an X server in memory, whose pointer and keyboard are theirs."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

from .buses import Bus
from .desktop import Screen
from .steered import DEADLINE, end_process, wait_until
from .sway import as_somebody_else

WIDTH, HEIGHT = 1280, 800
WATCHER = "org.kde.StatusNotifierWatcher"


class Nested:
    """
    with Nested("kwin") as desktop:
        with Application(socket, environment=desktop.environment) as application:
            desktop.activate_item(1100, 12)
    """

    def __init__(self, compositor: str):
        self.compositor = compositor
        self._processes: list[subprocess.Popen] = []
        self.screen = None

    def __enter__(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="qxnest-"))
        self._bus = Bus("session")
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self.screen:
            self.screen.close()
        for process in reversed(self._processes):
            end_process(process)
        self._bus.__exit__()
        shutil.rmtree(self.home, ignore_errors=True)

    def _start(self):
        self._bus.start()
        # The tray's end of the bus.
        self._bus.mock(WATCHER, "/StatusNotifierWatcher", WATCHER,
                       methods={"RegisterStatusNotifierItem": ("s", "", "")})
        reader, writer = os.pipe()
        self._processes.append(subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{WIDTH}x{HEIGHT}x24", "+extension",
             "GLX", "-nolisten", "tcp", "-noreset"], pass_fds=[writer], stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True))
        os.close(writer)
        with open(reader) as told:
            self.outer = ":" + told.readline().strip()
        self._run = self.home / "run"
        self._run.mkdir(mode=0o700)
        environment = {
            "PATH": os.environ["PATH"], "HOME": str(self.home), "XDG_RUNTIME_DIR": str(self._run),
            "XDG_CONFIG_HOME": str(self.home), "DISPLAY": self.outer, "LIBGL_ALWAYS_SOFTWARE": "1",
            "KWIN_COMPOSE": "Q", "MUTTER_DEBUG_DUMMY_MODE_SPECS": f"{WIDTH}x{HEIGHT}",
        } | self._bus.environment
        with open(self.home / "log", "w") as log:
            self._processes.append(subprocess.Popen(
                as_somebody_else(self._command(), self.home, self._run), env=environment,
                cwd=self.home, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                start_new_session=True))
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
        if self.compositor == "mutter":
            self._await(lambda: self.screen.pixels(600, 400, 1, 1)[:3] != bytes(3), "wallpaper")
            # Before the first press it tells no X window about motion, and presses arrive where the
            # pointer was. xev sees the same.
            self.click(WIDTH // 2, HEIGHT - 1)
        self.background = self.screen.picture(WIDTH, HEIGHT)

    def _command(self) -> list:
        if self.compositor == "mutter":
            return ["mutter", "--nested", "--wayland", "--wayland-display", "wl-test"]
        # The installed program has a capability that a container does not grant.
        program = self.home / "kwin_wayland"
        shutil.copy("/usr/bin/kwin_wayland", program)
        return [program, "--x11-display", self.outer, "--width", str(WIDTH), "--height", str(HEIGHT),
                "--socket", "wl-test", "--no-lockscreen", "--no-global-shortcuts"]

    def _await(self, holds, what: str):
        return wait_until(holds, lambda: f"{what}\n{(self.home / 'log').read_text()[-3000:]}")

    def items(self) -> list[str]:
        """The names of all items that have been registered so far."""
        return re.findall(r'RegisterStatusNotifierItem "(:[\d.]+)"', "\n".join(self._bus.calls(WATCHER)))

    def activate_item(self, x: int, y: int):
        """What a tray does when the last registered icon is clicked there."""
        subprocess.run(
            ["dbus-send", f"--bus={self._bus.address}", "--print-reply", f"--dest={self.items()[-1]}",
             "/StatusNotifierItem", "org.kde.StatusNotifierItem.Activate", f"int32:{x}",
             f"int32:{y}"], check=True, capture_output=True, timeout=DEADLINE)

    await_that = staticmethod(wait_until)

    def card(self) -> tuple[int, int, int, int] | None:
        """The place and size of what is light on the screen and was not in the beginning."""
        return self.screen.picture(WIDTH, HEIGHT).light_area(self.background)

    def wait_stable_card(self) -> tuple[int, int, int, int]:
        last = None

        def is_stable():
            nonlocal last
            before, last = last, self.card()
            return last if last and last == before else None
        return self._await(is_stable, "card")

    def wait_no_card(self):
        self._await(lambda: self.card() is None, "end of all cards")

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
