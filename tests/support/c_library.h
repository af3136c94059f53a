// What differs from one C library to the next where tests look.
#pragma once

#include <cstring>
#include <string>

namespace ruvex {

#ifdef __GLIBC__
inline constexpr bool has_glibc = true;
#else
inline constexpr bool has_glibc = false;
#endif

// The words of the system for its errors, as perror() ends its line.
inline std::string system_words(int error) {
  return std::string(": ") + std::strerror(error) + "\n";
}

}  // namespace ruvex
