"""A user logs in, disconnects and quits, while one of the application's own system calls fails.
FAILING_CALLS=all makes each of them fail, one per run; otherwise it is some of each function."""

import os
import pathlib
import tempfile
import time

import pytest

from support.application import Application
from support.sim import Sim
from support.steered import SteeringError, wait_until

FUNCTIONS = ["socket", "connect", "send", "read", "write", "close", "open"]
SOME = 2

# Longer than the stream waits before it connects again.
PATIENCE = 6


class FailingApplication(Application):
    """Its `number`-th call of the function fails; none if that is 0."""

    program = "quoxelin-desktop-sim-failing"

    def __init__(self, socket: str, function: str, number: int, counted: pathlib.Path):
        counted.write_bytes(bytes(8))
        super().__init__(socket, environment={"FAILING_CALL": f"{function}:{number}",
                                              "COUNTED_CALLS": str(counted)})

    def descriptors(self) -> int:
        """Without those of requests, which come and go."""
        counts = []
        for _ in range(20):
            counts.append(len(os.listdir(f"/proc/{self.pid}/fd")))
            time.sleep(0.01)
        return min(counts)


def until(act, is_seen):
    """Acts again if a failed call has undone it, as a user would."""
    for _ in range(3):
        try:
            act()
            return wait_until(is_seen, "", PATIENCE)
        except SteeringError:
            pass
    return wait_until(is_seen, "what follows an action")


def use(function: str, number: int) -> tuple[int, int]:
    """How many calls of the function there were, and how many descriptors are open at the end."""
    with (tempfile.TemporaryDirectory() as folder, Sim() as daemon,
          FailingApplication(daemon.socket, function, number,
                             pathlib.Path(folder) / "count") as application):
        def shows(*texts):
            return lambda: all(f'"{text}"' in application.text() for text in texts)

        daemon.wait(observers=1)
        until(lambda: application.do("click-status-item"), shows("Login Quoxelin"))
        until(lambda: application.press("Login Quoxelin"), daemon.login_url)
        application.open_url(daemon.visit_login())
        wait_until(shows("Connected", "Disconnect"), "connection")
        until(lambda: application.press("Disconnect"), shows("Disconnected", "Connect"))
        open_ones = application.descriptors()
        application.start_command("press", label="Quit Quoxelin")
        assert application.exit_code() == 0
        assert application.standard_error == ""
        return int.from_bytes((pathlib.Path(folder) / "count").read_bytes(), "little"), open_ones


@pytest.mark.parametrize("function", FUNCTIONS)
def test_the_application_outlives_every_failing_call(function):
    calls, open_ones = use(function, 0)
    assert calls > 0
    step = 1 if os.environ.get("FAILING_CALLS") == "all" else max(1, calls // SOME)
    for number in range(1, calls + 1, step):
        counted, left = use(function, number)
        for _ in range(2):
            # Data that arrives together takes fewer calls, so a run may end before the last ones.
            if counted < number:
                counted, left = use(function, number)
        assert counted >= number, f"{function} number {number} was not reached"
        assert left <= open_ones, f"after {function} number {number}"
