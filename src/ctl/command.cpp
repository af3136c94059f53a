#include "command.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "output.h"
#include "text/texts.h"

namespace ruvex {

namespace {

int print(std::string_view text) noexcept {
  output out;
  out.put(text);
  return end_with(ctl_clean, out.finish());
}

}  // namespace

void complain(const char* format, ...) noexcept {
  std::fputs("ruvexctl: ", stderr);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fputc('\n', stderr);
}

int refuse_use(const command& command, const char* what) noexcept {
  std::fprintf(stderr, "%s: %s\n", command.program, what);
  return offer_help(command);
}

int offer_help(const command& command) noexcept {
  std::fprintf(stderr, "Try '%s --help' for more information.\n", command.program);
  return ctl_trouble;
}

int print_help(const command& command) noexcept {
  const std::string more = command.more_help != nullptr ? command.more_help() : std::string();
  return print(
      message("Usage: ", command.program, " ", command.synopsis, "\n", command.help, more));
}

int print_version() noexcept {
  return print("ruvexctl (ruvex) " RUVEX_VERSION "\n");
}

int end_with(int status, int write_error) noexcept {
  if (write_error == 0) return status;
  complain("standard output: %s", std::strerror(write_error));
  return ctl_trouble;
}

bool parse_number(std::string_view text, unsigned long largest, unsigned long& value) noexcept {
  unsigned long number = 0;
  const char* const end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || behind != end || number > largest) return false;
  value = number;
  return true;
}

namespace option_reading {

std::vector<::option> long_options(std::span<const option_text> options) {
  std::vector<::option> table;
  for (const option_text& text : options) {
    const int place = static_cast<int>(table.size());
    table.push_back(
        {text.name, text.has_argument ? required_argument : no_argument, nullptr, place});
  }
  table.push_back({"help", no_argument, nullptr, help});
  table.push_back({"version", no_argument, nullptr, version});
  table.push_back({nullptr, 0, nullptr, 0});
  return table;
}

int refuse_argument(const command& command, const char* option, const char* argument) noexcept {
  std::fprintf(stderr, "%s: invalid argument '%s' for '--%s'\n", command.program, argument, option);
  return offer_help(command);
}

}  // namespace option_reading
}  // namespace ruvex
