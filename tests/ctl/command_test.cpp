#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tool/process.h"

namespace ruvex {
namespace {

using CommandTest = ToolTest;

TEST_F(CommandTest, HelpAndVersionAreAnswered) {
  const outcome version = run({"--version"});
  EXPECT_EQ(version, (outcome{0, "ruvexctl (ruvex) 1.0.6\n", ""}));
  EXPECT_TRUE(run({"--help"}).out.starts_with("Usage: ruvexctl SUBCOMMAND"));
  for (const std::string name : {"check", "show", "diff", "tidy"}) {
    const outcome help = run({name, "--he"});
    EXPECT_EQ(help.status, 0) << name;
    EXPECT_TRUE(help.out.starts_with("Usage: ruvexctl " + name + " ")) << name;
    EXPECT_EQ(run({name, "--version"}), version) << name;
  }
}

TEST_F(CommandTest, AWrongCommandLineIsTrouble) {
  const struct {
    std::vector<std::string> arguments;
    std::string message;
  } cases[] = {
      {{}, "ruvexctl: a subcommand is needed\nTry 'ruvexctl --help'"},
      {{"chek"}, "ruvexctl: 'chek' is not a subcommand\nTry 'ruvexctl --help'"},
      {{"check", "--fast"}, "ruvexctl check: unrecognized option '--fast'\nTry 'ruvexctl check"},
      {{"check", "-f", "x"}, "ruvexctl check: invalid option -- 'f'\n"},
      {{"show", "--format"}, "ruvexctl show: option '--format' requires an argument\n"},
      {{"show", "--format=xml", "x"}, "ruvexctl show: invalid argument 'xml' for '--format'\nTry"},
      {{"show", "--\n"}, "ruvexctl show: unrecognized option '--\\x0A'\nTry"},
      {{"show", "--format=\n"}, "ruvexctl show: invalid argument '\\x0A' for '--format'\nTry"},
      {{"check"}, "ruvexctl check: a file is needed\nTry 'ruvexctl check"},
      {{"show", "a", "b"}, "ruvexctl show: one file is needed\nTry"},
      {{"diff", "a"}, "ruvexctl diff: two files are needed\nTry"},
      {{"tidy"}, "ruvexctl tidy: one file is needed\nTry"},
  };
  for (const auto& row : cases) {
    const outcome ended = run(row.arguments);
    EXPECT_EQ(ended.status, 2) << row.message;
    EXPECT_TRUE(ended.out.empty()) << row.message;
    EXPECT_TRUE(ended.err.starts_with(row.message)) << ended.err;
  }
}

TEST_F(CommandTest, WhatCannotBeReadOrWrittenIsTrouble) {
  write("in.csv", point_line());
  for (const std::string name : {"check", "show", "tidy"}) {
    const outcome missing = run({name, path("none.csv")});
    EXPECT_EQ(missing,
              (outcome{2, "", "ruvexctl: " + path("none.csv") + ": No such file or directory\n"}))
        << name;
    EXPECT_EQ(run({name, path(".")}).err, "ruvexctl: " + path(".") + ": Is a directory\n") << name;
  }
  const auto to_full = [] { ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); };
  for (const std::string name : {"show", "tidy"}) {
    const outcome full = run({name, path("in.csv")}, to_full);
    EXPECT_EQ(full, (outcome{2, "", "ruvexctl: standard output: No space left on device\n"}))
        << name;
  }
}

TEST_F(CommandTest, TheNameOfAFileCommandsNoTerminalAndBeginsNoLine) {
  const std::string file = path("a\x1B[2J\n\xC2\x9B.csv");
  write(file, {"ab\0\n", 4});
  const std::string shown = path("a\\x1B[2J\\x0A\\xC2\\x9B.csv");
  const std::string nul =
      shown + ":1:3: error: the line holds a NUL byte, which ruvex refuses [nul-byte]\n";
  const struct {
    std::vector<std::string> arguments;
    std::string err;
  } cases[] = {
      {{"check", file}, nul + "1 file, 0 points: 1 error, 0 warnings\n"},
      {{"show", file}, nul},
      {{"diff", file, file + "x"}, nul + "ruvexctl: " + shown + "x: No such file or directory\n"},
      {{"tidy", "--columns=-,-,1,=1,=4", file},
       shown + ":1:1: error: field 2 (name) holds a NUL byte, which a mapping file cannot hold\n"},
      {{"tidy", "--columns=1", file},
       shown + ":1: left out: header\nruvexctl: " + shown +
           ": no row has a unit and a reference with digits; see --delimiter and --columns\n"},
  };
  for (const auto& row : cases) EXPECT_EQ(run(row.arguments).err, row.err);
}

// What bash offers behind these words, with the program's own help as the source.
std::string completed(const std::string& words, int current) {
  std::string emulator = RUVEX_EMULATOR;
  std::replace(emulator.begin(), emulator.end(), '|', ' ');
  const std::string script = "ruvexctl() { " + emulator + " \"" + RUVEX_PROGRAM +
                             "\" \"$@\"; }; . " + RUVEX_COMPLETION + "; COMP_WORDS=(" + words +
                             "); COMP_CWORD=" + std::to_string(current) +
                             "; _ruvexctl 2>/dev/null; echo ${COMPREPLY[*]}";
  // Bash itself needs no emulator.
  const auto become_bash = [&] { ::execl("/bin/bash", "bash", "-c", script.c_str(), nullptr); };
  return process({}, become_bash).wait().out;
}

TEST_F(CommandTest, BashCompletesSubcommandsOptionsAndArguments) {
  EXPECT_EQ(completed("ruvexctl ''", 1), "check show diff tidy --help --version\n");
  EXPECT_EQ(completed("ruvexctl show --form", 2), "--format=\n");
  EXPECT_EQ(completed("ruvexctl show --format =", 3), "table csv json markdown\n");
  EXPECT_EQ(completed("ruvexctl tidy --encoding = u", 4), "utf-8 utf-16\n");
  EXPECT_EQ(completed("ruvexctl check --ignore = utf-16,bit", 4),
            "utf-16,bit-number utf-16,bit-unused\n");
}

}  // namespace
}  // namespace ruvex
