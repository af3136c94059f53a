// ruvexctl SUBCOMMAND ...: shows and checks what a mapping file will become.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "command.h"
#include "text/texts.h"

namespace ruvex {
namespace {

const command* const commands[] = {&check_command, &show_command, &diff_command, &tidy_command};

int run_main(int argc, char** argv);

const command main_command = {"", "SUBCOMMAND [OPTION]... [FILE]...",
                              R"(See and check what a mapping file will become.

  check   report everything in mapping files that ruvex refuses or takes
          for something else than was meant
  show    print the points of a file as the controller will have them
  diff    compare the points of two files
  tidy    turn a spreadsheet export into a mapping file

      --help     print this help, or that of a subcommand
      --version  print the version

A FILE that is "-" is standard input. The exit status is 0 when nothing was
found, 1 when something was found or differs, 2 in case of trouble.
The manual is ruvexctl(1).
)",
                              run_main};

int run_main(int argc, char** argv) {
  if (argc < 2) return complain_of_use(main_command, "a subcommand is needed");
  const char* const name = argv[1];
  if (std::strcmp(name, "--help") == 0) return print_help(main_command);
  if (std::strcmp(name, "--version") == 0) return print_version();
  for (const command* row : commands) {
    if (std::strcmp(row->name, name) != 0) continue;
    std::string program = program_of(*row);
    argv[1] = program.data();  // getopt_long puts it before its messages
    return row->run(argc - 1, argv + 1);
  }
  return complain_of_use(main_command, message("'", name, "' is not a subcommand"));
}

// complain() would need memory.
[[noreturn]] void end_without_memory() {
  std::fputs("ruvexctl: out of memory\n", stderr);
  std::_Exit(ctl_trouble);
}

}  // namespace
}  // namespace ruvex

int main(int argc, char** argv) {
  std::set_new_handler(ruvex::end_without_memory);
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away is a failed write like any other
  return ruvex::run_main(argc, argv);
}
