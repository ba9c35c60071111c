"""The installation on a machine with the real services: polkit knows its actions, and pkexec
registers the tunnel with NetworkManager as root."""

import os
import pathlib

from support.box import STRANGER, TESTER, wait_until

ACTION = "com.quoxelin.desktop.install-extension"
INSTALLER = "/usr/libexec/quoxelin-desktop/install-extension"
EXTENSION = ("/usr/lib/quoxelin-desktop/Contents/Library/SystemExtensions/"
             "com.quoxelin.desktop.PacketTunnel.systemextension/Contents")
INSTALLED = ("/etc/dbus-1/system.d/nm-quoxelin-service.conf",
             "/usr/lib/NetworkManager/VPN/nm-quoxelin-service.name")


def pkexec(box, *arguments, user=TESTER):
    # A shell, because pkexec's parent must be inside the box.
    return box.try_run("sh", "-c", '"$@"; exit $?', "sh", "pkexec", "--disable-internal-agent",
                       *arguments, user=user)


def installed(box):
    return [path for path in INSTALLED if box.path(path).exists()]


def test_what_is_written_in_the_box_does_not_reach_this_machine(box):
    for directory in ("/etc", "/home", "/root", "/run", "/tmp", "/usr", "/var"):
        name = f"{directory}/box-test-{os.getpid()}"
        box.run("touch", name)
        assert box.path(name).exists()
        assert not pathlib.Path(name).exists()
    assert pathlib.Path("/proc/self/ns/net").readlink() != box.path("/proc/1/ns/net").readlink()


def test_a_user_without_authorization_installs_nothing(box):
    # There is no user to ask.
    done = pkexec(box, INSTALLER, user=STRANGER)
    assert (done.returncode, installed(box)) == (127, [])
    box.refuse(ACTION)
    done = pkexec(box, INSTALLER)
    assert (done.returncode, installed(box)) == (127, [])


def test_a_user_who_may_install_the_extension_may_run_nothing_else(box):
    box.allow(ACTION)
    for command in (["/bin/true"], ["/bin/sh", INSTALLER], [f"/usr/../{INSTALLER}.gone"]):
        assert pkexec(box, *command).returncode == 127
    done = pkexec(box, INSTALLER, "--help")
    assert (done.returncode, done.stderr) == (2, "install-extension: takes no arguments\n")
    assert installed(box) == []


def test_installing_the_extension_makes_networkmanager_know_the_tunnel(box):
    box.allow(ACTION)
    done = pkexec(box, INSTALLER)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    for path in INSTALLED:
        name = path.rsplit("/", 1)[-1]
        assert box.read(path) == box.read(f"{EXTENSION}/{name}") != ""
    box.run("nmcli", "connection", "add", "type", "vpn", "vpn-type",
            "com.quoxelin.desktop.PacketTunnel", "con-name", "tunnel", "vpn.data", "address=vpn",
            "connection.permissions", f"user:{TESTER}", user=TESTER)
    box.run("nmcli", "connection", "up", "tunnel", user=TESTER)
    wait_until(lambda: "tunnel:activated" in box.run(
        "nmcli", "-t", "-f", "NAME,STATE", "connection", "show", "--active"), "the tunnel")
    box.run("nmcli", "connection", "delete", "tunnel", user=TESTER)
