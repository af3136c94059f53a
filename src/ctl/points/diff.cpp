#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bus/point_view.h"
#include "command.h"
#include "load.h"
#include "output.h"
#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/mapping/rules.h"
#include "text/characters.h"

namespace ruvex {
namespace {

// What makes two units the same one. The two Modbus types are told apart by the IP address alone,
// as they are when a mapping is read.
struct unit_key {
  std::string_view type;  // empty for units that are reached by Modbus
  std::string_view ip_address;
  std::int64_t address;

  auto operator<=>(const unit_key&) const = default;
};

struct point_key {
  unit_key unit;
  register_class table;
  std::int64_t reference;
  std::int64_t mask;

  auto operator<=>(const point_key&) const = default;
};

struct unit_entry {
  unit_key key;
  const unit_cfg* unit;
};

struct point_entry {
  point_key key;
  const unit_cfg* unit;
  const chn_cfg* chn;
};

// The units and points of a file in the order of their keys; those with equal keys in the file's.
struct sorted_file {
  std::vector<unit_entry> units;
  std::vector<point_entry> points;
};

unit_key key_of(const unit_cfg& unit) noexcept {
  return {is_modbus(unit) ? std::string_view() : unit.type.view(), unit.ip_address.view(),
          decimal_prefix(unit.address.view())};
}

point_key key_of(const unit_key& unit, const chn_cfg& chn) noexcept {
  return {unit, classify_reference(chn.reg_num.view()), decimal_prefix(chn.reg_num.view()),
          decimal_prefix(chn.reg_mask.view())};
}

template <class Entry>
void sort(std::vector<Entry>& entries) {
  const auto before = [](const Entry& a, const Entry& b) { return a.key < b.key; };
  if (!std::is_sorted(entries.begin(), entries.end(), before)) {
    std::stable_sort(entries.begin(), entries.end(), before);
  }
}

sorted_file sort_file(const yax_cfg& doc) {
  sorted_file file;
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    file.units.push_back({key_of(*unit), unit});
  }
  sort(file.units);
  for (const unit_entry& entry : file.units) {
    for (const chn_cfg* chn = entry.unit->chn_list; chn != nullptr; chn = chn->next) {
      file.points.push_back({key_of(entry.key, *chn), entry.unit, chn});
    }
  }
  sort(file.points);
  return file;
}

// Walks two sorted lists side by side: both(a, b) for every pair with equal keys, removed(a) and
// added(b) for what is left.
template <class Entry, class Removed, class Added, class Both>
void match(const std::vector<Entry>& olds, const std::vector<Entry>& news, Removed removed,
           Added added, Both both) {
  auto a = olds.begin();
  auto b = news.begin();
  while (a != olds.end() || b != news.end()) {
    if (b == news.end() || (a != olds.end() && a->key < b->key)) {
      removed(*a++);
    } else if (a == olds.end() || b->key < a->key) {
      added(*b++);
    } else {
      both(*a++, *b++);
    }
  }
}

class difference_printer {
 public:
  difference_printer(output& out, bool is_quiet) noexcept : out_(out), is_quiet_(is_quiet) {}

  void compare_documents(const yax_cfg& a, const yax_cfg& b) {
    subject_ = "document";
    compare<doc_attributes>(a, b);
    compare<written_doc_elements>(a, b);
  }

  void compare_units(const std::vector<unit_entry>& olds, const std::vector<unit_entry>& news) {
    match(
        olds, news, [this](const unit_entry& a) { name(a), print("- "); },
        [this](const unit_entry& b) { name(b), print("+ "); },
        [this](const unit_entry& a, const unit_entry& b) {
          name(a);
          compare<unit_attributes>(*a.unit, *b.unit);
        });
  }

  void compare_points(const std::vector<point_entry>& olds, const std::vector<point_entry>& news) {
    match(
        olds, news, [this](const point_entry& a) { name(a), print("- "), ++removed_; },
        [this](const point_entry& b) { name(b), print("+ "), ++added_; },
        [this](const point_entry& a, const point_entry& b) {
          name(a);
          const bool has_changed = compare<chn_attributes>(*a.chn, *b.chn);
          if (compare<written_chn_elements>(*a.chn, *b.chn) || has_changed) ++changed_;
        });
  }

  // Whether anything has been printed; if so, the sums are.
  bool finish() {
    if (!differs_) return false;
    subject_.clear();
    append_count(added_, added_ == 1 ? " point added, " : " points added, ");
    append_count(removed_, " removed, ");
    append_count(changed_, " changed");
    print("");
    return true;
  }

