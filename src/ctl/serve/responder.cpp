#include "responder.h"

namespace ruvex {
namespace {

// "Gateway target device failed to respond": what a gateway says of a unit that is not there.
constexpr std::uint8_t no_such_unit = 0x0B;

}  // namespace

reply responder::respond(const station& where, std::uint8_t number,
                         std::span<const std::uint8_t> request, const requester& from,
                         std::uint8_t* answer) {
  const std::lock_guard lock(mutex_);
  served_unit* const unit = where.unit(number);
  if (unit == nullptr && from.is_on_line) return {0};
  ++tally_.requests;
  const table_request read = read_request(request);
  const std::uint8_t exception = unit == nullptr ? no_such_unit : exception_of(*unit, read, rules_);
  if (exception == 0) return {answer_request(*unit, read, answer)};
  ++tally_.refused;
  return {answer_exception(read, exception, answer)};
}

}  // namespace ruvex
