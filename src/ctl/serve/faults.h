// Faults that are planted into what is served.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "answer.h"
#include "register_image.h"

namespace ruvex {

enum class fault_kind : std::uint8_t {
  silent,     // there is no answer
  delay,      // it comes late, after `number` milliseconds
  exception,  // it is the exception `number`
  stale,      // it is one to another question
  swap,       // the two words of a value stand in the other order
};

// A fault as it is asked for.
struct wanted_fault {
  std::string_view unit;       // "5", "10.0.0.5/3"
  std::string_view reference;  // empty: all of the unit
  fault_kind kind;
  std::int32_t number;
};

// Reads UNIT[:REFERENCE]=KIND or UNIT[:REFERENCE]=KIND:NUMBER; views into the text. Nothing where
// it is none of these.
std::optional<wanted_fault> parse_fault(std::string_view text) noexcept;

// What a request gets.
struct fault_effect {
  bool is_silent = false;
  bool is_stale = false;
  std::uint8_t exception = 0;
  std::int32_t delay_ms = 0;
};

class planted_faults {
 public:
  // Plants a fault. The words of values that are put later stand as a swap wants them. False when
  // no unit, or no point of it, is called so.
  bool plant(const wanted_fault& wanted, register_image& image);

  fault_effect on(const served_unit& unit, const table_request& request) const noexcept;

 private:
  struct place {
    register_class table;
    std::size_t first, count;
  };
  struct planted {
    const served_unit* unit;
    std::optional<place> where;  // nothing: everywhere
    fault_kind kind;
    std::int32_t number;
  };

  static bool meets(const planted& fault, const table_request& request) noexcept;

  std::vector<planted> faults_;
};

}  // namespace ruvex
