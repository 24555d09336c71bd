# SPDX-License-Identifier: GPL-2.0-only
"""A report in headless Chromium. A test names the page, which is in the folder GPON_PAGES."""
import base64
import os
import unittest
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

FOLDER = Path(os.environ["GPON_PAGES"]).resolve()


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


class PageTest(unittest.TestCase):
    """Each test begins with the page that NAME names, in a window of its own width."""
    NAME = "report.html"

    @classmethod
    def setUpClass(cls):
        cls.browser = start_browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def setUp(self):
        self.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "", "features": []})
        self.browser.get(self.page())

    def page(self):
        return (FOLDER / self.NAME).as_uri()

    def script(self, text, *arguments):
        return self.browser.execute_script(text, *arguments)

    def press(self, *keys):
        webdriver.ActionChains(self.browser).send_keys(*keys).perform()

    def set_media(self, width, scheme):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def overflowing(self):
        """Elements outside of a drawing that are wider than the window."""
        return self.script("""
            const width = document.documentElement.clientWidth;
            const all = [...document.querySelectorAll('body *:not(svg *):not(.draw *)')];
            return all.filter((one) => {
              const box = one.getBoundingClientRect();
              return box.width > 0 && box.left >= 0 && box.right > width + 1;
            }).map((one) => one.outerHTML.slice(0, 120));""")

    def assert_fits_each_window(self):
        for width in (1280, 390):
            for scheme in ("light", "dark"):
                self.set_media(width, scheme)
                self.assertEqual(self.overflowing(), [], f"{width} {scheme}")
                self.assertLessEqual(*self.script(
                    "const page = document.documentElement;"
                    "return [page.scrollWidth, page.clientWidth]"), f"{width} {scheme}")

    def picture(self, name):
        size = self.browser.execute_cdp_cmd("Page.getLayoutMetrics", {})["cssContentSize"]
        shot = self.browser.execute_cdp_cmd("Page.captureScreenshot", {
            "captureBeyondViewport": True,
            "clip": {"x": 0, "y": 0, "width": size["width"], "height": min(size["height"], 4000),
                     "scale": 1}})
        (FOLDER / name).write_bytes(base64.b64decode(shot["data"]))
