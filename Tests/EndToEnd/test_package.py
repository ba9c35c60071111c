"""The Debian package on a machine with the real services: installed, upgraded while the application
runs, removed and purged."""

import dataclasses
import pathlib

import pytest

from support import box as boxes
from support.box import TESTER, wait_until
from support.package import make_packages, newer
from support.sim import build_directory
from support.stand_ins import calls, tunnel_devices
from test_real_services import (LOG, PLUGIN, POLICY, UP, changed, display,  # noqa: F401
                                product)

CONNECTED = changed(3)[1]
HELPER = r"^/usr/libexec/quoxelin-desktop/quoxelin-helper"
# Written by dpkg and by the services that run meanwhile.
OTHERS = ("var/lib/dpkg/", "var/lib/NetworkManager/", "var/log/dpkg.log/", "var/log/alternatives.log/",
          "var/cache/", "usr/share/applications/mimeinfo.cache/", "usr/share/icons/hicolor/icon-theme.cache/")


@dataclasses.dataclass
class Packages:
    present: pathlib.Path
    next: pathlib.Path


@pytest.fixture(scope="module")
def packages(tmp_path_factory):
    folder = tmp_path_factory.mktemp("packages")
    present = next(path for path in make_packages(build_directory(), folder) if path.suffix == ".deb")
    return Packages(present, newer(present, "1.0.1", folder))


@pytest.fixture(scope="module")
def box():
    """A separate machine without the product."""
    if reason := boxes.why_not():
        pytest.fail(f"no box on this machine: {reason}")
    with boxes.Box(boxes.HERE / "install", build_directory(), "without-product") as box:
        box.start_services()
        yield box


def dpkg(box, *arguments):
    return box.run("dpkg", "--force-unsafe-io", *arguments, deadline=60,
                   environment={"DEBIAN_FRONTEND": "noninteractive"})


def install(box, package):
    """Runs inside the box, where other folders are mounted."""
    inside = f"/root/{package.name}"
    box.path(inside).write_bytes(package.read_bytes())
    dpkg(box, "--install", inside)
    box.path(inside).unlink()


@pytest.fixture
def installed(box, packages):
    install(box, packages.present)
    yield
    dpkg(box, "--purge", "quoxelin-desktop")


def changes(box):
    """The files and folders of the box that differ from those of the machine around it."""
    tops = sorted(box.path("/run/box").glob("upper-*"))
    found = box.run("find", *(f"/run/box/{top.name}" for top in tops), "-mindepth", "1").splitlines()
    names = {line.removeprefix("/run/box/upper-") for line in found}
    return {name for name in names if not f"{name}/".startswith(OTHERS)}


def test_a_plain_user_connects_without_a_password(installed, product, box):
    # The package did what the application would ask an administrator for.
    assert box.path(PLUGIN).exists() and box.path(POLICY).exists()
    product.daemon.options("--logged-in")
    product.start()
    product.wait(CONNECTED)
    assert tunnel_devices(box) == UP
    assert not any("requires user approval" in line.message for line in product.log())
    assert {call["uid"] for call in calls(box)} == {0}


def test_an_upgrade_leaves_the_connection_and_the_application_running(installed, packages, product, box):
    product.daemon.options("--logged-in")
    product.start()
    product.wait(CONNECTED)
    before = (box.pids(HELPER), product.process.pid)
    install(box, packages.next)
    assert "version=1.0.1" in box.read(PLUGIN)
    assert product.process.is_running() and product.daemon.is_running()
    assert tunnel_devices(box) == UP
    assert box.pids(HELPER) != before[0]

    # The old application works with the new helper, and the new one with the old tunnel.
    product.process.end()
    wait_until(lambda: tunnel_devices(box) == {}, "the tunnel's end")
    assert calls(box)[-1]["arguments"][1:] == ["down"]
    place = len(product.log())
    product.start()
    product.wait("[VPN] Adopted existing VPN configuration", since=place)
    product.wait(CONNECTED, since=place)
    assert not any("requires user approval" in line.message for line in product.log())


def test_removing_ends_what_runs_and_purging_leaves_only_the_users_own_files(packages, product, box):
    before = changes(box)
    install(box, packages.present)
    product.daemon.options("--logged-in")
    product.start()
    product.wait(CONNECTED)
    # As the daemon would.
    for folder in ("/etc/quoxelin", "/var/log/quoxelind"):
        box.run("mkdir", folder)

    dpkg(box, "--remove", "quoxelin-desktop")
    product.wait("[App] Quoxelin Desktop App terminated (quoxelind still running)")
    wait_until(lambda: tunnel_devices(box) == {}, "the tunnel's end")
    assert not product.process.is_running() and not product.daemon.is_running() and not box.pids(HELPER)
    assert not box.path(PLUGIN).exists() and not box.path(POLICY).exists()
    # What a later installation needs stays.
    assert "Quoxelin:vpn" in box.run("nmcli", "-t", "-f", "NAME,TYPE", "connection")

    dpkg(box, "--purge", "quoxelin-desktop")
    assert "Quoxelin:vpn" not in box.run("nmcli", "-t", "-f", "NAME,TYPE", "connection")
    left = {name for name in changes(box) - before if not name.startswith(f"home/{TESTER}/")}
    assert left == set()
    assert box.read(LOG)
