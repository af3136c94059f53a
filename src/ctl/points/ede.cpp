#include "ede.h"

#include <iterator>
#include <string>
#include <string_view>

#include "check/number_table.h"
#include "command.h"
#include "point_columns.h"
#include "report/place_message.h"
#include "row_formats.h"
#include "ruvex/cfg/tables.h"
#include "text/bounds.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr std::string_view line_end = "\r\n";

// The numbers of an object (ASHRAE 135).
struct object_numbers {
  std::int32_t type;
  std::int64_t instance;
  std::int32_t units;  // -1: it has none
};

bool is_analog(std::int32_t type) noexcept {
  constexpr std::int32_t analog_value = 2;
  return type >= bac_type::analog_input && type <= analog_value;
}

// Of the types that the table has, the analog ones and the loop have units.
bool has_units(std::int32_t type) noexcept {
  constexpr std::int32_t loop = 12;
  return is_analog(type) || type == loop;
}

// Gives what is wrong with the point; empty where it has all its numbers.
std::string find_numbers(const chn_cfg& chn, object_numbers& found) {
  found.type = str_to_enum(chk_bac_type, chn.bac_type.c_str());
  if (found.type < 0) {
    return message("object type ", quoted{chn.bac_type.view()}, " has no BACnet number");
  }
  if (!is_within(chn.instance.view(), chk_bac_instance)) {
    return message("instance ", quoted{chn.instance.view()}, " is no number from 0 to ",
                   highest_of(chk_bac_instance));
  }
  found.instance = decimal_prefix(chn.instance.view());
  found.units = has_units(found.type) ? str_to_enum(chk_bac_units, chn.bac_units.c_str()) : -1;
  if (has_units(found.type) && found.units < 0) {
    return message("units ", quoted{chn.bac_units.view()}, " have no BACnet number");
  }
  return {};
}

// Says what keeps points from the list.
class ede_refusals {
 public:
  ede_refusals(const char* path, const point_lines& lines) noexcept : path_(path), lines_(lines) {}

  void check(const point& point) {
    object_numbers numbers = {};
    std::string wrong = find_numbers(point.chn, numbers);
    if (wrong.empty()) wrong = find_repeat(point.chn, numbers);
    if (wrong.empty()) return;
    any_ = true;
    tell(point, wrong);
  }

  bool any() const noexcept { return any_; }

 private:
  std::string find_repeat(const chn_cfg& chn, const object_numbers& numbers) {
    const auto type = static_cast<std::uint64_t>(numbers.type);
    const chn_cfg*& first = objects_[type << 32 | static_cast<std::uint64_t>(numbers.instance)];
    if (first == nullptr) {
      first = &chn;
      return {};
    }
    const std::int64_t line = lines_.line_of(*first);
    const std::string object = message(chn.bac_type.view(), " ", numbers.instance);
    if (line != 0) return message(object, " is in line ", line, " too");
    return message(object, " is the object of ", quoted{first->name.view()}, " too");
  }

  void tell(const point& point, std::string_view wrong) const {
    const auto line = static_cast<std::size_t>(lines_.line_of(point.chn));
    if (line != 0) {
      print_message({path_, line, line, 0, "error", wrong});
      return;
    }
    std::string place = "unit ";
    append_unit(place, point.unit);
    if (point.is_modbus) place += message(", reference ", point.chn.reg_num.view());
    place += message(", ", quoted{point.chn.name.view()}, ": ", wrong);
    complain("%s: %s", path_, place.c_str());
  }

  const char* path_;
  const point_lines& lines_;
  number_table<const chn_cfg*> objects_;
  bool any_ = false;
};

// The cells of an object.

struct ede_row {
  const point& shown;
  object_numbers numbers;
  std::int64_t device;
};

// Of the object, in the whole plant.
void ede_key(std::string& out, const ede_row& row) {
  out += message(row.device, "_", row.numbers.type, "_", row.numbers.instance);
}

void ede_device(std::string& out, const ede_row& row) {
  append(out, row.device);
}

template <auto Member>
void ede_text(std::string& out, const ede_row& row) {
  out += (row.shown.chn.*Member).view();
}

template <auto Member>
void ede_number(std::string& out, const ede_row& row) {
  append(out, row.numbers.*Member);
}

void ede_nothing(std::string&, const ede_row&) {}

