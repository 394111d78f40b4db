"""Fixtures of the binding's tests: a knxd of their own for the monitor."""

import os
import shutil
import signal
import subprocess
import tempfile
import time

import pytest
import zelobjectmodel
from hypothesis import settings
from hypothesis.configuration import set_hypothesis_home_dir

# Quick and leaving nothing behind: no example database, no deadline (the
# machine is shared); each property test sets its number of examples.
settings.register_profile("zelobjectmodel", deadline=None, database=None)
settings.load_profile("zelobjectmodel")
set_hypothesis_home_dir(os.path.join(tempfile.gettempdir(), "zelobjectmodel-hypothesis"))


@pytest.fixture
def knxd():
    """A knxd on a socket in a temporary folder, with no bus behind it (the
    dummy backend), stopped by its process id; yields (url, send) where
    send("groupwrite 1/2/3 0c 33") runs knxtool against it."""
    if not hasattr(zelobjectmodel, "Monitor"):
        pytest.skip("the module is built without knxd's client library: no Monitor")
    program = os.environ.get("ZEL_KNXD") or shutil.which("knxd")
    knxtool = os.environ.get("ZEL_KNXTOOL") or shutil.which("knxtool")
    if not program or not knxtool:
        pytest.skip("knxd or knxtool not found")
    folder = tempfile.mkdtemp(prefix="zelobjectmodel-knxd-")
    socket = os.path.join(folder, "eib")
    log = open(os.path.join(folder, "knxd.log"), "wb")
    process = subprocess.Popen(
        [program, "-e", "0.0.1", "-E", "0.0.2:8", "-u", socket, "-b", "dummy:"],
        stdout=log, stderr=subprocess.STDOUT)
    url = "local:" + socket

    def send(command):
        verb, rest = command.split(" ", 1)
        subprocess.run([knxtool, verb, url] + rest.split(), check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    try:
        deadline = time.monotonic() + 10
        while not os.path.exists(socket):
            assert time.monotonic() < deadline and process.poll() is None, "knxd did not start"
            time.sleep(0.05)
        yield url, send
    finally:
        os.kill(process.pid, signal.SIGTERM)
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            os.kill(process.pid, signal.SIGKILL)
            process.wait()
        log.close()
        shutil.rmtree(folder, ignore_errors=True)
