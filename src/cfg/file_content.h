// A file, read whole into memory.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace ruvex {

struct free_delete {
  void operator()(char* bytes) const noexcept { std::free(bytes); }
};

// The bytes of a file, or why they cannot be had.
struct file_content {
  std::unique_ptr<char, free_delete> bytes = {};
  std::int32_t length = 0;
  bool goes_on = false;           // there are more bytes than the size of the file said
  const char* failure = nullptr;  // null when the file has been read; valid until the next read
  int error = 0;                  // the errno of the failure; 0 when it is not one of the system's
};

// Reads a regular file of at most 2^31 - 1 bytes.
file_content read_file(const char* path) noexcept;

}  // namespace ruvex
