"""What the private desktops have in common: a folder, programs, and cards on a screen."""

import contextlib
import os
import pathlib
import shutil
import subprocess
import tempfile

from .steered import SteeringError, end_process, wait_until

NOBODY = 65534


def as_somebody_else(command: list, *directories: pathlib.Path) -> list:
    """For compositors, which refuse to run as root; the directories become that user's."""
    if os.getuid() != 0:
        return command
    for path in directories:
        os.chown(path, NOBODY, NOBODY)
    return ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups", *command]


class PrivateDesktop:
    """A derived class starts the desktop in `_start`. What is put on `_end` ends with it, the last
    first."""

    def __enter__(self):
        self._end = contextlib.ExitStack()
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="qxdesk-"))
        self._end.callback(shutil.rmtree, self.home, ignore_errors=True)
        try:
            self._start()
        except BaseException:
            self._end.close()
            raise
        return self

    def __exit__(self, *_):
        self._end.close()

    def _spawn(self, command: list, environment: dict[str, str], output=subprocess.DEVNULL,
               **popen) -> subprocess.Popen:
        process = subprocess.Popen(command, env=environment, cwd=self.home, stdin=subprocess.DEVNULL,
                                   stdout=output, stderr=output, start_new_session=True, **popen)
        self._end.callback(end_process, process)
        return process

    def _spawn_told(self, command: list[str], environment: dict[str, str]) -> str:
        """Starts a program that writes its display or address to the descriptor "{}"."""
        reader, writer = os.pipe()
        self._spawn([part.replace("{}", str(writer)) for part in command], environment,
                    pass_fds=[writer])
        os.close(writer)
        with open(reader) as told:
            if line := told.readline().strip():
                return line
        raise SteeringError(f"{command[0]} did not start")

    def _spawn_x_server(self, width: int, height: int, environment: dict[str, str]) -> str:
        """Its display."""
        return ":" + self._spawn_told(
            ["Xvfb", "-displayfd", "{}", "-screen", "0", f"{width}x{height}x24", "+extension", "GLX",
             "-nolisten", "tcp", "-noreset"], environment)

    await_that = staticmethod(wait_until)


class CompositorDesktop(PrivateDesktop):
    """A Wayland compositor, whose output is in the file `log`. The derived class has `card()`: the place
    and size of what is light on the screen and was not in the beginning, or None."""

    def _spawn_compositor(self, command: list, run: pathlib.Path, environment: dict[str, str]):
        with open(self.home / "log", "w") as log:
            self._spawn(as_somebody_else(command, self.home, run), environment, output=log)

    def _await(self, holds, what: str):
        return wait_until(holds, lambda: f"{what}\n{(self.home / 'log').read_text()[-3000:]}")

    def wait_stable_card(self) -> tuple[int, int, int, int]:
        last = None

        def is_stable():
            nonlocal last
            before, last = last, self.card()
            return last if last and last == before else None
        return self._await(is_stable, "card")

    def wait_panel(self, application, minimum_height: int = 0) -> tuple[int, int, int, int]:
        """Where the panel is, once it is alone and has its size. Compositors may open it slowly."""
        def is_whole():
            card, panel = self.wait_stable_card(), box(application.do("panel"))
            return card if card[3] > minimum_height and close_to(card[2:], panel[2:]) else None
        return self._await(is_whole, "panel")

    def wait_no_card(self):
        self._await(lambda: self.card() is None, "end of all cards")


def box(place: dict) -> tuple[int, int, int, int]:
    return place["x"], place["y"], place["width"], place["height"]


def center(place: dict) -> tuple[int, int]:
    return place["x"] + place["width"] // 2, place["y"] + place["height"] // 2


def close_to(seen, wanted) -> bool:
    """The border and the shadow belong to neither."""
    return all(abs(a - b) <= 3 for a, b in zip(seen, wanted))
