#include "complete_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "command.h"

namespace ruvex {
namespace {

// What mkstemp gives is for its owner alone.
void give_usual_mode(int descriptor) noexcept {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(descriptor, 0666 & ~mask);
}

// A link stays, and the file that it leads to is replaced.
std::string target_of(const char* path) {
  char* const target = ::realpath(path, nullptr);
  std::string found = target != nullptr ? target : path;
  std::free(target);
  return found;
}

}  // namespace

complete_file::complete_file(const char* path, const char* input) : path_(target_of(path)) {
  struct stat status = {};
  struct stat read = {};
  const bool is_there = ::stat(path, &status) == 0;
  const bool is_regular = is_there && S_ISREG(status.st_mode);
  if (is_regular && ::stat(input, &read) == 0 && status.st_dev == read.st_dev &&
      status.st_ino == read.st_ino) {
    complain("%s: the output would replace the input", path);
    return;
  }
  if (is_there && !is_regular) {
    descriptor_ = ::open(path, O_WRONLY | O_CLOEXEC);
  } else {
    temporary_ = path_ + ".XXXXXX";
    descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
  }
  if (descriptor_ < 0) complain("%s: %s", path, std::strerror(errno));
  if (descriptor_ < 0 || temporary_.empty()) return;
  if (is_there) {
    ::fchmod(descriptor_, status.st_mode & 07777);
  } else {
    give_usual_mode(descriptor_);
  }
}

complete_file::~complete_file() {
  if (descriptor_ < 0) return;
  ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

bool complete_file::keep(int write_error) {
  const bool is_new = !temporary_.empty();
  if (write_error == 0 && is_new && ::fsync(descriptor_) != 0) write_error = errno;
  if (write_error == 0 && is_new && std::rename(temporary_.c_str(), path_.c_str()) != 0) {
    write_error = errno;
  }
  if (write_error != 0) {
    complain("%s: %s", path_.c_str(), std::strerror(write_error));
    return false;
  }
  temporary_.clear();
  return true;
}

}  // namespace ruvex
