"""The installed program on a separate machine with the real services, from the first start to the
removal, as an ordinary user with the keyboard."""

import contextlib
import os
import signal

import pytest

from support.application import LogLine, log_lines
from support.box import TESTER, wait_until
from support.order import assert_in_order
from support.stand_ins import (FOLDER, Daemon, calls, fail_tunnel, tunnel_devices)

INSTALL = "com.quoxelin.desktop.install-extension"
REMOVE = "org.freedesktop.policykit.exec"
CONTROL = "org.freedesktop.NetworkManager.network-control"
PLUGIN = "/usr/lib/NetworkManager/VPN/nm-quoxelin-service.name"
POLICY = "/etc/dbus-1/system.d/nm-quoxelin-service.conf"
LOG = f"/home/{TESTER}/.local/share/Quoxelin/app.log"
UP = {"quoxelin0": ["100.64.0.1"]}


def changed(status: int) -> list[str]:
    return [f"[VPN] raw status: {status}",
            f"[VPN] Status changed: NEVPNStatus(rawValue: {status})"]


def told(status: int) -> list[str]:
    """What the log says about a status that the system reports."""
    return ["[VPN] Status notification received", *changed(status)]


STARTING = ["[VPN] Starting VPN tunnel (current status: 1)",
            "[VPN] Tunnel start initiated successfully", *told(2)]


class Product:
    """The program, its log, and its user."""

    def __init__(self, box, display: str):
        self.box = box
        self.daemon = Daemon(box)
        self.environment = {"DISPLAY": display, "QT_QPA_PLATFORM": "xcb"}
        self.process = None
        self.kept_log = LOG

    def start(self) -> None:
        self.process = self.box.start("application", "quoxelin-desktop", user=TESTER,
                                      environment=self.environment)

    def end(self) -> None:
        if self.process:
            self.process.end()

    def start_connected(self) -> None:
        """With the plugin installed, logged in to the daemon, and connected automatically."""
        self.box.allow(INSTALL)
        self.daemon.options("--logged-in")
        self.start()
        self.wait(*changed(3)[1:])

    def log(self) -> list[LogLine]:
        return log_lines(self.box.read(self.kept_log))

    def wait(self, text: str, since: int = 0) -> None:
        """Waits for "[Category] message" among the entries from that place on."""
        def failure() -> str:
            return f"{text} in:\n" + "\n".join(line.text for line in self.log()[since:])

        wait_until(lambda: text in self.log()[since:], failure)

    def vpn(self, since: int) -> list[str]:
        """The messages about the tunnel from that place on."""
        return [f"[VPN] {line.message}" for line in self.log()[since:] if line.category == "VPN"]

    def open_panel(self) -> None:
        self.box.run("gdbus", "call", "--session", "--dest=com.quoxelin.desktop",
                     "--object-path=/com/quoxelin/desktop",
                     "--method=org.freedesktop.Application.Activate", "{}", user=TESTER)
        self.wait_window("Quoxelin")

    def close_panel(self) -> None:
        def is_closed() -> bool:
            if self.active_window() == "Quoxelin":
                self.keys("Escape")
                return False
            return True

        wait_until(is_closed, "the panel's end")

    def active_window(self) -> str:
        """The name of the window with the keyboard focus."""
        return self.box.try_run("xdotool", "getwindowfocus", "getwindowname", user=TESTER,
                                environment=self.environment).stdout.strip()

    def wait_window(self, name: str) -> None:
        wait_until(lambda: self.active_window() == name, f"the window {name!r}")

    def keys(self, *names: str) -> None:
        self.box.run("xdotool", "key", "--delay", "30", *names, user=TESTER,
                     environment=self.environment)


@pytest.fixture(scope="module")
def display(box):
    """A session at a screen of the box."""
    box.start_session_bus()
    box.start("xvfb", "Xvfb", ":9", "-screen", "0", "1024x700x24", "-nolisten", "tcp", "-ac",
              "-noreset")
    box.wait_socket("/tmp/.X11-unix/X9")
    box.start("openbox", "openbox", user=TESTER, environment={"DISPLAY": ":9"})
    # Only window managers know about desktops.
    wait_until(lambda: box.try_run("xdotool", "get_desktop",
                                   environment={"DISPLAY": ":9"}).returncode == 0,
               "the window manager")
    return ":9"


