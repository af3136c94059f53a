// A file that is written whole or not at all.
#pragma once

#include <sys/stat.h>

#include <climits>
#include <cstdio>

namespace ruvex {

// The file at a path, while it is written. A regular file gets its name when it is kept: nobody
// sees a part of it, and what stood there before stands until then. Written where they stand are
// devices, FIFOs, descriptors of the process (/dev/stdout), files that are mounted, and files in
// folders that take no new ones; such a file, when it is not kept, is emptied.
class output_file {
 public:
  // Follows links to the file, or to the place where it is to be.
  explicit output_file(const char* path) noexcept;
  ~output_file();
  output_file(const output_file&) = delete;
  output_file& operator=(const output_file&) = delete;

  // Where to write, without a buffer; null when the file cannot be written, for error(), an errno.
  std::FILE* stream() const noexcept { return stream_; }
  int error() const noexcept { return error_; }

  // Brings the file to the disk and gives it its name and, where it replaces one, that one's owner
  // and permission bits. To be called once, last. 0, or the errno of the first step that failed.
  int keep() noexcept;

 private:
  enum class place { as_itself, unnamed, temporary, kept };

  int open(const char* path) noexcept;
  int open_beside() noexcept;
  int open_new() noexcept;
  int open_temporary() noexcept;
  int put_in_place(int descriptor) noexcept;
  int give_name(int descriptor) noexcept;

  std::FILE* stream_ = nullptr;
  int error_ = 0;
  place place_ = place::as_itself;
  int folder_ = -1;
  bool replaces_ = false;
  struct stat replaced_ = {};
  char path_[PATH_MAX];
  const char* name_ = path_;  // in its folder
  char temporary_[24] = {};
};

}  // namespace ruvex
