// Allocations that fail on purpose. A program of ruvex_allocation_test (CMakeLists.txt) is linked
// with the allocation functions wrapped, so that the calls of the libraries under test arrive here.
// While nothing is watched they go straight on, so the program may have other tests as well. For
// one source file of a program.
#pragma once

#include <cerrno>
#include <cstddef>
#include <utility>

namespace ruvex {

inline bool watching = false;
inline int calls = 0;  // allocations while watching
inline constexpr int never = -1;
inline int failing_call = never;
inline const char* failed = nullptr;  // the function that failed
inline int live_blocks = 0;           // allocated and not freed while watching

// Counts from here on, and lets the allocation with this number fail.
inline void watch(int failing) {
  failing_call = failing;
  failed = nullptr;
  calls = live_blocks = 0;
  watching = true;
}

inline bool fails(const char* function) {
  if (!watching || calls++ != failing_call) return false;
  failed = function;
  errno = ENOMEM;
  return true;
}

// Within a C library, one allocation function may call another. The program has called one.
template <class Allocate>
void* unwatched(Allocate allocate) {
  const bool was_watching = std::exchange(watching, false);
  void* const block = allocate();
  watching = was_watching;
  return block;
}

inline void* counted(void* block) {
  if (watching && block != nullptr) ++live_blocks;
  return block;
}

extern "C" {

using comparison = int (*)(const void*, const void*);

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __real_aligned_alloc(std::size_t alignment, std::size_t size);
void __real_free(void* block);
void* __real_tsearch(const void* key, void** root, comparison compare);

void* __wrap_malloc(std::size_t size) {
  return fails("malloc") ? nullptr : counted(__real_malloc(size));
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (fails("calloc")) return nullptr;
  return counted(unwatched([&] { return __real_calloc(count, size); }));
}
void* __wrap_realloc(void* block, std::size_t size) {
  if (fails("realloc")) return nullptr;
  void* const resized = unwatched([&] { return __real_realloc(block, size); });
  return block == nullptr ? counted(resized) : resized;
}
void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
  if (fails("aligned_alloc")) return nullptr;
  return counted(unwatched([&] { return __real_aligned_alloc(alignment, size); }));
}
void __wrap_free(void* block) {
  if (watching && block != nullptr) --live_blocks;
  __real_free(block);
}
void* __wrap_tsearch(const void* key, void** root, comparison compare) {
  return fails("tsearch") ? nullptr : __real_tsearch(key, root, compare);
}

}  // extern "C"

}  // namespace ruvex
