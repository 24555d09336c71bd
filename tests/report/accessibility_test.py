# SPDX-License-Identifier: GPL-2.0-only
"""The accessibility checker axe-core, whose script GPON_AXE names, on each page."""
import os
import unittest
from pathlib import Path

from browser_page import PageTest

# Selectors are computed for violations only: a large page has tens of thousands of other elements.
RUN = """
const [rules, done] = arguments;
axe.run(document, {rules, resultTypes: ['violations']}).then((result) => done(
  result.violations.map((one) => one.id + ': ' +
    one.nodes.slice(0, 3).map((node) => node.html).join(' '))));"""

# The checker computes the places of all elements for them, which takes longer than all other rules
# together, so a small page has them.
RULES_OF_COLOURS = ("color-contrast", "link-in-text-block")


class CheckedPage(PageTest):
    COLOURS = False

    def load_checker(self):
        self.browser.execute_cdp_cmd("Runtime.evaluate", {
            "expression": Path(os.environ["GPON_AXE"]).read_text(encoding="utf-8")})

    def checked(self):
        self.load_checker()
        return self.browser.execute_async_script(
            RUN, {rule: {"enabled": self.COLOURS} for rule in RULES_OF_COLOURS})


class Accessibility(CheckedPage):
    CHOSEN = "article.drop button.path"

    def findings(self, width, scheme, chosen=""):
        self.browser.get(self.page())
        self.set_media(width, scheme)
        if chosen:
            self.script("document.querySelector(arguments[0]).click()", chosen)
            self.assertTrue(self.browser.find_elements("css selector", ".service a.walked"))
        return self.checked()

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


class AccessibilityOfALargePage(CheckedPage):
    """500 bridge ports. The checker takes a time that is linear in the elements of the page."""
    NAME = "large.html"
    # Generous for a machine that other programs share.
    SECONDS = 60

    def test_the_checker_finds_nothing_but_an_inserted_fault(self):
        self.set_media(1280, "light")
        self.script("const image = new Image();"
                    "document.querySelector('#entities').parentElement.append(image);")
        self.browser.set_script_timeout(self.SECONDS)
        names = [one.split(":")[0] for one in self.checked()]
        self.assertEqual(names, ["image-alt"])


if __name__ == "__main__":
    unittest.main()