def remove_vpns(box) -> None:
    """Works even if NetworkManager was ended in between."""
    if not box.process("NetworkManager").is_running():
        box.start_network_manager()
    for line in box.run("nmcli", "-t", "-f", "TYPE,UUID", "connection").splitlines():
        if line.startswith("vpn:"):
            box.run("nmcli", "connection", "delete", line.removeprefix("vpn:"))


@pytest.fixture
def product(box, display):
    """The program has never run, no user is logged in, and polkit refuses both actions."""
    product = Product(box, display)
    box.refuse(INSTALL)
    box.refuse(REMOVE)
    # Runs in reverse order, each one even if others fail.
    with contextlib.ExitStack() as stack:
        stack.callback(fail_tunnel, box, 0)
        stack.callback(box.allow, CONTROL)
        stack.callback(
            box.run, "rm", "-rf", f"/home/{TESTER}/.local", f"/home/{TESTER}/.config", PLUGIN, POLICY,
            f"{FOLDER}/sim-options", f"{FOLDER}/calls", f"{FOLDER}/removal")
        stack.callback(product.daemon.end)
        stack.callback(remove_vpns, box)
        stack.callback(product.end)
        yield product


def test_from_the_first_start_to_connected_and_down_again(product, box):
    box.allow(INSTALL)
    product.start()
    product.wait("[State] Received HashiBus state: needsLogin")
    assert box.path(PLUGIN).exists() and box.path(POLICY).exists()
    assert_in_order(
        product.log(),
        "[App] Quoxelin Desktop App Launching...",
        "[App] Helper is ready and reachable. Starting daemon...",
        "[SysExt] Activating extension com.quoxelin.desktop.PacketTunnel",
        "[SysExt] Completed",
        "[App] System Extension activated, ensuring VPN configuration...",
        "[App] VPN configuration ready, starting app state...",
        "[State] start() called",
    )
    assert tunnel_devices(box) == {}

    # The user logs in in the browser, which hands over the callback.
    product.daemon.do("login")
    second = box.try_run("quoxelin-desktop", "quoxelin://login/callback?token=t", user=TESTER,
                         environment=product.environment)
    assert (second.returncode, second.stdout, second.stderr) == (0, "", "")
    product.wait("[State] Authenticate called with token")
    product.wait(changed(3)[1])
    assert tunnel_devices(box) == UP
    messages = product.vpn(0)
    assert messages[:2] == ["[VPN] No saved Quoxelin VPN configuration",
                            "[VPN] updateStatus: manager or connection is nil"]
    assert messages[-len(changed(1) + STARTING + told(3)):] == changed(1) + STARTING + told(3)
    assert "100.64.0.1" in box.run("ip", "address", user=TESTER)

    place = len(product.log())
    product.process.send_signal(signal.SIGTERM)
    assert product.process.exit_code() == 0
    wait_until(lambda: tunnel_devices(box) == {}, "the tunnel's end")
    assert [line for line in product.log()[place:] if line.category == "App"] == [
        "[App] Quoxelin Desktop App terminating...",
        "[App] Invoking quoxelin down via Helper",
        "[App] Quoxelin Desktop App terminated (quoxelind still running)"]
    assert product.daemon.is_running()
    made = [(os.path.basename(call["arguments"][0]), call["arguments"][1:], call["uid"])
            for call in calls(box)]
    assert made == [("quoxelind", ["--help"], 0), ("quoxelind", ["up"], 0),
                    ("quoxelin", ["down"], 0)]
    # The configuration stays, and the next start finds it.
    assert "Quoxelin:vpn" in box.run("nmcli", "-t", "-f", "NAME,TYPE", "connection")
    place = len(product.log())
    product.start()
    product.wait("[VPN] Adopted existing VPN configuration", since=place)


def test_an_authorization_is_refused_and_then_granted(product, box):
    product.daemon.options("--logged-in")
    product.start()
    product.wait("[SysExt] Extension needs user approval: An administrator can allow it with: "
                 "sudo /usr/libexec/quoxelin-desktop/install-extension")
    assert not box.path(PLUGIN).exists()
    # The application keeps running without it.
    product.wait("[State] System Extension not approved, skipping VPN tunnel start")
    box.allow(INSTALL)
    place = len(product.log())
    product.open_panel()
    product.wait("[SysExt] Completed", since=place)
    assert_in_order(product.log()[place:], "[SysExt] App became active, re-trying activation",
                    "[SysExt] Activating extension com.quoxelin.desktop.PacketTunnel",
                    "[SysExt] Completed")
    assert box.path(PLUGIN).exists()
    product.keys("Tab", "Return")
    product.wait(changed(3)[1], since=place)
    assert tunnel_devices(box) == UP


