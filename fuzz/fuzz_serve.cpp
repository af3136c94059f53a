// What a client sends over Modbus/TCP: frames are found in it and answered. Every answer is a legal
// one to its request, and what a write has left is read back. The first byte sets the rules.

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "bus/devices.h"
#include "require.h"
#include "ruvex/cfg/xml_reader.h"
#include "serve/answer.h"
#include "serve/register_image.h"
#include "serve/tcp_frame.h"

namespace ruvex {
namespace {

constexpr std::string_view served_list = R"(<yax_cfg><unit_cfg type="MODBUS" address="1">
<chn_cfg name="a"><reg_num>00001</reg_num></chn_cfg>
<chn_cfg name="b"><reg_num>00002</reg_num></chn_cfg>
<chn_cfg name="c"><reg_num>10009</reg_num></chn_cfg>
<chn_cfg name="d"><reg_num>30001</reg_num><reg_size>2</reg_size></chn_cfg>
<chn_cfg name="e"><reg_num>40001</reg_num><reg_size>2</reg_size></chn_cfg>
<chn_cfg name="f"><reg_num>40003</reg_num><reg_mask>8</reg_mask></chn_cfg>
<chn_cfg name="g"><reg_num>465535</reg_num><reg_size>2</reg_size></chn_cfg>
</unit_cfg></yax_cfg>)";

using bytes = std::vector<std::uint8_t>;

// Held to the size that an answer may have.
bytes exact_answer(served_unit& unit, const bytes& request, const answer_rules& rules) {
  bytes answer(longest_pdu);
  const table_request read = read_request(request);
  const std::uint8_t exception = exception_of(unit, read, rules);
  answer.resize(exception != 0 ? answer_exception(read, exception, answer.data())
                               : answer_request(unit, read, answer.data()));
  return answer;
}

void require_read(const bytes& request, const bytes& answer) {
  const std::size_t quantity = request[3] * std::size_t{256} + request[4];
  const std::size_t size = request[0] <= 2 ? (quantity + 7) / 8 : quantity * 2;
  require(answer.size() == size + 2 && answer[1] == size, "an answer has what was asked for");
  const bool has_rest = request[0] <= 2 && quantity % 8 != 0;
  require(!has_rest || answer.back() >> quantity % 8 == 0, "bits that nobody asked for are 0");
}

// Registers that were written are there; what the slave repeats is what it was told.
void require_written(served_unit& unit, const bytes& request, const bytes& answer) {
  require(answer.size() == 5 && std::equal(answer.begin(), answer.end(), request.begin()),
          "a write is repeated");
  if (request[0] != 6 && request[0] != 16) return;
  const bool is_many = request[0] == 16;
  const std::uint8_t count = is_many ? request[4] : 1;
  const bytes read = exact_answer(unit, {3, request[1], request[2], 0, count}, {});
  const std::span<const std::uint8_t> values = std::span(request).subspan(is_many ? 6 : 3);
  require(std::ranges::equal(std::span(read).subspan(2), values), "what was written is read");
}

void answer_one(served_unit& unit, const bytes& request, const answer_rules& rules) {
  const bytes answer = exact_answer(unit, request, rules);
  const std::uint8_t code = request[0];
  require(answer.size() >= 2 && answer.size() <= longest_pdu, "an answer fits its frame");
  if (answer[0] != code || code >= 0x80) {
    require(answer[0] == (code | 0x80) && answer.size() == 2, "a refusal has its form");
    require(answer[1] >= 1 && answer[1] <= 3, "and one of the codes");
    return;
  }
  require(code <= 6 || code == 15 || code == 16, "a code that is not served is refused");
  require(code <= 4 || rules.takes_writes, "and so are writes");
  if (code <= 4) return require_read(request, answer);
  require_written(unit, request, answer);
}

void run(std::uint8_t choices, std::span<const std::uint8_t> input) {
  static const yax_cfg_ptr doc(
      parse_xml_cfg(served_list.data(), static_cast<std::int32_t>(served_list.size())));
  register_image image = image_of(devices_of(*doc), unit_grouping::number);
  served_unit& unit = *image.stations[""].unit(1);
  const answer_rules rules = {(choices & 1) != 0, (choices & 2) != 0};
  for (tcp_frame frame = tcp_frame_at(input); frame.state == tcp_frame_state::whole;
       frame = tcp_frame_at(input)) {
    require(frame.size > tcp_head_size && frame.size <= input.size(), "a frame is all there");
    answer_one(unit, {input.begin() + tcp_head_size, input.begin() + static_cast<int>(frame.size)},
               rules);
    input = input.subspan(frame.size);
  }
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  ruvex::run(data[0], {data + 1, size - 1});
  return 0;
}
