"""The program that runs as root for users whom polkit allows: it copies two files and does nothing
else. The tests use a copy that is configured for a temporary folder."""
import os
import re
import subprocess

import pytest

from conftest import ROOT

NAME = "nm-quoxelin-service"
NOBODY = 65534


class Extension:
    """A bundle with the extension, a root folder for it, and the program configured for both."""

    def __init__(self, folder):
        self.top = folder / "top"
        self.bundle = self.top / "lib" / "bundle"
        self.files = self.bundle / "Contents" / "PacketTunnel.systemextension" / "Contents"
        self.policies = folder / "etc" / "dbus-1" / "system.d"
        self.plugins = folder / "etc" / "NetworkManager" / "VPN"
        self.files.mkdir(parents=True, mode=0o755)
        self.policy = self.write(f"{NAME}.conf", "<busconfig/>\n", 0o644)
        self.plugin = self.write(f"{NAME}.name", "[VPN Connection]\n", 0o644)
        self.service = self.write(NAME, "#!/bin/sh\n", 0o755)
        values = {"top": self.top, "bundle": self.bundle, "extension": self.files, "policies": self.policies,
                  "plugins": self.plugins}
        text = (ROOT / "Packaging" / "Linux" / "install-extension.in").read_text("utf-8")
        self.program = folder / "install-extension"
        self.program.write_text(re.sub(r"@(\w+)@", lambda found: str(values[found[1]]), text))
        self.program.chmod(0o755)
        # The plain user must be able to run the program, which then refuses.
        for above in (folder, folder.parent, folder.parent.parent):
            above.chmod(0o755)

    def write(self, name, text, mode):
        path = self.files / name
        path.write_text(text)
        path.chmod(mode)
        return path

    def run(self, *arguments, before=(), **options):
        return subprocess.run([*before, self.program, *arguments], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=60, **options)

    def installed(self):
        return sorted(path.name for folder in (self.policies, self.plugins)
                      for path in (folder.iterdir() if folder.exists() else ()))

    def assert_refused(self, done, reason, code=1):
        assert (done.returncode, done.stderr) == (code, f"install-extension: {reason}\n")
        assert done.stdout == ""
        assert self.installed() == []


@pytest.fixture
def extension(tmp_path):
    old = os.umask(0o022)
    try:
        yield Extension(tmp_path)
    finally:
        os.umask(old)


def test_the_policy_and_the_plugins_description_are_installed(extension):
    done = extension.run()
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    assert extension.installed() == [f"{NAME}.conf", f"{NAME}.name"]
    for source, target in ((extension.policy, extension.policies), (extension.plugin, extension.plugins)):
        copy = target / source.name
        assert copy.read_bytes() == source.read_bytes()
        assert (copy.stat().st_mode & 0o7777, copy.stat().st_uid, copy.stat().st_gid) == (0o644, 0, 0)


def test_a_newer_version_replaces_the_older_one_completely(extension):
    extension.run()
    plugin = extension.plugins / f"{NAME}.name"
    with plugin.open() as reader:
        extension.write(f"{NAME}.name", "[VPN Connection]\nname=newer\n", 0o644)
        assert extension.run().returncode == 0
        # The file was replaced, not overwritten: a program that has it open still reads the old one.
        assert reader.read() == "[VPN Connection]\n"
    assert plugin.read_text() == "[VPN Connection]\nname=newer\n"


def test_other_files_stay(extension):
    extension.plugins.mkdir(parents=True)
    other = extension.plugins / "nm-other-service.name"
    other.write_text("other")
    extension.run()
    assert other.read_text() == "other"


def test_a_link_in_the_way_is_replaced_and_not_followed(extension):
    extension.plugins.mkdir(parents=True)
    elsewhere = extension.bundle.parent / "elsewhere"
    elsewhere.write_text("precious")
    (extension.plugins / f"{NAME}.name").symlink_to(elsewhere)
    assert extension.run().returncode == 0
    assert elsewhere.read_text() == "precious"
    assert not (extension.plugins / f"{NAME}.name").is_symlink()


