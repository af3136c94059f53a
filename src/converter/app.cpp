#include "converter/app.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "cfg/records.h"
#include "converter/mapping_reader.h"
#include "converter/signals.h"
#include "util/log.h"

namespace ruvex {
namespace {

bool is_open_as(int descriptor, const struct stat& status) noexcept {
  struct stat stream;
  return ::fstat(descriptor, &stream) == 0 && stream.st_dev == status.st_dev &&
         stream.st_ino == status.st_ino;
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

#if defined(__GLIBC__) && defined(MADV_HUGEPAGE)

constexpr std::size_t huge_page = std::size_t{2} << 20;

// What the records of a mapping file of this size take; a point line has about 100 characters. A
// file whose size promises more than this is more likely a hole than a mapping.
std::size_t expected_heap(std::uint64_t csv_size) noexcept {
  constexpr std::uint64_t shortest_usual_line = 80;
  constexpr std::uint64_t most = std::min<std::uint64_t>(std::uint64_t{2} << 30, SIZE_MAX / 4);
  return static_cast<std::size_t>(
      std::min(csv_size / shortest_usual_line * (sizeof(chn_cfg) + 16), most));
}

// A block taken from the growing end of the heap and given back stays there, and the records to
// come are cut from it; the advice that it was given meanwhile holds for them.
void reserve_huge_pages(std::size_t expected) noexcept {
  constexpr int usual_mapped_blocks = 65536;
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  mallopt(M_MMAP_MAX, 0);
  void* block = std::malloc(expected);
  mallopt(M_MMAP_MAX, usual_mapped_blocks);
  if (block == nullptr) return;
  const std::size_t to_next_page = (0 - reinterpret_cast<std::uintptr_t>(block)) % huge_page;
  if (to_next_page < expected) {
    ::madvise(static_cast<char*>(block) + to_next_page, expected - to_next_page, MADV_HUGEPAGE);
  }
  std::free(block);
}

#endif

}  // namespace

void open_standard_streams() noexcept {
  int descriptor;
  do {
    descriptor = ::open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
}

void prepare_heap(const char* csv_path) noexcept {
#if defined(__GLIBC__) && defined(MADV_HUGEPAGE)
  struct stat status;
  if (::stat(csv_path, &status) != 0 || !S_ISREG(status.st_mode)) return;
  const std::size_t expected = expected_heap(static_cast<std::uint64_t>(status.st_size));
  if (expected >= huge_page) reserve_huge_pages(expected);
#else
  static_cast<void>(csv_path);
#endif
}

void remove_output(const char* path) noexcept {
  if (is_removable(path)) ::unlink(path);
}

void print_behind_output(const char* path) noexcept {
  struct stat status;
  if (::stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (is_open_as(STDOUT_FILENO, status)) ::fcntl(STDOUT_FILENO, F_SETFL, O_APPEND);
}

int terminate_app(void) {
  SysLogP(LOG_PRIORITY_NOTICE, "%s", "terminate_app() entered");
  free_units();
  restore_signal_handlers();
  SysLogP(LOG_PRIORITY_NOTICE, "%s", "RUVEX exiting\r\n");
  return 0;
}

}  // namespace ruvex
