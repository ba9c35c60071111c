"""Installs the product into a temporary folder for the tests."""
import dataclasses
import os
import pathlib
import shutil
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / os.environ.get("QUOXELIN_BUILD_DIR", "build/debug")
# Programs that this repository does not build.
PROGRAMS = ("quoxelind", "quoxelin", "nm-quoxelin-service")


def run(*command, **options):
    """Runs a command that must succeed, and returns its output."""
    done = subprocess.run(
        [str(part) for part in command],
        stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120, **options)
    assert done.returncode == 0, f"{command[0]}: exit code {done.returncode}\n{done.stdout}{done.stderr}"
    return done.stdout


@dataclasses.dataclass
class Installation:
    """The result of `cmake --install` below the folder `root`, for a build with that prefix."""

    root: pathlib.Path
    prefix: str

    def at(self, path: str) -> pathlib.Path:
        """The real path of an absolute path in the installation."""
        return self.root / path.lstrip("/")

    def below(self, path: str) -> pathlib.Path:
        """The real path of a path relative to the prefix."""
        return self.at(f"{self.prefix}/{path}")

    @property
    def extension(self) -> pathlib.Path:
        return self.below("lib/quoxelin-desktop/Contents/Library/SystemExtensions/"
                          "com.quoxelin.desktop.PacketTunnel.systemextension/Contents")

    def texts(self) -> dict[pathlib.Path, str]:
        """All installed text files."""
        found = {}
        for path in sorted(self.root.rglob("*")):
            if path.is_file():
                content = path.read_bytes()
                if b"\0" not in content:
                    found[path] = content.decode("utf-8")
        return found


def install(build, root, programs=None):
    environment = {name: value for name, value in os.environ.items()
                   if name not in ("DESTDIR", "QUOXELIN_PROGRAMS_DIR")}
    environment["DESTDIR"] = str(root)
    environment["QUOXELIN_PROGRAMS_DIR"] = str(programs or "")
    # The strictest umask must not matter.
    run("cmake", "--install", build, env=environment, umask=0o077)


@pytest.fixture(scope="session")
def programs(tmp_path_factory):
    folder = tmp_path_factory.mktemp("programs")
    for name in PROGRAMS:
        (folder / name).write_text("#!/bin/sh\n")
    return folder


@pytest.fixture(scope="session")
def installation(tmp_path_factory, programs):
    """The complete installation of this build."""
    root = tmp_path_factory.mktemp("root")
    install(BUILD, root, programs)
    return Installation(root, "/usr")


@pytest.fixture(scope="session")
def elsewhere(tmp_path_factory, programs):
    """An installation with another prefix and with all values that a release may set."""
    build = tmp_path_factory.mktemp("build")
    run("cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DBUILD_TESTING=OFF",
        "-DCMAKE_INSTALL_PREFIX=/opt/quoxelin-1.0", "-DQUOXELIN_BUILD=1234",
        "-DQUOXELIN_CONDUCTOR_URL=https://conductor.example.com/?a=1&b=<2>",
        "-DQUOXELIN_SIGNAL_URL=https://signal.example.com/")
    for program in BUILD.iterdir():
        if program.is_file() and program.name in ("quoxelin-desktop", "quoxelin-helper"):
            shutil.copy(program, build)
    root = tmp_path_factory.mktemp("elsewhere")
    install(build, root, programs)
    return Installation(root, "/opt/quoxelin-1.0")


@pytest.fixture(params=["installation", "elsewhere"])
def either(request):
    return request.getfixturevalue(request.param)
