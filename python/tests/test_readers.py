"""The readers of zelknx: group address lists, bus logs and a live knxd."""

import signal
import subprocess
import sys
import threading
import time

import pytest

import zelobjectmodel as z

GROUP_ADDRESSES = (
    "Group name;Address;DatapointType\n"
    "Temperatur Küche;1/2/3;DPST-9-1\n"
    "Licht Küche;1/2/4;DPST-1-1\n"
    "Reserve;1/2/6;\n")


@pytest.fixture
def groups(tmp_path):
    path = tmp_path / "ga.csv"
    path.write_text(GROUP_ADDRESSES, encoding="utf-8")
    return z.GroupAddresses.from_csv(str(path))


def test_group_address_list(groups, tmp_path):
    assert len(groups) == 3
    assert groups["1/2/3"] == {"address": "1/2/3", "name": "Temperatur Küche", "dpt": "9.001"}
    assert groups[0x0A06]["dpt"] is None and "1/2/4" in groups and "1/2/7" not in groups
    with pytest.raises(KeyError):
        groups["1/2/7"]
    bad = tmp_path / "bad.csv"
    bad.write_text("Group name,Address\nA,1/2/3\nB,1/2/x\n")
    with pytest.raises(ValueError, match=r"bad\.csv:3: bad group address '1/2/x'"):
        z.GroupAddresses.from_csv(str(bad))
    with pytest.raises(ValueError, match="cannot be read"):
        z.GroupAddresses.from_csv(str(tmp_path / "missing.csv"))
    with pytest.raises(ValueError):
        z.GroupAddresses.from_project(str(tmp_path / "missing.knxproj"))


def make_project(folder, password=None):
    """A two-level ETS 5 project as ETS lays it out: knx_master.xml and the
    project's folder, or with a password its archive P-0501.zip, written
    with the zip tool (ZipCrypto)."""
    knx = 'xmlns="http://knx.org/xml/project/20"'
    files = {
        "project.xml": f'<KNX {knx}><Project Id="P-0501"><ProjectInformation Name="Haus" '
                       'GroupAddressStyle="TwoLevel"/></Project></KNX>',
        "0.xml": f'<KNX {knx}><Project Id="P-0501"><Installations><Installation Name="">'
                 '<GroupAddresses><GroupRanges><GroupRange Name="Licht" RangeStart="2048" '
                 'RangeEnd="4095"><GroupAddress Id="P-0501-0_GA-1" Address="2563" '
                 'Name="Temperatur Küche" DatapointType="DPST-9-1"/></GroupRange>'
                 '</GroupRanges></GroupAddresses></Installation></Installations></Project></KNX>'}
    folder.mkdir()
    (folder / "knx_master.xml").write_text(f"<KNX {knx}/>")
    inner = folder / "P-0501"
    inner.mkdir()
    for name, text in files.items():
        (inner / name).write_text(text, encoding="utf-8")
    if password is None:
        entries = ["knx_master.xml", "P-0501/project.xml", "P-0501/0.xml"]
    else:
        subprocess.run(["zip", "-q", "-j", "-P", password, str(folder / "P-0501.zip"),
                        str(inner / "project.xml"), str(inner / "0.xml")], check=True)
        entries = ["knx_master.xml", "P-0501.zip"]
    subprocess.run(["zip", "-q", str(folder / "haus.knxproj"), *entries], cwd=folder, check=True)
    return str(folder / "haus.knxproj")


def test_project(tmp_path):
    plain = z.GroupAddresses.from_project(make_project(tmp_path / "plain"))
    assert list(plain) == [{"address": "1/515", "name": "Temperatur Küche", "dpt": "9.001"}]
    protected = make_project(tmp_path / "protected", password="geheim")
    assert len(z.GroupAddresses.from_project(protected, password="geheim")) == 1
    with pytest.raises(ValueError, match="haus.knxproj"):
        z.GroupAddresses.from_project(protected, password="falsch")


def test_entries_in_address_order(groups):
    entries = list(groups)
    assert [entry["address"] for entry in entries] == ["1/2/3", "1/2/4", "1/2/6"]
    assert entries[0] == groups["1/2/3"]


