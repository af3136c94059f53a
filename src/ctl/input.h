// Input files of the subcommands.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ruvex {

// A file that is open for reading; "-" names standard input.
class input_file {
 public:
  // Opens `path`. When it cannot be read, or is a folder, a complaint has been printed and
  // is_open() is false.
  explicit input_file(const char* path) noexcept;
  ~input_file();  // closes what it has opened
  input_file(const input_file&) = delete;
  input_file& operator=(const input_file&) = delete;

  bool is_open() const noexcept { return descriptor_ >= 0; }
  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

// The whole content of `path` ("-": standard input). Nothing, after a complaint, when it cannot be
// read to its end. The string has room for a few bytes more.
std::optional<std::string> read_content(const char* path);

// Whether XML is short enough for its parser, which counts in 32 bits; false after a complaint.
bool is_readable_xml(const char* path, std::string_view xml) noexcept;

}  // namespace ruvex
