#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "command.h"
#include "load.h"
#include "output.h"
#include "point_view.h"
#include "ruvex/cfg/decimal.h"
#include "text/characters.h"

namespace ruvex {
namespace {

// What a column holds, for JSON: a setting is a string; what is worked out may be unknown.
enum class column_kind : std::uint8_t { setting, worked_out, number };

struct column {
  const char* title;  // for people; null: not in their formats
  const char* key;    // for programs; null: not in theirs
  column_kind kind;
  bool is_of_register;  // means nothing to people where there is no Modbus register
  void (*append)(std::string& out, const point& point);
};

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

constexpr column_kind text = column_kind::setting;

// clang-format off
constexpr column columns[] = {
    {"unit",           "unit",              text,                    false, unit},
    {"reference",      "reference",         text,                    true,  setting<&chn_cfg::reg_num>},
    {"table",          "table",             column_kind::worked_out, true,  table},
    {"wire address",   "wire_address",      column_kind::number,     true,  address},
    {"size",           "size",              text,                    true,  setting<&chn_cfg::reg_size>},
    {"word order",     "word_order",        text,                    true,  setting<&chn_cfg::reg_endian>},
    {"format",         "format",            text,                    true,  setting<&chn_cfg::reg_format>},
    {"channel type",   "channel_type",      text,                    false, setting<&chn_cfg::chn_type>},
    {"write function", "write_function",    text,                    true,  setting<&chn_cfg::reg_fcn>},
    {"mask",           "mask",              text,                    true,  setting<&chn_cfg::reg_mask>},
    {"scaling",        nullptr,             text,                    false, scaling},
    {nullptr,          "device_scale_low",  text,                    false, setting<&chn_cfg::scl_dev_lo>},
    {nullptr,          "device_scale_high", text,                    false, setting<&chn_cfg::scl_dev_hi>},
    {nullptr,          "user_scale_low",    text,                    false, setting<&chn_cfg::scl_usr_lo>},
    {nullptr,          "user_scale_high",   text,                    false, setting<&chn_cfg::scl_usr_hi>},
    {"object type",    "object_type",       text,                    false, setting<&chn_cfg::bac_type>},
    {"instance",       "instance",          text,                    false, setting<&chn_cfg::instance>},
    {"units",          "units",             text,                    false, setting<&chn_cfg::bac_units>},
    {"COV increment",  "cov_increment",     text,                    false, setting<&chn_cfg::bac_cov_inc>},
    {"name",           "name",              text,                    false, setting<&chn_cfg::name>},
    {nullptr,          "description",       text,                    false, setting<&chn_cfg::bac_desc>},
};
// clang-format on
constexpr std::size_t column_count = std::size(columns);

// Calls act(point) for each point, whose address is given.
template <class Do>
void for_each_point(const yax_cfg& doc, Do act) {
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    const bool is_reached = is_modbus(*unit);
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      const point shown = {*unit, *chn, is_reached};
      act(&shown);
    }
  }
}

// Calls act(place, cell) for each cell that one of the two kinds of reader gets in the row of a
// point, or in the header where `shown` is null. The texts stand in `room`, one after the other.
template <auto column::*Label, class Do>
void for_each_cell(const point* shown, std::string& room, Do act) {
  constexpr bool is_for_people = Label == &column::title;
  for (std::size_t place = 0; place < column_count; ++place) {
    const column& column = columns[place];
    if (column.*Label == nullptr) continue;
    room.clear();
    if (shown == nullptr) {
      room += column.*Label;
    } else if (!is_for_people || shown->is_modbus || !column.is_of_register) {
      column.append(room, *shown);
    }
    act(place, std::string_view(room));
  }
}

// A format makes rows of cells: add() appends the next cell to the row, end() what follows the last
// one. Most formats have a header, and need not see the points before they print them.
struct row_format {
  static constexpr bool has_header = true;
  static void prepare(const yax_cfg&) {}
  static void end_header(std::string&) {}
};

class table_format : public row_format {
 public:
  static constexpr auto label = &column::title;

  // The widths are known when every point has been seen.
  void prepare(const yax_cfg& doc) {
    std::string room;
    std::string printed;
    const auto measure = [&](const point* shown) {
      for_each_cell<label>(shown, room, [&](std::size_t place, std::string_view cell) {
        printed.clear();
        widths_[place] = std::max(widths_[place], append_printable(printed, cell));
      });
    };
    measure(nullptr);
    for_each_point(doc, measure);
  }

  // Blanks are held back until a text follows them.
  void add(std::string& row, std::size_t place, std::string_view cell) {
    std::size_t width = 0;
    if (!cell.empty()) {
      row.append(std::exchange(blanks_, 0), ' ');
      width = append_printable(row, cell);
    }
    blanks_ += widths_[place] - width + 2;
  }
  void end(std::string& row) {
    row += '\n';
    blanks_ = 0;
  }

