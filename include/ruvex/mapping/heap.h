// Room for the records of a mapping file.
#pragma once

#include <cstdint>

namespace ruvex {

// Prepares the heap for the mapping file `path`: when the file is large, room for its records is
// set aside in huge pages, where the system has them. It changes no result, only the time.
// The heap and its settings are the process's, so only one thread calls it.
void prepare_heap(const char* path) noexcept;

}  // namespace ruvex
