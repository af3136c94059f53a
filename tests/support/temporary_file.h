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
  std::string content() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path_;
};

}  // namespace ruvex