 private:
  // What the next lines are about.
  void name(const unit_entry& entry) {
    subject_ = "unit ";
    append_label(*entry.unit);
  }
  void name(const point_entry& entry) {
    subject_.clear();
    append_label(*entry.unit);
    subject_ += ' ';
    append_printable(subject_, entry.chn->reg_num.view());
    if (entry.key.mask != 0) {
      subject_ += " mask ";
      subject_ += decimal_text(entry.key.mask).view();
    }
    subject_ += ' ';
    append_json(subject_, entry.chn->name.view());
  }
  void append_label(const unit_cfg& unit) {
    label_.clear();
    append_unit(label_, unit);
    append_printable(subject_, label_);
  }
  void append_count(std::size_t count, std::string_view what) {
    subject_ += decimal_text(static_cast<std::int64_t>(count)).view();
    subject_ += what;
  }

  // Prints a line for each setting of the rows that differs; whether there is one.
  template <const auto& Rows, class Record>
  bool compare(const Record& a, const Record& b) {
    bool has_changed = false;
    for (const auto& row : Rows) {
      const std::string_view before = row.view(a).view();
      const std::string_view after = row.view(b).view();
      if (row.use == field_use::read_only || before == after) continue;
      has_changed = true;
      const std::size_t length = subject_.size();
      ((subject_ += ": ") += tag_text(row.tag)) += ' ';
      append_json(subject_, before);
      subject_ += " -> ";
      append_json(subject_, after);
      print("~ ");
      subject_.resize(length);
    }
    return has_changed;
  }

  void print(std::string_view sign) {
    differs_ = true;
    if (is_quiet_) return;
    out_.put(sign);
    out_.put(subject_);
    out_.put("\n");
  }

  output& out_;
  const bool is_quiet_;
  std::string subject_;
  std::string label_;
  bool differs_ = false;
  std::size_t added_ = 0;
  std::size_t removed_ = 0;
  std::size_t changed_ = 0;
};

struct diff_settings {
  bool is_quiet = false;
};

constexpr option_row<diff_settings> diff_options[] = {
    {"quiet", false,
     [](diff_settings& settings, std::string_view) { return settings.is_quiet = true; }},
};

// Whether the files differ.
bool print_differences(const loaded_file& a, const loaded_file& b, const diff_settings& settings,
                       output& out) {
  difference_printer printer(out, settings.is_quiet);
  if (a.is_whole_document && b.is_whole_document) printer.compare_documents(*a.doc, *b.doc);
  const sorted_file olds = sort_file(*a.doc);
  const sorted_file news = sort_file(*b.doc);
  printer.compare_units(olds.units, news.units);
  printer.compare_points(olds.points, news.points);
  return printer.finish();
}

int run_diff(int argc, char** argv) {
  diff_settings settings;
  if (const auto status = read_options(diff_command, argc, argv, diff_options, settings)) {
    return *status;
  }
  const auto files = operands(argc, argv);
  if (files.size() != 2) return complain_of_use(diff_command, "two files are needed");
  if (std::strcmp(files[0], "-") == 0 && std::strcmp(files[1], "-") == 0) {
    return complain_of_use(diff_command, "standard input can be read once");
  }
  const std::optional<loaded_file> a = load_file(files[0]);
  const std::optional<loaded_file> b = load_file(files[1]);
  if (!a || !b) return ctl_trouble;
  output out;
  const bool differs = print_differences(*a, *b, settings, out);
  return end_with(differs ? ctl_findings : ctl_clean, out.finish());
}

}  // namespace

const command diff_command = {
    "diff", "[--quiet] OLD NEW",
    R"(Print how the points of two files differ. Each is a mapping file, a unit file
that ruvex has written from one, or a whole configuration document, in any mix;
the content tells which. A mapping file is compared as the controller will have
it; one with a line that ruvex refuses is refused.

      --quiet    print no differences; the exit status tells
      --help     print this help
      --version  print the version

Points are the same one when they agree in unit, table, number of the reference
and mask, whatever the order of the lines; those that agree in all of these are
compared in order. A unit is known by its IP address and the number of its
address, and one that is not reached by Modbus by its type too. The lines:

  - 5 40001 "Pump"           a point in OLD alone: unit, reference, name
  + 5 30010 mask 8 "Alarm"   a point in NEW alone; mask: a bit of the register
  ~ 5 40002 "Fan": bac_units "VOLTS" -> "AMPERES"
                             a setting of a point in both that has changed,
                             by its name in the configuration
  + unit 10.0.0.5/3          a unit in NEW alone (-: in OLD alone)
  ~ unit 5: poll_delay "0" -> "10"
                             a setting of a unit that has changed
  ~ document: baudrate "9600" -> "19200"
                             a setting of the controller; compared when both
                             files are whole documents
  2 points added, 1 removed, 3 changed
                             the sums, last

Texts between double quotes are written as in JSON. Nothing is printed when the
files hold the same.

A file that is "-" is standard input. The exit status is 0 when the files hold
the same, 1 when they differ, 2 in case of trouble.
)",
    run_diff};

}  // namespace ruvex
