#include "host/html/style.h"

const char* const report_style_sheet = R"css(
:root {
  color-scheme: light dark;
  --page: #f6f7f9; --card: #ffffff; --text: #1d2227; --muted: #5a6470; --line: #dfe3e8; --soft: #eef1f5;
  --accent: #2d5f8f; --files: #4a7fb0;
  --good: #2a7549; --good-soft: #e8f4ec; --warn: #8a5d00; --warn-soft: #fbf2dd; --bad: #b02a20; --bad-soft: #fbeae8;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #14171b; --card: #1b1f25; --text: #e3e7ec; --muted: #9ba6b3; --line: #2e353e; --soft: #232931;
    --accent: #86b6e4; --files: #6b9fd0;
    --good: #7cc798; --good-soft: #1b2c22; --warn: #e2b75a; --warn-soft: #2e2716; --bad: #f19389; --bad-soft: #351f1d;
  }
}
* { box-sizing: border-box; }
[hidden] { display: none !important; }
body {
  margin: 0; padding: 2.5rem 1.5rem 3rem; background: var(--page); color: var(--text);
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Helvetica Neue", Arial, sans-serif;
  font-variant-numeric: tabular-nums;
}
main, header, footer { max-width: 70rem; margin: 0 auto; }
h1 { margin: 0; font-size: 1.75rem; line-height: 1.2; font-weight: 650; letter-spacing: -0.01em; }
h2 { margin: 0 0 0.75rem; font-size: 1.1rem; font-weight: 650; }
h3 { margin: 1.5rem 0 0.5rem; font-size: 0.95rem; font-weight: 650; }
p { margin: 0 0 0.75rem; }
a { color: var(--accent); text-underline-offset: 0.15em; }
code, .mono { font-family: ui-monospace, SFMono-Regular, Menlo, Consolas, "Liberation Mono", monospace; font-size: 0.87em; }
bdi { overflow-wrap: break-word; }
.lead { margin: 0.35rem 0 1.5rem; color: var(--muted); }
.muted { color: var(--muted); }
section > :last-child { margin-bottom: 0; }
section { margin-top: 1.25rem; padding: 1.25rem 1.5rem 1.5rem; background: var(--card); border: 1px solid var(--line); border-radius: 10px; }
footer { margin-top: 1.5rem; color: var(--muted); font-size: 0.87rem; }
.notice { margin: 0.75rem 0; padding: 0.7rem 1rem; border-radius: 8px; border: 1px solid; }
.notice.good { color: var(--good); background: var(--good-soft); }
.notice.warn { color: var(--warn); background: var(--warn-soft); }
.notice.bad { color: var(--bad); background: var(--bad-soft); }
.facts { display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: 0.3rem 1.5rem; margin: 0; }
.facts dt { color: var(--muted); }
header .facts { margin-bottom: 1.25rem; }
.facts dd { margin: 0; overflow-wrap: break-word; }
.totals { margin: 1rem 0; font-size: 1.05rem; font-weight: 600; }
.contents { columns: 14rem; margin: 0; padding: 0; list-style: none; }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(7.2rem, 1fr)); gap: 0.75rem; margin: 1.25rem 0; padding: 0; list-style: none; }
.tiles li { padding: 0.8rem 0.9rem; background: var(--card); border: 1px solid var(--line); border-radius: 10px; }
.tiles .label { display: block; color: var(--muted); font-size: 0.83rem; }
.tiles .figure { display: block; font-size: 1.5rem; line-height: 1.35; font-weight: 600; letter-spacing: -0.01em; }
.tiles .more { display: block; color: var(--muted); font-size: 0.78rem; }
.tiles .bad .figure { color: var(--bad); }
.tiles .good .figure { color: var(--good); }
.scroll { overflow-x: auto; }
table { width: 100%; border-collapse: collapse; }
th, td { padding: 0.4rem 0.6rem; border-bottom: 1px solid var(--line); text-align: left; vertical-align: top; }
thead th { color: var(--muted); font-size: 0.83rem; font-weight: 600; white-space: nowrap; }
th:first-child, td:first-child { padding-left: 0.25rem; }
.num { text-align: right; white-space: nowrap; }
.nowrap { white-space: nowrap; }
.completeness td:nth-child(3) { min-width: 12rem; }
.accounts td { font-size: 0.92rem; }
.accounts td:first-child { min-width: 13rem; }
.accounts td:last-child { min-width: 22.5rem; }
details.user > summary, details.findings > summary { padding: 0.4rem 0; font-weight: 600; cursor: pointer; }
details.account { margin: 0.4rem 0; padding: 0.4rem 0.75rem; border: 1px solid var(--line); border-radius: 8px; }
details.account summary { cursor: pointer; font-weight: 600; overflow-wrap: break-word; }
details.account .facts { margin: 0.6rem 0; }
.status { white-space: nowrap; font-weight: 600; }
.status.missing, .status.different, .status.changed, .status.unreadable { color: var(--bad); }
.status.loose, .status.link, .status.special { color: var(--warn); }
.status.copied { color: var(--good); }
.picture { display: block; width: 100%; min-width: 40rem; height: auto; }
.picture text { fill: var(--text); font-size: 13px; }
.picture text.user { font-weight: 650; }
.picture text.head, .picture text.value { fill: var(--muted); font-size: 12px; }
.picture .files { fill: var(--files); }
.page-foot { display: none; }
.hashes dd { font-family: ui-monospace, SFMono-Regular, Menlo, Consolas, "Liberation Mono", monospace; font-size: 0.87em; }
.declared { margin: 1rem 0; }
.lines { display: grid; grid-template-columns: max-content minmax(0, 24rem); gap: 1.6rem 1rem; margin: 2rem 0 0; }
.lines dd { margin: 0; border-bottom: 1px solid var(--muted); }
.log { margin: 0; padding: 0; list-style: none; }
.log li { padding: 0.35rem 0.25rem; border-bottom: 1px solid var(--line); }
.filter { width: 16rem; max-width: 100%; margin: 0 0 0.75rem; padding: 0.4rem 0.7rem; font: inherit; color: inherit; background: var(--page); border: 1px solid var(--line); border-radius: 8px; }
th.sortable { cursor: pointer; }
th[aria-sort="ascending"]::after { content: " \2191"; }
th[aria-sort="descending"]::after { content: " \2193"; }
@media (min-width: 60rem) {
  .scroll { overflow-x: visible; }
  thead th { position: sticky; top: 0; background: var(--card); }
}
@media (max-width: 40rem) {
  body { padding: 1.25rem 0.75rem 2rem; }
  section { padding: 1rem; }
  .facts { grid-template-columns: minmax(0, 1fr); gap: 0; }
  .facts dd { margin-bottom: 0.5rem; }
}
@media screen and (max-width: 30rem) {
  table, tbody, tr, tbody th, td { display: block; width: auto; }
  thead { display: none; }
  tr { margin: 0 0 0.75rem; border: 1px solid var(--line); border-radius: 8px; }
  .accounts td:first-child, .accounts td:last-child, .completeness td:nth-child(3) { min-width: 0; }
  td, td.num, td:first-child, tbody th { padding: 0.3rem 0.6rem; border: 0; text-align: left; white-space: normal; }
  td[data-label]::before { content: attr(data-label) ": "; color: var(--muted); font-weight: 400; }
}
@media print {
  :root {
    color-scheme: light;
    --page: #ffffff; --card: #ffffff; --text: #000000; --muted: #444444; --line: #bbbbbb; --soft: #f0f0f0;
    --accent: #000000; --files: #4a7fb0;
    --good: #1c5a36; --good-soft: #ffffff; --warn: #6a4700; --warn-soft: #ffffff; --bad: #8c1d15; --bad-soft: #ffffff;
  }
  @page {
    margin: 15mm;
    @bottom-right { content: "Page " counter(page) " of " counter(pages); font: 8pt sans-serif; }
  }
  body { display: table; width: 100%; table-layout: fixed; padding: 0; font-size: 10pt; }
  .page-foot { display: table-footer-group; break-inside: avoid; font-size: 7.5pt; }
  .page-foot div { margin-top: 3mm; padding-top: 1.5mm; border-top: 1px solid var(--line); overflow-wrap: break-word; }
  #declaration, table.whole { break-inside: avoid; }
  section { padding: 0.75rem 0; border: 0; border-top: 1px solid var(--line); border-radius: 0; }
  .scroll { overflow: visible; }
  th, td { padding: 0.3rem 0.35rem; }
  .accounts th, .accounts td { padding: 0.1rem 0.35rem; font-size: 7.5pt; }
  .accounts td:first-child { min-width: 11rem; }
  .accounts td:last-child { min-width: 14rem; }
  .tiles { grid-template-columns: repeat(8, 1fr); gap: 0.4rem; }
  .tiles li { padding: 0.5rem; }
  .tiles .figure { font-size: 1.1rem; }
  .tiles .label, .tiles .more { font-size: 7.5pt; }
  .account .facts { grid-template-columns: max-content minmax(0, 1fr) max-content minmax(0, 1fr); gap: 0.1rem 0.75rem; font-size: 8pt; }
  .account table { font-size: 8pt; }
  details.account { margin: 0; padding: 1.5pt 4pt; border-width: 0 0 1px; border-radius: 0; font-size: 8.5pt; }
  .many details.user:has(> details.account) { columns: 2; column-gap: 1.5rem; }
  .many details.account { padding: 1pt 0; font-size: 7.5pt; }
  .completeness td { font-size: 8pt; }
  .filter { display: none; }
  .picture { min-width: 0; }
  .picture rect { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  thead { display: table-header-group; }
  thead th { position: static; }
  details:not(.account)::details-content { display: block; content-visibility: visible; }
  tr, .tiles li, .notice, .log li, details.account { break-inside: avoid; }
  h2, h3 { break-after: avoid; }
}
)css";

