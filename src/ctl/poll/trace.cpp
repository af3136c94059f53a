#include "trace.h"

#include <cstdio>
#include <string>

#include "bus/point_view.h"
#include "poll_text.h"
#include "ruvex/mapping/register_place.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

void append_bytes(std::string& out, const std::uint8_t* bytes, std::int32_t count) {
  for (std::int32_t at = 0; at < count; ++at) {
    if (at != 0) out += ' ';
    append_hex(out, bytes[at], 2);
  }
}

}  // namespace

void print_trace(const mod_client& client, const bus_unit& unit, const poll_request& request,
                 const mod_outcome& outcome, std::uint32_t ms) {
  std::string name;
  append_unit(name, *unit.unit);
  std::string line;
  append_visible(line, name);
  line += " > ";
  if (outcome.requests != 0) {
    append_bytes(line, client.ctx.tx_buffer, client.ctx.tx_length);
    append(line, "  ");
  }
  line += message("read ", request.count, " ", table_name(request.table),
                  request.count == 1 ? "" : "s", " from wire address ", request.offset);
  if (outcome.requests > 1) line += message(", ", outcome.requests, " times");
  line += '\n';
  append_visible(line, name);
  line += " < ";
  const bool is_answer =
      outcome.status == mod_status::ok || outcome.status == mod_status::exception;
  if (is_answer) {
    append_bytes(line, client.ctx.buffer, client.ctx.length);
    line += "  ";
  }
  line += outcome.status == mod_status::ok ? "answer" : mod_outcomeText(outcome);
  line += message(", ", ms, " ms\n");
  std::fputs(line.c_str(), stderr);
}

}  // namespace ruvex
