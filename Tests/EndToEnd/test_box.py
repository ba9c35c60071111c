"""The box itself: a separate machine with the stock services that cannot see or change this
machine."""

import os
import pathlib

import pytest

from support.box import STRANGER, TESTER
from support.stand_ins import Daemon, calls
from support.steered import SteeringError


def test_network_manager_is_connected_and_obeys_polkit(box):
    assert "connected" in box.run("nmcli", "-t", "-f", "STATE", "general", user=TESTER)
    add = ["nmcli", "connection", "add", "type", "vpn", "vpn-type", "quoxelin-box"]
    box.run(*add, "connection.permissions", f"user:{TESTER}", "con-name", "mine", user=TESTER)
    assert "mine" in box.run("nmcli", "-t", "-f", "NAME", "connection", user=TESTER)
    assert "mine" not in box.run("nmcli", "-t", "-f", "NAME", "connection", user=STRANGER)
    with pytest.raises(SteeringError, match="Insufficient privileges"):
        box.run(*add, "con-name", "everybody's", user=TESTER)
    box.refuse("org.freedesktop.NetworkManager.settings.modify.own")
    with pytest.raises(SteeringError):
        box.run("nmcli", "connection", "delete", "mine", user=TESTER)
    box.allow("org.freedesktop.NetworkManager.settings.modify.own")
    box.run("nmcli", "connection", "delete", "mine", user=TESTER)


def test_what_is_written_in_the_box_does_not_reach_this_machine(box):
    for directory in ("/etc", "/home", "/root", "/run", "/tmp", "/usr", "/var"):
        name = f"{directory}/box-test-{os.getpid()}"
        box.run("touch", name)
        assert box.path(name).exists()
        assert not pathlib.Path(name).exists()
    assert pathlib.Path("/proc/self/ns/net").readlink() != box.path("/proc/1/ns/net").readlink()


def test_the_daemon_in_the_box_is_the_simulated_one(box):
    daemon = Daemon(box)
    quoxelind = "/usr/lib/quoxelin-desktop/Contents/Resources/quoxelind"
    assert "usage" in box.run(quoxelind, "--help")
    daemon.options("--peers", "3")
    assert box.run(quoxelind, "up", "--conductor-host", "h") == "quoxelind is up\n"
    assert box.run(quoxelind, "up") == "quoxelind runs already\n"
    assert daemon.is_running()
    daemon.wait(state="NeedsLogin")
    socket = box.path("/run/quoxelind.socket")
    assert socket.is_socket() and socket.stat().st_mode & 0o777 == 0o777
    assert [call["arguments"][1:] for call in calls(box)[-3:]] == [
        ["--help"], ["up", "--conductor-host", "h"], ["up"]]
    daemon.do("quit")
