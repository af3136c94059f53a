// The style sheet of a page, for a screen and for A4 paper.
#pragma once

#include <string_view>

namespace ruvex {

inline constexpr std::string_view page_style = R"(
:root { --ink: #1c2733; --soft: #647282; --line: #d9e0e7; --faint: #f5f7f9; }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 2.5rem 2rem 4rem; max-width: 62rem; background: #fff; color: var(--ink);
  font: 14px/1.45 "Inter", "Segoe UI", "Helvetica Neue", Arial, "Liberation Sans", sans-serif;
  font-variant-numeric: tabular-nums; -webkit-print-color-adjust: exact; print-color-adjust: exact; }
h1 { margin: 0; font-size: 1.9rem; line-height: 1.2; letter-spacing: -.01em; overflow-wrap: anywhere; }
h2 { margin: 0; padding-top: .5rem; font-size: 1.35rem; border-top: 2px solid var(--ink); }
h2 small, .sums { color: var(--soft); font-weight: 400; font-size: 1rem; }
h3 { margin: 1.4rem 0 .4rem; font-size: .95rem; font-weight: 600; break-after: avoid; }
h3::first-letter { text-transform: uppercase; }
h3 small { color: var(--soft); font-weight: 400; }
section { margin-top: 2.6rem; }
.sums { margin: .3rem 0 1.6rem; }
a { color: inherit; }
table { width: 100%; margin-top: .9rem; border-collapse: collapse; font-size: .86rem; }
thead { display: table-header-group; }
th { padding: .3rem .7rem .3rem 0; text-align: left; vertical-align: bottom; color: var(--soft);
  font-weight: 600; border-bottom: 1px solid var(--ink); }
td { padding: .34rem .7rem .34rem 0; vertical-align: top; border-bottom: 1px solid var(--line);
  overflow-wrap: anywhere; }
td small, th small { display: block; color: var(--soft); font-weight: 400; }
.points { table-layout: fixed; }
.points th:nth-child(1) { width: 10%; }
.points th:nth-child(2) { width: 24%; }
.points th:nth-child(3) { width: 15%; }
.points th:nth-child(4) { width: 12%; }
.points th:nth-child(5) { width: 20%; }
td:last-child, th:last-child { padding-right: 0; }
tr { break-inside: avoid; }
tr.marked td { border-bottom: 0; break-after: avoid; }
tr.told { break-before: avoid; }
tr.told td { padding-top: 0; }
tr:target { background: #fff6d6; }
.overview { columns: 17rem; column-gap: 2rem; margin: 1.4rem 0; padding: 0; list-style: none; }
.overview li { padding: .12rem 0; break-inside: avoid; }
.overview small { color: var(--soft); }
.code { font-family: "SFMono-Regular", Consolas, "DejaVu Sans Mono", "Liberation Mono", monospace;
  white-space: nowrap; }
ul.found { margin: 0; padding: 0; list-style: none; font-size: .86rem; }
ul.found li { margin: .15rem 0; padding: .25rem .6rem; border-left: 3px solid; overflow-wrap: anywhere;
  break-inside: avoid; }
.found li.error { background: #fdecea; border-left-color: #c62828; }
.found li.warning { background: #fdf5e0; border-left-color: #d99a00; }
.found b { font-weight: 600; }
.found .rule { color: var(--soft); white-space: nowrap; }
.legend { display: flex; flex-wrap: wrap; gap: .3rem 1.2rem; margin: 1.6rem 0 0; padding: 0;
  list-style: none; color: var(--soft); font-size: .82rem; }
.legend svg { width: 1.7em; height: 1em; margin-right: .4em; vertical-align: -.12em; }
svg { display: block; width: 100%; break-inside: avoid; }
.legend svg { display: inline-block; }
svg text { font-size: 11px; text-anchor: middle; fill: var(--ink); }
svg.scale { break-after: avoid; }
svg.scale text, svg .n text { font-size: 10px; fill: #8793a0; }
svg text.ref { text-anchor: end; fill: var(--soft); }
svg path { stroke-width: 1; }
.u { fill: #dbe9fa; stroke: #6f9fd8; }
.s { fill: #d8f0e6; stroke: #5fae8c; }
.f { fill: #e8e0f8; stroke: #977fd0; }
.m { fill: #fdf0d3; stroke: #d3a540; }
.b { fill: #e4ebf1; stroke: #8a9cae; }
.x { fill: #f9d0cc; stroke: #c62828; }
.t { stroke: #8a5a00; }
.o { stroke: #b9c3cd; stroke-width: 2; stroke-dasharray: 1 1; }
.g { fill: none; stroke: #c3ccd5; stroke-dasharray: 2 3; }
.n text { paint-order: stroke; stroke: #fff; stroke-width: 6px; }
a:hover path { stroke-width: 2; }
.gap { margin: .1rem 0; color: #8793a0; font-size: .76rem; text-align: center; }
@page { size: A4; margin: 15mm 14mm; @bottom-right { content: counter(page) " / " counter(pages);
  font: 8pt sans-serif; color: #647282; } }
@media print {
  html { font-size: 12.5px; }
  body { padding: 0; max-width: none; font-size: 12px; }
  section { margin: 0; break-before: page; }
  a { text-decoration: none; }
}
)";

}  // namespace ruvex
