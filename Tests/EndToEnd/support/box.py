"""A separate machine with the stock system bus, polkitd and NetworkManager, and with the product
installed; see Tests/EndToEnd/box."""

import contextlib
import os
import pathlib
import re
import select
import shutil
import signal
import socket
import subprocess

from .steered import DEADLINE, SteeredProcess, SteeringError, wait_until

HERE = pathlib.Path(__file__).resolve().parents[1] / "box"
TESTER, STRANGER = "tester", "stranger"
USERS = {"root": 0, TESTER: 4321, STRANGER: 4322}
# How long it may take to set up a box, including the product's installation.
INSTALL_DEADLINE = 60.0
PROGRAMS = ("unshare", "nsenter", "setpriv", "dbus-daemon", "/usr/lib/polkit-1/polkitd",
            "/usr/sbin/NetworkManager", "nm-online", "ip")

# What a user at the screen may do without being asked.
ALLOWED = (
    ("org.freedesktop.NetworkManager.network-control", TESTER, "yes"),
    ("org.freedesktop.NetworkManager.settings.modify.own", TESTER, "yes"),
    ("com.quoxelin.desktop.helper.", TESTER, "yes"),
)


def why_not() -> str | None:
    """Why there can be no box on this machine; None if there can be one."""
    missing = [name for name in PROGRAMS if not shutil.which(name)]
    if missing:
        return "not installed: " + ", ".join(missing)
    if os.geteuid() != 0:
        return "only root can make one"
    if not os.access("/dev/net/tun", os.R_OK | os.W_OK):
        return "/dev/net/tun cannot be opened"
    tried = subprocess.run(
        ["unshare", "--net", "--mount", "--pid", "--ipc", "--uts", "--fork", "--mount-proc", "true"],
        capture_output=True, text=True)
    return tried.stderr.strip() or None if tried.returncode else None


def program_pid(process: subprocess.Popen) -> int:
    """Waits for the program that `Box.command` names; the started process only waits for it."""

    def find() -> int | None:
        if process.poll() is not None:
            return process.pid
        try:
            children = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text()
            child = children.split()[0]
            name = pathlib.Path(f"/proc/{child}/comm").read_text().strip()
        except (IndexError, OSError):
            return None
        return None if name in ("nsenter", "env", "setpriv") else int(child)

    return wait_until(find, f"{process.args} to start")


class SteeredInBox(SteeredProcess):
    """A program of this project that runs in the box and is steered from outside."""

    def __init__(self, box: "Box", *command: str | os.PathLike, user: str = TESTER):
        super().__init__(box.command(*command, user=user), env={}, cwd="/", start_new_session=True)
        self._program = program_pid(self._process)

    @property
    def pid(self) -> int:
        return self._program

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.is_running():
            os.kill(self._program, signal.SIGTERM)
            self.exit_code()
        self.end()


class BoxProcess:
    """A program that runs in the box and writes to `output`, a file of the box."""

    def __init__(self, command: list[str], output: pathlib.Path):
        self.output = output
        with open(output, "ab") as sink:
            self._process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=sink, stderr=subprocess.STDOUT,
                env={}, cwd="/", start_new_session=True)
        self.pid = program_pid(self._process)

    def is_running(self) -> bool:
        return self._process.poll() is None

    def send_signal(self, number: int) -> None:
        if not self.is_running():
            return
        # The program exits shortly before the process that waits for it.
        with contextlib.suppress(ProcessLookupError):
            os.kill(self.pid, number)
        if number in (signal.SIGKILL, signal.SIGCONT):
            # The waiting process stops and continues together with its program.
            self._process.send_signal(signal.SIGCONT)

    def exit_code(self, deadline: float = DEADLINE) -> int:
        try:
            return self._process.wait(deadline)
        except subprocess.TimeoutExpired:
            raise SteeringError(f"{self.output.name}: not ended within {deadline} s") from None

    def end(self, number: int = signal.SIGTERM) -> int:
        """Ends the program if it still runs; raises SteeringError if it had to be killed."""
        self.send_signal(number)
        try:
            return self.exit_code()
        except SteeringError:
            self.send_signal(signal.SIGKILL)
            self.exit_code()
            raise


