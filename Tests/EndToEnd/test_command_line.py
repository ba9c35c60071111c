"""Command lines for which the program prints something and exits."""
import subprocess

import pytest

from support.application import surroundings
from support.sim import build_directory


@pytest.fixture(params=["quoxelin-desktop", "quoxelin-desktop-sim"])
def program(request):
    return request.param


@pytest.fixture
def call(tmp_path, program):
    def run(*arguments):
        return subprocess.run(
            [build_directory() / program, *arguments],
            env=surroundings(tmp_path),
            stdin=subprocess.DEVNULL,
            capture_output=True,
            text=True,
            timeout=20,
        )

    return run


@pytest.mark.parametrize(
    "arguments",
    [
        ["--simulate"],
        ["-h"],
        ["--socket"],
        ["--socket", ""],
        ["status"],
        ["https://example.com/?token=1"],
        [""],
        ["--socket=/tmp/d.sock"],
        ["\N{SNOWMAN}"],
    ],
)
def test_invalid_arguments_print_the_usage(call, program, arguments):
    done = call(*arguments)
    assert done.returncode == 2
    assert done.stdout == ""
    assert f"Usage: {program} [--socket PATH]" in done.stderr


def test_help_goes_to_standard_output(call, program):
    done = call("--help")
    assert done.returncode == 0
    assert done.stdout.startswith(f"Usage: {program} ")
    assert done.stderr == ""


def test_version_is_one_line(call, program):
    done = call("--version")
    assert done.returncode == 0
    assert done.stdout == f"{program} 1.0.0\n"
    assert done.stderr == ""


def test_neither_of_them_leaves_a_log(call, tmp_path):
    call("--help")
    call("--bogus")
    assert not (tmp_path / "data" / "Quoxelin").exists()


@pytest.mark.parametrize("arguments, code", [("--version", 0), ("--help", 0), ("--simulate", 2)])
def test_the_exit_code_needs_no_reader_of_the_output(tmp_path, program, arguments, code):
    done = subprocess.run(
        ["sh", "-c", 'exec "$0" "$1" >&- 2>&-', build_directory() / program, arguments],
        env=surroundings(tmp_path), stdin=subprocess.DEVNULL, timeout=20)
    assert done.returncode == code
