"""The Debian package and the tarball: what is in them, and what Debian's own checks say."""
import re
import subprocess
import sys
import tarfile
import xml.etree.ElementTree as tree

import pytest

from conftest import BUILD, ROOT, run
from test_installation import listed, version

sys.path.insert(0, str(ROOT / "Tests" / "EndToEnd"))

from support.package import make_packages  # noqa: E402

DOCUMENTS = {"644 usr/share/doc/quoxelin-desktop/" + name for name in ("changelog.gz", "copyright", "third-party.md")}


@pytest.fixture(scope="module")
def packages(tmp_path_factory):
    """The folder that has both."""
    folder = tmp_path_factory.mktemp("packages")
    make_packages(BUILD, folder)
    return folder


@pytest.fixture
def package(packages):
    return packages / f"quoxelin-desktop_{version()}_{run('dpkg', '--print-architecture').strip()}.deb"


def packaged():
    """What `cmake --install` installs, with compressed manual pages, and the package's own documents."""
    pages = {re.sub(r"(/man/.*\.\d)$", r"\1.gz", line) for line in listed()}
    own = {"755 usr/share/doc/quoxelin-desktop/", "644 usr/share/lintian/overrides/quoxelin-desktop"}
    return pages | DOCUMENTS | own


def content(archive, top="./"):
    """"MODE PATH" of every file, and of each folder that only this package has."""
    found = set()
    for entry in archive:
        name = entry.name.removeprefix(top) + ("/" if entry.isdir() else "")
        assert (entry.uid, entry.gid) == (0, 0), name
        if entry.isfile() or "quoxelin" in name:
            found.add(f"{entry.mode:o} {name}")
    return found


def test_the_package_has_exactly_the_installed_files_and_its_documents(package):
    with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", package], stdout=subprocess.PIPE) as reader:
        with tarfile.open(fileobj=reader.stdout, mode="r|") as archive:
            assert content(archive) == packaged()


def test_the_tarball_has_the_same_files(packages):
    top = f"quoxelin-desktop-{version()}-Linux"
    with tarfile.open(packages / f"{top}.tar.xz") as archive:
        assert content(archive, f"{top}/") - {f"755 {top}/"} == packaged()


def test_lintian_has_nothing_to_complain_about(package):
    # Overrides with their reasons are in Packaging/Linux/package/lintian-overrides.
    assert run("lintian", "--allow-root", "--fail-on", "error,warning", "--no-tag-display-limit", package) == ""


def test_the_version_is_the_same_everywhere(package):
    assert run("dpkg-deb", "--field", package, "Version").strip() == version()
    newest = re.search(r"^## (\S+), (\S+)$", (ROOT / "CHANGELOG.md").read_text("utf-8"), re.M)
    release = tree.parse(ROOT / "Packaging/Linux/com.quoxelin.desktop.metainfo.xml").find("releases/release")
    assert (version(), release.get("date")) == newest.groups()
    assert release.get("version") == version()
    assert run(BUILD / "quoxelin-desktop", "--version") == f"quoxelin-desktop {version()}\n"


def test_the_libraries_and_their_licenses_are_documented():
    run(ROOT / "scripts/third-party", BUILD, "--check")
