// From the bytes of a mapping file to the bytes of a unit file. Whatever the bytes, the lists are
// sound, and a read that succeeds writes every point line once.

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "memory_file.h"
#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/converter/mapping_reader.h"

namespace ruvex {
namespace {

// Point lines have at least eleven fields; counted here without the converter's splitter.
std::size_t point_lines(std::string_view bytes) {
  std::size_t points = 0;
  std::size_t fields = 0;
  bool inside = false;
  for (const char character : bytes) {
    const bool separates = std::string_view(",\"\r\n").find(character) != std::string_view::npos;
    if (!separates && !inside) ++fields;
    inside = !separates;
    if (character == '\n') {
      points += fields >= 11;
      fields = 0;
    }
  }
  return points + (fields >= 11);
}

std::size_t occurrences(std::string_view text, std::string_view wanted) {
  std::size_t count = 0;
  for (std::size_t at = text.find(wanted); at != std::string_view::npos;
       at = text.find(wanted, at + wanted.size())) {
    ++count;
  }
  return count;
}

bool in_order(const chn_cfg& a, const chn_cfg& b) {
  const std::int64_t first = decimal_prefix(a.reg_num.view());
  const std::int64_t second = decimal_prefix(b.reg_num.view());
  if (first != second) return first < second;
  return decimal_prefix(a.reg_mask.view()) <= decimal_prefix(b.reg_mask.view());
}

std::size_t check_channels(const unit_cfg& unit) {
  std::size_t count = 0;
  const chn_cfg* previous = nullptr;
  for (const chn_cfg* chn = unit.chn_list; chn != nullptr; chn = chn->next) {
    require(chn->prev == previous, "channels are linked both ways");
    require(previous == nullptr || in_order(*previous, *chn), "channels are in order");
    previous = chn;
    ++count;
  }
  require(count == static_cast<std::size_t>(unit.chn_count), "the channel count is right");
  return count;
}

std::size_t check_lists() {
  std::size_t channels = 0;
  const unit_cfg* previous = nullptr;
  for (const unit_cfg* unit = modUnits; unit != nullptr; unit = unit->next) {
    require(unit->prev == previous, "units are linked both ways");
    channels += check_channels(*unit);
    previous = unit;
  }
  return channels;
}

void run(const std::uint8_t* data, std::size_t size) {
  const memory_file csv;
  const memory_file xml;
  csv.write(data, size);
  const int result = read_csv_file(csv.path());
  require(result == csv_read || (result >= csv_bad_line && result <= csv_no_memory),
          "the result is a known one");
  const std::size_t channels = check_lists();
  print_tag(nullptr, 0, print_reset, nullptr);
  require(write_xml_unit_cfg(modUnits, xml.path()) == 0 && xml_write_error == 0, "it is written");
  require(occurrences(xml.content(), "\r\n\t\t</chn_cfg>\r\n") == channels, "no channel is lost");
  if (result == csv_read) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    require(channels == point_lines(bytes), "every point line gives one channel");
  }
  free_units();
  require(modUnits == nullptr, "the units are released");
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = std::freopen("/dev/null", "w", stdout) != nullptr;
  if (quiet) ruvex::run(data, size);
  return 0;
}
