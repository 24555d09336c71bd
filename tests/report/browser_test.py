# SPDX-License-Identifier: GPL-2.0-only
"""The report in headless Chromium: usage: browser_test.py FOLDER, with FOLDER/report.html in it."""
import base64
import json
import os
import subprocess
import sys
import unittest
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

FOLDER = Path(sys.argv.pop()).resolve()
PAGE = (FOLDER / "report.html").as_uri()


def start_browser():
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage",
                     "--window-size=1280,1000", "--force-color-profile=srgb"):
        options.add_argument(argument)
    if os.geteuid() == 0:  # Chromium's own sandbox refuses root
        options.add_argument("--no-sandbox")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    browser.set_page_load_timeout(60)
    return browser


def number(text):
    return int(text)


class Report(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = start_browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def setUp(self):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})
        self.browser.get(PAGE)

    def script(self, text, *arguments):
        return self.browser.execute_script(text, *arguments)

    def shown(self, table, column):
        """The texts of a column, of the rows that are not hidden."""
        return self.script(
            "return [...document.querySelectorAll(arguments[0] + ' tbody tr')]"
            ".filter(row => row.offsetParent !== null)"
            ".map(row => row.cells[arguments[1]].textContent.trim())", table, column)

    def click_head(self, table, column):
        self.browser.find_elements(By.CSS_SELECTOR, f"{table} th button")[column].click()

    def filter(self, text):
        field = self.browser.find_element(By.ID, "flow-filter")
        field.clear()
        field.send_keys(text)

    def test_opens_without_a_complaint_and_asks_for_nothing_else(self):
        self.browser.get_log("browser")
        self.browser.get_log("performance")
        self.browser.get(PAGE)
        for button in self.browser.find_elements(By.CSS_SELECTOR, "th button")[:3]:
            button.click()
        self.assertEqual([one["message"] for one in self.browser.get_log("browser")], [])
        messages = [json.loads(one["message"])["message"]
                    for one in self.browser.get_log("performance")]
        asked = [one["params"]["request"]["url"] for one in messages
                 if one["method"] == "Network.requestWillBeSent"]
        self.assertEqual([url for url in asked if url != "data:,"], [PAGE])

    def test_a_filter_shows_the_rows_that_hold_all_its_words(self):
        everything = len(self.shown("#flow-table", 0))
        self.filter("up_ani 300")
        rows = self.script(
            "return [...document.querySelectorAll('#flow-table tbody tr')]"
            ".filter(row => !row.hidden).map(row => row.textContent)")
        self.assertTrue(0 < len(rows) < everything)
        for row in rows:
            self.assertIn("up_ani", row)
            self.assertIn("300", row)
        self.assertEqual(self.browser.find_element(By.ID, "flow-count").text,
                         f"{len(rows)} of {everything} flows")
        self.filter("no such flow")
        self.assertEqual(self.shown("#flow-table", 0), [])

    def test_only_dropped_flows_when_asked(self):
        self.browser.find_element(By.ID, "flow-dropped").click()
        outcomes = self.shown("#flow-table", 9)
        self.assertTrue(outcomes)
        for outcome in outcomes:
            self.assertTrue(outcome.startswith("dropped"), outcome)

    def test_a_click_on_a_head_sorts_and_another_turns_round(self):
        before = sorted(map(number, self.shown("#flow-table", 6)))
        self.click_head("#flow-table", 6)
        self.assertEqual(list(map(number, self.shown("#flow-table", 6))), before)
        head = self.browser.find_elements(By.CSS_SELECTOR, "#flow-table th")[6]
        self.assertEqual(head.get_attribute("aria-sort"), "ascending")
        self.click_head("#flow-table", 6)
        self.assertEqual(list(map(number, self.shown("#flow-table", 6))), before[::-1])
        self.assertEqual(head.get_attribute("aria-sort"), "descending")
        self.assertNotEqual(before, before[::-1])

    def test_rules_sort_by_text(self):
        self.click_head("#rule-table", 2)
        directions = self.shown("#rule-table", 2)
        self.assertEqual(directions, sorted(directions))
        self.assertGreater(len(set(directions)), 1)

    def test_frames_of_the_tables_add_up(self):
        total = sum(map(number, self.shown("#flow-table", 6)))
        tile = self.browser.find_element(By.CSS_SELECTOR, ".tiles dd").text
        self.assertEqual(total, number(tile))

    def test_the_way_of_a_flow_is_marked_in_the_graph(self):
        row = self.browser.find_element(By.CSS_SELECTOR, "#flow-table tr.passed:has(button.way)")
        way = row.get_attribute("data-way").split("|")
        self.script("arguments[0].querySelector('button.way').click()", row)
        marked = self.script("return [...document.querySelectorAll('.graph .node.walked title')]"
                             ".map(title => title.textContent)")
        self.assertEqual(sorted(marked), sorted(set(way)))
        self.assertTrue(self.browser.find_elements(By.CSS_SELECTOR, ".graph .edge.walked"))
        self.script("document.getElementById('graph-clear').click()")
        self.assertFalse(self.browser.find_elements(By.CSS_SELECTOR, ".graph .walked"))

    def test_a_drop_is_explained(self):
        text = self.browser.find_element(By.CSS_SELECTOR, "article.drop pre").text
        self.assertIn("deepest branch:", text)

    def test_parts_that_scroll_can_be_reached_by_keyboard_and_have_names(self):
        for part in self.browser.find_elements(By.CSS_SELECTOR, ".scroll"):
            self.assertEqual(part.get_attribute("tabindex"), "0")
            self.assertTrue(part.get_attribute("aria-label"))
        self.assertEqual(self.script("return document.documentElement.lang"), "en")
        ids = self.script("return [...document.querySelectorAll('[id]')].map(one => one.id)")
        self.assertEqual(len(ids), len(set(ids)))

    def contrast(self, selector):
        """By the formula of WCAG 2, between a text and the nearest ground behind it."""
        return self.script("""
            const light = (colour) => {
              const parts = colour.match(/[\\d.]+/g).slice(0, 3).map((part) => {
                const share = part / 255;
                return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
              });
              return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2];
            };
            const one = document.querySelector(arguments[0]);
            let ground = one;
            const clear = (colour) => /, 0\\)$/.test(colour);
            while (clear(getComputedStyle(ground).backgroundColor)) ground = ground.parentElement;
            const pair = [light(getComputedStyle(one).color),
                          light(getComputedStyle(ground).backgroundColor)].sort((a, b) => b - a);
            return (pair[0] + 0.05) / (pair[1] + 0.05);""", selector)

    def test_text_can_be_read_in_light_and_dark(self):
        for scheme in ("light", "dark"):
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
                "features": [{"name": "prefers-color-scheme", "value": scheme}]})
            for selector in ("h1", ".kicker", ".faint", "#flow-table td", "thead th button",
                             "tr.dropped .fate", "tr.passed .fate", "nav a", "pre", "button.way",
                             ".tiles .good dd", ".tiles .bad dd", "summary"):
                self.assertGreaterEqual(self.contrast(selector), 4.5, f"{selector} in {scheme}")
            self.picture(f"report-{scheme}.png")

    def picture(self, name):
        size = self.browser.execute_cdp_cmd("Page.getLayoutMetrics", {})["cssContentSize"]
        shot = self.browser.execute_cdp_cmd("Page.captureScreenshot", {
            "captureBeyondViewport": True,
            "clip": {"x": 0, "y": 0, "width": size["width"], "height": min(size["height"], 4000),
                     "scale": 1}})
        (FOLDER / name).write_bytes(base64.b64decode(shot["data"]))

    def test_paper_holds_all_tables(self):
        flows = self.shown("#flow-table", 2)
        sheet = self.browser.execute_cdp_cmd("Page.printToPDF", {"preferCSSPageSize": True})
        (FOLDER / "report.pdf").write_bytes(base64.b64decode(sheet["data"]))
        text = subprocess.run(["pdftotext", "-layout", str(FOLDER / "report.pdf"), "-"],
                              check=True, capture_output=True, text=True).stdout
        for title in ("Directions", "Why frames were dropped", "The managed entities", "Flows",
                      "Rules after the last frame", "Provisioning check"):
            self.assertIn(title, text)
        for address in set(flows):
            self.assertIn(address, text)
        # The head of a table is on every page with a part of it.
        self.assertGreaterEqual(text.count("entry point"), 2)
        self.assertIn("deepest branch:", text)
        self.assertIn("0000  ", text)  # the bytes of the example, which a click opens on screen
        self.assertIn("GEM_PORT_CTP", text)
        self.assertNotIn("show path", text)


if __name__ == "__main__":
    unittest.main()
