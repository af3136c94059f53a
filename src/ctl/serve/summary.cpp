#include "summary.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

using served_points = std::vector<const served_point*>;

served_points never_read(register_image& image) {
  served_points points;
  for (served_unit& unit : image.units) {
    for (const served_point& served : unit.points()) {
      if (!unit.is_read(served)) points.push_back(&served);
    }
  }
  std::ranges::sort(points, std::less<>(),
                    [](const served_point* served) { return served->point.number; });
  return points;
}

std::size_t count_points(register_image& image) {
  std::size_t count = 0;
  for (served_unit& unit : image.units) count += unit.points().size();
  return count;
}

// The points of XML have no lines.
void append_point_line(std::string& out, const served_list& list, const served_point& served) {
  const std::int64_t line = list.source.lines.line_of(*served.point.chn);
  append_visible(out, list.path);
  if (line != 0) append(out, ":"), append(out, line);
  append_point_name(out += ": never read: ", served);
  append_visible(out += ", ", served.point.chn->name.view());
  out += '\n';
}

void append_json_line(std::string& out, const served_list& list, const served_point& served) {
  const std::int64_t line = list.source.lines.line_of(*served.point.chn);
  append_json(out += "{\"file\":", list.path);
  out += ",\"line\":";
  append(out, line != 0 ? message(line) : "null");
  append_json_point(out += ',', served);
  out += '}';
}

std::string json_sums(const request_tally& tally, std::uint64_t clients, std::size_t points,
                      std::size_t placeless) {
  return message("{\"requests\":", tally.requests, ",\"refused\":", tally.refused,
                 ",\"clients\":", clients, ",\"points\":", points,
                 ",\"without_register\":", placeless, ",\"never_read\":[");
}

void print_json_summary(const served_list& list, const served_points& unread, output& out) {
  std::string text;
  for (const served_point* const served : unread) {
    if (served != unread.front()) text += ',';
    append_json_line(text, list, *served);
    out.put(text);
    text.clear();
  }
  out.put("]}\n");
}

}  // namespace

void print_summary(const served_list& list, const request_tally& tally, std::uint64_t clients,
                   serve_format format, output& out) {
  const served_points unread = never_read(list.image);
  const std::size_t points = count_points(list.image);
  if (format == serve_format::json) {
    out.put(json_sums(tally, clients, points, list.placeless));
    return print_json_summary(list, unread, out);
  }
  std::string text;
  for (const served_point* const served : unread) {
    append_point_line(text, list, *served);
    out.put(text);
    text.clear();
  }
  out.put(message("requests: ", tally.requests, ", refused: ", tally.refused,
                  ", clients: ", clients, "\n"));
  out.put(message("points: ", points, ", never read: ", unread.size(), "\n"));
  if (list.placeless != 0) out.put(message("points without a register: ", list.placeless, "\n"));
}

}  // namespace ruvex
