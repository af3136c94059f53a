#include "findings.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "place_message.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

bool colours_are_wanted() noexcept {
  const char* const terminal = std::getenv("TERM");
  const char* const no_colour = std::getenv("NO_COLOR");  // a convention: https://no-color.org
  return terminal != nullptr && std::strcmp(terminal, "dumb") != 0 &&
         (no_colour == nullptr || *no_colour == '\0');
}

std::string_view word_of(severity level) noexcept {
  return level == severity::error ? "error" : "warning";
}

constexpr paint error_paint = {"\033[1m", "\033[1;31m", "\033[0m"};
constexpr paint warning_paint = {"\033[1m", "\033[1;35m", "\033[0m"};

}  // namespace

finding_report::finding_report(const finding_settings& settings) noexcept
    : settings_(settings),
      is_terminal_(settings.format == finding_format::text && ::isatty(STDERR_FILENO) == 1),
      is_coloured_(is_terminal_ && colours_are_wanted()),
      out_(settings.format == finding_format::text ? STDERR_FILENO : STDOUT_FILENO) {}

void finding_report::add(std::string_view file, const finding& finding) {
  if (!counts(finding.id) || is_full()) return;
  const severity level = level_of(finding.id);
  ++(level == severity::error ? errors_ : warnings_);
  if (settings_.is_quiet) return;
  printed_.clear();
  if (settings_.format == finding_format::text) {
    append_text(file, finding, level);
  } else {
    append_json_object(file, finding, level);
  }
  out_.put(printed_);
  if (is_terminal_) flush();
}

bool finding_report::is_full() const noexcept {
  return (settings_.max_errors != 0 && errors_ >= settings_.max_errors) ||
         (settings_.is_quiet && errors_ != 0);
}

int finding_report::finish() noexcept {
  const int error = out_.finish();
  return settings_.format == finding_format::text ? 0 : error;
}

severity finding_report::level_of(rule id) const noexcept {
  return settings_.warnings_are_errors ? severity::error : row_of(id).level;
}

bool finding_report::counts(rule id) const noexcept {
  const bool is_hidden = settings_.is_hiding_warnings && level_of(id) == severity::warning;
  return !is_hidden && !settings_.is_ignored[static_cast<std::size_t>(id)];
}

void finding_report::append_text(std::string_view file, const finding& finding, severity level) {
  std::string text = text_of(finding);
  append(text, " ["), append(text, row_of(finding.id).name), append(text, "]");
  paint colours;
  if (is_coloured_) colours = level == severity::error ? error_paint : warning_paint;
  const auto line = static_cast<std::size_t>(finding.line);
  append_message(printed_, {file, line, line, finding.column, word_of(level), text}, colours);
}

void finding_report::append_json_object(std::string_view file, const finding& finding,
                                        severity level) {
  printed_ += R"({"file":)";
  append_json(printed_, file);
  printed_ +=
      message(R"(,"line":)", finding.line, R"(,"column":)", finding.column, R"(,"severity":")",
              word_of(level), R"(","rule":")", row_of(finding.id).name, R"(","field":)");
  if (finding.field == no_field) {
    printed_ += R"(null,"field_name":null)";
  } else {
    printed_ +=
        message(finding.field, R"(,"field_name":")", mapping_columns[finding.field].name, "\"");
  }
  printed_ += R"(,"text":)";
  append_json(printed_, finding.text);
  printed_ += "}\n";
}

}  // namespace ruvex
