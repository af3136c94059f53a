#include "unit_reader.h"

#include <algorithm>

#include "interruption.h"
#include "read_table.h"
#include "trace.h"

namespace ruvex {
namespace {

// A unit that has never answered is given up after one time-out, one that has after the second one
// in a row, and one that answers with rubbish after four.
constexpr int full_patience = 4;

constexpr std::uint8_t acknowledged = 5;
constexpr std::uint8_t busy = 6;
constexpr int busy_attempts = 5;
constexpr std::int64_t first_busy_wait_ms = 100;

bool is_answer(const mod_outcome& outcome) noexcept {
  return outcome.status == mod_status::ok || outcome.status == mod_status::exception;
}

bool is_busy(const mod_outcome& outcome) noexcept {
  return outcome.status == mod_status::exception &&
         (outcome.code == acknowledged || outcome.code == busy);
}

bool is_refusal(const mod_outcome& outcome) noexcept {
  return outcome.status == mod_status::exception && outcome.code >= MOD_ILLEGAL_FUNCTION &&
         outcome.code <= MOD_ILLEGAL_DATA_VALUE;
}

// A gateway says in the place of a unit that it has no path to it, or no answer from it.
bool is_gateway_failure(const mod_outcome& outcome) noexcept {
  constexpr std::uint8_t no_path = 0x0A;
  constexpr std::uint8_t no_answer = 0x0B;
  return outcome.status == mod_status::exception &&
         (outcome.code == no_path || outcome.code == no_answer);
}

read_status status_of(mod_status status) noexcept {
  switch (status) {
    case mod_status::ok:
      return read_status::ok;
    case mod_status::timeout:
      return read_status::timeout;
    case mod_status::exception:
      return read_status::exception;
    case mod_status::corrupt:
      return read_status::corrupt;
    case mod_status::stale:
      return read_status::stale;
    case mod_status::closed:
      return read_status::closed;
    default:
      return read_status::skipped;
  }
}

}  // namespace

bool unit_reader::run() {
  left_ = requests_for(unit_.points, settings_.limits);
  std::ranges::reverse(left_);
  patience_ = full_patience;
  state_.unit = unit_.unit;
  while (!left_.empty() && patience_ > 0 && !is_line_dead_ && !is_interrupted()) {
    const poll_request request = left_.back();
    left_.pop_back();
    handle(request);
  }
  for (const poll_request& request : left_) state_.done += request.end - request.first;
  if (left_.empty()) probe_neighbours();
  return !is_line_dead_;
}

void unit_reader::handle(const poll_request& request) {
  const mod_outcome outcome = ask_while_busy(request);
  if (is_refusal(outcome) && is_divisible(unit_.points, request)) {
    const auto [first, second] = split(unit_.points, request);
    left_.push_back(second);
    left_.push_back(first);
  } else {
    take(request, outcome);
  }
  lose_patience(outcome);
}

mod_outcome unit_reader::ask(const poll_request& request) {
  using std::chrono::floor;
  using std::chrono::milliseconds;
  if (sum_.requests != 0) wait_unless_interrupted(settings_.delay_ms);
  const std::uint32_t corrupt_before = client_.corrupt_answers;
  const auto start = std::chrono::steady_clock::now();
  const mod_outcome outcome =
      read_table(client_, unit_.address, request.table, request.offset, request.count, words_);
  const auto taken = std::chrono::steady_clock::now() - start;
  ms_ = static_cast<std::uint32_t>(floor<milliseconds>(taken).count());
  time_ = floor<milliseconds>(std::chrono::system_clock::now());
  sum_.requests += outcome.requests;
  if (outcome.requests > 1) sum_.retries += outcome.requests - 1U;
  ++sum_.exchanges;
  if (outcome.status == mod_status::timeout) ++sum_.timeouts;
  sum_.corrupt += client_.corrupt_answers - corrupt_before;
  if (is_answer(outcome)) {
    ++sum_.answers;
    sum_.slowest_ms = std::max(sum_.slowest_ms, ms_);
  }
  if (settings_.is_traced) print_trace(client_, unit_, request, outcome, ms_);
  return outcome;
}

mod_outcome unit_reader::ask_while_busy(const poll_request& request) {
  mod_outcome outcome = ask(request);
  std::int64_t wait = first_busy_wait_ms;
  for (int left = busy_attempts; is_busy(outcome) && left > 0 && !is_interrupted(); --left) {
    wait_unless_interrupted(wait);
    wait *= 2;
    outcome = ask(request);
  }
  return outcome;
}

void unit_reader::take(const poll_request& request, const mod_outcome& outcome) {
  const std::size_t count = request.end - request.first;
  for (std::size_t at = request.first; at < request.end; ++at) {
    const bus_point& point = unit_.points[at];
    reading& told = readings_[point.number];
    told.status = status_of(outcome.status);
    told.code = outcome.code;
    told.ms = ms_;
    told.time = time_;
    if (outcome.status != mod_status::ok) continue;
    std::copy_n(words_ + (point.offset - request.offset), point.words, told.words);
  }
  state_.done += count;
  if (outcome.status != mod_status::ok) state_.failed += count;
}

void unit_reader::lose_patience(const mod_outcome& outcome) noexcept {
  if (is_answer(outcome) && !is_gateway_failure(outcome)) {
    patience_ = full_patience;
    has_answered_ = true;
  } else if (outcome.status == mod_status::timeout || is_gateway_failure(outcome)) {
    patience_ -= has_answered_ ? full_patience / 2 : full_patience;
  } else {
    --patience_;
  }
  const bool is_closed = outcome.status == mod_status::closed;
  is_line_dead_ = is_closed && (outcome.requests == 0 || client_.line.open_fn == nullptr);
}

// References that count from 0 or from 1 are the usual mistake: then each point is a register off.
void unit_reader::probe_neighbours() {
  const auto is_illegal = [this](const bus_point& point) {
    const reading& told = readings_[point.number];
    return told.status == read_status::exception && told.code == MOD_ILLEGAL_DATA_ADDRESS;
  };
  if (unit_.points.empty() || !std::ranges::all_of(unit_.points, is_illegal)) return;
  const std::int32_t offset = unit_.points.front().offset;
  if (answers_at(offset - 1)) {
    sum_.shift = -1;
  } else if (answers_at(offset + 1)) {
    sum_.shift = 1;
  }
}

bool unit_reader::answers_at(std::int32_t offset) {
  const bus_point& point = unit_.points.front();
  const std::int32_t end = offset + point.words;
  if (offset < 0 || end > 65536 || is_interrupted()) return false;
  const auto from = static_cast<std::uint16_t>(offset);
  return ask({point.table, from, point.words, 0, 0}).status == mod_status::ok;
}

}  // namespace ruvex
