// The built program as a process of its own, and the ground its tests stand on.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/temporary_file.h"

namespace ruvex {

// How a process ended and what it printed.
struct outcome {
  int status;       // the exit status, or the negative number of the signal that ended it
  std::string out;  // build date and time, when well formed, are "Mmm dd yyyy" and "hh:mm:ss"
  std::string err;

  bool operator==(const outcome&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const outcome& ended);

// The outcomes that are usual. What a run prints beyond its first and last lines is `printed`.
outcome success(std::string_view printed = {});
outcome failed_run(std::string_view printed);
outcome failed_read(int code, std::string_view message);

inline constexpr std::string_view banner = "ruvex : Rev 1.0.6 : Mmm dd yyyy : hh:mm:ss\n";

// The exit status of a process that could not start its program.
inline constexpr int not_started = 127;

// What the new process does right before its program starts.
using preparation = std::function<void()>;

// A preparation: file permissions hold for the program even when it is run by root.
void obey_permissions();

class process {
 public:
  // Starts command[0], under the emulator where there is one, with the rest as its arguments and
  // with an empty standard input. A command without words is nothing but its preparation.
  explicit process(const std::vector<std::string>& command, const preparation& prepare = {});
  ~process();  // kills a process that has not ended
  process(const process&) = delete;
  process& operator=(const process&) = delete;

  pid_t id() const { return id_; }
  outcome wait();

 private:
  pid_t id_;
  int out_;
  int err_;
  int wait_status_ = 0;
  bool ended_ = false;
};

// A point line with the usual text in each of its 17 fields but those that are given.
std::string point_line(const std::map<std::size_t, std::string>& given = {});
// `count` such lines, a hundred to a unit; each makes more than a kilobyte of XML.
std::string many_points(int count);

// The groups of each match of an extended regular expression, whose ^ and $ match in every line.
// The C library's, since <regex> costs a source almost three seconds of compilation.
std::vector<std::vector<std::string>> matches(const std::string& text, const char* pattern);

// A test in a folder of its own.
class ToolTest : public testing::Test {
 protected:
  ToolTest();
  ~ToolTest() override;

  std::string path(std::string_view name) const { return (folder_ / name).string(); }
  void write(std::string_view name, std::string_view content) const;
  std::string read(std::string_view name) const { return content_of(path(name)); }
  std::filesystem::file_type type(std::string_view name) const;  // of a link: link
  bool exists(std::string_view name) const;
  void make_fifo(std::string_view name) const;

  // Runs the program with these arguments.
  static outcome run(std::vector<std::string> arguments, const preparation& prepare = {});
  // Runs it on this mapping, in.csv, with an earlier output standing: out.xml.
  outcome convert(std::string_view mapping, const preparation& prepare = {}) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace ruvex
