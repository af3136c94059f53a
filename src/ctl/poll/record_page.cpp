#include "record_page.h"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "bus/point_view.h"
#include "points/html/markup.h"
#include "points/html/page_frame.h"
#include "points/html/register_picture.h"
#include "poll_columns.h"
#include "record_style.h"
#include "ruvex/cfg/tables.h"
#include "version.h"

namespace ruvex {
namespace {

constexpr std::string_view record_anchor = "u";  // of a unit, before the number of its first point
constexpr std::string_view failed_row = "<tr class=\"failed\">";

constexpr std::string_view style_read = "s";
constexpr std::string_view style_failed = "x";
constexpr std::string_view style_skipped = "b";

constexpr legend_entry result_legend[] = {
    {style_read, "read"},
    {style_failed, "not read, or not as expected"},
    {style_skipped, "not asked"},
};

std::string_view style_of(read_status status) noexcept {
  if (status == read_status::ok) return style_read;
  return status == read_status::skipped ? style_skipped : style_failed;
}

// How bad a result is, beside others at the same address.
int badness(read_status status) noexcept {
  if (status == read_status::ok) return 1;
  return status == read_status::skipped ? 0 : 2;
}

struct result_counts {
  std::size_t points = 0, read = 0, differing = 0, skipped = 0;

  std::size_t failed() const noexcept { return points - read - skipped; }

  void add(read_status status) noexcept {
    ++points;
    read += status == read_status::ok || status == read_status::differs ? 1 : 0;
    differing += status == read_status::differs ? 1 : 0;
    skipped += status == read_status::skipped ? 1 : 0;
  }
};

void append_counts(std::string& out, const result_counts& counts) {
  append_count(out, counts.points, "point");
  append_all(out, ", ", counts.read, " read");
  if (counts.failed() != 0) append_all(out, ", ", counts.failed(), " failed");
  if (counts.differing != 0) append_all(out, ", ", counts.differing, " not as expected");
  if (counts.skipped != 0) append_all(out, ", ", counts.skipped, " not asked");
}

std::string time_text(std::chrono::sys_seconds time) {
  const std::time_t seconds = time.time_since_epoch().count();
  std::tm parts = {};
  char text[40];
  ::gmtime_r(&seconds, &parts);
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts)};
}

// Each page of paper tells of which record it is.
std::string record_style_of(std::string_view begun) {
  return message(record_style, "@page { @bottom-left { content: \"Commissioning record, ", begun,
                 "\"; font: 8pt sans-serif; color: #647282; } }\n");
}

std::string line_text(const transport_settings& transport) {
  const tcp_place& via = transport.via;
  if (!via.host.empty()) return message("through the gateway ", via.host, ":", via.service);
  if (transport.serial.empty()) return {};
  const ser_format& format = transport.format;
  return message(transport.serial, ", ", format.baud, ",", format.data_bits,
                 std::string(1, format.parity), format.stop_bits, ", ",
                 enum_to_str(chk_protocol, transport.protocol));
}

class record_page {
 public:
  record_page(const poll_record& told, output& out)
      : told_(told),
        result_(told.result),
        out_(out),
        hints_(hints_of(told.result)),
        parts_(parts_of(told)) {}

  void print() {
    append_page_start(text_, "Commissioning record", record_style_of(time_text(told_.begun)));
    print_head();
    if (parts_.size() > 1) print_overview();
    append_legend(text_, result_legend);
    for (const unit_part& part : parts_) print_unit(part);
    print_end();
  }

 private:
  using rows = std::span<const poll_row>;

  struct unit_part {
    const unit_cfg* unit;
    std::size_t first;  // the number of the unit's first point
    rows list;
  };

