#include "findings.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "text/json.h"
#include "text/printable.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr std::size_t held_at_most = 32768;

bool colours_are_wanted() noexcept {
  const char* const terminal = std::getenv("TERM");
  const char* const no_colour = std::getenv("NO_COLOR");  // a convention: https://no-color.org
  return terminal != nullptr && std::strcmp(terminal, "dumb") != 0 &&
         (no_colour == nullptr || *no_colour == '\0');
}

// What a file holds must not reach the terminal as a command to it: bytes of what is not printable
// are shown as \xNN.
void append_visibly(std::string& out, std::string_view text) {
  constexpr std::string_view hex = "0123456789ABCDEF";
  while (!text.empty()) {
    const character_form form = form_at(text);
    const std::string_view character = text.substr(0, form.length);
    text.remove_prefix(form.length);
    if (form.is_printable) {
      out += character;
      continue;
    }
    for (const char byte : character) {
      const auto code = static_cast<unsigned char>(byte);
      out += "\\x";
      out += hex[code >> 4];
      out += hex[code & 15];
    }
  }
}

std::string_view word_of(severity level) noexcept {
  return level == severity::error ? "error" : "warning";
}

struct paint {
  std::string_view place, error, warning, plain;
};
constexpr paint colours = {"\033[1m", "\033[1;31m", "\033[1;35m", "\033[0m"};
constexpr paint no_colours = {"", "", "", ""};

}  // namespace

finding_report::finding_report(const finding_settings& settings) noexcept
    : settings_(settings),
      is_terminal_(settings.format == finding_format::text && ::isatty(STDERR_FILENO) == 1),
      is_coloured_(is_terminal_ && colours_are_wanted()) {}

void finding_report::add(std::string_view file, const finding& finding) {
  const rule_row& row = row_of(finding.id);
  if (settings_.is_ignored[static_cast<std::size_t>(finding.id)] || is_full()) return;
  const severity level = settings_.warnings_are_errors ? severity::error : row.level;
  ++(level == severity::error ? errors_ : warnings_);
  if (settings_.is_quiet) return;
  if (settings_.format == finding_format::text) {
    print_text(file, finding, level);
  } else {
    print_json(file, finding, level);
  }
  if (is_terminal_ || held_.size() >= held_at_most) flush();
}

bool finding_report::is_full() const noexcept {
  return (settings_.max_errors != 0 && errors_ >= settings_.max_errors) ||
         (settings_.is_quiet && errors_ + warnings_ != 0);
}

void finding_report::flush() noexcept {
  std::FILE* const stream = settings_.format == finding_format::text ? stderr : stdout;
  std::fwrite(held_.data(), 1, held_.size(), stream);
  held_.clear();
}

void finding_report::print_text(std::string_view file, const finding& finding, severity level) {
  const paint& paint = is_coloured_ ? colours : no_colours;
  held_ += paint.place;
  append_visibly(held_, file);
  append(held_, ":"), append(held_, finding.line);
  append(held_, ":"), append(held_, finding.column);
  append(held_, ": ");
  held_ += level == severity::error ? paint.error : paint.warning;
  held_ += word_of(level);
  held_ += ": ";
  held_ += paint.plain;
  if (finding.field != no_field) {
    append(held_, "field "), append(held_, finding.field);
    append(held_, " ("), append(held_, mapping_columns[finding.field].name), append(held_, "): ");
  }
  append_visibly(held_, finding.text);
  append(held_, " ["), append(held_, row_of(finding.id).name), append(held_, "]\n");
}

void finding_report::print_json(std::string_view file, const finding& finding, severity level) {
  held_ += R"({"file":)";
  append_json(held_, file);
  held_ += message(R"(,"line":)", finding.line, R"(,"column":)", finding.column, R"(,"severity":")",
                   word_of(level), R"(","rule":")", row_of(finding.id).name, R"(","field":)");
  if (finding.field == no_field) {
    held_ += R"(null,"field_name":null)";
  } else {
    held_ +=
        message(finding.field, R"(,"field_name":")", mapping_columns[finding.field].name, "\"");
  }
  held_ += R"(,"text":)";
  append_json(held_, finding.text);
  held_ += "}\n";
}

}  // namespace ruvex
