#!/usr/bin/env python3
"""The demo of scripts/run: the application on a simulated daemon and a simulated system.

With a display the icon and the panel stay until they are quit. Without one the scenario of the
end-to-end tests is played, and build/demo/ gets a picture of the panel in each state.
"""
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "Tests" / "EndToEnd"))

from support.application import Application
from support.scenario import play
from support.sim import Sim, build_directory
from support.steered import SteeringError

PICTURES = ROOT / "build" / "demo"


def has_display() -> bool:
    """Whether DISPLAY names a display that answers."""
    if os.environ.get("WAYLAND_DISPLAY"):
        return True
    host, _, display = os.environ.get("DISPLAY", "").rpartition(":")
    number = display.split(".")[0]
    if not number.isdigit():
        return False
    if host not in ("", "unix"):
        return True
    for path in (f"/tmp/.X11-unix/X{number}", f"\0/tmp/.X11-unix/X{number}"):
        with socket.socket(socket.AF_UNIX) as probe:
            try:
                probe.connect(path)
                return True
            except OSError:
                pass
    return False


def play_alone() -> None:
    shutil.rmtree(PICTURES, ignore_errors=True)
    PICTURES.mkdir(parents=True)

    def show(state: str) -> None:
        application.snapshot(PICTURES / f"{state}.png")
        print(f"build/demo/{state}.png", flush=True)

    with Sim() as sim, Application(sim.socket) as application:
        try:
            play(sim, application, show)
            application.send_signal(signal.SIGTERM)
            code = application.exit_code()
        finally:
            print("\nThe application's log:\n")
            print(*application.log(), sep="\n", flush=True)
        if code != 0:
            raise SteeringError(f"the application ended with exit code {code}")


def show_on_display() -> None:
    with tempfile.TemporaryDirectory(prefix="qxdemo-") as home:
        with Sim("--auto-login", "5") as sim:
            print(f"The log is {home}/Quoxelin/app.log until you quit.")
            print("A login completes itself after 5 seconds, or in the browser.", flush=True)
            subprocess.run(
                [build_directory() / "quoxelin-desktop-sim", "--socket", sim.socket],
                env=os.environ | {"XDG_DATA_HOME": home},
                stdin=subprocess.DEVNULL,
                check=True,
            )


def main() -> int:
    # If this program is ended, end everything that it started.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    try:
        if has_display():
            show_on_display()
        else:
            play_alone()
    except (SteeringError, subprocess.CalledProcessError) as failure:
        print(f"\nThe demo failed: {failure}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
