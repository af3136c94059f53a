// The style sheet of the record of a commissioning, beside that of each page.
#pragma once

#include <string_view>

namespace ruvex {

inline constexpr std::string_view record_style = R"(
.facts { width: auto; }
.facts td { padding-right: 2rem; border-bottom: 0; }
.facts td:first-child { color: var(--soft); white-space: nowrap; }
.units { width: auto; min-width: 60%; }
.units th, .units td { padding-right: 1.6rem; text-align: right; }
.units th:first-child, .units td:first-child { text-align: left; }
.readings { table-layout: fixed; }
.readings .reference { width: 10.5%; }
.readings .name { width: 42%; }
.readings .value { width: 23%; }
.readings .unit { display: none; }
.readings .unit th { border-bottom: 0; }
tr.failed td { background: #fdecea; }
.readings tr.failed td:last-child, .readings td b { font-weight: 600; }
@media print {
  .readings .unit { display: table-row; }
  .readings td { padding-top: .2rem; padding-bottom: .2rem; }
}
.sign { display: grid; grid-template-columns: 1fr 1fr; gap: 1.2rem 2.5rem; break-inside: avoid; }
.sign p { margin: 2.6rem 0 0; padding-top: .2rem; border-top: 1px solid var(--ink);
  color: var(--soft); font-size: .86rem; }
.remarks div { height: 2.2rem; border-bottom: 1px solid var(--line); }
)";

}  // namespace ruvex