def test_telegrams_of_a_log(groups):
    log = [
        "Write from 1.1.5 to 1/2/3: 0C 33\n",
        "some other line of the log\n",
        "Read from 1.1.9 to 1/2/3\n",
        "Write from 1.1.7 to 1/2/6: 12 34\n",
        "1/2/4 01\n",
        "1/2/6 1234\n",
        "11.001 0f0d18\n",
    ]
    results = list(z.telegrams(log, groups))
    assert [r["line"] for r in results] == [1, 3, 4, 5, 6, 7]
    assert results[0] == {
        "line": 1, "src": "1.1.5", "dst": "1/2/3", "name": "Temperatur Küche", "dpt": "9.001",
        "apci": "write", "hex": "0c33", "value": 21.5, "unit": "°C"}
    assert results[1]["apci"] == "read" and results[1]["value"] is None
    assert (results[2]["dpt"], results[2]["hex"], results[2]["value"]) == (None, "1234", None)
    assert results[3]["value"] is True
    assert results[4] == {"line": 6, "error": "no DPT for group address 1/2/6 in " + groups.source}
    assert results[5] == {"line": 7, "error": "Received invalid value 0f 0d 18 for DPT 11.1"}


def test_monitor_follows_knxd(knxd, groups):
    url, send = knxd
    with z.Monitor(url, groups) as monitor:
        # The probe's telegram shows that the monitor listens.
        send("groupswrite 31/7/255 1")
        assert monitor.receive(timeout=5)["dst"] == "31/7/255"
        send("groupwrite 1/2/3 0c 33")
        send("groupswrite 1/2/4 1")
        send("groupwrite 1/2/7 56")
        telegrams = [next(monitor) for _ in range(3)]
        assert monitor.receive(timeout=0.2) is None
    assert monitor.closed
    assert [(t["dst"], t["name"], t["dpt"], t["value"], t["unit"]) for t in telegrams] == [
        ("1/2/3", "Temperatur Küche", "9.001", 21.5, "°C"),
        ("1/2/4", "Licht Küche", "1.001", True, None),
        ("1/2/7", None, None, None, None)]
    assert telegrams[2]["hex"] == "56" and telegrams[0]["src"].startswith("0.0.")
    assert len(telegrams[0]["time"]) == 23


def test_monitor_close_wakes_a_blocked_iteration(knxd):
    url, _ = knxd
    monitor = z.Monitor(url)
    received = []
    thread = threading.Thread(target=lambda: received.extend(monitor))
    thread.start()
    time.sleep(0.3)  # the iteration waits in knxd's socket, without the GIL
    start = time.monotonic()
    assert z.decode("9.001", b"\x0c\x33") == 21.5  # meanwhile the module works
    monitor.close()
    thread.join(5)
    assert not thread.is_alive() and received == []
    assert time.monotonic() - start < 2
    with pytest.raises(StopIteration):
        next(monitor)


def test_monitor_unreachable(tmp_path):
    with pytest.raises(ConnectionError):
        z.Monitor("local:" + str(tmp_path / "none"))


def test_interpreter_exits_while_a_thread_iterates(knxd):
    url, _ = knxd
    script = (
        "import threading, time, zelobjectmodel as z\n"
        f"m = z.Monitor({url!r})\n"
        "threading.Thread(target=lambda: list(m), daemon=True).start()\n"
        "time.sleep(0.3)\n"
        "z.encode('7.001', 70000)\n")  # an ERROR entry on the way out
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=30)
    assert (run.returncode, run.stderr.strip()) == (0, "Value out of range: 70000 (DPT 7)")


def test_ctrl_c_ends_a_waiting_iteration(knxd):
    url, _ = knxd
    script = (
        "import zelobjectmodel as z\n"
        f"m = z.Monitor({url!r})\n"
        "print('ready', flush=True)\n"
        "try:\n"
        "    list(m)\n"
        "except KeyboardInterrupt:\n"
        "    print('interrupted')\n")
    child = subprocess.Popen([sys.executable, "-c", script], stdout=subprocess.PIPE, text=True)
    try:
        assert child.stdout.readline() == "ready\n"
        time.sleep(0.2)
        child.send_signal(signal.SIGINT)
        assert child.communicate(timeout=10)[0] == "interrupted\n"
    finally:
        child.kill()
        child.wait()
