#include "command.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "output.h"
#include "text/characters.h"
#include "text/texts.h"
#include "version.h"

namespace ruvex {
namespace {

void print_complaint(std::string_view program, std::string_view what) noexcept {
  std::string line = message(program, ": ");
  append_visible(line, what);
  line += '\n';
  std::fputs(line.c_str(), stderr);
}

int offer_help(const command& command) noexcept {
  std::fprintf(stderr, "Try '%s --help' for more information.\n", program_of(command).c_str());
  return ctl_trouble;
}

int print(std::string_view text) noexcept {
  output out;
  out.put(text);
  return end_with(ctl_clean, out.finish());
}

}  // namespace

std::string program_of(const command& command) {
  return *command.name == '\0' ? "ruvexctl" : message("ruvexctl ", command.name);
}

void complain(const char* format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  print_complaint("ruvexctl", formatted(format, arguments));
  va_end(arguments);
}

int complain_of_use(const command& command, std::string_view what) noexcept {
  print_complaint(program_of(command), what);
  return offer_help(command);
}

int print_help(const command& command) noexcept {
  const std::string more = command.more_help != nullptr ? command.more_help() : std::string();
  return print(
      message("Usage: ", program_of(command), " ", command.synopsis, "\n", command.help, more));
}

int print_version() noexcept {
  return print(version_text());
}

int end_with(int status, int write_error) noexcept {
  if (write_error == 0) return status;
  // Who reads no further, as head does, has all that it wants.
  if (write_error == EPIPE) return ctl_trouble;
  complain("standard output: %s", std::strerror(write_error));
  return ctl_trouble;
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

// What getopt_long prints holds the option's text, so a copy of the texts in visible form is read
// again; the options before the bad one are the same in both.
int complain_of_option(const command& command, int argc, char** argv,
                       const std::vector<::option>& options) {
  std::vector<std::string> texts(static_cast<std::size_t>(argc));
  std::vector<char*> shown;
  for (std::string& text : texts) {
    append_visible(text, argv[shown.size()]);
    shown.push_back(text.data());
  }
  shown.push_back(nullptr);
  optind = 0;
  opterr = 1;
  int found = 0;
  while (found != '?' && found != -1) {
    found = ::getopt_long(argc, shown.data(), short_options, options.data(), nullptr);
  }
  return offer_help(command);
}

int complain_of_argument(const command& command, const char* option, const char* argument) {
  return complain_of_use(command,
                         message("invalid argument '", argument, "' for '--", option, "'"));
}

}  // namespace option_reading
}  // namespace ruvex
