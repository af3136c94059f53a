#include "responder.h"

#include <array>

namespace ruvex {
namespace {

// "Gateway target device failed to respond": what a gateway says of a unit that is not there.
constexpr std::uint8_t no_such_unit = 0x0B;

constexpr std::uint8_t broadcast_number = 0;  // of a serial line
constexpr std::uint8_t first_unit = 1;
constexpr std::uint8_t last_unit = 247;

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

// Every unit that is told carries out what it can, and none answers. A broadcast that reads asks
// nobody.
void responder::take_broadcast(const station& where, const table_request& request,
                               const requester& from) {
  if (request.function == nullptr || !request.function->is_write || !rules_.takes_writes) return;
  ++tally_.requests;
  std::array<std::uint8_t, longest_pdu> unsent = {};
  for (std::uint8_t number = first_unit; number <= last_unit; ++number) {
    served_unit* const unit = where.unit(number);
    if (unit == nullptr || exception_of(*unit, request, rules_) != 0) continue;
    const fault_effect fault = faults_.on(*unit, request);
    if (!fault.is_silent && fault.exception == 0) answer_for(*unit, request, unsent.data());
  }
  told_.tell_request({from.name, broadcast_number, request, 0, {}});
}

reply responder::respond(const station& where, std::uint8_t number,
                         std::span<const std::uint8_t> request, const requester& from,
                         std::uint8_t* answer) {
  const std::lock_guard lock(mutex_);
  const table_request read = read_request(request);
  if (number == broadcast_number && from.is_on_line) take_broadcast(where, read, from);
  served_unit* const unit = where.unit(number);
  if (unit == nullptr && from.is_on_line) return {};
  ++tally_.requests;
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
