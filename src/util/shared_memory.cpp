#include "ruvex/util/shared_memory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

namespace ruvex {
namespace {

constexpr mode_t segment_permissions = 0644;

off_t size_of(int fd) {
  struct stat object = {};
  fstat(fd, &object);
  return object.st_size;
}

// The reason why not, or 0. With its memory reserved, the object can be filled on a full file
// system, where the first store into a page that is not there would raise SIGBUS. Some kernels give
// up a long reservation for any signal, however often it is tried again: signals wait until it is
// done.
int reserve(int fd, off_t size) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const int reason = posix_fallocate(fd, 0, size);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return reason;
}

// False on failure (errno).
bool set_size(int fd, off_t size) {
  if (ftruncate(fd, size) != 0) return false;
  const int reason = size == 0 ? 0 : reserve(fd, size);
  if (reason != 0) errno = reason;
  return reason == 0;
}

// Null on failure (errno).
void* map(int fd, off_t size) {
  if (!std::in_range<std::size_t>(size)) {  // where addresses have 32 bits
    errno = ENOMEM;
    return nullptr;
  }
  void* const start =
      mmap(nullptr, static_cast<std::size_t>(size), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  return start == MAP_FAILED ? nullptr : start;
}

// Null on failure, which has been reported.
void* size_and_map(int fd, off_t size) {
  if (!set_size(fd, size)) {
    std::perror("ftruncate");
    return nullptr;
  }
  void* const start = map(fd, size);
  if (start == nullptr) std::perror("mmap");
  return start;
}

}  // namespace

void* ShmOpen(const char* name, std::size_t size) noexcept {
  shm_unlink(name);
  const int fd = shm_open(name, O_RDWR | O_CREAT, segment_permissions);
  if (fd < 0) {
    std::perror("shm_open");
    return nullptr;
  }
  void* start = nullptr;
  if (size_of(fd) != 0) {
    std::fputs("ShmOpen(): Memory already allocated...\n", stderr);
  } else {
    // What does not fit becomes negative, which ftruncate refuses.
    start = size_and_map(fd, static_cast<off_t>(size));
    if (start == nullptr) shm_unlink(name);
  }
  close(fd);
  if (start != nullptr) std::memset(start, 0, size);
  return start;
}

void* ShmAttach(const char* name) noexcept {
  const int fd = shm_open(name, O_RDWR, segment_permissions);
  if (fd < 0) return nullptr;
  void* const start = map(fd, size_of(fd));
  close(fd);
  return start;
}

std::int32_t ShmUnlink(const char* name) noexcept {
  return shm_unlink(name);
}

}  // namespace ruvex
