#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "command.h"
#include "ede.h"
#include "html_page.h"
#include "load.h"
#include "output.h"
#include "point_columns.h"
#include "row_formats.h"
#include "ruvex/cfg/tables.h"
#include "text/bounds.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct show_settings;

struct shown_file {
  const char* path;
  loaded_file loaded;
  file_source source;  // where the format asks for it
};

// Prints the points. Gives a ctl_status, after a complaint where it is none for "clean".
using print_function = int (*)(const shown_file& file, const show_settings& settings, output& out);

struct show_format {
  print_function print;
  bool takes_columns;
  bool needs_source;
};

int show_table(const shown_file& file, const show_settings& settings, output& out);

struct show_settings {
  show_format format = {show_table, true, false};
  std::string_view column_names;  // empty: the usual ones
  point_columns columns;          // those with these names
  bool is_wide = false;
  std::optional<std::int64_t> device;  // the instance of the document, unless it is given
};

point_columns columns_for(const show_settings& settings, reader reader) {
  return settings.columns.empty() ? usual_columns(reader) : settings.columns;
}

int show_table(const shown_file& file, const show_settings& settings, output& out) {
  const std::size_t room = settings.is_wide ? 0 : out.terminal_width();
  const bool is_by_use = room != 0 && settings.columns.empty();
  const point_columns columns =
      is_by_use ? columns_by_use() : columns_for(settings, reader::people);
  const std::size_t left_out = print_table(*file.loaded.doc, columns, room, out);
  if (left_out == 0) return ctl_clean;
  out.flush();
  complain("columns that do not fit are left out: %zu; see --wide and --columns", left_out);
  return ctl_clean;
}

template <auto Print, reader Reader>
int show_rows(const shown_file& file, const show_settings& settings, output& out) {
  Print(*file.loaded.doc, columns_for(settings, Reader), out);
  return ctl_clean;
}

int show_ede(const shown_file& file, const show_settings& settings, output& out) {
  const yax_cfg& doc = *file.loaded.doc;
  if (!settings.device && !is_within(doc.instance.view(), chk_bac_instance)) {
    return complain_of_use(show_command, "the instance of the device is not known; see --device");
  }
  const std::int64_t device = settings.device.value_or(decimal_prefix(doc.instance.view()));
  return print_ede(doc, file.path, file.source.lines, device, out);
}

int show_html(const shown_file& file, const show_settings&, output& out) {
  print_html(file.loaded, file.source, file.path, out);
  return ctl_clean;
}

constexpr choice<show_format> show_formats[] = {
    {"table", {show_table, true, false}},
    {"csv", {show_rows<print_csv, reader::programs>, true, false}},
    {"json", {show_rows<print_json, reader::programs>, true, false}},
    {"markdown", {show_rows<print_markdown, reader::people>, true, false}},
    {"ede", {show_ede, false, true}},
    {"html", {show_html, false, true}},
};

constexpr option_row<show_settings> show_options[] = {
    {"format", true,
     [](show_settings& settings, std::string_view argument) {
       return choose(show_formats, argument, settings.format);
     }},
    {"columns", true,
     [](show_settings& settings, std::string_view argument) {
       settings.column_names = argument;
       return !argument.empty();
     }},
    {"wide", false,
     [](show_settings& settings, std::string_view) { return settings.is_wide = true; }},
    {"device", true,
     [](show_settings& settings, std::string_view argument) {
       settings.device = decimal_prefix(argument);
       return is_within(argument, chk_bac_instance);
     }},
};

// False, after a complaint, when one of the columns is none, or the format takes none.
bool find_columns(show_settings& settings) {
  if (settings.column_names.empty()) return true;
  if (!settings.format.takes_columns) {
    complain_of_use(show_command, "this format has its own columns");
    return false;
  }
  std::string unknown;
  settings.columns = chosen_columns(settings.column_names, unknown);
  if (!settings.columns.empty()) return true;
  complain_of_use(show_command,
                  message("there is no column '", unknown, "'; the columns are: ", column_names()));
  return false;
}

int run_show(int argc, char** argv) {
  show_settings settings;
  if (const auto status = read_options(show_command, argc, argv, show_options, settings)) {
    return *status;
  }
  if (!find_columns(settings)) return ctl_trouble;
  const auto files = operands(argc, argv);
  if (files.size() != 1) return complain_of_use(show_command, "one file is needed");
  file_source source;
  std::optional<loaded_file> loaded =
      load_file(files[0], settings.format.needs_source ? &source : nullptr);
  if (!loaded) return ctl_trouble;
  const shown_file file = {files[0], std::move(*loaded), std::move(source)};
  output out;
  const int status = settings.format.print(file, settings, out);
  return end_with(status, out.finish());
}

}  // namespace

const command show_command = {
    "show", "[OPTION]... FILE",
    R"(Print the points of FILE as the controller will have them: a row a point, by
unit and register. FILE is a mapping file, a unit file that ruvex has written
from one, or a whole configuration document; its content tells which. A
mapping file with a line that ruvex refuses is refused, every such line with a
message, and nothing is printed.

      --format=FORMAT  table (the default), csv, json, markdown, ede
                       or html
      --columns=LIST   these columns in this order, separated by commas, by
                       name or by key ("wire address" or wire_address)
      --wide           all columns in full on a terminal, too
      --device=N       instance of the device in ede; that of the document
                       unless it is given
      --help           print this help
      --version        print the version

On a terminal a table fits its width: unit, reference and name come first, long
texts end with an ellipsis, and the columns that do not fit are left out, which
an ellipsis at the end of the header tells. Everywhere else nothing is cut.

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

ede is the object list that BACnet head-ends import (Engineering Data Exchange,
layout 2.3). A point whose object type, instance or units have no number there
is refused, and so is an object that two points have; then there is no output.

html is a page for the screen and for paper, without scripts: a picture of the
registers and a table for each unit. What check finds stands beside its points.

A FILE that is "-" is standard input. The exit status is 0, or 2 in case of
trouble.
)",
    run_show};

}  // namespace ruvex
