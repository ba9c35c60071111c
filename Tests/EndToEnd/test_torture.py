"""Each system call and allocation of the daemon link fails once, and the daemon breaks in each way."""
import subprocess

from support.sim import build_directory


def test_every_failure_becomes_an_error_and_leaves_nothing_behind():
    done = subprocess.run([build_directory() / "torture"], capture_output=True, text=True, timeout=110)
    print(done.stdout)
    assert done.returncode == 0, done.stderr
    assert done.stderr == ""
