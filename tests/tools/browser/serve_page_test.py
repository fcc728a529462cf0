#!/usr/bin/python3
"""The page of `quorva serve` in headless Chromium.

Starts the server on a free port, opens the page, checks every belief bar and percentage against
`quorva beliefs --json` on the same net, clicks a state and checks the bars against
`quorva beliefs --json -f NODE=STATE`, clicks it again (retracted), and keeps a screenshot.
Stops by itself: every wait is bounded, and the server is stopped (killed if need be) at the end.
"""
import argparse
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

WAIT_SECONDS = 30
BAR_WIDTH = 70  # the width of a full bar on the page (web/app.js)


def start_server(tool, net):
    server = subprocess.Popen([tool, "serve", net, "--port", "0"], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
    line = server.stdout.readline()  # the server prints its address first
    found = re.search(r"http://127\.0\.0\.1:\d+/", line)
    if not found:
        stop_server(server)
        raise SystemExit("no address from the server: " + line)
    return server, found.group(0)


def stop_server(server):
    if server.poll() is None:
        server.send_signal(signal.SIGINT)
        try:
            server.wait(timeout=10)
        except subprocess.TimeoutExpired:
            server.kill()
            server.wait()
    return server.returncode


def engine_beliefs(tool, net, findings):
    args = [tool, "beliefs", net, "--json"]
    for node, state in findings.items():
        args += ["-f", f"{node}={state}"]
    out = subprocess.run(args, capture_output=True, text=True, timeout=60, check=True).stdout
    return {n["name"]: n["beliefs"] for n in json.loads(out)["nodes"]}


def page_bars(driver):
    """Per node and state, (belief held by the row, percentage shown, bar width)."""
    rows = driver.execute_script("""
        return Array.from(document.querySelectorAll('g.state')).map(r => [
            r.dataset.node, r.dataset.state, Number(r.dataset.belief),
            r.querySelector('.pct').textContent, Number(r.querySelector('.bar').getAttribute('width'))]);""")
    bars = {}
    for node, state, belief, shown, width in rows:
        bars.setdefault(node, []).append((state, belief, shown, width))
    return bars


def check_bars(driver, expected, what):
    bars = page_bars(driver)
    problems = []
    if set(bars) != set(expected):
        problems.append(f"nodes drawn {sorted(bars)} but the net has {sorted(expected)}")
    for node, beliefs in expected.items():
        for s, p in enumerate(beliefs):
            state, belief, shown, width = bars[node][s]
            if abs(belief - p) > 1e-6:
                problems.append(f"{node}={state}: the page holds {belief}, the engine says {p}")
            if shown != f"{100 * p:.2f}%":
                problems.append(f"{node}={state}: the page shows {shown}, the engine says {100 * p:.4f}%")
            if abs(width - BAR_WIDTH * p) > 0.02:
                problems.append(f"{node}={state}: bar {width} wide for {p}")
    if problems:
        raise AssertionError(what + ":\n  " + "\n  ".join(problems))
    print(f"ok: {what} ({sum(len(b) for b in expected.values())} bars)")


def wait_for_updates(driver, count):
    WebDriverWait(driver, WAIT_SECONDS).until(
        lambda d: int(d.execute_script("return document.body.dataset.updates || 0")) >= count)


def open_browser(profile):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--window-size=1400,1000", f"--user-data-dir={profile}"):
        options.add_argument(argument)
    if os.path.exists("/usr/bin/chromium"):
        options.binary_location = "/usr/bin/chromium"
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    driver.set_page_load_timeout(WAIT_SECONDS)
    driver.set_script_timeout(WAIT_SECONDS)
    return driver


def run(args, url, driver):
    driver.get(url)
    wait_for_updates(driver, 1)
    check_bars(driver, engine_beliefs(args.tool, args.net, {}), "beliefs with no findings")
    probability = driver.find_element(By.ID, "findings-probability").text
    assert probability == "1", f"probability of no findings shown as {probability}"

    node, state = "smoking", "f1"
    row = driver.find_element(By.CSS_SELECTOR, f'g.state[data-node="{node}"][data-state="{state}"]')
    row.click()
    wait_for_updates(driver, 2)
    check_bars(driver, engine_beliefs(args.tool, args.net, {node: state}), f"beliefs after a click on {node}={state}")
    assert "found" in row.get_attribute("class"), "the state clicked is not marked as the finding"
    probability = float(driver.find_element(By.ID, "findings-probability").text)
    assert abs(probability - 0.5) < 1e-5, f"probability of {node}={state} shown as {probability}"
    driver.save_screenshot(args.screenshot)
    print("screenshot:", args.screenshot)

    row.click()  # again: retracted
    wait_for_updates(driver, 3)
    check_bars(driver, engine_beliefs(args.tool, args.net, {}), "beliefs after the second click (retracted)")

    # The side panel shows the node's table when its title is clicked.
    title = driver.find_element(By.CSS_SELECTOR, f'g.node[data-node="{node}"] .title')
    title.click()
    WebDriverWait(driver, WAIT_SECONDS).until(lambda d: d.find_element(By.ID, "panel-title").text == node)
    cells = [c.text for c in driver.find_elements(By.CSS_SELECTOR, "#panel-table td")]
    assert cells == ["0.5", "0.5"], f"the table of {node} shown as {cells}"
    errors = [e for e in driver.get_log("browser") if e.get("level") == "SEVERE"]
    assert not errors, f"the page logged errors: {errors}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", required=True)
    parser.add_argument("--net", required=True)
    parser.add_argument("--screenshot", required=True)
    args = parser.parse_args()
    profile = tempfile.mkdtemp(prefix="quorva_browser_")
    server, url = start_server(args.tool, args.net)
    driver = None
    try:
        driver = open_browser(profile)
        run(args, url, driver)
    finally:
        if driver is not None:
            driver.quit()
        status = stop_server(server)
        shutil.rmtree(profile, ignore_errors=True)
    if status != 0:
        raise SystemExit(f"the server ended with status {status}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
