#include "app.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ruvex/converter/mapping_reader.h"
#include "ruvex/util/log.h"
#include "signals.h"

namespace ruvex {
namespace {

bool is_one_file(const struct stat& a, const struct stat& b) noexcept {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool is_open_as(int descriptor, const struct stat& status) noexcept {
  struct stat stream;
  return ::fstat(descriptor, &stream) == 0 && is_one_file(stream, status);
}

bool is_standard_stream(const struct stat& status) noexcept {
  return is_open_as(STDIN_FILENO, status) || is_open_as(STDOUT_FILENO, status) ||
         is_open_as(STDERR_FILENO, status);
}

bool is_removable(const char* path) noexcept {
  struct stat target;
  struct stat entry;
  if (::stat(path, &target) != 0 || ::lstat(path, &entry) != 0) return true;
  if (S_ISCHR(target.st_mode) || S_ISBLK(target.st_mode) || S_ISFIFO(target.st_mode) ||
      S_ISSOCK(target.st_mode)) {
    return false;
  }
  return !(S_ISLNK(entry.st_mode) && is_standard_stream(target));
}

}  // namespace

void open_standard_streams() noexcept {
  int descriptor;
  do {
    descriptor = ::open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
}

bool is_same_file(const char* csv_path, const char* xml_path) noexcept {
  struct stat input;
  struct stat output;
  return ::stat(csv_path, &input) == 0 && ::stat(xml_path, &output) == 0 &&
         S_ISREG(output.st_mode) && is_one_file(input, output);
}

void remove_output(const char* path) noexcept {
  if (is_removable(path)) ::unlink(path);
}

void print_behind_output(const char* path) noexcept {
  struct stat status;
  if (::stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (!is_open_as(STDOUT_FILENO, status)) return;
  const int flags = ::fcntl(STDOUT_FILENO, F_GETFL);
  ::fcntl(STDOUT_FILENO, F_SETFL, flags | O_APPEND);
}

int terminate_app(void) {
  SysLogP(LOG_PRIORITY_NOTICE, "%s", "terminate_app() entered");
  free_units();
  restore_signal_handlers();
  log_signals();
  SysLogP(LOG_PRIORITY_NOTICE, "%s", "RUVEX exiting\r\n");
  return 0;
}

}  // namespace ruvex
