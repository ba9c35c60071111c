"""A private Wayland desktop: sway on screens that exist in memory only, its bar with a tray, a
session bus, a pointer and a keyboard."""

import json
import os
import pathlib
import re
import subprocess

from .buses import Bus
from .pictures import Picture
from .private_desktop import CompositorDesktop
from .seat import Seat
from .steered import DEADLINE

WIDTH, HEIGHT = 1280, 800

class Sway(CompositorDesktop):
    """
    with Sway() as desktop:
        with Application(socket, environment=desktop.environment) as application:
            desktop.wait_icon()
            desktop.click_icon()
    """

    def __init__(self, outputs: int = 1, scale: int = 1, bar: str = "top"):
        self.outputs, self.scale, self.bar = outputs, scale, bar
        # Logical sizes: of one screen and of all.
        self.width, self.height = WIDTH // scale, HEIGHT // scale

    def _start(self):
        self._bus = self._end.enter_context(Bus("session"))
        self._bus.start()
        configuration = self.home / "configuration"
        configuration.write_text("xwayland disable\n" + "".join(
            f"output HEADLESS-{number + 1} resolution {WIDTH}x{HEIGHT} scale {self.scale} "
            f"position {number * self.width} 0 bg #305070 solid_color\n"
            for number in range(self.outputs)
        ) + f"bar {{\n position {self.bar}\n tray_output *\n font monospace 10\n}}\n")
        self.run = self.home / "run"
        self.run.mkdir(mode=0o700)
        environment = {
            "PATH": os.environ["PATH"], "HOME": str(self.home), "XDG_RUNTIME_DIR": str(self.run),
            "XDG_CONFIG_HOME": str(self.home), "XDG_DATA_DIRS": str(self.home / "share"),
            "WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman",
            "WLR_HEADLESS_OUTPUTS": str(self.outputs)} | self._bus.environment
        self._spawn_compositor(["sway", "--config", configuration], self.run, environment)
        display = self._await_file(r"wayland-\d+")
        self._environment = environment | {
            "WAYLAND_DISPLAY": str(display), "SWAYSOCK": str(self._await_file(r"sway-ipc\..*"))}
        self.environment = self._bus.environment | {
            "WAYLAND_DISPLAY": str(display), "XDG_SESSION_TYPE": "wayland",
            "XDG_CURRENT_DESKTOP": "sway", "QT_QPA_PLATFORM": "", "NO_AT_BRIDGE": "1",
            "XDG_DATA_DIRS": f"{self.home / 'share'}:/usr/share"}
        self.seat = Seat(str(display), self.width * self.outputs, self.height)
        self._end.callback(self.seat.close)
        self._await(self._shows_bar, "bar")
        self.background = self.picture()

    def _await_file(self, pattern: str) -> pathlib.Path:
        return self._await(lambda: next(
            (path for path in self.run.iterdir() if re.fullmatch(pattern, path.name)), None), pattern)

    def message(self, *words: str):
        """What sway answers to swaymsg."""
        asked = subprocess.run(["swaymsg", "--raw", *words], env=self._environment, check=True,
                               capture_output=True, text=True, timeout=DEADLINE)
        return json.loads(asked.stdout)

    def ordinary_windows(self) -> list[str]:
        """The titles of the windows that sway manages."""
        def leaves(node):
            children = node["nodes"] + node["floating_nodes"]
            if node["type"] in ("con", "floating_con") and not children and node["pid"]:
                yield node["name"] or ""
            for child in children:
                yield from leaves(child)
        return list(leaves(self.message("-t", "get_tree")))

    # Output

    def picture(self) -> Picture:
        """All screens beside each other, in device pixels."""
        file = self.home / "picture.ppm"
        subprocess.run(["grim", "-t", "ppm", "-s", str(self.scale), file], env=self._environment,
                       check=True, capture_output=True, timeout=DEADLINE)
        return Picture.read(file)

    def _shows_bar(self) -> bool:
        picture = self.picture()
        row = 2 if self.bar == "top" else picture.height - 3
        return all(picture.pixel(x, row) != picture.pixel(x, picture.height // 2)
                   for x in range(self.width // 2, picture.width, self.width * self.scale))

    def bar_height(self) -> int:
        rows = range(self.background.height)
        desktop = self.background.pixel(5, self.background.height // 2)
        return sum(self.background.pixel(5, row) != desktop for row in rows) // self.scale

    def card(self) -> tuple[int, int, int, int] | None:
        found = self.picture().light_area(self.background)
        return found and tuple(round(value / self.scale) for value in found)

    # Input

    def icon(self, output: int = 0) -> tuple[int, int]:
        middle = self.bar_height() // 2
        return ((output + 1) * self.width - middle - 1,
                middle if self.bar == "top" else self.height - middle)

    def wait_icon(self):
        x, y = (place * self.scale for place in self.icon())
        plain = self.background.around(x, y, 6 * self.scale)
        self._await(lambda: self.picture().around(x, y, 6 * self.scale) != plain, "icon")

    def click(self, x: int, y: int):
        self.seat.click(x, y)

    def keys(self, *names: str):
        self.seat.keys(*names)

    def click_icon(self, output: int = 0):
        self.seat.click(*self.icon(output))
