# SPDX-License-Identifier: GPL-2.0-only
"""The accessibility checker axe-core, whose script GPON_AXE names, on each page."""
import os
import unittest
from pathlib import Path

from browser_page import PageTest

RUN = """
const [rules, done] = arguments;
axe.run(document, {rules}).then((result) => done(result.violations.map(
  (one) => one.id + ': ' + one.nodes.slice(0, 3).map((node) => node.html).join(' '))));"""


class Accessibility(PageTest):
    # The check of colours takes four times as long as all others, so a small page has it.
    COLOURS = False
    CHOSEN = "article.drop button.path"

    def load_checker(self):
        self.browser.execute_cdp_cmd("Runtime.evaluate", {
            "expression": Path(os.environ["GPON_AXE"]).read_text(encoding="utf-8")})

    def findings(self, width, scheme, chosen=""):
        self.browser.get(self.page())
        self.set_media(width, scheme)
        if chosen:
            self.script("document.querySelector(arguments[0]).click()", chosen)
            self.assertTrue(self.browser.find_elements("css selector", ".service a.walked"))
        self.load_checker()
        return self.browser.execute_async_script(
            RUN, {"color-contrast": {"enabled": self.COLOURS}})

    def test_the_checker_finds_nothing(self):
        for width in (1280, 390):
            for scheme in ("light", "dark"):
                self.assertEqual(self.findings(width, scheme), [], f"{width} {scheme}")

    def test_the_checker_finds_nothing_with_a_chosen_path(self):
        for scheme in ("light", "dark"):
            self.assertEqual(self.findings(1280, scheme, self.CHOSEN), [], scheme)


class AccessibilityOfEachColour(Accessibility):
    NAME = "entities.html"
    COLOURS = True
    CHOSEN = "#flow-table button.path"

    def test_the_checker_sees_a_fault(self):
        self.script("document.body.innerHTML = '<img src=data:><p style=\"color:#ddd\">pale</p>'")
        self.load_checker()
        found = self.browser.execute_async_script(RUN, {})
        names = {one.split(":")[0] for one in found}
        self.assertLessEqual({"image-alt", "color-contrast"}, names)


if __name__ == "__main__":
    unittest.main()
