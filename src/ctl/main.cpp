// ruvexctl SUBCOMMAND ...: shows and checks what a mapping file will become.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string>
#include <string_view>
#if defined(RUVEX_STATIC) && defined(__GLIBC__)
#include <nss.h>
#endif

#include "command.h"
#include "text/texts.h"

namespace ruvex {
namespace {

const command* const commands[] = {&check_command, &show_command, &diff_command,
                                   &tidy_command,  &poll_command, &serve_command};

int run_main(int argc, char** argv);

const command main_command = {"", "SUBCOMMAND [OPTION]... [FILE]...",
                              R"(See and check what a mapping file will become.

  check   report everything in mapping files that ruvex refuses or takes
          for something else than was meant
  show    print the points of a file as the controller will have them
  diff    compare the points of two files
  tidy    turn a spreadsheet export into a mapping file
  poll    read every point of a file from its device
  serve   answer for the devices of a file over Modbus

  -h, --help     print this help, or that of a subcommand ("ruvexctl check -h",
                 "ruvexctl help check")
      --version  print the version

A FILE that is "-" is standard input. The exit status is 0 when no error was
found, 1 when one was found or points differ, 2 in case of trouble.
The manual is ruvexctl(1).
)",
                              run_main};

// Null when there is no subcommand of this name.
const command* find_command(std::string_view name) {
  const auto* const found =
      std::ranges::find_if(commands, [&](const command* row) { return row->name == name; });
  return found == std::end(commands) ? nullptr : *found;
}

int complain_of_name(std::string_view name) {
  return complain_of_use(main_command, message("'", name, "' is not a subcommand"));
}

// Of ruvexctl itself, where no name is given.
int help_with(const char* name) {
  if (name == nullptr) return print_help(main_command);
  const command* const found = find_command(name);
  return found == nullptr ? complain_of_name(name) : print_help(*found);
}

int run_main(int argc, char** argv) {
  if (argc < 2) return complain_of_use(main_command, "a subcommand is needed");
  const std::string_view name = argv[1];
  if (name == "--help" || name == "-h") return print_help(main_command);
  if (name == "help") return help_with(argc > 2 ? argv[2] : nullptr);
  if (name == "--version") return print_version();
  const command* const found = find_command(name);
  if (found == nullptr) return complain_of_name(name);
  std::string program = program_of(*found);
  argv[1] = program.data();  // getopt_long puts it before its messages
  return found->run(argc - 1, argv + 1);
}

// complain() would need memory.
[[noreturn]] void end_without_memory() {
  std::fputs("ruvexctl: out of memory\n", stderr);
  std::_Exit(ctl_trouble);
}

// A static program knows the usual ways to a host's name itself. Any other would be loaded from a C
// library of the machine's, with which it may not agree.
void keep_to_own_lookups() {
#if defined(RUVEX_STATIC) && defined(__GLIBC__)
  ::__nss_configure_lookup("hosts", "files dns");
#endif
}

}  // namespace
}  // namespace ruvex

int main(int argc, char** argv) {
  ruvex::keep_to_own_lookups();
  std::set_new_handler(ruvex::end_without_memory);
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away is a failed write like any other
  return ruvex::run_main(argc, argv);
}
