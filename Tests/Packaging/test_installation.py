"""The installed files: their places, whether they agree with each other, and whether they pass the
official checks. A failure names the file."""
import configparser
import os
import plistlib
import re
import shutil
import struct
import subprocess
import xml.etree.ElementTree as tree

import pytest

from conftest import BUILD, PROGRAMS, ROOT, install, run

LIST = ROOT / "Packaging" / "Linux" / "installed-files.txt"
ID = "com.quoxelin.desktop"


def listed():
    return {line for line in LIST.read_text("utf-8").splitlines() if not line.startswith("#")}


def installed(root, prefix="usr/"):
    """"MODE PATH" of every file and of our own folders. Other prefixes are replaced by /usr."""
    found = set()
    for path in root.rglob("*"):
        assert not path.is_symlink(), path
        name = path.relative_to(root).as_posix() + ("/" if path.is_dir() else "")
        if name.startswith(prefix):
            name = "usr/" + name.removeprefix(prefix)
        if path.is_file() or "quoxelin" in name:
            found.add(f"{path.stat().st_mode & 0o7777:o} {name}")
    return found


def key_file(path):
    """Reads strictly: duplicate keys or groups are errors."""
    parser = configparser.ConfigParser(interpolation=None, delimiters="=", comment_prefixes="#")
    parser.optionxform = str
    parser.read_string(path.read_text("utf-8"), str(path))
    return {name: dict(parser[name]) for name in parser.sections()}


def property_list(path):
    return plistlib.loads(path.read_bytes())


def test_exactly_the_listed_files_are_installed_with_their_modes(installation):
    assert installed(installation.root) == listed()


def test_without_the_programs_everything_else_is_installed(tmp_path):
    install(BUILD, tmp_path)
    absent = {line for line in listed() if line.rsplit("/", 1)[-1] in PROGRAMS}
    assert len(absent) == len(PROGRAMS)
    assert installed(tmp_path) == listed() - absent


def test_the_manifest_is_enough_to_uninstall(tmp_path, programs):
    install(BUILD, tmp_path, programs)
    for name in (BUILD / "install_manifest.txt").read_text("utf-8").splitlines():
        (tmp_path / name.lstrip("/")).unlink()
    assert [path for path in tmp_path.rglob("*") if not path.is_dir()] == []


def test_a_program_that_is_missing_is_named(tmp_path, programs):
    some = tmp_path / "some"
    some.mkdir()
    (some / "quoxelind").touch()
    with pytest.raises(AssertionError, match=re.escape(f"{some}/quoxelin\"")):
        install(BUILD, tmp_path / "root", some)


def test_another_prefix_changes_nothing_else(elsewhere):
    assert installed(elsewhere.root, "opt/quoxelin-1.0/") == listed()


def test_a_prefix_named_only_when_installing_is_refused(tmp_path):
    done = subprocess.run(["cmake", "--install", BUILD, "--prefix", tmp_path / "prefix"],
                          capture_output=True, text=True, timeout=60,
                          env={**os.environ, "DESTDIR": str(tmp_path / "root")})
    assert done.returncode != 0
    assert "configured for the prefix /usr" in " ".join(done.stderr.split())
    assert not list(tmp_path.iterdir())


def test_no_installed_text_names_the_checkout_or_the_build(either):
    for path, text in either.texts().items():
        for folder in (ROOT, BUILD):
            assert str(folder) not in text, path
        assert not re.search(r"@\w+@", text), path


def test_every_path_below_the_prefix_that_a_text_names_is_installed(either):
    # Manual pages also name the system's files, and install-extension what it installs.
    pattern = re.compile(re.escape(either.prefix) + r"/(?:lib|libexec|share)/[\w./+-]*quoxelin[\w./+-]*")
    named = {(found, path) for path, text in either.texts().items() for found in pattern.findall(text)
             if "/NetworkManager/" not in found}
    assert named
    for found, path in sorted(named):
        assert either.at(found.rstrip(".")).exists(), f"{path} names {found}"


# The bundle


def test_the_information_dictionary_identifies_the_application(installation):
    assert property_list(installation.below("lib/quoxelin-desktop/Contents/Info.plist")) == {
        "CFBundleDevelopmentRegion": "en",
        "CFBundleDisplayName": "Quoxelin",
        "CFBundleExecutable": "quoxelin-desktop",
        "CFBundleIdentifier": ID,
        "CFBundleInfoDictionaryVersion": "6.0",
        "CFBundleName": "Quoxelin",
        "CFBundlePackageType": "APPL",
        "CFBundleShortVersionString": version(),
        "CFBundleVersion": version(),
        "QXConductorURL": "",
        "QXSignalURL": "",
    }


def test_a_release_sets_its_build_and_its_addresses(elsewhere):
    information = property_list(elsewhere.below("lib/quoxelin-desktop/Contents/Info.plist"))
    assert information["CFBundleShortVersionString"] == version()
    assert information["CFBundleVersion"] == "1234"
    assert information["QXConductorURL"] == "https://conductor.example.com/?a=1&b=<2>"
    assert information["QXSignalURL"] == "https://signal.example.com/"


def test_the_program_in_the_build_directory_has_the_same_bundle(installation):
    assert (BUILD / "Contents" / "Info.plist").read_bytes() == \
        installation.below("lib/quoxelin-desktop/Contents/Info.plist").read_bytes()


