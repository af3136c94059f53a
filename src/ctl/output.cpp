#include "output.h"

#include <sys/ioctl.h>

#include <cerrno>

namespace ruvex {

std::size_t output::terminal_width() const noexcept {
  struct winsize size = {};
  const bool is_terminal = ::isatty(descriptor_) == 1;
  return is_terminal && ::ioctl(descriptor_, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

void output::write(std::string_view bytes) noexcept {
  while (!bytes.empty() && error_ == 0) {
    const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      error_ = count == 0 ? EIO : errno;
    }
  }
}

}  // namespace ruvex