class Box:
    """
    with Box() as box:
        box.start_services()
        box.allow("com.quoxelin.desktop.install-extension", TESTER)
        assert box.run("nmcli", "connection", user=TESTER)
    """

    def __init__(self, *install: str | os.PathLike):
        """`install` is a command that runs in the box as root before anything else."""
        self._install = [str(part) for part in install]
        self._processes: dict[str, BoxProcess] = {}

    def __enter__(self):
        self._process = subprocess.Popen(
            [HERE / "enter", *self._install], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True, start_new_session=True)
        try:
            if not select.select([self._process.stdout], [], [], INSTALL_DEADLINE)[0]:
                raise SteeringError(f"no box within {INSTALL_DEADLINE} s")
            if self._process.stdout.readline() != "up\n":
                self._process.wait(DEADLINE)
                raise SteeringError(f"no box: {self._process.stderr.read()}")
            number = self._process.pid
            children = pathlib.Path(f"/proc/{number}/task/{number}/children").read_text()
            self.pid = int(children.split()[0])
            for answer in ALLOWED:
                self.answer(*answer)
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self._process.stdin.close()
        try:
            self._process.wait(DEADLINE)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        for process in self._processes.values():
            process.exit_code()
        self._process.stdout.close()
        self._process.stderr.close()

    # Files

    def path(self, inside: str) -> pathlib.Path:
        """Where this process finds a file of the box. Absolute links lead out of the box."""
        return pathlib.Path(f"/proc/{self.pid}/root{inside}")

    def read(self, inside: str) -> str:
        """A file's text; empty if the file does not exist."""
        try:
            return self.path(inside).read_text("utf-8", "replace")
        except FileNotFoundError:
            return ""

    def write(self, inside: str, text: str) -> None:
        self.path(inside).write_text(text, "utf-8")

    # Programs

    def command(self, *command: str | os.PathLike, user: str = "root",
                environment: dict[str, str] | None = None) -> list[str]:
        """The command line that runs a command in the box as that user, in a clean environment."""
        number = USERS[user]
        home = "/root" if user == "root" else f"/home/{user}"
        variables = {"PATH": "/usr/local/bin:/usr/bin:/bin", "HOME": home, "USER": user,
                     "LOGNAME": user, "LANG": "C.UTF-8", "TZ": "UTC"}
        if user == "root":
            variables["PATH"] = "/usr/local/sbin:/usr/sbin:/sbin:" + variables["PATH"]
        else:
            variables["XDG_RUNTIME_DIR"] = f"/run/user/{number}"
            variables["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path=/run/user/{number}/bus"
        variables |= environment or {}
        groups = ["setpriv", f"--reuid={number}", f"--regid={number}", "--clear-groups"]
        return [
            "/usr/bin/nsenter", f"--target={self.pid}", "--net", "--mount", "--pid", "--ipc", "--uts",
            "--root", f"--wd={self.path(home)}", "/usr/bin/env", "-i",
            *(f"{name}={value}" for name, value in variables.items()),
            *([] if user == "root" else groups), *(str(part) for part in command)]

    def run(self, *command: str | os.PathLike, **options) -> str:
        """Runs a command like `try_run` and returns its output; raises SteeringError if it fails."""
        done = self.try_run(*command, **options)
        if done.returncode != 0:
            raise SteeringError(f"{command}: exit code {done.returncode}: {done.stdout}{done.stderr}")
        return done.stdout

    def try_run(self, *command: str | os.PathLike, user: str = "root",
                environment: dict[str, str] | None = None, stdin: str = "",
                deadline: float = DEADLINE) -> subprocess.CompletedProcess:
        """Runs a command and returns an object with its returncode, stdout and stderr."""
        return subprocess.run(
            self.command(*command, user=user, environment=environment), input=stdin,
            capture_output=True, text=True, timeout=deadline, env={}, cwd="/")

    def start(self, name: str, *command: str | os.PathLike, user: str = "root",
              environment: dict[str, str] | None = None) -> BoxProcess:
        """Starts a program. Use the name to find the program later, and its output in logs()."""
        if name in self._processes and self._processes[name].is_running():
            raise SteeringError(f"{name} runs already")
        process = BoxProcess(self.command(*command, user=user, environment=environment),
                             self.path(f"/run/box/{name}.log"))
        self._processes[name] = process
        return process

    def process(self, name: str) -> BoxProcess:
        return self._processes[name]

    def pids(self, pattern: str) -> list[int]:
        """The matching processes without zombies; their ids are those outside the box."""
        namespace = os.readlink(f"/proc/{self.pid}/ns/pid")
        found = []
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if os.readlink(entry / "ns/pid") != namespace:
                    continue
                line = (entry / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
            except OSError:
                continue
            if re.search(pattern, line):
                found.append(int(entry.name))
        return found

    # The user at the screen

    def answer(self, action: str, user: str, answer: str) -> None:
        """Sets polkit's answer for actions with this prefix: yes, no, auth_admin..."""
        lines = [line for line in self.read("/run/box/polkit").splitlines()
                 if line.split()[:2] != [action, user]]
        self.write("/run/box/polkit", "\n".join([f"{action} {user} {answer}", *lines]) + "\n")

    def allow(self, action: str, user: str = TESTER) -> None:
        self.answer(action, user, "yes")

    def refuse(self, action: str, user: str = TESTER) -> None:
        self.answer(action, user, "no")

    # Services

    def start_services(self) -> None:
        """Starts the system bus, polkitd and NetworkManager, connected to a network outside."""
        self.start_bus()
        self.start_polkit()
        self.start_network_manager()

    def start_bus(self) -> BoxProcess:
        bus = self.start("dbus", "dbus-daemon", "--system", "--nofork", "--nopidfile", "--nosyslog")
        self.wait_socket("/run/dbus/system_bus_socket")
        return bus

    def start_polkit(self) -> BoxProcess:
        polkit = self.start("polkit", "/usr/lib/polkit-1/polkitd", "--no-debug")
        self.wait_name("org.freedesktop.PolicyKit1")
        return polkit

    def start_network_manager(self) -> BoxProcess:
        service = self.start("NetworkManager", "/usr/sbin/NetworkManager", "--no-daemon", "--debug")
        self.wait_name("org.freedesktop.NetworkManager")
        self.run("nm-online", "-q", "-t", "10")
        return service

    def start_session_bus(self, user: str = TESTER) -> BoxProcess:
        address = f"/run/user/{USERS[user]}/bus"
        bus = self.start(f"session-{user}", "dbus-daemon", "--session", "--nofork", "--nopidfile",
                         f"--address=unix:path={address}", user=user)
        self.wait_socket(address)
        return bus

    def wait_socket(self, inside: str) -> None:
        """Waits until a process listens on that socket."""

        def is_served() -> bool:
            with socket.socket(socket.AF_UNIX) as client:
                return client.connect_ex(str(self.path(inside))) == 0

        wait_until(is_served, inside)

    def wait_name(self, name: str, deadline: float = DEADLINE) -> None:
        """Waits until that name on the system bus has an owner."""
        self.run("gdbus", "wait", "--system", f"--timeout={int(deadline)}", name, deadline=deadline + 1)

    # After a failed test

    def logs(self) -> dict[str, str]:
        """The outputs of the box's programs and the application's log, by name."""
        texts = {path.name: path.read_text("utf-8", "replace")
                 for path in sorted(self.path("/run/box").glob("*.log"))}
        for user in (TESTER, STRANGER):
            if text := self.read(f"/home/{user}/.local/share/Quoxelin/app.log"):
                texts[f"app.log of {user}"] = text
        return texts
