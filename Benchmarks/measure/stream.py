"""From a line on the daemon's socket to the screen, with the real program."""

import itertools
import json
import pathlib
import statistics
import threading
import time

from support.sim import Sim

from .relay import recorded_line, renamed
from .stage import PANEL_AREA, Stage, kibibytes, wait_idle, worked
from .table import Row, collect

UPDATES = 15
LINES_TO_STATE = 100
FLOOD_SECONDS = 60
FLOOD_RATE = 1_000
LONG_LINE = 8_500_000


def rows(stage: Stage) -> list[Row]:
    small, large = (recorded_line(stage.sim, peers) for peers in (10, 20_000))
    return collect({"peak memory for one line": lambda: [peak_memory(stage)],
                    "line to state": lambda: [to_state(stage, large)],
                    "notification to changed pixels": lambda: [update(stage, 10, small, 16),
                                                               update(stage, 20_000, large, 50)],
                    "1,000 notifications/s": lambda: flood(stage, small)})


def peak_memory(stage: Stage) -> Row:
    """The most that the process has while it takes one line, above what it had."""
    peers = 20_000
    line = b""
    while len(line) < LONG_LINE:
        line = recorded_line(stage.sim, peers)
        peers += 1_000
    with stage.following() as pid:
        before = kibibytes(pid, "status", "VmRSS")
        pathlib.Path(f"/proc/{pid}/clear_refs").write_text("5")  # the peak begins anew
        stage.relay.send(line)
        wait_idle(pid)
        grown = (kibibytes(pid, "status", "VmHWM") - before) * 1024
    return Row("peak memory for one line", grown / 1e6, len(line) / 1e6, "MB", "the line", 4)


def to_state(stage: Stage, line: bytes) -> Row:
    """The main thread's work; the other threads frame and decode."""
    with stage.following() as pid:
        stage.relay.send(line)
        wait_idle(pid)
        before = worked(pid, pid)
        for _ in range(LINES_TO_STATE):
            stage.relay.send(line)
        wait_idle(pid)
        each = (worked(pid, pid) - before) / LINES_TO_STATE * 1000
    return Row("line to state, main thread, 20,000 peers", each, 1, "ms", "1 ms", 1)


def update(stage: Stage, peers: int, line: bytes, limit: float) -> Row:
    lines = [renamed(line, f"machine-{number}") for number in range(2)]
    times = []
    with stage.following() as pid:
        stage.relay.send(lines[1])
        stage.open_panel()
        for number in range(UPDATES):
            wait_idle(pid)
            shown = stage.panel()
            stage.watch.forget()
            written = stage.relay.send(lines[number % 2])
            changed = stage.watch.next_in(PANEL_AREA, lambda: stage.panel() != shown)
            if changed is None:
                raise TimeoutError("a notification changed nothing on the screen")
            times.append((changed - written) * 1000)
    return Row(f"notification to changed pixels, {peers:,} peers", statistics.median(times), limit, "ms",
               f"{limit} ms", 1)


class Sender:
    """Lets quoxelind-sim send the lines in turn, evenly."""

    def __init__(self, sim: Sim, lines: list[bytes]):
        commands = [json.dumps({"do": "raw", "text": line.decode()}) for line in lines]
        self._sim, self._commands = sim, itertools.cycle(commands)
        self._ends = threading.Event()
        self._thread = threading.Thread(target=self._run)
        self._sent = 0

    def __enter__(self):
        self._began = time.monotonic()
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._ends.set()
        self._thread.join()

    def rate(self) -> float:
        return self._sent / (time.monotonic() - self._began)

    def _run(self):
        while not self._ends.is_set():
            due = (time.monotonic() - self._began) * FLOOD_RATE
            while self._sent < due:
                self._sim.send_line(next(self._commands))
                self._sent += 1
            time.sleep(0.5 / FLOOD_RATE)


def flood(stage: Stage, line: bytes) -> list[Row]:
    """Every notification changes what the panel shows. The panel is opened every few seconds; what
    its first opening loads is there before the memory is compared."""
    lines = [renamed(line, f"machine-{number}") for number in range(10)]
    opened = []
    with stage.following_daemon() as pid, Sender(stage.sim, lines) as sender:
        time.sleep(5)
        opened.append(stage.open_panel() * 1000)
        stage.close_panel()
        began, before, memory = time.monotonic(), worked(pid, pid), kibibytes(pid, "status", "VmRSS")
        while time.monotonic() < began + FLOOD_SECONDS:
            opened.append(stage.open_panel() * 1000)
            time.sleep(2)
            stage.close_panel()
            time.sleep(1)
        share = (worked(pid, pid) - before) / (time.monotonic() - began)
        grown, rate = kibibytes(pid, "status", "VmRSS"), sender.rate()
    during = f"{rate:,.0f} notifications/s for {FLOOD_SECONDS} s"
    return [Row(f"{during}: main thread", share * 100, 30, "%", "30 % of a core", 1),
            Row(f"{during}: memory at the end", grown / 1024, memory / 1024, "MiB", "its beginning", 1.05),
            Row(f"{during}: click to painted panel, worst", max(opened), 33, "ms", "two frames", 1)]
