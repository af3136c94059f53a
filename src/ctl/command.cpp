#include "command.h"

#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace ruvex {

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
  std::printf("Usage: %s %s\n%s", command.program, command.synopsis, command.help);
  if (command.print_more != nullptr) command.print_more();
  return finish_output(ctl_clean);
}

int print_version() noexcept {
  std::puts("ruvexctl (ruvex) " RUVEX_VERSION);
  return finish_output(ctl_clean);
}

int finish_output(int status) noexcept {
  const bool failed_before = std::ferror(stdout) != 0;
  errno = 0;
  if (std::fflush(stdout) == 0 && !failed_before) return status;
  complain("standard output: %s", errno != 0 ? std::strerror(errno) : "write error");
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
