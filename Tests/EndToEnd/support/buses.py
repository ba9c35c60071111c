"""Private message buses, and services that appear and disappear on them. Does not use this
machine's buses."""

import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile

from .steered import DEADLINE, SteeringError, end_process, wait_until

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>{kind}</type>
  <listen>unix:path={socket}</listen>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

# A privileged helper that succeeds at everything, for `Bus.mock`.
HELPER = ("com.quoxelin.desktop.Helper", "/com/quoxelin/desktop/Helper",
          "com.quoxelin.desktop.HelperToolProtocol")
# The application calls RunGoTool as soon as Ping answers, so Ping is added last.
HELPER_METHODS = {"RunGoTool": ("sas", "s", "ret = ''"), "Ping": ("", "b", "ret = True")}


class Bus:
    """A "session" or "system" bus that is not running yet and has no activatable services.

        with Bus("session") as bus:
            bus.start()
            bus.mock("org.freedesktop.Notifications", template="notification_daemon")
    """

    def __init__(self, kind: str):
        self.kind = kind
        self._home = pathlib.Path(tempfile.mkdtemp(prefix="qxbus-"))
        self._home.chmod(0o711)  # a compositor does not run as root
        self._socket = self._home / "bus"
        self.address = f"unix:path={self._socket}"
        self._configuration = self._home / "bus.conf"
        self._configuration.write_text(CONFIGURATION.format(kind=kind, socket=self._socket))
        self._daemon = None
        self._mocks: dict[str, subprocess.Popen] = {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for name in list(self._mocks):
            self.end_mock(name)
        if self._daemon:
            end_process(self._daemon)
        shutil.rmtree(self._home, ignore_errors=True)

    @property
    def environment(self) -> dict[str, str]:
        return {f"DBUS_{self.kind.upper()}_BUS_ADDRESS": self.address}

    def start(self):
        self._daemon = subprocess.Popen(
            ["dbus-daemon", f"--config-file={self._configuration}", "--nofork", "--nopidfile",
             "--print-address=1"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        with self._daemon.stdout as told:
            if not told.readline():
                raise SteeringError("dbus-daemon did not start")

    def mock(self, name: str, path: str = "/", interface: str | None = None,
             template: str | None = None, methods: dict[str, tuple[str, str, str]] | None = None):
        """Puts a service on the bus: one of python-dbusmock's templates, or one with these methods.
        Each method has its signatures, in and out, and the Python code that computes `ret`."""
        what = ["--template", template] if template else [name, path, interface or name]
        log = open(self._home / f"{name}.calls", "wb")
        self._mocks[name] = subprocess.Popen(
            [sys.executable, "-u", "-m", "dbusmock", f"--{self.kind}", *what],
            env=os.environ | self.environment, stdin=subprocess.DEVNULL, stdout=log,
            stderr=subprocess.DEVNULL)
        log.close()
        wait_until(lambda: self._call("org.freedesktop.DBus", "/", "org.freedesktop.DBus.NameHasOwner",
                                      name).endswith("true"), f"owner of {name}")
        for method, (takes, returns, code) in (methods or {}).items():
            self._call(name, path, "org.freedesktop.DBus.Mock.AddMethod", interface, method, takes,
                       returns, code)

    def end_mock(self, name: str):
        end_process(self._mocks.pop(name))

    def calls(self, name: str) -> list[str]:
        """The calls that the service has received, one per line."""
        return (self._home / f"{name}.calls").read_text("utf-8", "replace").split("\n")[:-1]

    def wait_call(self, name: str, *parts: str) -> str:
        """Waits for a call of that service whose line contains all parts."""
        def arrived() -> str | None:
            return next((line for line in self.calls(name) if all(part in line for part in parts)), None)

        return wait_until(arrived, lambda: f"call {parts} of {name} among {self.calls(name)}")

    def _call(self, name: str, path: str, method: str, *arguments: str) -> str:
        asked = subprocess.run(
            ["dbus-send", f"--bus={self.address}", "--print-reply=literal", f"--dest={name}", path,
             method, *(f"string:{argument}" for argument in arguments)],
            capture_output=True, text=True, timeout=DEADLINE)
        if asked.returncode:
            raise SteeringError(f"{method} of {name}: {asked.stderr}")
        return asked.stdout.strip()


class HungBus(Bus):
    """Replaces a bus by a socket that accepts connections and never answers."""

    def __enter__(self):
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(self._socket))
        self._listener.listen(64)
        return self

    def __exit__(self, *_):
        self._listener.close()
        super().__exit__()
