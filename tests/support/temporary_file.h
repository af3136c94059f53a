// Files for tests.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace ruvex {

// The bytes of a file; none when there is no such file.
inline std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A file with a name of its own, which goes with the object.
class temporary_file {
 public:
  temporary_file() : path_(testing::TempDir() + "ruvex_test_XXXXXX") {
    const int descriptor = ::mkstemp(path_.data());
    if (descriptor < 0) std::abort();
    ::close(descriptor);
  }
  ~temporary_file() { ::unlink(path_.c_str()); }
  temporary_file(const temporary_file&) = delete;
  temporary_file& operator=(const temporary_file&) = delete;

  const char* path() const { return path_.c_str(); }
  const char* filled_with(std::string_view content) const {
    std::ofstream(path_, std::ios::binary) << content;
    return path();
  }
  std::string content() const { return content_of(path_); }

 private:
  std::string path_;
};

}  // namespace ruvex
