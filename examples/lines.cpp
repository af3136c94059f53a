// Reads mapping lines that are in memory, and tells what becomes of each.

#include <cstdio>

#include "ruvex/cfg/edit.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"

using namespace ruvex;

namespace {

constexpr std::string_view list =
    "P-01,0.5,Flow Temperature,3,40011,16 Bit Signed Integer,ANALOG_INPUT,1,DEGREES_CELCIUS,0,0\n"
    "P-02,0,Pump Fault,10.0.0.5/1,30002,Bit16,BINARY_INPUT,2,NO_UNITS,Status word,3\n"
    "P-03,0,Title of a section,3,40012\n"
    "P-04,0,Pump Speed,3,20001,16 Bit Unsigned Integer,ANALOG_INPUT,3,PERCENT,0,0\n";

class printer final : public point_listener {
 public:
  bool refused(csv_result reason, std::size_t field) noexcept override {
    std::printf("  error %d in field %zu (%s)\n", reason, field,
                mapping_columns[field].name.data());
    return true;  // go on in the line, to tell its other faults, too
  }
  void description_cut() noexcept override { std::printf("  description cut\n"); }
};

void print(const point_result& point) {
  if (!point.is_added) {
    std::printf("  no point\n");
    return;
  }
  std::printf("  unit %s: %s, %s, mask %s\n", point.unit->address.c_str(),
              point.chn->reg_num.c_str(), point.chn->chn_type.c_str(), point.chn->reg_mask.c_str());
}

unit_list_ptr read_lines(std::string_view bytes) {
  unit_cfg* units = nullptr;
  {
    unit_index index(units);  // puts the channels in order at its end
    point_reader reader(index);
    printer listener;
    line_splitter lines(bytes, max_mapping_line);
    std::string_view line;
    for (int number = 1; lines.next(line) == line_result::line; ++number) {
      std::printf("line %d\n", number);
      const point_result point = reader.read(split_mapping_line(line), listener);
      if (point.code == csv_read) print(point);
      if (point.code == csv_no_memory) break;
    }
  }
  return unit_list_ptr(units);
}

}  // namespace

int main() {
  const unit_list_ptr units = read_lines(list);
  for (const unit_cfg* unit = units.get(); unit != nullptr; unit = unit->next) {
    std::printf("unit %s has %d\n", unit->address.c_str(), unit->chn_count);
  }
}
