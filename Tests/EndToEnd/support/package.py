"""Makes the Debian package of a build, with stand-ins for the programs that are built elsewhere."""

import pathlib
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[3]


def run(*command: str | pathlib.Path) -> str:
    """Runs a command that has to succeed and returns what it printed."""
    done = subprocess.run([str(part) for part in command], stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, f"{command}: exit code {done.returncode}\n{done.stdout}{done.stderr}"
    return done.stdout


def make_packages(build: pathlib.Path, folder: pathlib.Path) -> list[pathlib.Path]:
    """The Debian package and the tarball, made in `folder`."""
    programs = folder / "programs"
    programs.mkdir()
    for program in (build / "stand-ins").iterdir():
        run("strip", "-o", programs / program.name, program)
    made = run(ROOT / "scripts/package", programs, build).splitlines()
    return [pathlib.Path(shutil.copy(path, folder)) for path in made]


def newer(package: pathlib.Path, version: str, folder: pathlib.Path) -> pathlib.Path:
    """The same Debian package as if it were of a later version, with a newer tunnel."""
    root = folder / version
    run("dpkg-deb", "--raw-extract", package, root)
    old = run("dpkg-deb", "--field", package, "Version").strip()
    changed = [root / "DEBIAN/control", *root.rglob("nm-quoxelin-service.name"), *root.rglob("Info.plist")]
    assert len(changed) == 4
    for path in changed:
        text = path.read_text("utf-8")
        assert old in text
        path.write_text(text.replace(old, version), "utf-8")
    return pathlib.Path(run("dpkg-deb", "--root-owner-group", "--build", root, folder)
                        .split("in '")[1].split("'")[0])
