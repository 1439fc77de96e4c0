// SPDX-License-Identifier: Apache-2.0
// Sorts and filters the table of modules. Without it the page is complete.
"use strict";
(() => {
  const table = document.querySelector(".records");
  if (!table) return;
  const body = table.tBodies[0];
  const rows = [...body.rows];
  const heads = [...table.tHead.rows[0].cells];
  const collator = new Intl.Collator("en", { numeric: true });
  const numeric = new Set([6, 8]);
  const texts = new Map();

  const make = (tag, properties = {}, ...children) => {
    const element = Object.assign(document.createElement(tag), properties);
    element.append(...children);
    return element;
  };
  const verdictOf = row => row.cells[1].firstChild.data;
  const textOf = row => {
    if (!texts.has(row)) texts.set(row, [...row.cells].map(cell => cell.textContent).join("\n").toLowerCase());
    return texts.get(row);
  };

  // Sorting: a button in each head of a column.
  const keyOf = (row, column) => {
    const cell = row.cells[column];
    if (!numeric.has(column)) return cell.textContent;
    const text = cell.firstChild instanceof Text ? cell.firstChild.data : "";
    return text === "" ? -1 : Number(text.replace(/[^0-9.]/g, ""));
  };
  const sortBy = (column, descending) => {
    const keyed = rows.map((row, index) => ({ row, index, key: keyOf(row, column) }));
    const compare = numeric.has(column) ? (a, b) => a.key - b.key : (a, b) => collator.compare(a.key, b.key);
    keyed.sort((a, b) => (descending ? -compare(a, b) : compare(a, b)) || a.index - b.index);
    body.append(...keyed.map(entry => entry.row));
  };
  heads.forEach((head, column) => {
    const button = make("button", { type: "button", textContent: head.textContent });
    button.addEventListener("click", () => {
      const descending = head.getAttribute("aria-sort") === "ascending";
      heads.forEach(other => other.removeAttribute("aria-sort"));
      head.setAttribute("aria-sort", descending ? "descending" : "ascending");
      sortBy(column, descending);
    });
    head.replaceChildren(button);
  });

  // Filters: a text, and a box for each verdict that there is.
  const verdicts = new Map();
  for (const row of rows) verdicts.set(verdictOf(row), (verdicts.get(verdictOf(row)) || 0) + 1);
  const search = make("input", { type: "search", placeholder: "Module, host, file, error \u2026", autocomplete: "off" });
  search.setAttribute("aria-label", "Show only modules with this text");
  const boxes = [...verdicts].map(([verdict, count]) => {
    const box = make("input", { type: "checkbox", checked: true, value: verdict });
    return { box, label: make("label", {}, box, `${verdict} (${count})`) };
  });
  const shown = make("output");
  const clear = make("button", { type: "button", textContent: "Show all", hidden: true });
  const filter = () => {
    const words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    const wanted = new Set(boxes.filter(({ box }) => box.checked).map(({ box }) => box.value));
    let count = 0;
    for (const row of rows) {
      const fits = wanted.has(verdictOf(row)) && words.every(word => textOf(row).includes(word));
      row.hidden = !fits;
      if (fits) ++count;
    }
    shown.value = count === rows.length ? `${count} shown` : `${count} of ${rows.length} shown`;
    clear.hidden = count === rows.length;
  };
  const showAll = () => {
    search.value = "";
    boxes.forEach(({ box }) => { box.checked = true; });
    filter();
  };
  search.addEventListener("input", filter);
  boxes.forEach(({ box }) => box.addEventListener("change", filter));
  clear.addEventListener("click", () => { showAll(); search.focus(); });

  const choice = make("fieldset", {}, make("legend", { textContent: "Verdicts to show" }), ...boxes.map(({ label }) => label));
  const tools = make("div", { className: "tools" }, search, choice, shown, clear);
  table.parentElement.before(tools);
  filter();

  // A link to a module that is filtered out shows it again.
  const reveal = () => {
    const target = document.getElementById(location.hash.slice(1));
    if (target && target.hidden) { showAll(); target.scrollIntoView(); }
  };
  addEventListener("hashchange", reveal);
  document.addEventListener("click", event => {
    const link = event.target.closest("a");
    if (link && link.hash === location.hash) reveal();
  });
})();
