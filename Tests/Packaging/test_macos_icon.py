"""The icon of the macOS bundle contains the pictures that it is made from."""
import pathlib
import struct
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
PICTURES = ROOT / "Packaging/Linux/icons"


def make_icon(*arguments):
    command = [sys.executable, ROOT / "Packaging/macOS/make-icon", *arguments]
    return subprocess.run(command, capture_output=True, text=True, timeout=60)


def elements(icon):
    """The elements of an icon file: four letters, the total length, the content."""
    assert icon[:4] == b"icns"
    assert struct.unpack(">I", icon[4:8]) == (len(icon),)
    found, at = {}, 8
    while at < len(icon):
        (length,) = struct.unpack(">I", icon[at + 4:at + 8])
        found[icon[at:at + 4]] = icon[at + 8:at + length]
        at += length
    return found


def test_holds_each_picture_for_the_displays_that_show_it(tmp_path):
    small, large = PICTURES / "128.png", PICTURES / "256.png"
    assert make_icon(tmp_path / "a.icns", small, large).returncode == 0
    assert elements((tmp_path / "a.icns").read_bytes()) == {
        b"ic07": small.read_bytes(),
        b"ic08": large.read_bytes(),
        b"ic13": large.read_bytes(),
    }


def test_refuses_a_picture_that_does_not_have_an_icon_size(tmp_path):
    text = tmp_path / "text.png"
    text.write_text("no picture")
    for picture, reason in ((text, "is not a PNG file"), (PICTURES / "48.png", "48 by 48")):
        done = make_icon(tmp_path / "a.icns", picture)
        assert done.returncode == 1
        assert reason in done.stderr
        assert not (tmp_path / "a.icns").exists()
