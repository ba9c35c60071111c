"""How cost grows: a picture with logarithmic axes, in which a straight line at 45 degrees is cost in
proportion."""

import pathlib
import shutil
import statistics
import subprocess

from support.application import surroundings
from support.steered import SteeredProcess

from .library import benchmark

ACCOUNTS = (1, 10, 100, 1_000)
ROUNDS = 5

PLOT = """set terminal svg size 800,480 font "sans-serif,13" background "white"
set output "{output}"
set logscale xy
set grid
set key top left
set xlabel "peers, lines or accounts"
set ylabel "milliseconds of one thread"
set format x "%.0f"
set format y "%g"
plot {curves}
"""


def curves(build: pathlib.Path) -> dict[str, list[tuple[int, float]]]:
    """Milliseconds by count."""
    medians = benchmark(build, "^(decodeNotification|followLines)/", 3)

    def of(name: str) -> list[tuple[int, float]]:
        return sorted((int(run.partition("/")[2]), figures["cpu_time"])
                      for run, figures in medians.items() if run.startswith(name + "/"))

    return {"notification to record, by peers": of("decodeNotification"),
            "notifications with 10 peers, by lines": of("followLines"),
            "accounts in the open panel, by accounts": accounts(build)}


def accounts(build: pathlib.Path) -> list[tuple[int, float]]:
    panel = SteeredProcess([build / "panel-states"], env=surroundings(build / "growth"))
    try:
        def once(count: int) -> float:
            panel.do("show", state="switch-account")
            return panel.do("accounts", count=count)["microseconds"] / 1000

        return [(count, statistics.median(once(count) for _ in range(ROUNDS))) for count in ACCOUNTS]
    finally:
        panel.end()
        shutil.rmtree(build / "growth")


def script(found: dict[str, list[tuple[int, float]]], output: pathlib.Path) -> str:
    """What gnuplot draws it from."""
    drawn = ", ".join(f"'-' with linespoints linewidth 2 title \"{name}\"" for name in found)
    data = "".join("".join(f"{count} {cost:.6g}\n" for count, cost in points) + "e\n"
                   for points in found.values())
    return PLOT.format(output=output, curves=drawn) + data


def draw(build: pathlib.Path, output: pathlib.Path) -> str:
    """Returns what to say about it."""
    if not shutil.which("gnuplot"):
        return "growth: not measured: gnuplot is not installed"
    found = curves(build)
    subprocess.run(["gnuplot"], input=script(found, output.resolve()), text=True, check=True)
    figures = "\n".join(f"{name}: " + ", ".join(f"{count:,}: {cost:.3g} ms" for count, cost in points)
                        for name, points in found.items())
    return f"{figures}\ndrawn: {output}"
