#include "output.h"

#include <cerrno>

namespace ruvex {

void output::flush() noexcept {
  std::string_view rest = held_;
  while (!rest.empty() && error_ == 0) {
    const ssize_t count = ::write(descriptor_, rest.data(), rest.size());
    if (count > 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      error_ = count == 0 ? EIO : errno;
    }
  }
  held_.clear();
}

}  // namespace ruvex
