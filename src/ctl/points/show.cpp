#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "command.h"
#include "load.h"
#include "point_view.h"
#include "ruvex/cfg/block_out.h"
#include "ruvex/cfg/decimal.h"
#include "text/json.h"
#include "text/printable.h"

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

template <class Do>
void for_each_point(const yax_cfg& doc, Do act) {
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    const bool is_reached = is_modbus(*unit);
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      act(point{*unit, *chn, is_reached});
    }
  }
}

// The cells of a row: those of a point, and those of the header for either reader. A cell is
// appended to an empty text.
struct point_cells {
  const point& shown;
  void append(std::string& cell, const column& column) const { column.append(cell, shown); }
};
struct people_cells {
  const point& shown;
  void append(std::string& cell, const column& column) const {
    if (shown.is_modbus || !column.is_of_register) column.append(cell, shown);
  }
};
struct titles {
  static void append(std::string& cell, const column& column) { cell += column.title; }
};
struct keys {
  static void append(std::string& cell, const column& column) { cell += column.key; }
};

// Calls act(place, cell) for each cell that one of the two kinds of reader gets.
template <auto column::*Name, class Cells, class Do>
void for_each_cell(const Cells& cells, std::string& cell, Do act) {
  for (std::size_t place = 0; place < column_count; ++place) {
    if (columns[place].*Name == nullptr) continue;
    cell.clear();
    cells.append(cell, columns[place]);
    act(place, std::string_view(cell));
  }
}

// Every format writes rows through one text that grows no more once it has held the longest.
class row_printer {
 public:
  explicit row_printer(block_out& out) noexcept : out_(out) {}

 protected:
  void end_row() {
    row_ += '\n';
    out_.put(row_);
    row_.clear();
  }

  std::string row_;
  std::string cell_;

 private:
  block_out& out_;
};

class table_printer : row_printer {
 public:
  using row_printer::row_printer;

  // The widths are known when every point has been seen.
  void print(const yax_cfg& doc) {
    measure(titles());
    for_each_point(doc, [this](const point& point) { measure(people_cells{point}); });
    row(titles());
    for_each_point(doc, [this](const point& point) { row(people_cells{point}); });
  }

 private:
  template <class Cells>
  void measure(const Cells& cells) {
    for_each_cell<&column::title>(cells, cell_, [this](std::size_t place, std::string_view cell) {
      row_.clear();
      const std::size_t width = append_printable(row_, cell);
      if (width > widths_[place]) widths_[place] = width;
    });
    row_.clear();
  }

  // Blanks are held back until a text follows them.
  template <class Cells>
  void row(const Cells& cells) {
    std::size_t blanks = 0;
    for_each_cell<&column::title>(cells, cell_, [&](std::size_t place, std::string_view cell) {
      std::size_t width = 0;
      if (!cell.empty()) {
        row_.append(blanks, ' ');
        blanks = 0;
        width = append_printable(row_, cell);
      }
      blanks += widths_[place] - width + 2;
    });
    end_row();
  }

  std::array<std::size_t, column_count> widths_ = {};
};

class markdown_printer : row_printer {
 public:
  using row_printer::row_printer;

  void print(const yax_cfg& doc) {
    row(titles());
    for_each_cell<&column::title>(titles(), cell_,
                                  [this](std::size_t, std::string_view) { row_ += "| --- "; });
    row_ += '|';
    end_row();
    for_each_point(doc, [this](const point& point) { row(people_cells{point}); });
  }

 private:
  template <class Cells>
  void row(const Cells& cells) {
    for_each_cell<&column::title>(cells, cell_, [this](std::size_t, std::string_view cell) {
      shown_.clear();
      append_printable(shown_, cell);
      row_ += "| ";
      for (const char character : shown_) {
        if (character == '|' || character == '\\') row_ += '\\';
        row_ += character;
      }
      row_ += ' ';
    });
    row_ += '|';
    end_row();
  }

  std::string shown_;
};

class csv_printer : row_printer {
 public:
  using row_printer::row_printer;

  void print(const yax_cfg& doc) {
    row(keys());
    for_each_point(doc, [this](const point& point) { row(point_cells{point}); });
  }

 private:
  template <class Cells>
  void row(const Cells& cells) {
    for_each_cell<&column::key>(cells, cell_, [this](std::size_t place, std::string_view cell) {
      if (place != 0) row_ += ',';
      put(cell);
    });
    end_row();
  }

  void put(std::string_view cell) {
    if (cell.find_first_of(",\"\r\n") == std::string_view::npos) {
      row_ += cell;
      return;
    }
    row_ += '"';
    for (const char character : cell) row_.append(character == '"' ? 2 : 1, character);
    row_ += '"';
  }
};

class json_printer : row_printer {
 public:
  using row_printer::row_printer;

  void print(const yax_cfg& doc) {
    for_each_point(doc, [this](const point& point) { row(point_cells{point}); });
  }

 private:
  void row(const point_cells& cells) {
    row_ += '{';
    for_each_cell<&column::key>(cells, cell_, [this](std::size_t place, std::string_view cell) {
      const column& column = columns[place];
      row_ += place != 0 ? ",\"" : "\"";
      row_ += column.key;
      row_ += "\":";
      if (column.kind != column_kind::setting && cell.empty()) {
        row_ += "null";
      } else if (column.kind == column_kind::number) {
        row_ += cell;
      } else {
        append_json(row_, cell);
      }
    });
    row_ += '}';
    end_row();
  }
};

template <class Printer>
void print_with(const yax_cfg& doc, block_out& out) {
  Printer(out).print(doc);
}

using print_function = void (*)(const yax_cfg&, block_out&);

constexpr choice<print_function> formats[] = {
    {"table", print_with<table_printer>},
    {"csv", print_with<csv_printer>},
    {"json", print_with<json_printer>},
    {"markdown", print_with<markdown_printer>},
};

struct show_settings {
  print_function print = print_with<table_printer>;
};

constexpr option_row<show_settings> options[] = {
    {"format", true,
     [](show_settings& settings, std::string_view argument) {
       return choose(formats, argument, settings.print);
     }},
};

int run_show(int argc, char** argv) {
  show_settings settings;
  if (const auto status = read_options(show_command, argc, argv, options, settings)) {
    return *status;
  }
  const auto files = operands(argc, argv);
  if (files.size() != 1) return refuse_use(show_command, "one file is needed");
  const std::optional<loaded_file> loaded = load_file(files[0]);
  if (!loaded) return ctl_trouble;
  std::array<char, 65536> storage;
  block_out out(stdout, storage);
  settings.print(*loaded->doc, out);
  out.flush();
  return finish_output(ctl_clean);
}

}  // namespace

const command show_command = {
    "show", "ruvexctl show", "[--format=FORMAT] FILE",
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
