#include "output.h"

#include <cerrno>

namespace ruvex {

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
