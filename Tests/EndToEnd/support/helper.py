"""Calls and attacks the privileged helper in the box, and measures its process."""

import contextlib
import json
import pathlib
import re

from .box import TESTER, wait_until

ACTION = "com.quoxelin.desktop.helper.run"
NAME = "com.quoxelin.desktop.Helper"
CALL = ("gdbus", "call", "--system", "--dest", NAME, "--object-path", "/com/quoxelin/desktop/Helper",
        "--method")
INTERFACE = "com.quoxelin.desktop.HelperToolProtocol"
RESOURCES = "/usr/lib/quoxelin-desktop/Contents/Resources"
DAEMON, TOOL = f"{RESOURCES}/quoxelind", f"{RESOURCES}/quoxelin"
HELPER = "/usr/libexec/quoxelin-desktop/quoxelin-helper"
ERROR = re.compile(r"org\.freedesktop\.DBus\.Error\.(\w+)")
POLKITD = "/usr/lib/polkit-1/polkitd"
ATTACKER = pathlib.Path(__file__).with_name("attacker.py").read_text()

# A polkit that never answers, except about "quoxelin status", and prints what it is asked.
WAITING_POLKIT = """
import signal
from gi.repository import Gio, GLib
bus = Gio.bus_get_sync(Gio.BusType.SYSTEM)
pending = {}
def called(bus, sender, path, interface, method, parameters, invocation):
    if method == "CheckAuthorization":
        subject, action, details, flags, question = parameters.unpack()
        print(method, question, details["command"], flush=True)
        pending[question] = invocation
        if "status" in details["command"]:
            invocation.return_value(GLib.Variant("((bba{ss}))", ((True, False, {}),)))
        return
    question, = parameters.unpack()
    print(method, question, flush=True)
    invocation.return_value(None)
    pending.pop(question).return_dbus_error("org.freedesktop.PolicyKit1.Error.Cancelled", "cancelled")
def answer():
    for invocation in pending.values():
        invocation.return_value(GLib.Variant("((bba{ss}))", ((True, False, {}),)))
    pending.clear()
    bus.flush_sync()
    print("answered", flush=True)
    return True
GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, answer)
interface = Gio.DBusNodeInfo.new_for_xml(
    "<node><interface name='org.freedesktop.PolicyKit1.Authority'>"
    "<method name='CheckAuthorization'><arg type='(sa{sv})' direction='in'/>"
    "<arg type='s' direction='in'/><arg type='a{ss}' direction='in'/><arg type='u' direction='in'/>"
    "<arg type='s' direction='in'/><arg type='(bba{ss})' direction='out'/></method>"
    "<method name='CancelCheckAuthorization'><arg type='s' direction='in'/></method>"
    "</interface></node>").interfaces[0]
bus.register_object("/org/freedesktop/PolicyKit1/Authority", interface, called, None, None)
Gio.bus_own_name_on_connection(bus, "org.freedesktop.PolicyKit1", Gio.BusNameOwnerFlags.NONE)
GLib.MainLoop().run()
"""

# Replaces the system's log and prints each entry as a line.
SYSTEM_LOG = """
import os, socket
log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
log.bind("/dev/log")
os.chmod("/dev/log", 0o666)
print("listening", flush=True)
while True:
    print(log.recv(65536).decode("utf-8", "replace"), flush=True)
"""


def run_go_tool(box, path, *arguments, user=TESTER):
    """Returns ("replied", output), or the name of the D-Bus error and its text."""
    done = box.try_run(*CALL, f"{INTERFACE}.RunGoTool", path, json.dumps(arguments), user=user)
    if done.returncode == 0:
        return "replied", done.stdout
    return ERROR.search(done.stderr)[1], done.stderr


def outcome(box, *call, user=TESTER):
    return run_go_tool(box, *call, user=user)[0]


def running_helper(box):
    """Starts the helper, which exits after a while without work, and returns its process."""
    assert box.run(*CALL, f"{INTERFACE}.Ping", user=TESTER) == "(true,)\n"
    running = box.pids(f"^{HELPER}")
    assert len(running) == 1
    return running


@contextlib.contextmanager
def without_polkit(box):
    """Stops polkit. Moves its program away, because the bus would start it again."""
    try:
        box.run("mv", POLKITD, f"{POLKITD}.away")
        box.process("polkit").end()
        yield
    finally:
        box.run("mv", f"{POLKITD}.away", POLKITD)
        box.start_polkit()


@contextlib.contextmanager
def waiting_polkit(box):
    """Replaces polkit by the waiting one; yields what it was asked."""
    with without_polkit(box):
        # The bus gives the name only to polkit's user.
        polkit = box.start("waiting-polkit", "setpriv", "--reuid=polkitd", "--clear-groups",
                           "/usr/bin/python3", "-c", WAITING_POLKIT)
        try:
            box.wait_name("org.freedesktop.PolicyKit1")
            begun = len(polkit.output.read_text().splitlines())
            yield lambda: [line.split(" ", 2) for line in polkit.output.read_text().splitlines()[begun:]]
        finally:
            polkit.end()


@contextlib.contextmanager
def system_log(box):
    """Yields the lines that the helper writes to the system's log meanwhile."""
    log = box.start("log", "/usr/bin/python3", "-c", SYSTEM_LOG)
    try:
        wait_until(lambda: "listening" in log.output.read_text(), "the system's log")
        yield lambda: [line.split("]: ", 1)[1] for line in log.output.read_text().splitlines()
                       if "quoxelin-helper[" in line]
    finally:
        log.end()
        box.path("/dev/log").unlink()


class Attack:
    """Runs an attack in the background; see attacker.py."""

    def __init__(self, box, user, what, **options):
        self._process = box.start(f"attack-{user}-{what}-{id(self)}", "/usr/bin/python3", "-c", ATTACKER, what,
                                  json.dumps(options), user=user)

    def __enter__(self):
        wait_until(lambda: "begun" in self._process.output.read_text(), "the attack's begin")
        return self

    def __exit__(self, *_):
        self._process.end()

    def result(self, deadline=60.0):
        assert self._process.exit_code(deadline) == 0, self._process.output.read_text()
        return json.loads(self._process.output.read_text().splitlines()[-1])


def attack(box, user, what, **options):
    """Runs an attack and returns its result."""
    done = box.run("/usr/bin/python3", "-c", ATTACKER, what, json.dumps(options), user=user, deadline=60.0)
    return json.loads(done.splitlines()[-1])


def memory(pid):
    """Resident memory in MiB: now, and its maximum so far."""
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    return [int(re.search(rf"^{name}:\s+(\d+) kB", status, re.MULTILINE)[1]) / 1024
            for name in ("VmRSS", "VmHWM")]


def descriptors(pid):
    return len(list(pathlib.Path(f"/proc/{pid}/fd").iterdir()))
