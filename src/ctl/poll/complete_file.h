// A file that is there whole, or as it was before.
#pragma once

#include <string>

namespace ruvex {

class complete_file {
 public:
  // Makes a new file beside `path` to write to. A `path` that is there and no regular file, such as
  // a device, is written directly. A `path` that is the file `input` is refused. is_open() is false
  // after a complaint.
  complete_file(const char* path, const char* input);
  ~complete_file();  // what was not kept goes
  complete_file(const complete_file&) = delete;
  complete_file& operator=(const complete_file&) = delete;

  bool is_open() const noexcept { return descriptor_ >= 0; }
  int descriptor() const noexcept { return descriptor_; }

  // Puts what was written, all of it unless `write_error` (an errno) says otherwise, in its place.
  // False after a complaint; then `path` is as it was.
  bool keep(int write_error);

 private:
  std::string path_;
  std::string temporary_;  // empty: written directly
  int descriptor_ = -1;
};

}  // namespace ruvex
