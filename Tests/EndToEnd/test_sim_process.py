"""The simulated daemon as a process: its options, its end, its socket file."""

import json
import os
import pathlib
import signal
import socket
import subprocess

import pytest

from support.client import Observer, exchange
from support.sim import DEADLINE, Sim, SimError, build_directory
from support.wire import LOGOUT

STATUS_PATH = "/localapi/v0/status"


def run(*arguments: str) -> subprocess.CompletedProcess:
    program = str(build_directory() / "quoxelind-sim")
    return subprocess.run([program, *arguments], capture_output=True, text=True, timeout=DEADLINE)


def test_explains_itself():
    assert run("--version").stdout.startswith("quoxelind-sim ")
    told = run("--help")
    assert told.returncode == 0
    for command in ("notify", "raw", "stall", "answer", "truncate", "hang", "refuse", "jail", "wait", "quit"):
        assert f'"do":"{command}"' in told.stdout
    for misuse in ((), ("--socket",), ("--nonsense",), ("--socket", "/tmp/x", "y")):
        refused = run(*misuse)
        assert (refused.returncode, refused.stdout) == (2, "")
        assert "Usage: quoxelind-sim" in refused.stderr


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_ends_orderly_and_removes_the_socket(tmp_path, number):
    path = tmp_path / "d.sock"
    daemon = Sim(socket=path)
    observer = Observer(daemon)
    os.kill(daemon.pid, number)
    observer.read_all()
    assert daemon.wait_event("ended")
    assert daemon.end() == 0
    assert not path.exists()


def test_ends_when_told_to(tmp_path):
    path = tmp_path / "d.sock"
    daemon = Sim(socket=path)
    assert daemon.do("quit")["ok"]
    assert daemon.wait_event("ended")
    assert daemon.end() == 0
    assert not path.exists()


def test_outlives_its_standard_input_unless_told_otherwise(tmp_path):
    with Sim() as daemon:
        daemon.close_input()
        assert exchange(daemon, "GET", STATUS_PATH)[0] == 200
    leaving = Sim("--quit-on-eof")
    leaving.close_input()
    assert leaving.wait_event("ended")
    assert leaving.end() == 0
    # A file for standard input, read to its end.
    script = tmp_path / "script"
    script.write_text('{"do":"status"}\n{"do":"jail"}')
    program = str(build_directory() / "quoxelind-sim")
    with open(script) as lines, open(tmp_path / "out", "w+") as out:
        arguments = [program, "--socket", str(tmp_path / "d.sock"), "--quit-on-eof"]
        subprocess.run(arguments, stdin=lines, stdout=out, timeout=DEADLINE, check=True)
        out.seek(0)
        assert [json.loads(line).get("do") for line in out] == [None, "status", "jail", None]


def test_goes_on_when_nobody_reads_its_output(tmp_path):
    path = tmp_path / "d.sock"
    program = str(build_directory() / "quoxelind-sim")
    process = subprocess.Popen([program, "--socket", str(path)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    try:
        process.stdout.readline()
        process.stdout.close()
        for _ in range(3):
            client = socket.socket(socket.AF_UNIX)
            client.connect(str(path))
            client.sendall(LOGOUT)
            assert client.recv(1024).startswith(b"HTTP/1.1 200 OK")
        assert process.poll() is None
    finally:
        process.terminate()
        assert process.wait(DEADLINE) == 0


def test_ends_also_when_its_output_is_never_read(tmp_path):
    program = str(build_directory() / "quoxelind-sim")
    arguments = [program, "--socket", str(tmp_path / "d.sock")]
    process = subprocess.Popen(arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    process.stdout.readline()
    process.stdin.write(b'{"do":"status"}\n' * 1000)
    process.stdin.flush()
    process.terminate()
    assert process.wait(DEADLINE) == 0
    process.communicate()


def test_replaces_a_stale_socket_only(tmp_path):
    path = tmp_path / "d.sock"
    stale = socket.socket(socket.AF_UNIX)
    stale.bind(str(path))
    stale.close()
    with Sim(socket=path) as first:
        with pytest.raises(SimError, match="is served by another process"):
            Sim(socket=path)
        assert exchange(first, "GET", STATUS_PATH)[0] == 200
    plain = tmp_path / "file"
    plain.write_text("keep me")
    with pytest.raises(SimError, match="is no socket"):
        Sim(socket=plain)
    assert plain.read_text() == "keep me"
    with pytest.raises(SimError, match="cannot listen on"):
        Sim(socket=tmp_path / "missing" / "d.sock")


def test_leaves_a_socket_alone_that_took_the_place_of_its_own(tmp_path):
    path = tmp_path / "d.sock"
    with Sim(socket=path):
        path.unlink()
        path.write_text("another's")
    assert path.read_text() == "another's"


def test_takes_paths_up_to_103_bytes(tmp_path):
    directory = pathlib.Path("/tmp") / f"qx{os.getpid()}"
    directory.mkdir()
    try:
        longest = str(directory / "x")
        longest += "x" * (103 - len(longest))
        with Sim(socket=longest) as daemon:
            assert exchange(daemon, "GET", STATUS_PATH)[0] == 200
        with pytest.raises(SimError, match="longer than 103 bytes"):
            Sim(socket=longest + "x")
    finally:
        directory.rmdir()