const char* const report_script = R"js(
"use strict";
addEventListener("beforeprint", function () {
  // Whole cards of very many accounts would be a heap of paper that nobody reads: they print one line each.
  var many = document.querySelectorAll("details.account").length > 60;
  document.body.classList.toggle("many", many);
  document.querySelectorAll("details").forEach(function (part) {
    part.open = part.open || !many || !part.classList.contains("account");
  });
});
// The same name may be written with composed or with decomposed letters.
function plain(text) {
  return text.normalize("NFC").toLowerCase();
}
function sort_key(row, column) {
  var cell = row.cells[column];
  return cell.dataset.key === undefined ? cell.textContent : Number(cell.dataset.key);
}
function compare(a, b) {
  return typeof a === "number" ? a - b : a.localeCompare(b);
}
// What holds nothing that is wanted is hidden; what folds is open as long as something is wanted.
function show_wanted(part, wanted) {
  // An account's card is one thing, whatever tables it holds.
  var rows = Array.from(part.querySelectorAll("tbody tr")).filter(function (row) {
    return row.closest("details.account") === null;
  });
  var folded = Array.from(part.querySelectorAll("details"));
  rows.forEach(function (row) { row.hidden = true; });
  folded.forEach(function (one) { one.hidden = true; });
  rows.concat(folded).forEach(function (one) {
    var text = one.textContent;
    for (var up = one.parentElement; up !== part; up = up.parentElement) {
      text += up.matches("details") ? " " + up.querySelector("summary").textContent : "";
    }
    if (!plain(text).includes(wanted)) { return; }
    for (var shown = one; shown !== part; shown = shown.parentElement) {
      shown.hidden = false;
      if (shown !== one) {
        if (shown.matches("details")) { shown.open = shown.open || wanted !== ""; }
      }
    }
  });
}
Array.from(document.querySelectorAll("[data-filter], table[data-tool]")).filter(function (part) {
  return part.parentElement.closest("[data-filter]") === null;
}).forEach(function (part) {
  var box = document.createElement("input");
  var folded = Array.from(part.querySelectorAll("details"));
  var before = null;
  box.type = "search";
  box.className = "filter";
  box.placeholder = "Filter";
  box.setAttribute("aria-label", "Filter");
  box.addEventListener("input", function () {
    var wanted = plain(box.value.trim());
    if (before === null) { before = folded.map(function (one) { return one.open; }); }
    show_wanted(part, wanted);
    if (wanted === "") {
      folded.forEach(function (one, i) { one.open = before[i]; });
      before = null;
    }
  });
  (part.matches("table") ? part.parentElement : part).before(box);
});
document.querySelectorAll("table[data-tool]").forEach(function (table) {
  var bodies = Array.from(table.tBodies);
  var heads = Array.from(table.tHead.rows[0].cells);
  heads.forEach(function (head, column) {
    head.classList.add("sortable");
    head.tabIndex = 0;
    function sort() {
      var down = head.getAttribute("aria-sort") === "ascending";
      heads.forEach(function (other) { other.removeAttribute("aria-sort"); });
      head.setAttribute("aria-sort", down ? "descending" : "ascending");
      bodies.forEach(function (body) {
        Array.from(body.rows)
          .sort(function (a, b) { return (down ? -1 : 1) * compare(sort_key(a, column), sort_key(b, column)); })
          .forEach(function (row) { body.appendChild(row); });
      });
    }
    head.addEventListener("click", sort);
    head.addEventListener("keydown", function (event) { if (event.key === "Enter") { sort(); } });
  });
});
)js";
