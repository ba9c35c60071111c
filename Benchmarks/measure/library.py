"""What needs no desktop: the benchmarks of this folder, and the program's file."""

import json
import pathlib
import re
import statistics
import subprocess
import tempfile

from .table import Row

REPETITIONS = 9
SMALL_PROGRAM = 1_800_000


def benchmark(build: pathlib.Path, pattern: str, repetitions: int = REPETITIONS) -> dict[str, dict]:
    """The medians of those benchmarks, by name. Their repetitions alternate in random order."""
    with tempfile.NamedTemporaryFile(suffix=".json") as file:
        subprocess.run(
            [build / "benchmarks", f"--benchmark_filter={pattern}", "--benchmark_min_time=0.05",
             f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true",
             "--benchmark_report_aggregates_only=true", f"--benchmark_out={file.name}"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        runs = json.load(file)["benchmarks"]
    return {run["run_name"]: run for run in runs if run["aggregate_name"] == "median"}


def rows(build: pathlib.Path) -> list[Row]:
    compared = (r"^(parseWithTheLibrary|decodeNotification)/(10|1000|20000)$|^(frame|copyAndSearch)Lines/"
                "|^(exchange|append)With|^logLine")
    found = benchmark(build, compared)

    def pair(name: str, ours: str, reference: str, beside: str, at_most: float,
             value: str = "cpu_time", unit: str | None = None) -> Row:
        own, other = found[ours], found[reference]
        return Row(name, own[value], other[value], unit or own["time_unit"], beside, at_most)

    decoded = [pair(f"notification to record, {peers:,} peers", f"decodeNotification/{peers}",
                    f"parseWithTheLibrary/{peers}", "simdjson's own parse", 2.0)
               for peers in (10, 1_000, 20_000)]
    framed = [pair(f"framing, lines of {name}", f"frameLines/{length}", f"copyAndSearchLines/{length}",
                   "memchr and memcpy", 1.3)
              for length, name in ((100, "100 B"), (5_000_000, "5 MB"), (100_000_000, "100 MB"))]
    return decoded + framed + [
        pair("exchange with the daemon, median", "exchangeWithLocalAPIClient/real_time",
             "exchangeWithSystemCalls/real_time", "connect, write, read, close", 1.3, "p50_us", "µs"),
        pair("log line", "logLine", "appendWithSystemCalls", "open, append, close", 1.5),
        stripped_size(build)]


def stripped_size(build: pathlib.Path) -> Row:
    with tempfile.NamedTemporaryFile() as file:
        subprocess.run(["strip", "-o", file.name, build / "quoxelin-desktop"], check=True)
        size = pathlib.Path(file.name).stat().st_size
    return Row("stripped program", size, SMALL_PROGRAM, "bytes", "1.8 MB", 1)


BINDING = re.compile(r"binding file (\S+) \[0\] to (\S+) \[0\]")
LOADED = re.compile(r"calling init: (\S+)")
OPENED = re.compile(r"opening file=(\S+)")


def unused(loader_log: str) -> set[str]:
    """The libraries that were loaded although nothing else uses one of their symbols, by the loader's
    record of "files" and "bindings". What a program opens by itself, such as a plugin, it uses."""
    used = {into for source, into in BINDING.findall(loader_log) if source != into}
    return set(LOADED.findall(loader_log)) - used - set(OPENED.findall(loader_log))
