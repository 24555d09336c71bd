// SPDX-License-Identifier: GPL-2.0-only
"use strict";
// The page is complete without this script, which sorts, filters, searches, zooms and highlights.
(() => {
  const byId = (id) => document.getElementById(id);
  const value = (row, column) => {
    const cell = row.cells[column];
    const text = cell.dataset.value ?? cell.textContent.trim();
    return /^\d+$/.test(text) ? Number(text) : text;
  };
  const compare = (a, b) =>
    typeof a === "number" && typeof b === "number" ? a - b : String(a).localeCompare(String(b), "en", { numeric: true });

  function sort(table, column) {
    const heads = [...table.tHead.rows[0].cells];
    const up = heads[column].getAttribute("aria-sort") !== "ascending";
    heads.forEach((head) => head.removeAttribute("aria-sort"));
    heads[column].setAttribute("aria-sort", up ? "ascending" : "descending");
    const body = table.tBodies[0];
    const rows = [...body.rows].map((row) => [value(row, column), row]);
    rows.sort(([a], [b]) => (up ? compare(a, b) : compare(b, a)));
    body.append(...rows.map(([, row]) => row));
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

  const counted = (count, one, more) => `${count} ${count === 1 ? one : more}`;
  const words = (field) => field.value.toLowerCase().split(/\s+/).filter(Boolean);
  const filter = byId("flow-filter");
  const dropped = byId("flow-dropped");
  const flows = [...byId("flow-table").tBodies[0].rows];
  const texts = new Map(flows.map((row) => [row, row.textContent.toLowerCase()]));
  function filterFlows() {
    const wanted = words(filter);
    let shown = 0;
    for (const row of flows) {
      const keep = wanted.every((word) => texts.get(row).includes(word)) &&
        (!dropped.checked || row.classList.contains("dropped"));
      row.hidden = !keep;
      row.style.display = keep ? "" : "none";
      shown += keep;
    }
    byId("flow-count").textContent = `${shown} of ${counted(flows.length, "flow", "flows")}`;
  }
  filter.addEventListener("input", filterFlows);
  dropped.addEventListener("change", filterFlows);
  filterFlows();

  // Boxes by number of their entity. An entity may be in several services.
  const services = [...document.querySelectorAll(".service")];
  const boxes = services.map((service) => new Map(
    [...service.querySelectorAll("svg a")].map((box) => [box.getAttribute("href").slice(2), box])));
  const search = byId("graph-search");
  if (search) {
    const status = byId("graph-path");
    const clear = byId("graph-clear");
    const numbers = (text) => (text ? text.split(" ") : []);

    const unmark = () => {
      for (const one of document.querySelectorAll(".service .walked, .service .decides, .service.decides"))
        one.classList.remove("walked", "decides");
      status.textContent = "";
      clear.hidden = true;
    };

    // The service with most of the path; the entities that decide are marked wherever they are.
    const show = (path, deciding, sentence) => {
      unmark();
      const all = new Set([...path, ...deciding]);
      let best = 0;
      let most = -1;
      boxes.forEach((of, i) => {
        const count = [...all].filter((number) => of.has(number)).length;
        if (count > most) [best, most] = [i, count];
        for (const number of deciding) {
          of.get(number)?.classList.add("decides");
          if (of.has(number)) services[i].classList.add("decides");
        }
      });
      const service = services[best];
      path.forEach((number) => boxes[best].get(number)?.classList.add("walked"));
      const steps = new Set(path.slice(1).flatMap((to, i) => [`${path[i]}-${to}`, `${to}-${path[i]}`]));
      for (const line of service.querySelectorAll("path"))
        line.classList.toggle("walked", steps.has(line.dataset.e));
      service.hidden = false;
      service.open = true;
      status.textContent = sentence;
      clear.hidden = false;
      byId("graph").scrollIntoView();
      const last = boxes[best].get(deciding[0] ?? path[path.length - 1]) ?? service;
      last.scrollIntoView({ block: "nearest", inline: "nearest" });
    };
    clear.addEventListener("click", unmark);

    const name = (number) => byId(`e${number}`)?.closest("details").querySelector("summary").textContent.split(":")[0] +
      " " + byId(`e${number}`)?.cells[0].textContent.trim();
    const addButton = (to, action) => {
      const button = document.createElement("button");
      button.type = "button";
      button.className = "path";
      button.textContent = "show path";
      button.addEventListener("click", action);
      to.append(" ", button);
    };
    const showDrop = (drop) =>
      show(numbers(drop.dataset.path), numbers(drop.dataset.deciding), drop.querySelector("h3").textContent);
    for (const drop of document.querySelectorAll("article.drop"))
      addButton(drop.querySelector("p"), () => showDrop(drop));
    const outcomes = { "flow-table": 9, "rule-table": 7 };
    for (const [table, column] of Object.entries(outcomes)) {
      for (const row of byId(table)?.tBodies[0].rows ?? []) {
        const path = numbers(row.dataset.path);
        const drop = row.dataset.drop ? byId(`d${row.dataset.drop}`) : null;
        if (drop) addButton(row.cells[column], () => showDrop(drop));
        else if (path.length > 1)
          addButton(row.cells[column], () => show(path, [], `The frames take this path: ${path.map(name).join(" > ")}.`));
      }
    }

    // Text of 13 px and above: the smallest zoom keeps it above 11.
    let zoom = 1;
    const setZoom = (to) => {
      zoom = Math.min(3, Math.max(0.93, to));
      for (const svg of document.querySelectorAll(".draw svg")) {
        const [, , width, height] = svg.getAttribute("viewBox").split(" ");
        svg.setAttribute("width", width * zoom);
        svg.setAttribute("height", height * zoom);
      }
    };
    byId("zoom-in").addEventListener("click", () => setZoom(zoom * 1.25));
    byId("zoom-out").addEventListener("click", () => setZoom(zoom / 1.25));
    byId("open-all").addEventListener("click", () => services.forEach((one) => { one.open = true; }));
    byId("close-all").addEventListener("click", () => services.forEach((one) => { one.open = false; }));

    for (const draw of document.querySelectorAll(".draw")) {
      draw.addEventListener("pointerdown", (down) => {
        if (down.pointerType !== "mouse" || down.button !== 0) return;
        let [x, y] = [down.clientX, down.clientY];
        const move = (event) => {
          draw.scrollLeft -= event.clientX - x;
          scrollBy(0, y - event.clientY);
          [x, y] = [event.clientX, event.clientY];
        };
        const stop = () => draw.removeEventListener("pointermove", move);
        draw.addEventListener("pointermove", move);
        for (const end of ["pointerup", "pointerleave", "pointercancel"])
          draw.addEventListener(end, stop, { once: true });
      });
      draw.addEventListener("dragstart", (event) => event.preventDefault());
    }

    const boxTexts = boxes.map((of) => [...of.values()].map((box) => [box, box.textContent.toLowerCase()]));
    const titles = services.map((one) => one.querySelector("summary").textContent.toLowerCase());
    search.addEventListener("input", () => {
      const wanted = words(search);
      let hits = 0;
      let groups = 0;
      services.forEach((service, i) => {
        let own = 0;
        for (const [box, text] of boxTexts[i]) {
          const hit = wanted.length > 0 && wanted.every((word) => text.includes(word));
          box.classList.toggle("hit", hit);
          own += hit;
        }
        const keep = wanted.length === 0 || own > 0 || wanted.every((word) => titles[i].includes(word));
        service.hidden = !keep;
        groups += keep;
        hits += own;
        if (own > 0 && groups <= 5) service.open = true;
      });
      status.textContent = wanted.length ? `${counted(hits, "box", "boxes")} in ${counted(groups, "service", "services")}` : "";
    });
  }

  // Print what a click would open, except drawings of a line with many services. Table heads repeat
  // on each page, without buttons.
  const heads = [...document.querySelectorAll("th button")].map((button) => [button.parentElement, button]);
  addEventListener("beforeprint", () => {
    document.querySelectorAll("details:not(.service, .dump)").forEach((one) => { one.open = true; });
    if (services.length <= 20) services.forEach((one) => { one.open = true; });
    for (const [head, button] of heads) head.replaceChildren(button.textContent);
  });
  addEventListener("afterprint", () => {
    for (const [head, button] of heads) head.replaceChildren(button);
  });
})();
