#include "journal.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "bus/point_view.h"
#include "command.h"
#include "ruvex/modbus/codes.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// So that a master which asks for everything there is does not fill the memory.
constexpr std::size_t most_refusals = 1000;

constexpr std::size_t most_bytes_shown = 32;

constexpr std::uint8_t last_protocol_code = 8;  // mod_errStr has the codec's own beyond it

std::string_view exception_text(std::uint8_t exception) noexcept {
  if (exception == 0x0B) return "Gateway Target Device Failed To Respond";
  return exception <= last_protocol_code ? mod_errStr(exception) : "";
}

void append_request(std::string& line, const table_request& request) {
  if (request.function == nullptr) {
    append(line, "function "), append(line, request.code);
    return;
  }
  append(line, request.function->text);
  if (request.count == 0) return;
  append(line, ", "), append(line, request.count);
  append(line, " from "), append(line, request.first);
}

void append_answer(std::string& line, std::span<const std::uint8_t> answer) {
  line += "answered";
  for (const std::uint8_t byte : answer.first(std::min(answer.size(), most_bytes_shown))) {
    std::array<char, 4> text = {};
    std::snprintf(text.data(), text.size(), " %02X", static_cast<unsigned>(byte));
    line += text.data();
  }
  if (answer.size() > most_bytes_shown) line += " ...";
}

void append_outcome(std::string& line, const told_request& told) {
  if (told.exception != 0) {
    append(line, "exception "), append(line, told.exception);
    const std::string_view text = exception_text(told.exception);
    if (!text.empty()) append(line, ", "), append(line, text);
  } else if (told.answer.empty()) {
    line += "no answer";
  } else {
    append_answer(line, told.answer);
  }
}

std::string value_text(served_unit& unit, const served_point& served) {
  std::string text;
  append_value(text, served_form(served), unit.words_of(served).data());
  return text;
}

std::string dropped_line(std::uint64_t lines) {
  return message("lines that nobody was there to read: ", lines, "\n");
}

std::string dropped_object(std::uint64_t lines) {
  return message("{\"dropped\":", lines, "}\n");
}

}  // namespace

journal::journal(serve_format format, bool traces)
    : format_(format),
      traces_(traces),
      out_(STDOUT_FILENO, format == serve_format::json ? dropped_object : dropped_line),
      errors_(STDERR_FILENO, dropped_line) {}

void journal::tell_crowd(std::size_t most) {
  errors_.put(message("ruvexctl: more than ", most, " clients; see --max-clients\n"));
}

output& journal::end() {
  errors_.end();
  return out_.end();
}

void append_point_name(std::string& out, const served_point& served) {
  std::string unit;
  append_unit(unit, *served.unit);
  append(out, "unit "), append_visible(out, unit);
  append(out, ", "), append_visible(out, served.point.chn->reg_num.view());
}

void append_json_point(std::string& out, const served_point& served) {
  std::string unit;
  append_unit(unit, *served.unit);
  append_json(out += "\"unit\":", unit);
  append_json(out += ",\"reference\":", served.point.chn->reg_num.view());
  append_json(out += ",\"name\":", served.point.chn->name.view());
}

void journal::tell_listening(std::string_view where) {
  std::string line;
  if (format_ == serve_format::json) {
    append_json(line += "{\"listening\":", where);
    line += "}\n";
  } else {
    append_visible(line += "listening on ", where);
    line += '\n';
  }
  out_.put(line);
}

bool journal::is_to_be_told(const told_request& told) {
  if (traces_) return true;
  if (told.exception == 0 || refused_.size() >= most_refusals) return false;
  const table_request& request = told.request;
  return refused_.insert({told.unit, request.code, request.first, request.count, told.exception})
      .second;
}

void journal::tell_request(const told_request& told) {
  if (!is_to_be_told(told)) return;
  std::string line;
  append_visible(line, told.from);
  append(line, ": unit "), append(line, told.unit), append(line, ": ");
  append_request(line, told.request);
  line += ": ";
  append_outcome(line, told);
  line += '\n';
  if (!traces_ && refused_.size() == most_refusals) {
    line += "further refused requests are not told; see --trace\n";
  }
  errors_.put(line);
}

void journal::tell_point(served_unit& unit, const served_point& served) {
  std::string line;
  if (format_ == serve_format::json) {
    append_json_point(line += "{\"written\":{", served);
    append_json(line += ",\"value\":", value_text(unit, served));
    line += "}}\n";
  } else {
    append_point_name(line += "written: ", served);
    append(line, " = "), append(line, value_text(unit, served));
    append_visible(line += ", ", served.point.chn->name.view());
    line += '\n';
  }
  out_.put(line);
}

void journal::tell_write(served_unit& unit, const table_request& request) {
  for (const served_point& served :
       unit.points_within(request.function->table, request.first, request.count)) {
    tell_point(unit, served);
  }
}

}  // namespace ruvex
