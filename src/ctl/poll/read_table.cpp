#include "read_table.h"

#include <algorithm>

namespace ruvex {
namespace {

using read_bits = decltype(&mod_readCoils);

mod_outcome read_into_words(read_bits read, mod_client& client, std::uint8_t unit,
                            std::uint16_t ref, std::uint16_t count, std::uint16_t* words) noexcept {
  std::uint8_t bits[mod_most_coils];
  const mod_outcome outcome = read(&client, unit, ref, count, bits);
  if (outcome.status == mod_status::ok) std::copy_n(bits, count, words);
  return outcome;
}

}  // namespace

mod_outcome read_table(mod_client& client, std::uint8_t unit, register_class table,
                       std::uint16_t offset, std::uint16_t count, std::uint16_t* words) noexcept {
  constexpr mod_outcome refused = {mod_status::refused, MOD_ILLEGAL_DATA_ADDRESS, 0};
  if (unit < 1 || unit > 247) return refused;
  const auto ref = static_cast<std::uint16_t>(offset + 1);  // modulo 65536, as the client counts
  switch (table) {
    case register_class::coil:
      return read_into_words(mod_readCoils, client, unit, ref, count, words);
    case register_class::discrete_input:
      return read_into_words(mod_readDiscreteInputs, client, unit, ref, count, words);
    case register_class::holding_register:
      return mod_readHoldingRegisters(&client, unit, ref, count, words);
    case register_class::input_register:
      return mod_readInputRegisters(&client, unit, ref, count, words);
    default:
      return refused;
  }
}

}  // namespace ruvex