def test_the_extension_has_one_version_everywhere(either):
    information = property_list(either.extension / "Info.plist")
    plugin = key_file(either.extension / "nm-quoxelin-service.name")
    assert information["CFBundleIdentifier"] == f"{ID}.PacketTunnel"
    assert information["CFBundleShortVersionString"] == information["CFBundleVersion"] \
        == plugin["Quoxelin"]["version"]
    application = property_list(either.below("lib/quoxelin-desktop/Contents/Info.plist"))
    assert information["CFBundleVersion"] == application["CFBundleVersion"]


def test_networkmanager_is_given_the_service_of_the_bundle(either):
    plugin = key_file(either.extension / "nm-quoxelin-service.name")
    program = either.extension / "nm-quoxelin-service"
    assert plugin == {
        "VPN Connection": {
            "name": "quoxelin",
            "service": f"{ID}.PacketTunnel",
            "program": f"/{program.relative_to(either.root)}",
            "supports-multiple-connections": "false",
        },
        "Quoxelin": {"version": plugin["Quoxelin"]["version"]},
    }
    assert os.access(program, os.X_OK)


# The desktop entry


@pytest.mark.parametrize("name", [
    f"share/applications/{ID}.desktop",
    f"lib/quoxelin-desktop/Contents/Library/LoginItems/{ID}.desktop",
])
def test_desktop_files_are_valid_and_start_the_program(either, name):
    path = either.below(name)
    said = run("desktop-file-validate", path)
    assert said == "", said
    entry = key_file(path)["Desktop Entry"]
    program = entry["Exec"].split()[0]
    assert program == entry["TryExec"] == f"{either.prefix}/bin/quoxelin-desktop"
    assert os.access(either.at(program), os.X_OK), path
    icons = either.below("share/icons/hicolor")
    assert (icons / "scalable" / "apps" / f"{entry['Icon']}.svg").exists(), path


def test_callback_urls_are_handed_to_the_application(installation):
    entry = key_file(installation.below(f"share/applications/{ID}.desktop"))["Desktop Entry"]
    assert entry["MimeType"] == "x-scheme-handler/quoxelin;"
    assert entry["Exec"].split()[1:] == ["%u"]
    # Both keys would be wrong: the bus does not start the program, and an icon opens no window.
    assert "DBusActivatable" not in entry
    assert entry["StartupNotify"] == "false"


def test_the_desktops_index_leads_callback_urls_to_it(installation, tmp_path):
    shutil.copy(installation.below(f"share/applications/{ID}.desktop"), tmp_path)
    run("update-desktop-database", tmp_path)
    index = (tmp_path / "mimeinfo.cache").read_text("utf-8")
    assert f"x-scheme-handler/quoxelin={ID}.desktop;" in index.splitlines()


def test_the_session_starts_the_application_without_arguments(installation):
    entry = key_file(installation.below(
        f"lib/quoxelin-desktop/Contents/Library/LoginItems/{ID}.desktop"))["Desktop Entry"]
    assert entry["Exec"] == "/usr/bin/quoxelin-desktop"
    assert "Hidden" not in entry


def version():
    return re.search(r"project\(quoxelin-desktop VERSION ([\d.]+)",
                     (ROOT / "CMakeLists.txt").read_text("utf-8"))[1]


def test_the_metadata_for_software_centers_names_this_version(installation):
    path = installation.below(f"share/metainfo/{ID}.metainfo.xml")
    # Includes hints, but no checks that need the network.
    run("appstreamcli", "validate", "--no-net", "--pedantic", "--strict", "--no-color", path)
    component = tree.parse(path).getroot()
    assert component.findtext("id") == ID
    assert component.findtext("launchable") == f"{ID}.desktop"
    assert component.find("releases/release").get("version") == version(), \
        f"{path}: the newest release is not the version of CMakeLists.txt"


def test_icons_are_well_formed(installation):
    icons = installation.below("share/icons/hicolor")
    found = sorted(path for path in icons.rglob("*") if path.is_file())
    assert found
    for path in found:
        if path.suffix == ".svg":
            assert tree.parse(path).getroot().tag == "{http://www.w3.org/2000/svg}svg", path
        else:
            head = path.read_bytes()[:24]
            assert head[:8] == b"\x89PNG\r\n\x1a\n", path
            size = "x".join(str(number) for number in struct.unpack(">II", head[16:24]))
            assert size == path.relative_to(icons).parts[0], path


def test_a_symbolic_icon_takes_the_themes_color(installation):
    path = installation.below(f"share/icons/hicolor/symbolic/apps/{ID}-symbolic.svg")
    root = tree.parse(path).getroot()
    assert root.get("viewBox") == "0 0 16 16"
    # Themes color fills but not strokes.
    assert not any(name.startswith("stroke") for element in root.iter() for name in element.keys())


def test_manual_pages_have_no_warnings(installation):
    pages = sorted(path for path in installation.below("share/man").rglob("*") if path.is_file())
    assert pages
    for page in pages:
        # Ignores references to pages that this machine does not have.
        done = subprocess.run(["mandoc", "-Tlint", "-Wstyle", page], capture_output=True, text=True,
                              timeout=60)
        said = [line for line in done.stdout.splitlines() if "outdated mandoc.db" not in line
                and "referenced manual not found" not in line]
        assert said == [], page
        assert version() in page.read_text("utf-8"), page