 private:
  std::array<std::size_t, column_count> widths_ = {};
  std::size_t blanks_ = 0;
};

class markdown_format : public row_format {
 public:
  static constexpr auto label = &column::title;

  void add(std::string& row, std::size_t, std::string_view cell) {
    printed_.clear();
    append_printable(printed_, cell);
    row += "| ";
    for (const char character : printed_) {
      if (character == '|' || character == '\\') row += '\\';
      row += character;
    }
    row += ' ';
  }
  static void end(std::string& row) { row += "|\n"; }
  static void end_header(std::string& row) {
    for (const column& column : columns) {
      if (column.title != nullptr) row += "| --- ";
    }
    end(row);
  }

 private:
  std::string printed_;
};

struct csv_format : row_format {
  static constexpr auto label = &column::key;

  static void add(std::string& row, std::size_t place, std::string_view cell) {
    if (place != 0) row += ',';
    if (cell.find_first_of(",\"\r\n") == std::string_view::npos) {
      row += cell;
      return;
    }
    row += '"';
    for (const char character : cell) row.append(character == '"' ? 2 : 1, character);
    row += '"';
  }
  static void end(std::string& row) { row += '\n'; }
};

struct json_format : row_format {
  static constexpr auto label = &column::key;
  static constexpr bool has_header = false;

  static void add(std::string& row, std::size_t place, std::string_view cell) {
    const column& column = columns[place];
    row += place != 0 ? ",\"" : "{\"";
    row += column.key;
    row += "\":";
    if (column.kind != column_kind::setting && cell.empty()) {
      row += "null";
    } else if (column.kind == column_kind::number) {
      row += cell;
    } else {
      append_json(row, cell);
    }
  }
  static void end(std::string& row) { row += "}\n"; }
};

template <class Format>
void print_points(const yax_cfg& doc, output& out) {
  Format format;
  std::string row;
  std::string room;
  const auto print_row = [&](const point* shown) {
    for_each_cell<Format::label>(shown, room, [&](std::size_t place, std::string_view cell) {
      format.add(row, place, cell);
    });
    format.end(row);
    if (shown == nullptr) format.end_header(row);
    out.put(row);
    row.clear();
  };
  format.prepare(doc);
  if (Format::has_header) print_row(nullptr);
  for_each_point(doc, print_row);
}

using print_function = void (*)(const yax_cfg&, output&);

constexpr choice<print_function> show_formats[] = {
    {"table", print_points<table_format>},
    {"csv", print_points<csv_format>},
    {"json", print_points<json_format>},
    {"markdown", print_points<markdown_format>},
};

struct show_settings {
  print_function print = print_points<table_format>;
};

constexpr option_row<show_settings> show_options[] = {
    {"format", true,
     [](show_settings& settings, std::string_view argument) {
       return choose(show_formats, argument, settings.print);
     }},
};

int run_show(int argc, char** argv) {
  show_settings settings;
  if (const auto status = read_options(show_command, argc, argv, show_options, settings)) {
    return *status;
  }
  const auto files = operands(argc, argv);
  if (files.size() != 1) return complain_of_use(show_command, "one file is needed");
  const std::optional<loaded_file> loaded = load_file(files[0]);
  if (!loaded) return ctl_trouble;
  output out;
  settings.print(*loaded->doc, out);
  return end_with(ctl_clean, out.finish());
}

}  // namespace

const command show_command = {
    "show", "[--format=FORMAT] FILE",
    R"(Print the points of FILE as the controller will have them: a row a point, by
unit and register. FILE is a mapping file, a unit file that ruvex has written
from one, or a whole configuration document; its content tells which. A
mapping file with a line that ruvex refuses is refused, every such line with a
message, and nothing is printed.

      --format=FORMAT  table (the default), csv, json or markdown
      --help           print this help
      --version        print the version

The columns:

  unit            address of the unit on the serial line, IP address/address
                  of a Modbus/TCP unit, type and address of any other; such
                  a unit has no registers
  reference       Modbus reference; its first digit is the table
  table           coil (0), discrete input (1), input register (3), holding
                  register (4)
  wire address    offset in the table, from 0, as it is sent in a request;
                  blank where the reference does not tell it
  size            16-bit registers of the value
  word order      of two registers: BIG, the high word first, or LITTLE
  format          UNSIGNED, SIGNED or FLOAT
  channel type    what the controller takes the point for
  write function  Modbus function code with which it would be written
  mask            bits of the register, a decimal number; 0: all of it
  scaling         device range -> user range; blank: none
  object type, instance, units, COV increment, name
                  of the BACnet object

csv and json (one object a line) hold the same texts as the configuration does.
There the scaling is device_scale_low, device_scale_high, user_scale_low and
user_scale_high, and the description is there too. What cannot be told is an
empty field or null. In table and markdown "?" stands for a control character.

A FILE that is "-" is standard input. The exit status is 0, or 2 in case of
trouble.
)",
    run_show};

}  // namespace ruvex