def test_disconnecting_and_connecting_in_the_panel(product, box):
    product.start_connected()
    product.open_panel()
    place = len(product.log())
    product.keys("Tab", "Return")
    product.wait(changed(1)[1], since=place)
    assert_in_order(product.log()[place:], "[State] disconnect",
                    "[State] daemon WantRunning=false", changed(1)[1])
    assert product.vpn(place) in (told(5) + told(1), told(1))
    wait_until(lambda: tunnel_devices(box) == {}, "the tunnel's end")

    # NetworkManager sometimes fails a start; the application tries again.
    fail_tunnel(box, 1)
    place = len(product.log())
    product.keys("Return")
    product.wait(changed(3)[1], since=place)
    assert_in_order(product.log()[place:], "[State] connect", *STARTING[:2], changed(1)[1],
                    "[State] VPN connection retry 1/3", *STARTING[:2], changed(3)[1])
    assert tunnel_devices(box) == UP


def test_a_tunnel_that_is_not_allowed_is_tried_again(product, box):
    box.refuse(CONTROL)
    box.allow(INSTALL)
    product.daemon.options("--logged-in")
    product.start()
    product.wait("[VPN] Tunnel start initiated successfully")
    place = len(product.log())
    product.wait(changed(1)[1], since=place)
    box.allow(CONTROL)
    product.wait("[State] VPN connection retry 1/3", since=place)
    product.wait(changed(3)[1], since=place)
    assert tunnel_devices(box) == UP


def test_the_plugin_dies_and_network_manager_restarts(product, box):
    product.start_connected()
    place = len(product.log())
    for pid in box.pids(r"systemextension/Contents/nm-quoxelin-service"):
        os.kill(pid, signal.SIGKILL)
    reason = ("[VPN] Tunnel ended: NetworkManager's reason: service-stopped "
              "(code: 3, domain: NEVPNErrorDomain)")
    product.wait(reason, since=place)
    assert product.vpn(place) == [*told(1), reason]
    wait_until(lambda: tunnel_devices(box) == {}, "the tunnel's end")
    product.open_panel()
    place = len(product.log())
    # The daemon keeps running, so the row still connects only the tunnel.
    product.keys("Tab", "Return")
    product.wait(changed(3)[1], since=place)

    place = len(product.log())
    box.process("NetworkManager").end()
    product.wait(changed(1)[1], since=place)
    wait_until(lambda: tunnel_devices(box) == {}, "the tunnel's end")
    box.start_network_manager()
    # NetworkManager keeps no tunnel over its own end; the application asks it for this one again.
    product.wait(changed(3)[1], since=place)
    assert box.run("nmcli", "-t", "-f", "TYPE", "connection").split().count("vpn") == 1
    assert tunnel_devices(box) == UP


def test_uninstalling_removes_what_the_application_saved(product, box):
    product.start_connected()
    # The log is removed, too; what was written before can still be read.
    product.kept_log = f"/home/{TESTER}/kept.log"
    box.run("ln", "--force", LOG, product.kept_log)

    def choose() -> None:
        product.close_panel()
        product.open_panel()
        product.keys("Tab", "Up", "Up", "Return", "Up", "Return")
        product.wait_window("Uninstall Quoxelin")
        product.keys("Tab", "Return")

    place = len(product.log())
    choose()
    product.wait("[State] Uninstall cancelled or failed, no changes made", since=place)
    assert tunnel_devices(box) == UP and product.process.is_running()
    assert not box.path(f"{FOLDER}/removal").exists()

    box.allow(REMOVE)
    place = len(product.log())
    choose()
    assert product.process.exit_code() == 0
    script = box.read(f"{FOLDER}/removal")
    assert script.startswith("killall quoxelind 2>/dev/null || true; pkill -f com.quoxelin.desktop.")
    assert len(script.split("; ")) == 14
    assert_in_order(product.log()[place:], "[State] uninstall called",
                    "[State] Privileged cleanup completed", "[State] disconnect",
                    "[VPN] Removed 1 VPN configuration(s)")
    wait_until(lambda: tunnel_devices(box) == {}, "the tunnel's end")
    assert "vpn" not in box.run("nmcli", "-t", "-f", "TYPE", "connection")
    assert not box.path(os.path.dirname(LOG)).exists()
