"""The policies for the system bus and for polkit."""
import configparser
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as tree

import pytest

from conftest import run

ID = "com.quoxelin.desktop"
DTD = "/usr/share/polkit-1/policyconfig-1.dtd"
NOBODY = 65534

# Like the system bus's own configuration: everything is denied unless a policy allows it.
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
  </policy>
{includes}
</busconfig>
"""

# Owns a name and answers every call with an error until its standard input ends.
OWNER = """
import sys
from gi.repository import Gio, GLib

flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
bus = Gio.DBusConnection.new_for_address_sync(sys.argv[1], flags, None, None)
try:
    reply = bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                          "RequestName", GLib.Variant("(su)", (sys.argv[2], 4)), None, 0, -1, None)
    print(reply.unpack()[0], flush=True)
except GLib.Error as error:
    print(Gio.DBusError.get_remote_error(error), flush=True)
sys.stdin.read()
"""


def bus_policies(installation):
    return [installation.extension / "nm-quoxelin-service.conf",
            *sorted(installation.at("/usr/share/dbus-1/system.d").iterdir())]


class Bus:
    """A message bus with the installation's policies. It runs as root and accepts all users."""

    def __init__(self, folder: pathlib.Path, policies):
        self.address = f"unix:path={folder}/socket"
        includes = "\n".join(f"  <include>{policy}</include>" for policy in policies)
        configuration = folder / "bus.conf"
        configuration.write_text(BUS.format(socket=folder / "socket", includes=includes))
        self.process = subprocess.Popen(
            ["dbus-daemon", "--nofork", "--nosyslog", "--print-address", f"--config-file={configuration}"],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if not self.process.stdout.readline():
            raise AssertionError(self.process.communicate()[1])

    def end(self):
        self.process.terminate()
        said = self.process.communicate(timeout=10)[1]
        assert self.process.returncode == 0, said
        # The bus only warns about unknown names in a policy, such as users.
        assert "nknown" not in said, said

    def own(self, name, user):
        """Requests a name. Returns the process that requested it, and the bus's answer."""
        owner = subprocess.Popen([*as_user(user), sys.executable, "-c", OWNER, self.address, name],
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        return owner, owner.stdout.readline().strip()

    def call(self, name, user, path, interface, member):
        """Calls a method and returns the name of the error."""
        done = subprocess.run(
            [*as_user(user), "dbus-send", f"--bus={self.address}", "--print-reply",
             "--reply-timeout=10000", f"--dest={name}", path, f"{interface}.{member}"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=20)
        return re.match(r"Error (\S+):|", done.stderr)[1]


def as_user(user):
    return ["setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups"] if user else []


@pytest.fixture
def bus(installation):
    with tempfile.TemporaryDirectory(prefix="qxbus-") as folder:
        os.chmod(folder, 0o711)
        bus = Bus(pathlib.Path(folder), bus_policies(installation))
        try:
            yield bus
        finally:
            bus.end()


DENIED = "org.freedesktop.DBus.Error.AccessDenied"
# GDBus does not have the object, so the call has arrived.
ARRIVED = "org.freedesktop.DBus.Error.UnknownMethod"
OWNED = "1"

TUNNEL = (f"{ID}.PacketTunnel", "/org/freedesktop/NetworkManager/VPN/Plugin",
          "org.freedesktop.NetworkManager.VPN.Plugin", "Connect")


HELPER = (f"{ID}.Helper", "/com/quoxelin/desktop/Helper", f"{ID}.HelperToolProtocol", "RunGoTool")


def test_bus_policies_are_well_formed(installation):
    for policy in bus_policies(installation):
        run("xmllint", "--noout", "--nonet", policy)


@pytest.mark.parametrize("name", [TUNNEL[0], HELPER[0]])
def test_only_root_owns_a_name(bus, name):
    for user, answer in ((NOBODY, DENIED), (0, OWNED)):
        owner, said = bus.own(name, user)
        owner.communicate(timeout=10)
        assert said == answer, f"{name} as user {user}"


def test_only_root_talks_to_the_tunnels_service(bus):
    owner, said = bus.own(TUNNEL[0], 0)
    assert said == OWNED
    assert bus.call(TUNNEL[0], 0, *TUNNEL[1:]) == ARRIVED
    assert bus.call(TUNNEL[0], NOBODY, *TUNNEL[1:]) == DENIED
    owner.communicate(timeout=10)


def test_all_users_may_send_the_helper_its_messages_only(bus):
    owner, said = bus.own(HELPER[0], 0)
    assert said == OWNED
    name, path, interface, member = HELPER
    for user in (0, NOBODY):
        assert bus.call(name, user, path, interface, member) == ARRIVED
    for other_path, other_interface in (("/", interface), (path, "org.freedesktop.DBus.Properties")):
        assert bus.call(name, NOBODY, other_path, other_interface, member) == DENIED
    owner.communicate(timeout=10)


def test_a_user_cannot_call_a_helper_without_its_name(bus):
    # The first connection to the bus.
    owner, said = bus.own(f"{ID}.Other", 0)
    assert said == DENIED
    assert bus.call(":1.0", NOBODY, *HELPER[1:]) == DENIED
    owner.communicate(timeout=10)


def test_a_name_that_no_policy_mentions_cannot_be_owned(bus):
    owner, said = bus.own(f"{ID}.Other", 0)
    owner.communicate(timeout=10)
    assert said == DENIED


def test_the_bus_starts_the_installed_helper_as_root(either):
    path = either.at(f"/usr/share/dbus-1/system-services/{HELPER[0]}.service")
    service = configparser.ConfigParser(interpolation=None)
    service.optionxform = str
    service.read_string(path.read_text("utf-8"), str(path))
    program = f"{either.prefix}/libexec/quoxelin-desktop/quoxelin-helper"
    assert {name: dict(service[name]) for name in service.sections()} == {
        "D-BUS Service": {"Name": HELPER[0], "Exec": program, "User": "root",
                          "SystemdService": "quoxelin-helper.service"}}
    assert os.access(either.at(program), os.X_OK)


def test_systemd_confines_the_helper_and_what_it_runs(either):
    unit = either.at("/usr/lib/systemd/system/quoxelin-helper.service")
    program = f"{either.prefix}/libexec/quoxelin-desktop/quoxelin-helper"
    lines = unit.read_text("utf-8").splitlines()
    # The daemon keeps running when the helper exits.
    assert {f"ExecStart={program}", f"BusName={HELPER[0]}", "KillMode=process", "OOMPolicy=continue",
            "MemoryMax=1G", "TasksMax=512", "NoNewPrivileges=yes"} <= set(lines)
    run("systemd-analyze", "security", "--offline=true", "--threshold=40", unit)


def test_the_helper_is_hardened(installation):
    program = installation.at(f"{installation.prefix}/libexec/quoxelin-desktop/quoxelin-helper")
    said = run("readelf", "--wide", "--file-header", "--segments", "--dynamic", program)
    assert all(feature in said for feature in ("Position-Independent Executable", "GNU_RELRO", "BIND_NOW"))
    assert not re.search(r"R(UN)?PATH", said)


# polkit

ANSWERS = {"no", "yes", "auth_self", "auth_admin", "auth_self_keep", "auth_admin_keep"}


def actions(installation):
    """All actions with their files. polkit reads /usr/share, whatever the prefix is."""
    return {action.get("id"): (path, action)
            for path in sorted(installation.at("/usr/share/polkit-1/actions").iterdir())
            for action in tree.parse(path).iter("action")}


def test_polkit_policies_are_valid(installation):
    for path in sorted(installation.at("/usr/share/polkit-1/actions").iterdir()):
        assert path.suffix == ".policy", path
        run("xmllint", "--noout", "--nonet", "--dtdvalid", DTD, path)


def test_polkit_knows_the_two_actions(installation):
    found = {}
    for name, (path, action) in actions(installation).items():
        assert action.findtext("description") and action.findtext("message"), f"{path}: {name}"
        found[name] = [action.findtext(f"defaults/allow_{who}") for who in ("any", "inactive", "active")]
        assert set(found[name]) <= ANSWERS, f"{path}: {name}"
    assert found == {
        f"{ID}.helper.run": ["auth_admin_keep", "auth_admin_keep", "yes"],
        f"{ID}.install-extension": ["auth_admin", "auth_admin", "auth_admin"],
    }


def test_pkexec_takes_the_installed_program_for_the_action(either):
    path, action = actions(either)[f"{ID}.install-extension"]
    annotations = {note.get("key"): note.text for note in action.iter("annotate")}
    # No other annotations, which could allow a display or other arguments.
    assert annotations == {
        "org.freedesktop.policykit.exec.path":
            f"{either.prefix}/libexec/quoxelin-desktop/install-extension"}, path
    assert os.access(either.at(annotations["org.freedesktop.policykit.exec.path"]), os.X_OK)
