"""A private desktop with a daemon and system services, and the programs that are measured on it."""

import contextlib
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
from typing import Callable, Iterator, NamedTuple

from support.application import surroundings
from support.buses import HELPER, HELPER_METHODS, Bus
from support.desktop import ICONS, Desktop
from support.sim import Sim
from support.steered import end_process, wait_until

from .relay import Relay
from .screen import Watch

TRAY = "trayer"
ICON_X, ICON_Y = ICONS[TRAY]
# Where the tray's first icon appears, and where the panels open.
TRAY_AREA = (ICON_X - 12, 0, 24, 24)
PANEL_AREA = (ICON_X - 280, 30, 290, 300)


class Program(NamedTuple):
    name: str
    command: list[str]
    # Whether the icon counts as shown when the tray has made room for it. nm-applet draws its icon
    # three seconds later unless it runs against a real NetworkManager.
    by_place: bool = False
    # Some programs refuse to run as root.
    as_root: bool = True


class Stage:
    """
    with Stage(build) as stage:
        with stage.running(stage.ours) as (pid, seconds): ...
    """

    def __init__(self, build: pathlib.Path):
        self._build = build
        self._open = contextlib.ExitStack()

    def __enter__(self):
        with self._open:
            self.home = pathlib.Path(tempfile.mkdtemp(prefix="qxbench-"))
            self._open.callback(shutil.rmtree, self.home, ignore_errors=True)
            self.sim = self._open.enter_context(Sim("--logged-in"))
            self.relay = self._open.enter_context(Relay(self.sim.socket))
            system = self._open.enter_context(Bus("system"))
            system.start()
            system.mock(*HELPER, methods=HELPER_METHODS)
            system.mock("org.freedesktop.NetworkManager", template="networkmanager")
            self.desktop = self._open.enter_context(Desktop())
            self.desktop.start_tray(TRAY)
            self.watch = self._open.enter_context(Watch(self.desktop.environment["DISPLAY"]))
            self.environment = (surroundings(self.home) | self.desktop.environment
                                | system.environment)
            self._open = self._open.pop_all()
        return self

    def __exit__(self, *failure):
        return self._open.__exit__(*failure)

    @property
    def ours(self) -> Program:
        return self._ours_at(self.relay.socket)

    def _ours_at(self, socket: str) -> Program:
        return Program("quoxelin-desktop", [str(self._build / "quoxelin-desktop"), "--socket", socket])

    @property
    def bare(self) -> Program:
        return Program("bare Qt program", [str(self._build / "bare-tray")])

    @property
    def others(self) -> list[Program]:
        return [Program("nm-applet", ["nm-applet"], by_place=True),
                Program("riseup-vpn", ["riseup-vpn"], as_root=False)]

    def gap(self, program: Program) -> str | None:
        """Why it cannot be measured here."""
        if not shutil.which(program.command[0]):
            return f"{program.name} is not installed"
        if not program.as_root and os.getuid() == 0:
            return f"{program.name} does not run as root"
        return None

    @contextlib.contextmanager
    def running(self, program: Program, patience: float = 10,
                environment: dict[str, str] | None = None) -> Iterator[tuple[int, float | None]]:
        """Its process, and the seconds until its icon was shown; None if it was not in time."""
        self.watch.forget()
        shown = (lambda: True) if program.by_place else self.shows_icon
        began = time.monotonic()
        process = subprocess.Popen(
            program.command, env=self.environment | (environment or {}), cwd=self.home,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True)
        try:
            at = self.watch.next_in(TRAY_AREA, shown, patience)
            yield process.pid, at and at - began
        finally:
            end_process(process)
            self.relay.forget_observer()
            self.wait_still()

    @contextlib.contextmanager
    def following(self) -> Iterator[int]:
        """Our program, which follows the notification stream and has done the work of its start."""
        with self.running(self.ours) as (pid, _):
            self.relay.await_observer()
            wait_idle(pid)
            yield pid

    @contextlib.contextmanager
    def following_daemon(self) -> Iterator[int]:
        """The same without the relay, which is too slow for a thousand requests a second."""
        with self.running(self._ours_at(self.sim.socket)) as (pid, _):
            self.sim.wait(observers=1)
            wait_idle(pid)
            yield pid

    def shows_icon(self) -> bool:
        return len(self.desktop.icon_pixels(TRAY)) > 3

    def panel(self) -> bytes:
        return self.desktop.screen.pixels(*PANEL_AREA)

    def shows_panel(self) -> bool:
        """Its light background, at its middle."""
        x, y, width, height = PANEL_AREA
        return self.desktop.shows_card_at(x + width // 2, y + 12)

    def wait_still(self):
        """Waits until nothing has been drawn for a moment."""
        while self.watch.next_in((0, 0, self.desktop.width, self.desktop.height), lambda: True, 0.15):
            pass

    def click_icon(self, until: Callable[[], bool]) -> float:
        """Seconds from a click on the icon until the change is on the screen."""
        self.watch.move(ICON_X, ICON_Y)
        self.watch.forget()
        clicked = self.watch.click()
        painted = self.watch.next_in(PANEL_AREA, until)
        if painted is None:
            raise TimeoutError("a click on the icon changed nothing")
        return painted - clicked

    def open_panel(self) -> float:
        self.wait_still()
        return self.click_icon(self.shows_panel)

    def close_panel(self):
        self.click_icon(lambda: not self.shows_panel())


def worked(pid: int, thread: int | None = None) -> float:
    """The seconds of processor time that a process or one of its threads has used."""
    path = f"/proc/{pid}/stat" if thread is None else f"/proc/{pid}/task/{thread}/stat"
    fields = pathlib.Path(path).read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def wait_idle(pid: int):
    """Waits until the process has not worked for half a second."""
    def rests() -> bool:
        before = worked(pid)
        time.sleep(0.5)
        return worked(pid) == before

    wait_until(rests, "a process without work", 60)


def kibibytes(pid: int, file: str, name: str) -> int:
    """A figure from a file of /proc."""
    for line in pathlib.Path(f"/proc/{pid}/{file}").read_text().splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1])
    raise KeyError(name)
