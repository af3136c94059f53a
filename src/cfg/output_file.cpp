#include "output_file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>

namespace ruvex {
namespace {

constexpr int most_links = 40;  // as many as the kernel follows
constexpr int most_names = 100;
constexpr mode_t new_file_mode = 0666;  // less what the user's mask takes away

// The two texts one behind the other; false when they do not fit.
template <std::size_t Size>
bool join(char (&out)[Size], std::string_view a, std::string_view b) noexcept {
  if (a.size() + b.size() >= Size) return false;
  std::memcpy(out, a.data(), a.size());
  std::memcpy(out + a.size(), b.data(), b.size());
  out[a.size() + b.size()] = '\0';
  return true;
}

std::string_view folder_of(std::string_view path) noexcept {
  return path.substr(0, path.find_last_of('/') + 1);  // npos + 1 is 0
}

// Whether it is a folder of /proc. A link there leads to an open file, which may have another name
// by now, or none.
bool is_of_the_kernel(std::string_view folder) noexcept {
  char path[PATH_MAX];
  struct statfs system;
  return join(path, folder, ".") && ::statfs(path, &system) == 0 &&
         system.f_type == PROC_SUPER_MAGIC;
}

// The path that the links at the end of `path` lead to. False where that is an open file of the
// process, or cannot be told.
bool follow_links(const char* path, char (&target)[PATH_MAX]) noexcept {
  target[0] = '\0';
  if (!join(target, path, "")) return false;
  for (int links = 0; links < most_links; ++links) {
    char text[PATH_MAX];
    const ssize_t length = ::readlink(target, text, sizeof text);
    if (length < 0) return true;
    const std::string_view link(text, static_cast<std::size_t>(length));
    const std::string_view folder = folder_of(target);
    if (is_of_the_kernel(folder)) return false;
    char next[PATH_MAX];
    if (!join(next, link.starts_with('/') ? "" : folder, link)) return false;
    std::memcpy(target, next, sizeof target);
  }
  return false;
}

int open_folder(std::string_view path) noexcept {
  char folder[PATH_MAX];
  if (!join(folder, folder_of(path), ".")) return errno = ENAMETOOLONG, -1;
  return ::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// The record of the system call statx, which not every C library declares.
struct file_attributes {
  std::uint32_t mask;
  std::uint32_t block_size;
  std::uint64_t attributes;
  std::uint64_t others[30];
};

bool is_mounted(int folder, const char* name) noexcept {
  constexpr std::uint64_t mount_root = 0x2000;  // STATX_ATTR_MOUNT_ROOT of linux/stat.h
  file_attributes status;
  return ::syscall(SYS_statx, folder, name, AT_SYMLINK_NOFOLLOW, 0, &status) == 0 &&
         (status.attributes & mount_root) != 0;
}

// Whether another file can take its place. One that may not be written may not be replaced either.
bool is_replaceable(int folder, const char* name, const struct stat& status) noexcept {
  return S_ISREG(status.st_mode) && !is_mounted(folder, name) &&
         ::faccessat(folder, name, W_OK, AT_EACCESS) == 0;
}

// Why a folder takes no new file although one that is there may be written.
bool forbids_new_files(int error) noexcept {
  return error == EACCES || error == EPERM || error == EROFS;
}

// A file without a name, in the way in which it can get one; -1 where the system has no such.
int open_unnamed(int folder) noexcept {
  return ::openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, new_file_mode);
}

int give_first_name(int descriptor, int folder, const char* name) noexcept {
  char open_file[32];
  std::snprintf(open_file, sizeof open_file, "/proc/self/fd/%d", descriptor);
  return ::linkat(AT_FDCWD, open_file, folder, name, AT_SYMLINK_FOLLOW);
}

// Calls make(name) with names that nobody has, until one is not taken.
template <std::size_t Size, class Make>
int with_temporary_name(char (&name)[Size], Make make) noexcept {
  timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  auto number = static_cast<unsigned>(now.tv_nsec) ^ static_cast<unsigned>(::getpid()) << 16;
  int result = -1;
  for (int names = 0; names < most_names; ++names, ++number) {
    std::snprintf(name, Size, ".ruvex-%08x", number);
    result = make(name);
    if (result >= 0 || errno != EEXIST) break;
  }
  return result;
}

// What stands on no disk cannot be brought there.
int sync(int descriptor) noexcept {
  if (::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP) return 0;
  return errno;
}

// A missing document is seen, a part of one is not. Devices and FIFOs have nothing to be emptied.
void empty(int descriptor) noexcept {
  [[maybe_unused]] const int result = ::ftruncate(descriptor, 0);
}

// Where the user may not give files away, the new one is his, and lends nobody his rights.
int take_over(int descriptor, const struct stat& replaced) noexcept {
  const bool has_owner = ::fchown(descriptor, replaced.st_uid, replaced.st_gid) == 0;
  if (!has_owner && errno != EPERM) return errno;
  return ::fchmod(descriptor, replaced.st_mode & (has_owner ? 07777U : 0777U)) == 0 ? 0 : errno;
}

}  // namespace

output_file::output_file(const char* path) noexcept {
  const int descriptor = open(path);
  if (descriptor >= 0) stream_ = ::fdopen(descriptor, "wb");
  if (stream_ != nullptr) {
    std::setvbuf(stream_, nullptr, _IONBF, 0);
    return;
  }
  error_ = errno;
  if (descriptor >= 0) ::close(descriptor);
}

output_file::~output_file() {
  if (place_ == place::temporary) ::unlinkat(folder_, temporary_, 0);
  if (stream_ != nullptr) {
    if (place_ == place::as_itself) empty(::fileno(stream_));
    std::fclose(stream_);
  }
  if (folder_ >= 0) ::close(folder_);
}

int output_file::open(const char* path) noexcept {
  if (follow_links(path, path_)) {
    const int descriptor = open_beside();
    if (descriptor >= 0 || !forbids_new_files(errno)) return descriptor;
  }
  place_ = place::as_itself;
  return ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, new_file_mode);
}

