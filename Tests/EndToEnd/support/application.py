"""Starts the application in a private environment, steers it, reads its log; see
docs/simulation.md."""

import datetime
import os
import pathlib
import re
import shutil
import sys
import tempfile
import time

from .sim import build_directory
from .steered import DEADLINE, SteeredProcess, SteeringError, wait_until

# scripts/run-macos names the one on the stage.
PROGRAM = os.environ.get("QUOXELIN_PROGRAM", "quoxelin-desktop-sim")
IS_STAGED = PROGRAM.startswith("Staged.app/")

LINE = re.compile(r"\[(\w+)\] (\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}) (.*)", re.DOTALL)


DOCUMENT = pathlib.Path(__file__).resolve().parents[3] / "docs" / "log.md"


class LogLine:
    """One entry of the application's log, which may have several lines."""

    def __init__(self, text: str):
        self.text = text
        found = LINE.fullmatch(text)
        if not found:
            raise SteeringError(f"not a line of the log: {text!r}")
        self.category, stamp, self.message = found.groups()
        self.at = datetime.datetime.strptime(stamp, "%Y-%m-%d %H:%M:%S.%f")

    def __repr__(self):
        return self.text

    def __eq__(self, other):
        return f"[{self.category}] {self.message}" == other


def assert_documented(log: list[LogLine]) -> None:
    """docs/log.md has every line that the application writes."""
    patterns: dict[str, list[str]] = {}
    for line in DOCUMENT.read_text("utf-8").splitlines():
        if line.startswith("## "):
            category = line[3:]
        elif found := re.match(r"\| `(.+?)` \|", line):
            pattern = re.escape(found[1]).replace("…", ".*")
            patterns.setdefault(category, []).append(pattern)
    for line in log:
        if not any(re.fullmatch(pattern, line.message, re.DOTALL)
                   for pattern in patterns.get(line.category, ())):
            raise AssertionError(f"not in docs/log.md: {line.text}")


def log_lines(text: str) -> list[LogLine]:
    """The log's entries; a last line that is still being written is left out."""
    entries = []
    for line in text.split("\n")[:-1]:
        if LINE.fullmatch(line) or not entries:
            entries.append(line)
        else:
            entries[-1] += "\n" + line
    return [LogLine(entry) for entry in entries]


def surroundings(home: pathlib.Path) -> dict[str, str]:
    """An environment that neither shows nor changes anything of this machine's user: no display, no
    session bus, all directories below `home`."""
    environment = {
        name: value
        for name, value in os.environ.items()
        if name in ("PATH", "LANG", "LC_ALL", "LD_LIBRARY_PATH") or "SAN_OPTIONS" in name
        or IS_STAGED and (name in ("DISPLAY", "XAUTHORITY") or name.startswith("GNUSTEP_"))
    }
    directories = {
        "HOME": home,
        "XDG_DATA_HOME": home / "data",
        "XDG_CONFIG_HOME": home / "config",
        "XDG_CACHE_HOME": home / "cache",
        "XDG_STATE_HOME": home / "state",
        "XDG_RUNTIME_DIR": home / "run",
        "TMPDIR": home / "tmp",
    }
    for directory in directories.values():
        directory.mkdir(mode=0o700, parents=True, exist_ok=True)
    environment |= {name: str(directory) for name, directory in directories.items()}
    environment |= {
        "TZ": "UTC",
        "QT_QPA_PLATFORM": "offscreen",
        "DBUS_SESSION_BUS_ADDRESS": "disabled:",
        "DBUS_SYSTEM_BUS_ADDRESS": "disabled:",
    }
    if sys.platform == "darwin":
        environment |= {"CFFIXED_USER_HOME": str(home), "QUOXELIN_UNATTENDED": "1"}
    return environment


def application_support(home: pathlib.Path) -> pathlib.Path:
    """Where the application keeps its files."""
    if IS_STAGED:
        return home / "GNUstep/Library/ApplicationSupport"
    return home / ("Library/Application Support" if sys.platform == "darwin" else "data")


class Application(SteeredProcess):
    """A running quoxelin-desktop-sim that follows the daemon at `socket`.

        with Application(sim.socket) as application:
            application.wait_log("[HashiBus] Connected to socket")
    """

    program = PROGRAM

    def __init__(self, socket: str, *arguments: str, environment: dict[str, str] | None = None):
        # A directory with a short path, because socket paths must be short.
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="qxapp-"))
        self.environment = surroundings(self.home) | (environment or {})
        self.log_path = application_support(self.home) / "Quoxelin" / "app.log"
        self.command = [build_directory() / self.program, "--socket", socket]
        super().__init__([*self.command, *arguments], env=self.environment, cwd=self.home)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self) -> int:
        try:
            code = super().end()
            assert_documented(self.log())
            return code
        finally:
            shutil.rmtree(self.home, ignore_errors=True)

    # The log

    def log(self) -> list[LogLine]:
        if not self.log_path.exists():
            return []
        return log_lines(self.log_path.read_text("utf-8"))

    def log_count(self, text: str) -> int:
        return sum(line == text for line in self.log())

    def wait_log(self, text: str, count: int = 1, after: LogLine | None = None,
                 deadline: float = DEADLINE) -> LogLine:
        """Waits for the `count`-th "[Category] message" in the log, after `after` if given."""
        end = time.monotonic() + deadline
        while True:
            over = not self.is_running() or time.monotonic() > end
            lines = self.log()
            if after:
                lines = lines[[line.text for line in lines].index(after.text) + 1:]
            found = [line for line in lines if line == text]
            if len(found) >= count:
                return found[count - 1]
            if over:
                so_far = "\n".join(line.text for line in lines)
                raise SteeringError(
                    f"{len(found)} of {count} {text!r} in the log:\n{so_far}\n{self.standard_error}")
            time.sleep(0.01)

    # What the user does and sees

    def show_panel(self) -> None:
        """Clicks the icon in the menu bar once it is there."""
        self.wait_log("[App] Setting up Menu Bar...")
        if not self.do("panel")["visible"]:
            self.do("click-status-item")
        self.wait(panel_visible=1)

    def text(self) -> str:
        """The texts on the screen, one per line, in double quotes."""
        return "\n".join(f'"{text}"' for text in self.do("text")["texts"])

    def wait_text(self, *parts: str, without: tuple[str, ...] = (), deadline: float = DEADLINE) -> str:
        """Waits until the panel shows all of `parts` and none of `without`."""
        def find() -> str:
            shown = self.text()
            missed = any(part not in shown for part in parts) or any(part in shown for part in without)
            return "" if missed else shown

        return wait_until(
            find, lambda: f"{parts} without {without} in the panel:\n{self.text()}", deadline)

    def press(self, label: str) -> None:
        """Clicks the element with this accessibility label."""
        self.do("press", label=label)

    def snapshot(self, path: pathlib.Path) -> None:
        """Draws the panel into a PNG file."""
        self.do("snapshot", path=str(path))

    def opened_urls(self) -> list[str]:
        return self.do("opened")["urls"]

    def open_url(self, url: str) -> None:
        """A browser hands over a callback URL."""
        self.do("open-url", url=url)
