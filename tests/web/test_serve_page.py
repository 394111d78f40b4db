"""The group monitor page in headless Chromium, against `zelknx serve`.

Fed (a) by a knxd of the test's own (no bus behind it, telegrams sent with
knxtool) and (b) by --replay of a recorded log: rows appear with the right
values and units, the filter narrows them, pause holds the table, the plot
has points for a picked group address, the CSV export matches the table.
Every service runs on a free loopback port or a socket in a temporary
folder and is stopped by its own process id. Skipped where Chromium, its
driver, Selenium or (for the live case) knxd is missing.

Environment: ZELKNX (the program), ZELKNX_KNXD, ZELKNX_KNXTOOL, and
ZELKNX_ARTEFACTS (where the screenshot goes).
"""
import csv
import io
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time

import pytest

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import Select, WebDriverWait
except ImportError:
    webdriver = None

CHROMIUM = "/usr/bin/chromium"
CHROMEDRIVER = "/usr/bin/chromedriver"
ZELKNX = os.environ.get("ZELKNX", "")
KNXD = os.environ.get("ZELKNX_KNXD", "")
KNXTOOL = os.environ.get("ZELKNX_KNXTOOL", "")

GROUP_ADDRESSES = (
    "Group name;Address;DatapointType\n"
    "Temperatur Küche;1/2/3;DPST-9-1\n"
    "Licht Küche;1/2/4;DPST-1-1\n"
    "Leistung Herd;1/2/5;DPST-14-56\n"
    "Reserve;1/2/6;\n"
    "Zähler Bad;1/3/1;DPST-7-1\n"
)

# A recorded log: knxtool groupsocketlisten and vbusmonitor1 lines with
# time stamps.
LOG = """2024-03-15 08:30:00.000 Write from 1.1.5 to 1/2/3: 0C 33
2024-03-15 08:31:10.250 Write from 1.1.6 to 1/2/4: 01
2024-03-15 08:40:00.000 Write from 1.1.5 to 1/2/3: 0C 4C
2024-03-15 08:45:00.000 Read from 1.1.7 to 1/2/3
2024-03-15 08:50:00.000 Response from 1.1.5 to 1/2/3: 0C 65
2024-03-15 08:51:00.000 Write from 1.1.8 to 1/2/6: 12 34
2024-03-15 08:52:00.000 Write from 1.1.9 to 1/3/1: 01 F4
2024-03-15 08:55:00.000 L_Busmon: BC 11 05 0A 05 E5 00 80 42 C8 00 00 5A :L_Data low from 1.1.5 to 1/2/5 hops: 06 T_Data_Group A_GroupValue_Write 42 C8 00 00
"""

# The rows the log gives, newest first: source, group address, value, service.
LOG_ROWS = [
    ["1.1.5", "1/2/5", "100 W", "write"],
    ["1.1.9", "1/3/1", "500 pulses", "write"],
    ["1.1.8", "1/2/6", "12 34", "write"],
    ["1.1.5", "1/2/3", "22.5 °C", "response"],
    ["1.1.7", "1/2/3", "", "read"],
    ["1.1.5", "1/2/3", "22 °C", "write"],
    ["1.1.6", "1/2/4", "true", "write"],
    ["1.1.5", "1/2/3", "21.5 °C", "write"],
]

pytestmark = pytest.mark.skipif(
    webdriver is None or not os.access(CHROMIUM, os.X_OK) or not os.access(CHROMEDRIVER, os.X_OK),
    reason="Chromium, chromedriver or Selenium not found",
)


def stop(process, sig=signal.SIGTERM):
    """Stops `process` by its pid; its exit status."""
    if process.poll() is None:
        os.kill(process.pid, sig)
    try:
        return process.wait(timeout=10)
    except subprocess.TimeoutExpired:
        os.kill(process.pid, signal.SIGKILL)
        return process.wait()