// Fails with EPERM where the path has to be opened as it is.
int output_file::open_beside() noexcept {
  name_ = path_ + folder_of(path_).size();
  if (*name_ == '\0') return errno = EPERM, -1;
  folder_ = open_folder(path_);
  if (folder_ < 0) return -1;
  replaces_ = ::fstatat(folder_, name_, &replaced_, AT_SYMLINK_NOFOLLOW) == 0;
  if (!replaces_ && errno != ENOENT) return -1;
  if (replaces_ && !is_replaceable(folder_, name_, replaced_)) return errno = EPERM, -1;
  return open_new();
}

int output_file::open_new() noexcept {
  const int descriptor = open_unnamed(folder_);
  place_ = place::unnamed;
  if (descriptor >= 0 && ::access("/proc/self/fd", X_OK) == 0) return descriptor;
  if (descriptor >= 0) {
    ::close(descriptor);
  } else if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) {
    return -1;
  }
  return open_temporary();
}

int output_file::open_temporary() noexcept {
  const int descriptor = with_temporary_name(temporary_, [this](const char* name) {
    return ::openat(folder_, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, new_file_mode);
  });
  if (descriptor >= 0) place_ = place::temporary;
  return descriptor;
}

int output_file::keep() noexcept {
  const int descriptor = ::fileno(stream_);
  error_ = place_ == place::as_itself ? sync(descriptor) : put_in_place(descriptor);
  if (error_ != 0) return error_;
  place_ = place::kept;
  errno = EIO;
  if (std::fclose(std::exchange(stream_, nullptr)) != 0) error_ = errno;
  return error_;
}

int output_file::put_in_place(int descriptor) noexcept {
  int error = replaces_ ? take_over(descriptor, replaced_) : 0;
  if (error == 0) error = sync(descriptor);
  if (error == 0) error = give_name(descriptor);
  return error == 0 ? sync(folder_) : error;
}

int output_file::give_name(int descriptor) noexcept {
  if (place_ == place::unnamed) {
    if (!replaces_ && give_first_name(descriptor, folder_, name_) == 0) return 0;
    const auto link = [&](const char* name) { return give_first_name(descriptor, folder_, name); };
    if (with_temporary_name(temporary_, link) != 0) return errno;
    place_ = place::temporary;
  }
  if (::renameat(folder_, temporary_, folder_, name_) != 0) return errno;
  place_ = place::kept;
  return 0;
}

}  // namespace ruvex