  static std::vector<unit_part> parts_of(const poll_record& told) {
    std::vector<unit_part> parts;
    std::size_t first = 0;
    auto from = told.result.rows.begin();
    for (const unit_cfg* unit = told.doc.unit_list; unit != nullptr; unit = unit->next) {
      const auto end = std::find_if(from, told.result.rows.end(),
                                    [unit](const auto& row) { return row.unit != unit; });
      if (from != end) parts.push_back({unit, first, {from, end}});
      for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) ++first;
      from = end;
    }
    return parts;
  }

  void put() { out_.put(std::exchange(text_, {})); }

  read_status status(const poll_row& row) const noexcept {
    return result_.readings[row.number].status;
  }

  result_counts count(rows list) const noexcept {
    result_counts counts;
    for (const poll_row& row : list) counts.add(status(row));
    return counts;
  }

  void fact(std::string_view name, std::string_view value) {
    if (value.empty()) return;
    append_all(text_, "<tr><td>", name, "</td><td>", html_text{value}, "</td></tr>\n");
  }

  void print_head() {
    const transport_settings& transport = told_.transport;
    text_ += "<p class=\"sums\">";
    append_counts(text_, count(result_.rows));
    if (told_.is_interrupted) text_ += "; the run was interrupted";
    text_ += "</p>\n<table class=\"facts\"><tbody>\n";
    fact("List", result_.path);
    fact("Begun", time_text(told_.begun));
    fact("Program", message("ruvexctl ", project_version));
    fact("Serial line", line_text(transport));
    fact("Modbus/TCP", message("port ", transport.service));
    const std::string_view retries = transport.retries == 1 ? " retry" : " retries";
    fact("Time-out", message(transport.timeout_ms, " ms, ", transport.retries, retries));
    fact("Expected", told_.expected_path);
    text_ += "</tbody></table>\n";
    print_hints_of(nullptr);
  }

  // A row for each unit; what is 0 there stays blank, so that the rest is seen.
  void print_overview() {
    text_ +=
        "<table class=\"units\"><thead><tr><th>Unit</th><th>Points</th><th>Read</th>"
        "<th>Failed</th><th>Not as expected</th><th>Not asked</th></tr></thead><tbody>\n";
    for (const unit_part& part : parts_) {
      const result_counts counts = count(part.list);
      append_all(text_, counts.read == counts.points && counts.differing == 0 ? "<tr>" : failed_row,
                 "<td><a href=\"#", record_anchor, part.first, "\">");
      append_called(*part.unit);
      text_ += "</a></td>";
      for (const std::size_t number :
           {counts.points, counts.read, counts.failed(), counts.differing, counts.skipped}) {
        text_ += "<td>";
        if (number != 0) append(text_, number);
        text_ += "</td>";
      }
      text_ += "</tr>\n";
      put();
    }
    text_ += "</tbody></table>\n";
  }

  void append_called(const unit_cfg& unit) {
    std::string name;
    append_unit(name, unit);
    append_all(text_, "Unit ", html_text{name});
  }

  // Those of the serial line where `unit` is null.
  void print_hints_of(const unit_cfg* unit) {
    const auto is_of = [unit](const poll_hint& hint) {
      return (hint.unit == nullptr ? nullptr : hint.unit->unit) == unit;
    };
    if (!std::ranges::any_of(hints_, is_of)) return;
    text_ += "<ul class=\"found\">";
    for (const poll_hint& hint : hints_) {
      if (!is_of(hint)) continue;
      append_all(text_, "<li class=\"warning\"><b>Hint:</b> ", html_text{hint.text}, "</li>");
    }
    text_ += "</ul>\n";
  }

  void print_unit(const unit_part& part) {
    append_all(text_, "<section id=\"", record_anchor, part.first, "\">\n<h2>");
    append_called(*part.unit);
    append_all(text_, " <small>", html_text{part.unit->name.view()}, "; ");
    append_counts(text_, count(part.list));
    text_ += "</small></h2>\n";
    print_hints_of(part.unit);
    put();
    print_picture(part);
    append_readings_head(*part.unit);
    for (const poll_row& row : part.list) print_row(row);
    text_ += "</tbody></table>\n</section>\n";
    put();
  }

  // On paper it stands on each page, with the unit.
  void append_readings_head(const unit_cfg& unit) {
    const std::string_view columns = has_expected() ? "5" : "4";
    append_all(
        text_,
        "<table class=\"readings\"><colgroup><col class=\"reference\"/><col class=\"name\"/>",
        has_expected() ? "<col/>" : "", "<col class=\"value\"/><col/></colgroup><thead>",
        "<tr class=\"unit\"><th colspan=\"", columns, "\">");
    append_called(unit);
    append_all(
        text_, "</th></tr><tr>",
        "<th>Reference<small>wire address</small></th><th>Name<small>description</small></th>",
        has_expected() ? "<th>Expected</th>" : "",
        "<th>Read<small>raw</small></th><th>Result<small>time</small></th></tr></thead><tbody>\n");
  }

  void print_picture(const unit_part& part) {
    std::map<std::pair<register_class, std::int32_t>, read_status> results;
    for (const poll_row& row : part.list) {
      if (row.point == nullptr) continue;
      const auto [place, is_new] =
          results.try_emplace({row.point->table, row.point->offset}, status(row));
      if (badness(status(row)) > badness(place->second)) place->second = status(row);
    }
    const auto style = [&results](const placed_point& point) {
      const auto found = results.find({point.table, point.offset});
      return found == results.end() ? style_skipped : style_of(found->second);
    };
    print_register_pictures(*part.unit, part.first, style, out_);
  }

  bool has_expected() const noexcept { return !told_.expected.empty(); }

  void print_row(const poll_row& row) {
    const chn_cfg& chn = *row.chn;
    const bool is_fine = status(row) == read_status::ok || status(row) == read_status::skipped;
    append_all(text_, "<tr id=\"", point_anchor, row.number,
               is_fine ? "\">" : "\" class=\"failed\">", "<td class=\"code\">",
               html_text{chn.reg_num.view()});
    if (row.point != nullptr) append_all(text_, "<small>", row.point->offset, "</small>");
    append_all(text_, "</td><td>", html_text{chn.name.view()}, "<small>",
               html_text{chn.bac_desc.view()}, "</small></td>");
    if (has_expected()) {
      const auto place = static_cast<std::size_t>(&row - result_.rows.data());
      const std::string& expected = told_.expected[place];
      append_all(text_, "<td>", html_text{expected}, "</td>");
    }
    print_reading(row, result_.readings[row.number]);
    text_ += "</tr>\n";
    put();
  }

  void print_reading(const poll_row& row, const reading& got) {
    std::string value;
    std::string raw;
    append_value(value, row, got);
    append_raw(raw, row, got);
    append_all(text_, "<td><b>", html_text{value}, "</b>");
    const bool has_units = !value.empty() && row.chn->bac_units != "NO_UNITS";
    if (has_units) append_all(text_, " ", html_text{row.chn->bac_units.view()});
    append_all(
        text_, "<small>", raw, "</small></td><td>",
        html_text{is_read(got) ? std::string(text_of(got.status)) : failure_of(row, result_)});
    if (got.status != read_status::skipped) append_all(text_, "<small>", got.ms, " ms</small>");
    text_ += "</td>";
  }

  void print_end() {
    text_ += "<section>\n<h2>Remarks</h2>\n<div class=\"remarks\">";
    for (int line = 0; line < 7; ++line) text_ += "<div></div>";
    text_ += "</div>\n<div class=\"sign\">\n";
    for (const std::string_view what : {"Name", "Place, date", "Signature"}) {
      append_all(text_, "<p>Commissioned by: ", what, "</p><p>Accepted by: ", what, "</p>\n");
    }
    append_all(text_, "</div>\n</section>\n", page_end);
    put();
  }

  const poll_record& told_;
  const poll_result& result_;
  output& out_;
  const std::vector<poll_hint> hints_;
  const std::vector<unit_part> parts_;
  std::string text_;
};

}  // namespace

void print_record(const poll_record& record, output& out) {
  record_page(record, out).print();
}

}  // namespace ruvex
