# SPDX-License-Identifier: GPL-2.0-only
"""The legend of the drawings against a line with each class and each kind of pointer."""
import unittest

from browser_page import PageTest
from selenium.webdriver.common.by import By

CLASSES = {
    "subscriber port": {"11", "329"},
    "bridge, bridge port": {"45", "47"},
    "VLAN filter, tagging": {"78", "84", "171"},
    "mapper; its lines have the priorities": {"130"},
    "GEM port, interworking": {"266", "268", "281"},
    "T-CONT, scheduler, queue, descriptor": {"262", "277", "278", "280"},
}

# A box of a class has the common border and a colour. Others have a border of their own.
APPEARANCE = """
const edge = getComputedStyle(document.querySelector('.legend .stroke')).borderTopColor;
const box = (border, dashes, ground) =>
  border === edge ? 'box ' + ground : ['border', border, dashes].join(' ');
const line = (colour, dashes) => ['line', colour, dashes].join(' ');
const of_legend = (one) => {
  const {borderTopColor: border, borderTopStyle: kind, backgroundColor: ground} =
    getComputedStyle(one);
  const dashes = kind === 'double' ? 'dashed' : kind;
  return one.matches('.stroke') ? line(border, dashes) : box(border, dashes, ground);
};
const dashes_of = (style) => style.strokeDasharray === 'none' ? 'solid' :
  style.strokeDasharray.startsWith('2') ? 'dotted' : 'dashed';
const of_rect = (one) => {
  const style = getComputedStyle(one);
  return box(style.stroke, dashes_of(style), style.fill);
};
const of_path = (one) => {
  const style = getComputedStyle(one);
  const mark = getComputedStyle(document.querySelector('.legend .walked')).borderTopColor;
  return style.stroke === mark ? 'border ' + mark + ' solid' : line(style.stroke, dashes_of(style));
};
"""


class Legend(PageTest):
    NAME = "entities.html"

    def legend(self):
        """The appearance of each entry, by its text."""
        return dict(self.script(APPEARANCE + """
            return [...document.querySelectorAll('.legend li')].map(
              (one) => [one.textContent, of_legend(one.querySelector('i'))]);"""))

    def drawn(self):
        return set(self.script(APPEARANCE + """
            return [...[...document.querySelectorAll('.draw rect')].map(of_rect),
                    ...[...document.querySelectorAll('.draw path')].map(of_path)];"""))

    def open_all(self):
        self.script("document.getElementById('open-all').click()")

    def search(self, text):
        field = self.browser.find_element(By.ID, "graph-search")
        field.send_keys(text)
        self.script("document.querySelectorAll('.service')"
                    ".forEach((one) => { one.hidden = false; })")

    def show_drop(self):
        self.script("document.querySelector('article.drop button.path').click()")

    def test_each_class_has_the_colour_of_its_entry(self):
        self.open_all()
        legend = self.legend()
        boxes = self.script(APPEARANCE + """
            return [...document.querySelectorAll('.draw a')].map(
              (one) => [one.getAttribute('class').match(/c([0-9]+)/)[1],
                        of_rect(one.querySelector('rect'))]);""")
        self.assertEqual({number for number, _ in boxes}, set().union(*CLASSES.values()))
        for number, appearance in boxes:
            title = next(title for title, numbers in CLASSES.items() if number in numbers)
            self.assertEqual(appearance, legend[title], number)

    def test_each_entry_occurs_and_nothing_else_is_drawn(self):
        for scheme in ("light", "dark"):
            self.browser.get(self.page())
            self.set_media(1280, scheme)
            self.open_all()
            self.show_drop()
            self.search("scheduler")
            self.open_all()
            legend = self.legend()
            self.assertEqual(len(set(legend.values())), len(legend), "two entries look alike")
            self.assertEqual(self.drawn() - set(legend.values()), set(), scheme)
            for title, appearance in legend.items():
                self.assertIn(appearance, self.drawn(), f"{title} {scheme}")


if __name__ == "__main__":
    unittest.main()