def wait_for(done, timeout=10.0, what="condition"):
    end = time.monotonic() + timeout
    while True:
        value = done()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"timed out waiting for {what}")
        time.sleep(0.05)


@pytest.fixture
def folder():
    path = tempfile.mkdtemp(prefix="zelknx-serve-")
    with open(os.path.join(path, "ga.csv"), "w", encoding="utf-8") as out:
        out.write(GROUP_ADDRESSES)
    yield path
    shutil.rmtree(path, ignore_errors=True)


@pytest.fixture
def serve(folder):
    """Starts zelknx serve with `args` on a free port; its page's URL."""
    started = []

    def start(*args):
        err = open(os.path.join(folder, "serve.err"), "w+", encoding="utf-8")
        process = subprocess.Popen(
            [ZELKNX, "serve", "--listen", "127.0.0.1:0", "--ga-csv", os.path.join(folder, "ga.csv"), *args],
            stdout=subprocess.DEVNULL, stderr=err)
        started.append(process)

        def port():
            err.seek(0)
            found = re.search(r"serving on http://127\.0\.0\.1:(\d+)/", err.read())
            assert process.poll() is None, open(err.name, encoding="utf-8").read()
            return found and found.group(1)
        return f"http://127.0.0.1:{wait_for(port, what='zelknx serve')}/"

    yield start
    for process in started:
        assert stop(process) == 0  # SIGTERM ends it cleanly


@pytest.fixture
def browser(folder):
    options = webdriver.ChromeOptions()
    options.binary_location = CHROMIUM
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--no-first-run", "--window-size=1200,800",
                     f"--user-data-dir={os.path.join(folder, 'chromium')}"):
        options.add_argument(argument)
    driver = webdriver.Chrome(service=Service(CHROMEDRIVER, log_path=os.path.join(folder, "chromedriver.log")),
                              options=options)
    yield driver
    driver.quit()  # stops chromedriver, which stops Chromium


def table(driver, table_id="telegrams"):
    """The body's cell texts, row by row."""
    return driver.execute_script(
        "return [...document.getElementById(arguments[0]).tBodies[0].rows]"
        ".map((tr) => [...tr.cells].map((td) => td.textContent));", table_id)


def columns(rows, *indexes):
    return [[row[i] for i in indexes] for row in rows]


def filter_by(driver, field, text):
    Select(driver.find_element(By.ID, "filter-field")).select_by_value(field)
    box = driver.find_element(By.ID, "filter")
    box.clear()
    if text:
        box.send_keys(text)
    else:  # clear() fires no input event
        driver.execute_script("arguments[0].dispatchEvent(new Event('input'))", box)


