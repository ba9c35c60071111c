#!/usr/bin/env python3
"""Measures how long a user waits, and what the idle program costs: the desktop's figures in
docs/performance.md. Uses a private X server and tray. The build is QUOXELIN_BUILD_DIR,
build/release by default."""
import os
import pathlib
import statistics
import subprocess
import time

from support.application import Application
from support.desktop import ICONS, Desktop
from support.sim import Sim

ROUNDS = 7
IDLE_SECONDS = 30


def until(holds) -> float:
    while not holds():
        time.sleep(0.0005)
    return time.monotonic()


def shows_icon(desktop) -> bool:
    brightness = [sum(color) for color in desktop.icon_pixels("trayer")]
    return len(brightness) > 3 and max(brightness) - min(brightness) > 200


def context_switches(pid: int) -> dict[str, int]:
    """For each thread; each voluntary switch was followed by a wake-up."""
    switches = {}
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        for line in (task / "status").read_text().splitlines():
            if line.startswith("voluntary_ctxt_switches"):
                switches[task.name] = int(line.split()[1])
    return switches


def proportional_kib(pid: int) -> int:
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
        if line.startswith("Pss:"):
            return int(line.split()[1])
    raise RuntimeError("no smaps_rollup")


def one_round(desktop, sim) -> tuple[float, float, float]:
    began = time.monotonic()
    with Application(sim.socket, environment=desktop.environment) as application:
        icon = until(lambda: shows_icon(desktop)) - began
        application.wait_log("[State] HashiBus connected")
        started = application.log()
        state = next(line for line in started if line == "[State] start() called")
        first = started[0]
        time.sleep(0.3)
        # The panel opens below the icon, at the upper right.
        x, y = ICONS["trayer"]
        desktop.move(x, y)
        clicked = time.monotonic()
        subprocess.run(["xdotool", "click", "1"], env=desktop.environment, check=True)
        painted = until(lambda: desktop.shows_card_at(x - 60, y + 60)) - clicked
        return icon, (state.at - first.at).total_seconds(), painted


def idle(desktop, sim) -> tuple[float, float]:
    with Application(sim.socket, environment=desktop.environment) as application:
        application.wait_log("[State] HashiBus connected")
        desktop.wait_icon("trayer")
        time.sleep(12)  # until the threads and timers of the start are gone
        before = context_switches(application.pid)
        time.sleep(IDLE_SECONDS)
        after = context_switches(application.pid)
        wakes = sum(count - before.get(thread, 0) for thread, count in after.items())
        wakes *= 60 / IDLE_SECONDS
        return wakes, proportional_kib(application.pid) / 1024


def click_alone(desktop) -> float:
    """The time that the measurement itself takes: a click without any effect."""
    began = time.monotonic()
    subprocess.run(["xdotool", "click", "1"], env=desktop.environment, check=True)
    return time.monotonic() - began


def main():
    with Sim() as sim, Desktop() as desktop:
        desktop.start_tray("trayer")
        time.sleep(1)
        desktop.move(300, 600)
        click = statistics.median(click_alone(desktop) for _ in range(ROUNDS))
        rounds = [one_round(desktop, sim) for _ in range(ROUNDS)]
        wakes, memory = idle(desktop, sim)
    for name, values in zip(("process start to icon in the tray", "first log line to state started",
                             "click to painted panel"), zip(*rounds)):
        milliseconds = sorted(value * 1000 for value in values)
        print(f"{name}: {statistics.median(milliseconds):.0f} ms "
              f"({milliseconds[0]:.0f}-{milliseconds[-1]:.0f})")
    print(f"  of which the click by xdotool: {click * 1000:.0f} ms")
    print(f"wake-ups while idle: {wakes:.0f} a minute")
    print(f"memory (PSS) while idle: {memory:.1f} MiB")


if __name__ == "__main__":
    os.environ.setdefault(
        "QUOXELIN_BUILD_DIR", str(pathlib.Path(__file__).resolve().parents[2] / "build/release"))
    main()
