"""Signing with Packaging/macOS. Stand-ins for Apple's tools record their calls; the programs are
only Mach-O headers."""
import os
import pathlib
import plistlib
import struct
import subprocess

import pytest

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "Packaging/macOS"
ARM, INTEL = 0x0100000C, 0x01000007


def program(processor, major, minor=0):
    """A Mach-O header for that processor and macOS version."""
    build = struct.pack("<6I", 0x32, 24, 1, major << 16 | minor << 8, 0, 0)
    return struct.pack("<8I", 0xFEEDFACF, processor, 0, 2, 1, len(build), 0, 0) + build


def universal(*programs):
    content, entries = b"", b""
    start = 8 + 20 * len(programs)
    for each in programs:
        entries += struct.pack(">5I", struct.unpack_from("<I", each, 4)[0], 0, start + len(content),
                               len(each), 0)
        content += each
    return struct.pack(">2I", 0xCAFEBABE, len(programs)) + entries + content


@pytest.fixture
def app(tmp_path):
    app = tmp_path / "Quoxelin.app"
    for name in ("MacOS/Quoxelin", "MacOS/com.quoxelin.desktop.Helper", "Resources/quoxelind",
                 "Frameworks/libfmt.dylib", "Frameworks/Sparkle.framework/Sparkle"):
        path = app / "Contents" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(universal(program(ARM, 13), program(INTEL, 12, 3)))
    (app / "Contents/Library/SystemExtensions/Tunnel.systemextension").mkdir(parents=True)
    (app / "Contents/Info.plist").write_bytes(
        plistlib.dumps({"LSMinimumSystemVersion": "13.0", "SUPublicEDKey": "key"}))
    return app


def check(app):
    done = subprocess.run([PACKAGING / "check-bundle", app], capture_output=True, text=True)
    return done.returncode, done.stderr


def test_a_bundle_for_every_mac_that_it_names_passes(app):
    assert check(app) == (0, "")


@pytest.mark.parametrize(
    "content, problem",
    [
        (program(ARM, 13), "not for x86_64"),
        (universal(program(ARM, 14), program(INTEL, 13)), "arm64 needs macOS 14.0"),
        (universal(program(ARM, 13, 1), program(INTEL, 13)), "arm64 needs macOS 13.1"),
        (program(ARM, 13)[:40], "unpack"),
    ],
)
def test_a_library_for_fewer_macs_is_found(app, content, problem):
    (app / "Contents/Frameworks/libfmt.dylib").write_bytes(content)
    code, errors = check(app)
    assert code == 1
    assert errors.startswith("check-bundle: error: Contents/Frameworks/libfmt.dylib: ")
    assert problem in errors


class Signing:
    """Runs `sign` and reads the recorded calls of codesign."""

    def __init__(self, folder, app):
        self.app, self.folder = app, folder
        self.tools = folder / "tools"
        self.tools.mkdir()
        self.calls_file = folder / "calls"
        self.granted = {
            "com.apple.application-identifier": "TEAM.com.quoxelin.desktop",
            "com.apple.developer.team-identifier": "TEAM",
            "com.apple.developer.networking.networkextension": ["packet-tunnel-provider"],
            "com.apple.developer.system-extension.install": True,
        }
        self.tool("uname", "echo Darwin")
        self.tool("codesign", 'printf "%s\\n" "$*" >>"$CALLS"\n'
                  'for each; do case $each in */Quoxelin.entitlements) cp "$each" "$CALLS.plist" ;; '
                  "esac; done")
        self.tool("security", 'cat "$PROVISIONING_PROFILE"')

    def tool(self, name, script):
        path = self.tools / name
        path.write_text(f"#!/bin/bash\n{script}\n")
        path.chmod(0o755)

    def run(self, identity, with_profile=True):
        environment = {"PATH": f"{self.tools}:{os.environ['PATH']}", "CALLS": str(self.calls_file),
                       "SIGNING_IDENTITY": identity}
        if with_profile:
            profile = self.folder / "app.provisionprofile"
            profile.write_bytes(plistlib.dumps({"Entitlements": self.granted}))
            environment["PROVISIONING_PROFILE"] = str(profile)
        done = subprocess.run([PACKAGING / "sign", self.app], env=environment, capture_output=True,
                              text=True)
        return done.returncode, done.stderr

    def call_for(self, name):
        [call] = [line for line in self.calls_file.read_text().splitlines()
                  if line.endswith(name) and "--verify" not in line]
        return call

    def entitlements(self):
        return plistlib.loads(pathlib.Path(f"{self.calls_file}.plist").read_bytes())


@pytest.fixture
def signing(tmp_path, app):
    return Signing(tmp_path, app)


def test_a_signature_for_this_mac_claims_no_restricted_entitlement(signing):
    assert signing.run("-", with_profile=False)[0] == 0
    calls = signing.calls_file.read_text()
    assert "runtime" not in calls
    assert "--entitlements" not in calls


def test_a_certificate_needs_the_profile_of_the_application(signing):
    code, errors = signing.run("Developer ID", with_profile=False)
    assert code != 0
    assert "profile" in errors
    assert not signing.calls_file.exists()


def test_a_release_needs_the_key_of_its_updates(signing):
    plist = signing.app / "Contents/Info.plist"
    plist.write_bytes(plistlib.dumps({"LSMinimumSystemVersion": "13.0", "SUPublicEDKey": ""}))
    code, errors = signing.run("Developer ID")
    assert code != 0
    assert "QUOXELIN_UPDATE_PUBLIC_KEY" in errors
    assert not signing.calls_file.exists()


def test_a_release_is_entitled_to_what_its_profile_grants(signing):
    assert signing.run("Developer ID") == (0, "")
    entitlements = signing.entitlements()
    assert entitlements["com.apple.application-identifier"] == "TEAM.com.quoxelin.desktop"
    assert entitlements["com.apple.developer.team-identifier"] == "TEAM"
    assert entitlements["com.apple.developer.system-extension.install"] is True
    assert "--options runtime --timestamp " in signing.call_for("Quoxelin.app")
    assert (signing.app / "Contents/embedded.provisionprofile").exists()


def test_a_profile_that_grants_too_little_is_refused(signing):
    del signing.granted["com.apple.developer.system-extension.install"]
    code, errors = signing.run("Developer ID")
    assert code != 0
    assert "com.apple.developer.system-extension.install" in errors


def test_extension_and_daemon_keep_their_own_entitlements(signing):
    assert signing.run("Developer ID")[0] == 0
    for name in ("Tunnel.systemextension", "quoxelind"):
        assert "--preserve-metadata=entitlements" in signing.call_for(name)
    assert "Helper.entitlements" in signing.call_for("com.quoxelin.desktop.Helper")


def test_the_daemon_outlives_the_helper_that_starts_it():
    job = plistlib.loads((PACKAGING / "com.quoxelin.desktop.helper.plist").read_bytes())
    assert job["AbandonProcessGroup"] is True
