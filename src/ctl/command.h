// What the subcommands share: how they are called, how they complain, how they end.
#pragma once

#include <getopt.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ruvex {

// The exit statuses of ruvexctl.
enum ctl_status : int {
  ctl_clean = 0,
  ctl_findings = 1,  // check: an error was found; diff: the files differ
  ctl_trouble = 2,   // the work could not be done; a message has been printed
};

struct command {
  const char* name;                   // as on the command line; empty for the program itself
  const char* synopsis;               // what follows the name in a usage line
  const char* help;                   // the rest of the answer to --help: lines, the last one ended
  int (*run)(int argc, char** argv);  // argv[0] is program_of(); the result is a ctl_status
  std::string (*more_help)() = nullptr;  // what follows the help, where something does
};

extern const command check_command;
extern const command show_command;
extern const command diff_command;
extern const command tidy_command;
extern const command poll_command;
extern const command serve_command;

// "ruvexctl NAME", with which a user starts the command.
std::string program_of(const command& command);

// Prints "ruvexctl: ", the message and a newline on standard error; what is not printable in the
// message is made visible. Format and arguments are those of printf.
[[gnu::format(printf, 1, 2)]] void complain(const char* format, ...) noexcept;

// Prints "ruvexctl NAME: ", what is wrong with the command line, and an offer of help in the same
// way. Gives ctl_trouble.
int complain_of_use(const command& command, std::string_view what) noexcept;

// The answers to --help and --version, on standard output. Both give the status to end with.
int print_help(const command& command) noexcept;
int print_version() noexcept;

// The status to end with once everything is printed: `status`, or ctl_trouble after a complaint
// where `write_error` (an errno) tells that not every byte has reached standard output.
int end_with(int status, int write_error) noexcept;

// A text that an option takes, and what it stands for.
template <class Value>
struct choice {
  std::string_view text;
  Value value;
};

// Finds `text` among the choices. False, and `value` is unchanged, when it is none of them.
template <class Value, std::size_t Count>
bool choose(const choice<Value> (&choices)[Count], std::string_view text, Value& value) {
  for (const auto& row : choices) {
    if (row.text != text) continue;
    value = row.value;
    return true;
  }
  return false;
}

// An option of a subcommand.
template <class Settings>
struct option_row {
  const char* name;  // without the hyphens
  bool has_argument;
  // Takes the argument (empty where there is none). False when it is not one.
  bool (*take)(Settings& settings, std::string_view argument);
};

// Reads the options of a subcommand into `settings`, in the manner of GNU programs: options and
// operands in any order, unambiguous abbreviations, "--" before operands only. --help, -h and
// --version are answered. Nothing, and the operands are argv[optind] and those behind it, when the
// subcommand is to run; otherwise the status to end with, after a complaint where something is
// wrong.
template <class Settings, std::size_t Rows>
std::optional<int> read_options(const command& command, int argc, char** argv,
                                const option_row<Settings> (&rows)[Rows], Settings& settings);

// The operands that read_options has left.
inline std::span<char*> operands(int argc, char** argv) noexcept {
  return {argv + optind, argv + argc};
}

namespace option_reading {

struct option_text {
  const char* name;
  bool has_argument;
};

inline constexpr char short_options[] = "h";
inline constexpr int help = 'h';
inline constexpr int version = 1001;

// The table that getopt_long takes, with --help and --version behind the given options.
std::vector<::option> long_options(std::span<const option_text> options);

// Has getopt_long say on standard error what is wrong with the first bad option, and offers help.
// Gives ctl_trouble.
int complain_of_option(const command& command, int argc, char** argv,
                       const std::vector<::option>& options);

int complain_of_argument(const command& command, const char* option, const char* argument);

}  // namespace option_reading

template <class Settings, std::size_t Rows>
std::optional<int> read_options(const command& command, int argc, char** argv,
                                const option_row<Settings> (&rows)[Rows], Settings& settings) {
  std::vector<option_reading::option_text> texts;
  for (const auto& row : rows) texts.push_back({row.name, row.has_argument});
  const std::vector<::option> options = option_reading::long_options(texts);
  optind = 0;  // a fresh start
  opterr = 0;
  while (true) {
    const int found =
        ::getopt_long(argc, argv, option_reading::short_options, options.data(), nullptr);
    if (found == -1) return std::nullopt;
    if (found == option_reading::help) return print_help(command);
    if (found == option_reading::version) return print_version();
    if (found == '?') return option_reading::complain_of_option(command, argc, argv, options);
    const auto& row = rows[found];
    const char* argument = row.has_argument ? optarg : "";
    if (!row.take(settings, argument)) {
      return option_reading::complain_of_argument(command, row.name, argument);
    }
  }
}

}  // namespace ruvex
