#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "bus/point_value.h"
#include "bus/point_view.h"
#include "poll_report.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

using poll_hints = std::vector<poll_hint>;

// What a sensor or a meter sends; 0 says nothing about the order of words.
bool is_sane(float value) noexcept {
  const float size = std::fabs(value);
  return value == 0 || (size >= 1e-4F && size <= 1e9F);
}

bool is_sane_in_other_order_only(const bus_point& point, const reading& got) noexcept {
  if (point.words != 2 || point.chn->reg_format != "FLOAT") return false;  // most, and at once
  const value_form form = form_of(point);
  if (form.kind != value_kind::floating) return false;
  const mod_word_order other = form.order == mod_word_order::high_first
                                   ? mod_word_order::low_first
                                   : mod_word_order::high_first;
  const float turned = mod_getFloat(got.words, other);
  return !is_sane(mod_getFloat(got.words, form.order)) && is_sane(turned) && turned != 0;
}

void hint_at_word_order(const bus_unit& unit, const poll_result& result, poll_hints& hints) {
  std::size_t count = 0;
  const bus_point* first = nullptr;
  for (const bus_point& point : unit.points) {
    const reading& got = result.readings[point.number];
    if (!is_read(got) || !is_sane_in_other_order_only(point, got)) continue;
    if (++count == 1) first = &point;
  }
  if (count == 0) return;
  const std::string_view more = count == 1 ? " makes" : " and others make";
  hints.push_back({&unit, message(first->chn->reg_num.view(), more,
                                  " sense in the other word order only: LO/HI or HI/LO?")});
}

void hint_at_shift(const bus_unit& unit, const unit_sum& sum, poll_hints& hints) {
  if (sum.shift == 0) return;
  hints.push_back(
      {&unit, message("each point is an illegal address, and the register ",
                      sum.shift < 0 ? "before" : "behind", " the first one answers: off by one?")});
}

bool is_silent(const unit_sum& sum) noexcept {
  return sum.exchanges != 0 && sum.timeouts == sum.exchanges;
}

struct line_answers {
  std::size_t asked = 0, silent = 0, answering = 0;  // units
  std::uint64_t answers = 0, corrupt = 0;
};

line_answers answers_on(const asked_units& line, const poll_result& result) noexcept {
  line_answers all;
  for (const std::size_t number : line.numbers) {
    const unit_sum& sum = result.sums[number];
    all.asked += sum.exchanges != 0 ? 1 : 0;
    all.silent += is_silent(sum) ? 1 : 0;
    all.answering += sum.answers != 0 ? 1 : 0;
    all.answers += sum.answers;
    all.corrupt += sum.corrupt;
  }
  return all;
}

void hint_at_line(const asked_units& line, const poll_result& result, poll_hints& hints) {
  const line_answers all = answers_on(line, result);
  for (const std::size_t number : line.numbers) {
    if (all.answering == 0 || !is_silent(result.sums[number])) continue;
    hints.push_back(
        {&result.devices.units[number], "it is silent while others answer: address or wiring?"});
  }
  if (line.is_serial && all.asked != 0 && all.silent == all.asked) {
    hints.push_back({nullptr, "all units are silent: speed, parity, A and B?"});
  }
  if (line.is_serial && all.corrupt * 10 > all.answers + all.corrupt) {
    hints.push_back({nullptr, message(all.corrupt, " of ", all.answers + all.corrupt,
                                      " answers were damaged: termination?")});
  }
}

}  // namespace

std::vector<poll_hint> hints_of(const poll_result& result) {
  std::vector<poll_hint> hints;
  for (std::size_t at = 0; at < result.devices.units.size(); ++at) {
    hint_at_shift(result.devices.units[at], result.sums[at], hints);
    hint_at_word_order(result.devices.units[at], result, hints);
  }
  for (const asked_units& line : result.lines) hint_at_line(line, result, hints);
  return hints;
}

void print_hints(const poll_result& result) {
  for (const poll_hint& hint : hints_of(result)) {
    std::string where = "serial line";
    if (hint.unit != nullptr) append_unit(where = "unit ", *hint.unit->unit);
    std::string line;
    append_visible(line, where);
    line += message(": hint: ", hint.text, "\n");
    std::fputs(line.c_str(), stderr);
  }
}

}  // namespace ruvex
