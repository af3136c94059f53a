// What is told of requests while they are served.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

#include "answer.h"
#include "line_writer.h"
#include "output.h"
#include "register_image.h"

namespace ruvex {

enum class serve_format : std::uint8_t {
  text,
  json,  // an object on each line of standard output
};

// A request and what became of it.
struct told_request {
  std::string_view from;
  std::uint8_t unit;
  const table_request& request;
  std::uint8_t exception;                // 0: it was answered
  std::span<const std::uint8_t> answer;  // empty: it was not
};

// Prints lines as they come: writes and where it listens on standard output, requests on standard
// error. A reader that has stopped keeps nobody waiting; a line says how many it has missed. One
// thread at a time uses the journal.
class journal {
 public:
  journal(serve_format format, bool traces);

  void tell_listening(std::string_view where);

  // Every request, or only those that are refused, each of them once.
  void tell_request(const told_request& told);

  // The points that a write has changed, and their values now.
  void tell_write(served_unit& unit, const table_request& request);

  // More clients than may be served; by any thread.
  void tell_crowd(std::size_t most);

  // Waits until everything that was told is written; what comes after it goes to the result, which
  // is standard output. Nothing is to be told from then on.
  output& end();

 private:
  using refusal_key =
      std::tuple<std::uint8_t, std::uint8_t, std::size_t, std::size_t, std::uint8_t>;

  bool is_to_be_told(const told_request& told);
  void tell_point(served_unit& unit, const served_point& served);

  const serve_format format_;
  const bool traces_;
  line_writer out_, errors_;
  std::set<refusal_key> refused_;
};

// Appends the members of a JSON object that name a point, without braces.
void append_json_point(std::string& out, const served_point& served);

// Appends "unit 5, 40011".
void append_point_name(std::string& out, const served_point& served);

}  // namespace ruvex
