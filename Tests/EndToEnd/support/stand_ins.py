"""Steers the stand-ins of the box and reads their records; see Tests/EndToEnd/box/stand_ins."""

import errno
import json
import os
import signal
from typing import TextIO

from .box import Box
from .steered import DEADLINE, SteeringError, command_of, wait_until

FOLDER = "/run/stand-ins"
DAEMON = r"^/usr/libexec/stand-ins/quoxelind "


class Daemon:
    """The quoxelind-sim that `quoxelind up` starts in the box; see docs/simulation.md."""

    def __init__(self, box: Box):
        self._box = box
        self._commands = 0

    def options(self, *words: str) -> None:
        """Sets more command-line options for the next one."""
        self._box.write(f"{FOLDER}/sim-options", " ".join(words))

    def told(self) -> list[dict]:
        """Its answers and events so far."""
        lines = self._box.read(f"{FOLDER}/sim.out").split("\n")[:-1]
        return [json.loads(line) for line in lines if line.startswith("{")]

    def do(self, do: str, **members) -> dict:
        """Sends a steering command and returns its answer."""
        self._commands += 1
        number = f"{os.getpid()}-{id(self)}-{self._commands}"
        command = command_of(do, number, members)
        with wait_until(self._commands_pipe, f"a daemon to tell {command}") as pipe:
            pipe.write(json.dumps(command) + "\n")
        answer = wait_until(
            lambda: next((told for told in self.told() if told.get("id") == number), None),
            f"the daemon's answer to {command}", DEADLINE + float(members.get("timeout") or 0))
        if not answer["ok"]:
            raise SteeringError(f"{do}: {answer['error']}")
        return answer

    def _commands_pipe(self) -> TextIO | None:
        """None while no daemon reads there."""
        try:
            pipe = os.open(self._box.path(f"{FOLDER}/sim.in"), os.O_WRONLY | os.O_NONBLOCK)
        except OSError as error:
            if error.errno != errno.ENXIO:
                raise
            return None
        return open(pipe, "w", encoding="utf-8")

    def wait(self, **members) -> dict:
        """Waits until all conditions hold."""
        return self.do("wait", **({"timeout": DEADLINE} | members))

    def is_running(self) -> bool:
        return bool(self._box.pids(DAEMON))

    def end(self) -> None:
        """Ends it if it still runs; raises SteeringError if it had to be killed."""
        if not self.is_running():
            return
        try:
            self.do("quit")
            wait_until(lambda: not self.is_running(), "the daemon's end")
        except SteeringError:
            for pid in self._box.pids(DAEMON):
                os.kill(pid, signal.SIGKILL)
            raise


def calls(box: Box) -> list[dict]:
    """Each call of `quoxelind` and `quoxelin`: arguments (the program first), environment, uid."""
    return [json.loads(line) for line in box.read(f"{FOLDER}/calls").splitlines()]


def fail_tunnel(box: Box, times: int) -> None:
    """Makes the next `times` attempts to bring the tunnel up fail."""
    box.write(f"{FOLDER}/tunnel-failures", f"{times}\n")


def hold_tunnel(box: Box, holds: bool) -> None:
    """If `holds`, the tunnel keeps connecting and never comes up."""
    if holds:
        box.write(f"{FOLDER}/tunnel-holds", "")
    else:
        box.path(f"{FOLDER}/tunnel-holds").unlink(missing_ok=True)


def tunnel_requests(box: Box) -> list[str]:
    """What NetworkManager asked of the tunnel: "connect" and "disconnect"."""
    return box.read(f"{FOLDER}/tunnel.log").splitlines()


def tunnel_devices(box: Box) -> dict[str, list[str]]:
    """The tunnel devices that are up, with their IPv4 addresses."""
    links = json.loads(box.run("ip", "-json", "-4", "address", "show", "up"))
    return {link["ifname"]: [address["local"] for address in link["addr_info"]]
            for link in links if link.get("ifname", "").startswith("quoxelin")}
