# SPDX-License-Identifier: GPL-2.0-only
"""The report of the demo in headless Chromium."""
import base64
import json
import subprocess
import unittest

from browser_page import FOLDER, PageTest
from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys


def number(text):
    return int(text)


class Report(PageTest):
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
        self.browser.get(self.page())
        for button in self.browser.find_elements(By.CSS_SELECTOR, "th button")[:3]:
            button.click()
        self.assertEqual([one["message"] for one in self.browser.get_log("browser")], [])
        messages = [json.loads(one["message"])["message"]
                    for one in self.browser.get_log("performance")]
        asked = [one["params"]["request"]["url"] for one in messages
                 if one["method"] == "Network.requestWillBeSent"]
        self.assertEqual([url for url in asked if url != "data:,"], [self.page()])

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

    def marked(self, mark):
        """Numbers of the marked boxes."""
        return self.script("return [...document.querySelectorAll(arguments[0])]"
                           ".map(box => box.getAttribute('href').slice(2))", f".service a.{mark}")

    def test_the_path_of_a_flow_is_marked_in_its_service(self):
        row = self.browser.find_element(By.CSS_SELECTOR, "#flow-table tr.passed:has(button.path)")
        self.script("arguments[0].querySelector('button.path').click()", row)
        path = row.get_attribute("data-path").split(" ")
        self.assertTrue(set(self.marked("walked")) <= set(path))
        self.assertGreater(len(self.marked("walked")), 1)
        self.assertTrue(self.browser.find_elements(By.CSS_SELECTOR, ".service path.walked"))
        self.assertIn("take this path", self.browser.find_element(By.ID, "graph-path").text)
        self.script("document.getElementById('graph-clear').click()")
        self.assertFalse(self.marked("walked"))

    def test_a_dropped_flow_and_its_drop_lead_to_the_red_entity_that_decides(self):
        for button in ("#flow-table tr.dropped button.path", "article.drop button.path"):
            self.browser.get(self.page())
            self.script("document.querySelector(arguments[0]).click()", button)
            self.assertTrue(self.marked("decides"), button)
            colours = self.script(
                "const style = (selector) => getComputedStyle(document.querySelector(selector));"
                "return [style('.service a.decides rect').stroke, style('tr.dropped b').color]")
            self.assertEqual(colours[0], colours[1])
            self.assertIn("dropped", self.browser.find_element(By.ID, "graph-path").text)

    def test_a_search_shows_the_services_that_have_the_words(self):
        field = self.browser.find_element(By.ID, "graph-search")
        field.send_keys("gem port 1050")
        self.assertEqual(self.browser.find_element(By.ID, "graph-path").text,
                         "1 box in 1 service")
        shown = [one for one in self.browser.find_elements(By.CSS_SELECTOR, ".service")
                 if one.is_displayed()]
        self.assertEqual(len(shown), 1)
        self.assertIn("1050", shown[0].text)

    def test_text_of_the_drawing_has_eleven_pixels_at_any_zoom(self):
        smallest = ("return Math.min(...[...document.querySelectorAll('.draw text')].map(text => "
                    "parseFloat(getComputedStyle(text).fontSize) * text.getScreenCTM().a))")
        self.script("document.getElementById('open-all').click()")
        self.assertGreaterEqual(self.script(smallest), 11)
        for _ in range(9):
            self.script("document.getElementById('zoom-out').click()")
        self.assertGreaterEqual(self.script(smallest), 11)
        for _ in range(3):
            self.script("document.getElementById('zoom-in').click()")
        self.assertGreater(self.script(smallest), 20)

    def test_boxes_are_within_their_drawing_and_do_not_cover_each_other(self):
        self.script("document.getElementById('open-all').click()")
        bad = self.script("""
            const bad = [];
            for (const svg of document.querySelectorAll('.draw svg')) {
              const box_of = (one) => one.getBoundingClientRect();
              const all = [...svg.querySelectorAll('rect')].map(box_of);
              const whole = svg.getBoundingClientRect();
              all.forEach((a, i) => {
                if (a.left < whole.left || a.right > whole.right || a.bottom > whole.bottom)
                  bad.push('outside');
                all.slice(i + 1).forEach((b) => {
                  if (a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom)
                    bad.push('covered');
                });
              });
              for (const box of svg.querySelectorAll('a, .no'))
                if (box.querySelector('text').getBoundingClientRect().right >
                    box.querySelector('rect').getBoundingClientRect().right)
                  bad.push(box.textContent);
            }
            return bad;""")
        self.assertEqual(bad, [])

    def test_the_subscriber_is_on_the_left_and_the_fibre_on_the_right(self):
        self.script("document.getElementById('open-all').click()")
        drawings = self.script("""
            return [...document.querySelectorAll('.draw svg')].map((svg) => {
              const sides = (classes) => [...svg.querySelectorAll(classes)].map((one) => {
                const box = one.querySelector('rect').getBoundingClientRect();
                return [box.left, box.right];
              });
              return [sides('.c11, .c329'), sides('.c47'), sides('.c268'), sides('.c262')];
            });""")
        whole = [kinds for kinds in drawings if all(kinds)]
        self.assertGreater(len(whole), 2)
        for unis, ports, gem_ports, tconts in whole:
            self.assertLessEqual(max(right for _, right in unis), min(left for left, _ in ports))
            for before, behind in ((ports, gem_ports), (gem_ports, tconts)):
                self.assertLess(max(right for _, right in before), min(left for left, _ in behind))

    def test_a_drop_is_explained_below_a_sentence(self):
        drop = self.browser.find_element(By.CSS_SELECTOR, "article.drop")
        self.assertRegex(drop.find_element(By.TAG_NAME, "h3").text, r"^(Frames|Untagged) .*\.$")
        drop.find_element(By.TAG_NAME, "summary").click()
        self.assertIn("deepest branch:", drop.find_element(By.TAG_NAME, "pre").text)

    def test_every_box_leads_to_a_row_of_the_table_of_entities(self):
        targets = self.script("return [...document.querySelectorAll('.draw a')]"
                              ".map(box => box.getAttribute('href').slice(1))")
        rows = self.script("return [...document.querySelectorAll('.entity-table tbody tr')]"
                           ".map(row => row.id)")
        self.assertTrue(targets)
        self.assertEqual(set(targets), set(rows))
        self.assertEqual(self.script("return document.documentElement.lang"), "en")
        ids = self.script("return [...document.querySelectorAll('[id]')].map(one => one.id)")
        self.assertEqual(len(ids), len(set(ids)))

    def test_the_page_fits_a_desktop_and_a_telephone(self):
        self.assert_fits_each_window()

    def tab_until(self, wanted, most):
        """Presses Tab until the focused element matches a selector; returns the element."""
        for _ in range(most):
            self.press(Keys.TAB)
            focused = self.browser.switch_to.active_element
            if self.script("return arguments[0].matches(arguments[1])", focused, wanted):
                return focused
        self.fail(f"Tab does not reach {wanted}")

    def is_open(self):
        return self.script("return document.querySelector('.service').open")

    def test_the_keyboard_opens_a_service_and_leads_from_a_box_to_its_row(self):
        self.tab_until(".service summary", 60)
        before = self.is_open()
        self.press(Keys.ENTER)
        self.assertNotEqual(before, self.is_open())
        if before:
            self.press(Keys.ENTER)
        box = self.tab_until(".draw a", 3)  # past the scrollable drawing
        target = self.script("return arguments[0].getAttribute('href').slice(1)", box)
        self.press(Keys.ENTER)
        self.assertEqual(self.script("return location.hash"), "#" + target)
        self.assertTrue(self.browser.find_element(By.ID, target).is_displayed())

    def test_the_keyboard_shows_the_path_of_a_dropped_flow(self):
        self.tab_until("#flow-table tr.dropped button.path", 400)
        self.press(Keys.ENTER)
        self.assertTrue(self.marked("decides"))
        self.tab_until("#graph-clear", 400)
        self.press(Keys.ENTER)
        self.assertFalse(self.marked("decides"))

    def test_every_control_is_reached_by_the_tab_key(self):
        missed = """
            return [...document.querySelectorAll('button, input, summary, a[href]')]
              .filter(one => one.getClientRects().length > 0 && !window.reached.has(one))
              .map(one => one.outerHTML.slice(0, 120));"""
        self.script("window.reached = new Set(); addEventListener('focusin', "
                    "event => window.reached.add(event.target))")
        self.press(*[Keys.TAB] * 40)
        early = len(self.script(missed))
        self.assertGreater(early, 20)
        self.press(*[Keys.TAB] * (early + 40))
        self.assertEqual(self.script(missed), [])

    def test_the_mouse_drags_a_drawing_that_is_wider_than_the_page(self):
        self.set_media(390, "light")
        draw = next(one for one in self.browser.find_elements(By.CSS_SELECTOR, ".draw")
                    if one.is_displayed())
        self.script("arguments[0].scrollIntoView()", draw)
        webdriver.ActionChains(self.browser).move_to_element(draw).click_and_hold() \
            .move_by_offset(-100, 0).release().perform()
        self.assertGreater(self.script("return arguments[0].scrollLeft", draw), 0)

    def test_the_page_can_be_read_without_scripts(self):
        self.browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        try:
            self.browser.get(self.page())
            self.picture("report-without-script.png")
            text = self.browser.find_element(By.TAG_NAME, "main").text
        finally:
            self.browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})
        for part in ("Why frames were dropped", "are dropped", "GEM port 1050", "alloc-ID"):
            self.assertIn(part, text)

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
                             "tr.dropped b", "tr.passed b", "nav a", "pre", "button.path",
                             ".tiles .good dd", ".tiles .bad dd", "summary"):
                self.assertGreaterEqual(self.contrast(selector), 4.5, f"{selector} in {scheme}")
            self.picture(f"report-{scheme}.png")

    def test_paper_holds_all_tables_and_no_dump_of_bytes(self):
        flows = self.shown("#flow-table", 2)
        sheet = self.browser.execute_cdp_cmd("Page.printToPDF", {"preferCSSPageSize": True})
        (FOLDER / "report.pdf").write_bytes(base64.b64decode(sheet["data"]))
        text = subprocess.run(["pdftotext", "-layout", str(FOLDER / "report.pdf"), "-"],
                              check=True, capture_output=True, text=True).stdout
        for title in ("Directions", "Why frames were dropped", "Services", "Flows",
                      "Rules after the last frame", "Provisioning check", "Managed entities"):
            self.assertIn(title, text)
        for address in set(flows):
            self.assertIn(address, text)
        # The head of a table is on every page with a part of it.
        self.assertGreaterEqual(text.count("destination"), 4)
        self.assertIn("deepest branch:", text)
        self.assertNotRegex(text, r"(?m)^ *0000  [0-9a-f]{2} ")  # the bytes of the example
        self.assertIn("GEM_PORT_CTP", text)
        self.assertNotIn("show path", text)


if __name__ == "__main__":
    unittest.main()
