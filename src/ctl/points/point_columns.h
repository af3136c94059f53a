// The columns of `ruvexctl show`, and the points that stand in their rows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bus/point_view.h"

namespace ruvex {

// What a column holds, for JSON: a setting is a string; what is worked out may be unknown.
enum class column_kind : std::uint8_t { setting, worked_out, number };

// Who reads a format. Some columns come by themselves for one kind of reader only.
enum class reader : std::uint8_t { people, programs };

struct column {
  const char* title;  // for people
  const char* key;    // for programs
  column_kind kind;
  bool is_of_register;            // means nothing to people where there is no Modbus register
  bool for_people, for_programs;  // comes by itself
  void (*append)(std::string& out, const point& point);
};

using point_columns = std::vector<const column*>;

// The columns that come when nobody chooses.
point_columns usual_columns(reader reader);

// Those for people, the most useful first.
point_columns columns_by_use();

// The columns that `names` lists, separated by commas, in this order: each by its title or its key;
// the case of letters does not count. An unknown name stops the reading and is put into `unknown`,
// which is unchanged otherwise.
point_columns chosen_columns(std::string_view names, std::string& unknown);

// The keys of all columns, separated by ", ".
std::string column_names();

// Appends the text of a cell. Where `shown` is null it is that of the header.
void append_cell(std::string& out, const column& column, reader reader, const point* shown);

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

}  // namespace ruvex
