#include "input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>

#include "command.h"

namespace ruvex {
namespace {

bool is_folder(int descriptor) noexcept {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

std::size_t expected_size(int descriptor) noexcept {
  struct stat status;
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return static_cast<std::size_t>(status.st_size);
}

void complain_of(const char* path, int error) noexcept {
  complain("%s: %s", path, std::strerror(error));
}

}  // namespace

input_file::input_file(const char* path) noexcept
    : descriptor_(std::strcmp(path, "-") == 0 ? STDIN_FILENO : ::open(path, O_RDONLY | O_CLOEXEC)) {
  if (descriptor_ < 0) {
    complain_of(path, errno);
  } else if (is_folder(descriptor_)) {
    complain_of(path, EISDIR);
    if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
    descriptor_ = -1;
  }
}

input_file::~input_file() {
  if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
}

std::optional<std::string> read_content(const char* path) {
  const input_file file(path);
  if (!file.is_open()) return std::nullopt;
  constexpr std::size_t block = 65536;
  std::string content;
  content.reserve(expected_size(file.descriptor()) + block);
  while (true) {
    const std::size_t filled = content.size();
    content.resize(filled + block);
    const ssize_t count = ::read(file.descriptor(), content.data() + filled, block);
    content.resize(filled + static_cast<std::size_t>(count > 0 ? count : 0));
    if (count == 0) return content;
    if (count < 0 && errno != EINTR) {
      complain_of(path, errno);
      return std::nullopt;
    }
  }
}

bool is_readable_xml(const char* path, std::string_view xml) noexcept {
  constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
  if (xml.size() <= most) return true;
  complain("%s: larger than 2 GB", path);
  return false;
}

}  // namespace ruvex