def test_the_callers_umask_environment_and_folder_do_not_matter(extension, tmp_path):
    trap = tmp_path / "trap"
    trap.mkdir()
    for name in ("cat", "chmod", "id", "mkdir", "mktemp", "mv", "rm", "stat", "sync", "sh"):
        (trap / name).write_text("#!/bin/sh\ntouch caught\n")
        (trap / name).chmod(0o755)
    done = extension.run(umask=0o000, cwd=trap, env={
        "PATH": f"{trap}:.", "IFS": "/", "ENV": f"{trap}/cat", "TMPDIR": str(trap), "CDPATH": str(trap),
        "bundle": "/", "extension": str(trap), "temporary": str(extension.service)})
    assert (done.returncode, done.stderr) == (0, "")
    assert not (trap / "caught").exists()
    assert (extension.plugins / f"{NAME}.name").stat().st_mode & 0o7777 == 0o644
    assert extension.plugins.stat().st_mode & 0o7777 == 0o755
    assert extension.service.exists()


@pytest.mark.parametrize("arguments", [["x"], ["--help"], [""], ["--", "/etc/passwd"]])
def test_arguments_are_refused(extension, arguments):
    extension.assert_refused(extension.run(*arguments), "takes no arguments", 2)


def test_a_plain_user_is_refused(extension):
    done = extension.run(before=["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"])
    extension.assert_refused(done, "only root can install")


def make_link(path):
    path.rename(path.with_suffix(".real"))
    path.symlink_to(path.with_suffix(".real"))


@pytest.mark.parametrize("part", ["policy", "plugin", "service"])
@pytest.mark.parametrize("spoil, reason", [
    *((lambda path, mode=mode: path.chmod(mode), "can be written by others than root")
      for mode in (0o775, 0o757, 0o4777)),
    (lambda path: os.chown(path, NOBODY, 0), "does not belong to root"),
    (make_link, "is a symbolic link"),
    (lambda path: path.unlink(), "is missing"),
    (lambda path: path.unlink() or path.mkdir(), "is missing"),
])
def test_a_file_that_is_not_a_plain_one_of_root_alone_is_refused(extension, part, spoil, reason):
    path = getattr(extension, part)
    spoil(path)
    extension.assert_refused(extension.run(), f"{path} {reason}")


@pytest.mark.parametrize("up", range(6))
def test_a_folder_on_the_way_that_others_can_change_is_refused(extension, up):
    folder = [extension.files, *extension.files.parents][up]
    folder.chmod(0o777)
    extension.assert_refused(extension.run(), f"{folder} can be written by others than root")
    folder.chmod(0o755)
    os.chown(folder, NOBODY, 0)
    extension.assert_refused(extension.run(), f"{folder} does not belong to root")


def test_a_folder_of_the_bundle_that_is_a_link_is_refused(extension):
    folder = extension.files.parent
    make_link(folder)
    extension.assert_refused(extension.run(), f"{folder} is a symbolic link")


def test_a_service_that_cannot_be_run_is_refused(extension):
    extension.service.chmod(0o644)
    extension.assert_refused(extension.run(), f"{extension.service} cannot be run")


def test_networkmanager_is_not_notified_if_the_bus_could_not_be(extension):
    extension.policies.parent.mkdir(parents=True)
    extension.policies.write_text("a file where a folder belongs")
    done = extension.run()
    # pkexec itself uses 126 and 127.
    assert done.returncode == 1
    assert not extension.plugins.exists()


def test_a_failure_leaves_nothing_half_done(extension):
    (extension.plugins / f"{NAME}.name").mkdir(parents=True)
    done = extension.run()
    assert done.returncode == 1
    assert extension.installed() == [f"{NAME}.conf", f"{NAME}.name"]
    assert (extension.plugins / f"{NAME}.name").is_dir()


@pytest.mark.parametrize("before", [
    ["prlimit", "--fsize=8"], ["prlimit", "--nofile=4"], ["prlimit", "--as=5000000"],
    ["sh", "-c", 'exec "$0" <&- >&- 2>&-']])
def test_the_callers_limits_leave_nothing_half_done(extension, before):
    done = extension.run(before=before)
    whole = [f"{NAME}.conf", f"{NAME}.name"]
    assert extension.installed() == (whole if done.returncode == 0 else [])


def test_a_system_without_the_commands_fails_with_a_separate_code(extension):
    text = extension.program.read_text()
    extension.program.write_text(text.replace("PATH=/usr/sbin:/usr/bin:/sbin:/bin", "PATH=/nonexistent"))
    assert extension.run().returncode == 1
    assert extension.installed() == []
