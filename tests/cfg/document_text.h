// A configuration as one line of text, to be compared and shown.
#pragma once

#include <array>
#include <string>

#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/fields.h"

namespace ruvex {

// The settings that differ from `base`, as "tag='text' tag='text'".
template <class Record, std::size_t Count>
void add_settings(std::string& text, const Record& record, const Record& base,
                  const std::array<field<Record>, Count>& rows) {
  for (const auto& row : rows) {
    if (row.view(record).view() == row.view(base).view()) continue;
    if (!text.empty() && text.back() == '\'') text += ' ';
    text.append(tag_text(row.tag)).append("='").append(row.view(record).view()) += '\'';
  }
}

// A whole list; links and counts that are wrong show as "!prev" and "!count".
template <class Record, class Add>
void add_list(std::string& text, const Record* head, int count, Add add) {
  const Record* previous = nullptr;
  for (const Record* at = head; at != nullptr; previous = at, at = at->next, --count) {
    if (at->prev != previous) text += "!prev";
    add(*at);
  }
  if (count != 0) text += "!count";
}

inline void add_channel(std::string& text, const chn_cfg& chn) {
  text += '[';
  add_settings(text, chn, {}, chn_attributes);
  add_settings(text, chn, {}, written_chn_elements);
  text += ']';
}

// The settings that are not empty, as "{name='u' address='1'[name='c' reg_num='5'][...]}".
inline void add_unit(std::string& text, const unit_cfg& unit) {
  text += '{';
  add_settings(text, unit, {}, unit_attributes);
  add_list(text, unit.chn_list, unit.chn_count,
           [&text](const chn_cfg& chn) { add_channel(text, chn); });
  text += '}';
}

// The settings of the document that differ from `base`, and all its units.
inline std::string document_text(const yax_cfg& doc, const yax_cfg& base = {}) {
  std::string text;
  add_settings(text, doc, base, doc_attributes);
  add_settings(text, doc, base, doc_elements);
  add_list(text, doc.unit_list, doc.unit_count,
           [&text](const unit_cfg& unit) { add_unit(text, unit); });
  return text;
}

// What is not by default, and all units.
inline std::string changes_text(const yax_cfg& doc) {
  yax_cfg base = {};
  init_yax_cfg(&base);
  return document_text(doc, base);
}

}  // namespace ruvex
