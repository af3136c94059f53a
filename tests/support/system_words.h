// The words of the system for its errors, which differ from one C library to the next.
#pragma once

#include <cstring>
#include <string>

namespace ruvex {

// As perror() ends its line.
inline std::string system_words(int error) {
  return std::string(": ") + std::strerror(error) + "\n";
}

}  // namespace ruvex
