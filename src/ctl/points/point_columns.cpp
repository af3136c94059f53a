#include "point_columns.h"

#include <algorithm>
#include <optional>

#include "ruvex/cfg/decimal.h"

namespace ruvex {
namespace {

template <auto Member>
void setting(std::string& out, const point& point) {
  out += (point.chn.*Member).view();
}

void unit(std::string& out, const point& point) {
  append_unit(out, point.unit);
}

void table(std::string& out, const point& point) {
  out += register_table(point);
}

void address(std::string& out, const point& point) {
  const std::optional<std::int32_t> offset = wire_address(point);
  if (offset) out += decimal_text(*offset).view();
}

void scaling(std::string& out, const point& point) {
  append_scaling(out, point.chn);
}

constexpr column_kind as_text = column_kind::setting;
constexpr bool yes = true;
constexpr bool no = false;

// clang-format off
constexpr column every_column[] = {
    // title               key                  kind                     register  people programs
    {"unit",              "unit",              as_text,                 no,       yes,   yes,   unit},
    {"reference",         "reference",         as_text,                 yes,      yes,   yes,   setting<&chn_cfg::reg_num>},
    {"table",             "table",             column_kind::worked_out, yes,      yes,   yes,   table},
    {"wire address",      "wire_address",      column_kind::number,     yes,      yes,   yes,   address},
    {"size",              "size",              as_text,                 yes,      yes,   yes,   setting<&chn_cfg::reg_size>},
    {"word order",        "word_order",        as_text,                 yes,      yes,   yes,   setting<&chn_cfg::reg_endian>},
    {"format",            "format",            as_text,                 yes,      yes,   yes,   setting<&chn_cfg::reg_format>},
    {"channel type",      "channel_type",      as_text,                 no,       yes,   yes,   setting<&chn_cfg::chn_type>},
    {"write function",    "write_function",    as_text,                 yes,      yes,   yes,   setting<&chn_cfg::reg_fcn>},
    {"mask",              "mask",              as_text,                 yes,      yes,   yes,   setting<&chn_cfg::reg_mask>},
    {"scaling",           "scaling",           column_kind::worked_out, no,       yes,   no,    scaling},
    {"device scale low",  "device_scale_low",  as_text,                 no,       no,    yes,   setting<&chn_cfg::scl_dev_lo>},
    {"device scale high", "device_scale_high", as_text,                 no,       no,    yes,   setting<&chn_cfg::scl_dev_hi>},
    {"user scale low",    "user_scale_low",    as_text,                 no,       no,    yes,   setting<&chn_cfg::scl_usr_lo>},
    {"user scale high",   "user_scale_high",   as_text,                 no,       no,    yes,   setting<&chn_cfg::scl_usr_hi>},
    {"object type",       "object_type",       as_text,                 no,       yes,   yes,   setting<&chn_cfg::bac_type>},
    {"instance",          "instance",          as_text,                 no,       yes,   yes,   setting<&chn_cfg::instance>},
    {"units",             "units",             as_text,                 no,       yes,   yes,   setting<&chn_cfg::bac_units>},
    {"COV increment",     "cov_increment",     as_text,                 no,       yes,   yes,   setting<&chn_cfg::bac_cov_inc>},
    {"name",              "name",              as_text,                 no,       yes,   yes,   setting<&chn_cfg::name>},
    {"description",       "description",       as_text,                 no,       no,    yes,   setting<&chn_cfg::bac_desc>},
};
// clang-format on

constexpr std::string_view by_use =
    "unit,reference,name,object type,instance,units,format,scaling,mask,table,size,word order,"
    "wire address,COV increment,channel type,write function";

bool is_same_letter(char one, char other) noexcept {
  const auto lower = [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  };
  return lower(one) == lower(other);
}

bool is_called(const column& column, std::string_view name) noexcept {
  const auto is = [name](std::string_view known) {
    return std::ranges::equal(known, name, is_same_letter);
  };
  return is(column.title) || is(column.key);
}

}  // namespace

point_columns usual_columns(reader reader) {
  point_columns list;
  for (const column& column : every_column) {
    const bool is_usual = reader == reader::people ? column.for_people : column.for_programs;
    if (is_usual) list.push_back(&column);
  }
  return list;
}

point_columns columns_by_use() {
  std::string unknown;
  return chosen_columns(by_use, unknown);
}

point_columns chosen_columns(std::string_view names, std::string& unknown) {
  point_columns list;
  while (true) {
    const std::string_view name = names.substr(0, names.find(','));
    const column* const found = std::ranges::find_if(
        every_column, [name](const column& row) { return is_called(row, name); });
    if (found == std::end(every_column)) {
      unknown = name;
      return {};
    }
    list.push_back(found);
    if (name.size() == names.size()) return list;
    names.remove_prefix(name.size() + 1);
  }
}

std::string column_names() {
  std::string names;
  for (const column& column : every_column) {
    if (!names.empty()) names += ", ";
    names += column.key;
  }
  return names;
}

void append_cell(std::string& out, const column& column, reader reader, const point* shown) {
  const bool is_for_people = reader == reader::people;
  if (shown == nullptr) {
    out += is_for_people ? column.title : column.key;
  } else if (!is_for_people || shown->is_modbus || !column.is_of_register) {
    column.append(out, *shown);
  }
}

}  // namespace ruvex
