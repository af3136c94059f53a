#include "responder.h"

namespace ruvex {
namespace {

// "Gateway target device failed to respond": what a gateway says of a unit that is not there.
constexpr std::uint8_t no_such_unit = 0x0B;

std::uint8_t first_exception(std::uint8_t of_fault, std::uint8_t of_unit) noexcept {
  return of_fault != 0 ? of_fault : of_unit;
}

}  // namespace

double responder::seconds() const noexcept {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

std::size_t responder::answer_for(served_unit& unit, const table_request& request,
                                  std::uint8_t* answer) {
  if (pattern_ != value_pattern::constant) move_points(unit, request, pattern_, seconds());
  const std::size_t size = answer_request(unit, request, answer);
  if (!request.function->is_write) return size;
  for (served_point& served :
       unit.points_within(request.function->table, request.first, request.count)) {
    served.is_given = true;
  }
  told_.tell_write(unit, request);
  return size;
}

reply responder::respond(const station& where, std::uint8_t number,
                         std::span<const std::uint8_t> request, const requester& from,
                         std::uint8_t* answer) {
  const std::lock_guard lock(mutex_);
  served_unit* const unit = where.unit(number);
  if (unit == nullptr && from.is_on_line) return {};
  ++tally_.requests;
  const table_request read = read_request(request);
  fault_effect fault;
  if (unit != nullptr) fault = faults_.on(*unit, read);
  if (fault.is_silent) {
    told_.tell_request({from.name, number, read, 0, {}});
    return {};
  }
  const std::uint8_t exception =
      unit == nullptr ? no_such_unit
                      : first_exception(fault.exception, exception_of(*unit, read, rules_));
  if (exception != 0) ++tally_.refused;
  const std::size_t size =
      exception != 0 ? answer_exception(read, exception, answer) : answer_for(*unit, read, answer);
  told_.tell_request({from.name, number, read, exception, {answer, size}});
  return {size, fault.delay_ms, fault.is_stale};
}

}  // namespace ruvex