// The scale of an analog point bounds its value, in either direction.
template <bool IsLowest>
void ede_bound(std::string& out, const ede_row& row) {
  const chn_cfg& chn = row.shown.chn;
  std::string scaling;
  append_scaling(scaling, chn);
  double low = 0;
  double high = 0;
  const bool is_scale = is_analog(row.numbers.type) && !scaling.empty() &&
                        parse_decimal(chn.scl_usr_lo.view(), low) &&
                        parse_decimal(chn.scl_usr_hi.view(), high) && low != high;
  if (is_scale) out += ((low < high) == IsLowest ? chn.scl_usr_lo : chn.scl_usr_hi).view();
}

void ede_settable(std::string& out, const ede_row& row) {
  const std::string_view type = row.shown.chn.chn_type.view();
  if (type.starts_with("OUTPUT_")) out += 'Y';
  if (type.starts_with("INPUT_")) out += 'N';
}

void ede_cov(std::string& out, const ede_row& row) {
  double increment = 0;
  if (parse_decimal(row.shown.chn.bac_cov_inc.view(), increment) && increment > 0) out += 'Y';
}

void ede_units(std::string& out, const ede_row& row) {
  if (row.numbers.units >= 0) append(out, row.numbers.units);
}

void ede_address(std::string& out, const ede_row& row) {
  append_unit(out, row.shown.unit);
  if (row.shown.is_modbus) append(out, " "), append(out, row.shown.chn.reg_num.view());
}

struct ede_column {
  std::string_view title;
  bool is_mandatory;
  void (*append)(std::string& out, const ede_row& row);
};

// clang-format off
constexpr ede_column ede_columns[] = {
    {"keyname",                 true,  ede_key},
    {"device obj.-instance",    true,  ede_device},
    {"object-name",             true,  ede_text<&chn_cfg::name>},
    {"object-type",             true,  ede_number<&object_numbers::type>},
    {"object-instance",         true,  ede_number<&object_numbers::instance>},
    {"description",             false, ede_text<&chn_cfg::bac_desc>},
    {"present-value-default",   false, ede_nothing},
    {"min-present-value",       false, ede_bound<true>},
    {"max-present-value",       false, ede_bound<false>},
    {"settable",                false, ede_settable},
    {"supports COV",            false, ede_cov},
    {"hi-limit",                false, ede_nothing},
    {"low-limit",               false, ede_nothing},
    {"state-text-reference",    false, ede_nothing},
    {"unit-code",               false, ede_units},
    {"vendor-specific-address", false, ede_address},
};
// clang-format on
static_assert(std::size(ede_columns) == 16);

// Appends a line of cells: what each column's cell_of(column, cell) appends to its cell.
template <class CellOf>
void append_ede_line(std::string& out, CellOf cell_of) {
  std::string cell;
  for (const ede_column& column : ede_columns) {
    if (&column != ede_columns) out += ';';
    cell.clear();
    cell_of(column, cell);
    append_csv_cell(out, cell, ';');
  }
  out += line_end;
}

void print_ede_head(const yax_cfg& doc, output& out) {
  std::string head = "# Engineering-Data-Exchange - B.I.G.-EU\r\nPROJECT_NAME;";
  append_csv_cell(head, doc.name.view(), ';');
  head +=
      "\r\nVERSION_OF_REFERENCEFILE;\r\nTIMESTAMP_OF_LAST_CHANGE;\r\nAUTHOR_OF_LAST_CHANGE;\r\n"
      "VERSION_OF_LAYOUT;2.3\r\n# ";
  append_ede_line(head, [](const ede_column& column, std::string& cell) {
    cell += column.is_mandatory ? "mandatory" : "optional";
  });
  head += "# ";
  append_ede_line(head, [](const ede_column& column, std::string& cell) { cell += column.title; });
  out.put(head);
}

}  // namespace

int print_ede(const yax_cfg& doc, const char* path, const point_lines& lines, std::int64_t device,
              output& out) {
  ede_refusals refusals(path, lines);
  for_each_point(doc, [&refusals](const point* shown) { refusals.check(*shown); });
  if (refusals.any()) return ctl_trouble;
  print_ede_head(doc, out);
  std::string text;
  for_each_point(doc, [&](const point* shown) {
    ede_row row = {*shown, {}, device};
    find_numbers(shown->chn, row.numbers);
    text.clear();
    append_ede_line(
        text, [&row](const ede_column& column, std::string& cell) { column.append(cell, row); });
    out.put(text);
  });
  return ctl_clean;
}

}  // namespace ruvex