def test_replayed_log(serve, browser, folder):
    with open(os.path.join(folder, "bus.log"), "w", encoding="utf-8") as out:
        out.write(LOG)
    browser.get(serve("--replay", os.path.join(folder, "bus.log")))
    rows = wait_for(lambda: len(table(browser)) == len(LOG_ROWS) and table(browser), what="the log's rows")
    assert columns(rows, 1, 2, 5, 6) == LOG_ROWS
    assert rows[0][0] == "2024-03-15 08:55:00.000" and rows[-1][0] == "2024-03-15 08:30:00.000"
    assert columns(rows, 3, 4)[0] == ["Leistung Herd", "14.056"]
    assert columns(rows, 3, 4)[2] == ["Reserve", ""]  # no DPT: the raw octets
    read = browser.find_elements(By.CSS_SELECTOR, "#telegrams tbody tr.read td")
    assert read and read[0].value_of_css_property("background-color") != "rgba(0, 0, 0, 0)"

    # The filter by each field narrows the rows; cleared, all come back.
    for field, text, expected in [("dst", "1/2/3", 4), ("dst", "1/2", 7), ("dst", "1", 8), ("name", "küche", 5),
                                  ("dpt", "9.001", 4), ("src", "1.1.5", 4), ("any", "Bad", 1), ("dst", "1/2/30", 0)]:
        filter_by(browser, field, text)
        assert len(table(browser)) == expected, (field, text)
    filter_by(browser, "dst", "1/2/3")
    shown = table(browser)

    # The CSV export holds the filtered rows as the table shows them.
    exported = list(csv.reader(io.StringIO(browser.execute_script("return zelMonitor.csv()"))))
    assert exported[0] == ["Time", "Source", "Group address", "Name", "DPT", "Value", "Service"]
    assert exported[1:] == shown

    # The latest value per group address, and its plot: three points in °C.
    latest = {row[1]: row[4:] for row in table(browser, "latest")}
    assert latest["1/2/3"] == ["22.5 °C", "08:50:00"] and latest["1/2/4"] == ["true", "08:31:10"]
    assert latest["1/2/5"] == ["100 W", "08:55:00"]
    browser.find_element(By.CSS_SELECTOR, "#latest tr[data-address='1/2/3'] input").click()
    points = browser.execute_script(
        "const c = zelMonitor.state.chart; return c.data.datasets.map((s) => "
        "[s.address, s.data.map((p) => p.y), c.options.scales[s.yAxisID].title.text]);")
    assert points == [["1/2/3", [21.5, 22, 22.5], "°C"]]
    filter_by(browser, "any", "")
    time.sleep(0.3)  # a render
    os.makedirs(os.environ.get("ZELKNX_ARTEFACTS", folder), exist_ok=True)
    browser.save_screenshot(os.path.join(os.environ.get("ZELKNX_ARTEFACTS", folder), "serve.png"))


@pytest.fixture
def knxd(folder):
    """A knxd on a socket in the folder, with no bus behind it; its URL."""
    process = subprocess.Popen([KNXD, "-e", "0.0.1", "-E", "0.0.2:8", "-u", f"{folder}/eib", "-b", "dummy:"],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wait_for(lambda: os.path.exists(f"{folder}/eib"), what="knxd")
    yield f"local:{folder}/eib"
    stop(process)


# knxd before serve: the server stops first (without knxd it would end with
# exit status 1).
@pytest.mark.skipif(not KNXD or not KNXTOOL, reason="knxd or knxtool not found")
def test_live_from_knxd(knxd, serve, browser):
    def send(command, address, *data):
        subprocess.run([KNXTOOL, command, knxd, address, *data], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    browser.get(serve("--url", knxd))
    # Probes until the server listens to knxd.
    wait_for(lambda: send("groupswrite", "31/7/255", "1") or any(r[2] == "31/7/255" for r in table(browser)),
             what="the server on knxd")
    filter_by(browser, "dst", "1/2")
    send("groupwrite", "1/2/3", "0c", "33")
    send("groupswrite", "1/2/4", "1")
    rows = wait_for(lambda: len(table(browser)) == 2 and table(browser), what="two telegrams")
    assert columns(rows, 2, 3, 4, 5, 6) == [["1/2/4", "Licht Küche", "1.001", "true", "write"],
                                             ["1/2/3", "Temperatur Küche", "9.001", "21.5 °C", "write"]]
    assert re.fullmatch(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}", rows[0][0])

    # Paused, the table holds; resumed, it shows what came meanwhile.
    browser.find_element(By.ID, "pause").click()
    send("groupwrite", "1/2/5", "42", "c8", "00", "00")
    wait_for(lambda: "paused (1 new)" in browser.find_element(By.ID, "count").text, what="the paused count")
    assert len(table(browser)) == 2
    filter_by(browser, "dst", "1/2/3")  # the filter works on the paused table
    assert columns(table(browser), 2, 5) == [["1/2/3", "21.5 °C"]]
    filter_by(browser, "dst", "1/2")
    browser.find_element(By.ID, "pause").click()
    assert columns(table(browser), 2, 5) == [["1/2/5", "100 W"], ["1/2/4", "true"], ["1/2/3", "21.5 °C"]]
