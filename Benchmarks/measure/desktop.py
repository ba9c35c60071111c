"""The program as its user waits for it, and what it costs while it waits: on a real X server, beside a
bare Qt program and other programs with a tray icon."""

import pathlib
import re
import statistics
import time

from .library import unused
from .stage import Stage, kibibytes, wait_idle
from .table import Row, collect

STARTS = 9
SLOW_STARTS = 3
SLOW = 20
CLICKS = 15
IDLE_ROUNDS = 3
IDLE_SECONDS = 30
FRAME, TWO_FRAMES = 16, 33


def rows(stage: Stage) -> list[Row]:
    return collect({"start to icon": lambda: starts(stage),
                    "click to painted panel": lambda: clicks(stage),
                    "memory and wake-ups while idle": lambda: idle(stage),
                    "libraries loaded, not used": lambda: [unused_libraries(stage)]})


def starts(stage: Stage) -> list[Row]:
    """The first start of each fills caches and does not count."""
    programs = [stage.ours, stage.bare, *stage.others]
    gaps = {program.name: stage.gap(program) for program in programs}
    times: dict[str, list[float]] = {program.name: [] for program in programs}
    for attempt in range(STARTS + 1):
        for program in programs:
            known = times[program.name]
            if gaps[program.name] or (known and max(known) > 2 and len(known) >= SLOW_STARTS):
                continue
            with stage.running(program, SLOW) as (_, seconds):
                if seconds is None:
                    gaps[program.name] = f"{program.name} shows no icon within {SLOW} s"
                elif attempt:
                    known.append(seconds * 1000)
    own = statistics.median(times[stage.ours.name])
    limits = {stage.bare.name: 1.2, "nm-applet": 0.5}
    return [
        Row(f"start to icon, beside {program.name}", gap=gaps[program.name],
            at_most=limits.get(program.name)) if gaps[program.name] else
        Row("start to icon", own, statistics.median(times[program.name]), "ms", program.name,
            limits.get(program.name))
        for program in programs[1:]]


def opening_times(stage: Stage, count: int) -> list[float]:
    times = []
    for _ in range(count):
        times.append(stage.open_panel() * 1000)
        stage.close_panel()
    return times


def clicks(stage: Stage) -> list[Row]:
    """The first click of a program is slower, and counts."""
    times: dict[str, list[float]] = {stage.ours.name: [], stage.bare.name: []}
    for _ in range(3):
        for program in (stage.ours, stage.bare):
            with stage.running(program) as (pid, _):
                wait_idle(pid)
                times[program.name] += opening_times(stage, CLICKS // 3)
    own, bare = times[stage.ours.name], times[stage.bare.name]
    return [Row("click to painted panel, median", statistics.median(own), FRAME, "ms", "a frame", 1),
            Row("click to painted panel, worst", max(own), TWO_FRAMES, "ms", "two frames", 1),
            Row("click to painted panel, median", statistics.median(own), statistics.median(bare), "ms",
                stage.bare.name)]


def switches(pid: int) -> dict[str, int]:
    """By thread. Every voluntary switch to another thread was followed by a wake-up."""
    return {status.parent.name: int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)",
                                              status.read_text(), re.M)[1])
            for status in pathlib.Path(f"/proc/{pid}/task").glob("*/status")}


def wake_ups(pid: int, seconds: float) -> int:
    before = switches(pid)
    time.sleep(seconds)
    return sum(count - before.get(thread, 0) for thread, count in switches(pid).items())


def idle(stage: Stage) -> list[Row]:
    """By turns, as memory that others share counts less."""
    memory: dict[str, list[int]] = {stage.ours.name: [], stage.bare.name: []}
    wakes: dict[str, int] = {}
    for attempt in range(IDLE_ROUNDS):
        for program in (stage.ours, stage.bare):
            with stage.running(program) as (pid, _):
                if program == stage.ours:
                    stage.relay.await_observer()
                wait_idle(pid)
                if attempt == 0:
                    time.sleep(12)  # until the threads and timers of the start are gone
                    wakes[program.name] = wake_ups(pid, IDLE_SECONDS)
                memory[program.name].append(kibibytes(pid, "smaps_rollup", "Pss"))
    own, bare = (statistics.median(memory[program.name]) / 1024
                 for program in (stage.ours, stage.bare))
    return [Row("memory while idle (PSS)", own, bare, "MiB", stage.bare.name, 1.2),
            Row(f"wake-ups in {IDLE_SECONDS} s, stream connected", wakes[stage.ours.name],
                wakes[stage.bare.name], "", stage.bare.name, 1)]


def unused_libraries(stage: Stage) -> Row:
    counts = []
    for program in (stage.ours, stage.bare):
        log = stage.home / "loader"
        with stage.running(program, environment={"LD_DEBUG": "files,bindings",
                                                 "LD_DEBUG_OUTPUT": str(log)}) as (pid, _):
            if program == stage.ours:
                stage.relay.await_observer()
            wait_idle(pid)
            counts.append(len(unused(log.with_suffix(f".{pid}").read_text("utf-8", "replace"))))
    return Row("libraries loaded, not used", *counts, "", stage.bare.name, 1)
