// The registers of the devices of a list, as they are served.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "bus/devices.h"
#include "bus/point_value.h"

namespace ruvex {

// A register, or a bit: 0 is off.
struct register_cell {
  std::uint16_t offset;
  std::uint16_t word;
  bool is_read;  // some master has asked for it and got it
};

// The mapped addresses of one table of a unit.
class cell_table {
 public:
  // Adds an address. To be followed by seal() once all have been added.
  void add(std::uint16_t offset) { cells_.push_back({offset, 0, false}); }
  void seal();

  // The mapped ones among `count` addresses from `first` on, in order.
  std::span<register_cell> within(std::size_t first, std::size_t count) noexcept;

 private:
  std::vector<register_cell> cells_;
};

// A point of a unit that is served.
struct served_point {
  const unit_cfg* unit;
  bus_point point;
  bool is_given;    // its value was given, or written by a master: no pattern moves it
  bool is_swapped;  // its two words stand in the other order
};

// A point as its registers hold it.
value_form served_form(const served_point& served) noexcept;

// The units of one number: several stand behind one where the IP addresses of a list do not count.
class served_unit {
 public:
  void add(const bus_unit& unit);
  void seal();

  std::size_t unit_count() const noexcept { return unit_count_; }
  cell_table& table(register_class table) noexcept {
    return tables_[static_cast<std::size_t>(table)];
  }

  // By table and offset, then as in the file.
  std::span<served_point> points() noexcept { return points_; }

  // The points that have a part in `count` addresses from `first` on.
  std::span<served_point> points_within(register_class table, std::size_t first,
                                        std::size_t count) noexcept;

  // The registers of a point, which has one or two.
  std::array<std::uint16_t, 2> words_of(const served_point& served) noexcept;

  // Puts a user value into the registers of a point. False, and nothing changes, where they cannot
  // hold it.
  bool put(const served_point& served, double value) noexcept;

  // Puts the words themselves.
  void put_words(const served_point& served, std::array<std::uint16_t, 2> words) noexcept;

  // Whether every register of a point has been read.
  bool is_read(const served_point& served) noexcept;

 private:
  std::span<register_cell> cells_of(const served_point& served) noexcept;

  std::array<cell_table, 4> tables_;
  std::vector<served_point> points_;
  std::size_t unit_count_ = 0;
};

// What one line or one listener answers for: units by their number.
class station {
 public:
  // Null where there is no such unit.
  served_unit* unit(std::uint8_t number) const noexcept { return units_[number]; }
  void set(std::uint8_t number, served_unit* unit) noexcept { units_[number] = unit; }

 private:
  std::array<served_unit*, 256> units_ = {};
};

enum class unit_grouping : std::uint8_t {
  number,   // one station, in which a number is a unit
  address,  // a station for each IP address, and one for the serial line
};

struct register_image {
  std::deque<served_unit> units;
  std::map<std::string_view, station> stations;  // by IP address; "" is the serial line, or all
  std::size_t left_out = 0;                      // units that no master can ask
  std::size_t crowded = 0;                       // numbers that several units of the list have
};

// The registers of all units that can be asked, every one 0. The list's document outlives them.
register_image image_of(const device_list& list, unit_grouping grouping);

}  // namespace ruvex
