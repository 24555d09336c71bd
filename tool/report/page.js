"use strict";
// The page is complete without this script, which sorts, filters and highlights.
(() => {
  const value = (row, column) => {
    const cell = row.cells[column];
    const text = cell.dataset.value ?? cell.textContent.trim();
    return /^\d+$/.test(text) ? Number(text) : text;
  };
  const compare = (a, b) =>
    typeof a === "number" && typeof b === "number" ? a - b : String(a).localeCompare(String(b), "en", { numeric: true });

  function sort(table, column) {
    const heads = [...table.tHead.rows[0].cells];
    const down = heads[column].getAttribute("aria-sort") === "ascending";
    heads.forEach((head) => head.removeAttribute("aria-sort"));
    heads[column].setAttribute("aria-sort", down ? "descending" : "ascending");
    const body = table.tBodies[0];
    const rows = [...body.rows].map((row) => [value(row, column), row]);
    rows.sort((a, b) => (down ? compare(b[0], a[0]) : compare(a[0], b[0])));
    body.append(...rows.map((pair) => pair[1]));
  }

  for (const table of document.querySelectorAll("table.sortable")) {
    [...table.tHead.rows[0].cells].forEach((head, column) => {
      const button = document.createElement("button");
      button.type = "button";
      button.textContent = head.textContent;
      button.title = "sort";
      button.addEventListener("click", () => sort(table, column));
      head.replaceChildren(button);
    });
  }

  const filter = document.getElementById("flow-filter");
  const dropped = document.getElementById("flow-dropped");
  const count = document.getElementById("flow-count");
  const flows = [...document.getElementById("flow-table").tBodies[0].rows];
  const texts = new Map(flows.map((row) => [row, row.textContent.toLowerCase()]));
  function filterFlows() {
    const words = filter.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    for (const row of flows) {
      const keep = words.every((word) => texts.get(row).includes(word)) &&
        (!dropped.checked || row.classList.contains("dropped"));
      row.hidden = !keep;
      shown += keep;
    }
    count.textContent = `${shown} of ${flows.length} flows`;
  }
  filter.addEventListener("input", filterFlows);
  dropped.addEventListener("change", filterFlows);
  filterFlows();

  const svg = document.querySelector(".graph svg");
  if (svg) {
    svg.setAttribute("role", "img");
    svg.setAttribute("aria-label", "Graph of the managed entities; the tables list the same links");
    const parts = [...svg.querySelectorAll(".node, .edge")].map((part) => [part.querySelector("title").textContent, part]);
    const status = document.getElementById("graph-way");
    const clear = document.getElementById("graph-clear");
    const mark = (way) => {
      const links = new Set(way);
      for (let i = 1; i < way.length; i++) {
        links.add(`${way[i - 1]}->${way[i]}`);
        links.add(`${way[i]}->${way[i - 1]}`);
      }
      for (const [title, part] of parts) part.classList.toggle("walked", links.has(title));
      svg.classList.toggle("marked", way.length > 0);
      status.textContent = way.join(" > ");
      clear.hidden = way.length === 0;
    };
    clear.addEventListener("click", () => mark([]));
    for (const button of document.querySelectorAll("button.way")) {
      button.addEventListener("click", () => {
        mark(button.closest("tr").dataset.way.split("|"));
        document.getElementById("graph").scrollIntoView();
      });
    }
    const size = document.getElementById("graph-size");
    size.addEventListener("click", () => {
      const actual = svg.parentElement.classList.toggle("actual");
      size.setAttribute("aria-pressed", String(actual));
    });
  } else {
    document.querySelectorAll("button.way").forEach((button) => button.remove());
  }

  // Print what a click would open. Table heads repeat on each page, without buttons.
  const heads = [...document.querySelectorAll("th button")].map((button) => [button.parentElement, button]);
  addEventListener("beforeprint", () => {
    document.querySelectorAll("details").forEach((one) => { one.open = true; });
    for (const [head, button] of heads) head.replaceChildren(button.textContent);
  });
  addEventListener("afterprint", () => {
    for (const [head, button] of heads) head.replaceChildren(button);
  });
})();
