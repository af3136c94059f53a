// A file in memory, for the fuzz targets whose code takes a path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "require.h"

namespace ruvex {

// A file in memory that has a path.
class memory_file {
 public:
  memory_file() : descriptor_(::memfd_create("fuzz", 0)) {
    require(descriptor_ >= 0, "a memory file can be made");
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
  }
  ~memory_file() { ::close(descriptor_); }
  memory_file(const memory_file&) = delete;
  memory_file& operator=(const memory_file&) = delete;

  void write(const std::uint8_t* data, std::size_t size) const {
    require(::write(descriptor_, data, size) == static_cast<ssize_t>(size), "it can be written");
  }
  std::string content() const {
    std::string bytes(static_cast<std::size_t>(::lseek(descriptor_, 0, SEEK_END)), '\0');
    require(
        ::pread(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
        "it can be read");
    return bytes;
  }
  const char* path() const { return path_.c_str(); }

 private:
  int descriptor_;
  std::string path_;
};

}  // namespace ruvex
