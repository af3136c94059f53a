#include "html_rows.h"

#include <bit>
#include <cstdint>
#include <optional>
#include <string_view>

#include "html/markup.h"
#include "html/register_picture.h"
#include "ruvex/mapping/register_place.h"

namespace ruvex {
namespace {

void append_lower(std::string& out, std::string_view text) {
  std::string lower(text);
  for (char& letter : lower) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  append(out, html_text{lower});
}

void append_mask(std::string& out, std::uint32_t mask) {
  if (std::has_single_bit(mask)) {
    append_all(out, "bit ", std::countr_zero(mask), " of ");
    return;
  }
  out += "mask 0x";
  append_hex(out, mask, static_cast<int>(std::bit_width(mask) + 3) / 4);
  out += " of ";
}

// What a register holds, as people say it: "32-bit signed", with the word order beneath.
void append_value(std::string& out, const point& shown) {
  const chn_cfg& chn = shown.chn;
  if (!shown.is_modbus) return;
  if (is_bit_table(place_of(chn.reg_num.view()).table)) {
    out += "bit";
    return;
  }
  const auto mask = static_cast<std::uint32_t>(decimal_prefix(chn.reg_mask.view()));
  if (mask != 0) append_mask(out, mask);
  const bool is_wide = chn.reg_size == "2";
  out += is_wide ? "32" : "16";
  if (mask == 0) {
    out += "-bit ";
    append_lower(out, chn.reg_format.view());
  }
  if (!is_wide) return;
  const bool is_big = chn.reg_endian == "BIG";
  append_all(out, "<small>", is_big ? "high" : "low", " word first</small>");
}

void append_scale(std::string& out, const chn_cfg& chn) {
  std::string scaling;
  append_scaling(scaling, chn);
  const std::size_t arrow = scaling.find(" -> ");
  if (arrow == std::string::npos) return;
  append_all(out, html_text{std::string_view(scaling).substr(0, arrow)}, "<small>\xE2\x86\x92 ",
             html_text{std::string_view(scaling).substr(arrow + 4)}, "</small>");
}

void append_reference(std::string& out, const point& shown) {
  if (!shown.is_modbus) return;
  append(out, html_text{shown.chn.reg_num.view()});
  const std::optional<std::int32_t> address = wire_address(shown);
  if (address) append_all(out, "<small>", *address, "</small>");
}

void append_object(std::string& out, const chn_cfg& chn) {
  append_all(out, html_text{chn.bac_type.view()}, " ", html_text{chn.instance.view()}, "<small>",
             html_text{chn.bac_units.view()});
  if (!chn.bac_cov_inc.empty()) append_all(out, ", COV ", html_text{chn.bac_cov_inc.view()});
  out += "</small>";
}

void append_channel(std::string& out, const point& shown) {
  const chn_cfg& chn = shown.chn;
  append(out, html_text{chn.chn_type.view()});
  const bool is_written = shown.is_modbus && chn.chn_type.view().starts_with("OUTPUT_");
  if (is_written) {
    append_all(out, "<small>function ", html_text{chn.reg_fcn.view()}, "</small>");
  }
}

}  // namespace

void append_point_head(std::string& out) {
  out +=
      "<table class=\"points\"><thead><tr><th>Reference<small>wire address</small></th>"
      "<th>Name<small>description</small></th><th>Value<small>word order</small></th>"
      "<th>Scaling<small>device \xE2\x86\x92 user</small></th>"
      "<th>Object<small>units</small></th><th>Channel<small>to write</small></th></tr></thead>"
      "<tbody>\n";
}

void append_point_row(std::string& out, const point& shown, std::size_t number, bool is_marked) {
  append_all(out, "<tr id=\"", point_anchor, number, is_marked ? "\" class=\"marked\">" : "\">",
             "<td class=\"code\">");
  append_reference(out, shown);
  append_all(out, "</td><td>", html_text{shown.chn.name.view()}, "<small>",
             html_text{shown.chn.bac_desc.view()}, "</small></td><td>");
  append_value(out, shown);
  out += "</td><td>";
  append_scale(out, shown.chn);
  out += "</td><td>";
  append_object(out, shown.chn);
  out += "</td><td>";
  append_channel(out, shown);
  out += "</td></tr>\n";
}

void begin_told_row(std::string& out) {
  out += "<tr class=\"told\"><td colspan=\"6\"><ul class=\"found\">";
}

void end_told_row(std::string& out) {
  out += "</ul></td></tr>\n";
}

void append_told(std::string& out, const finding& told) {
  const rule_row& row = row_of(told.id);
  const std::string_view level = row.level == severity::error ? "error" : "warning";
  append_all(out, "<li class=\"", level, "\"><b>Line ", told.line, ", ", level, ":</b> ",
             html_text{text_of(told)}, " <span class=\"rule\">[", row.name, "]</span></li>");
}

}  // namespace ruvex
