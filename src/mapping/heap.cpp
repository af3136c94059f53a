#include "ruvex/mapping/heap.h"

#include <malloc.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "ruvex/cfg/records.h"

namespace ruvex {
namespace {

#if defined(__GLIBC__) && defined(MADV_HUGEPAGE)

constexpr std::size_t huge_page = std::size_t{2} << 20;

// What the records of a mapping file of this size take; a point line has about 100 characters. A
// file whose size promises more than this is more likely a hole than a mapping.
std::size_t expected_heap(std::uint64_t csv_size) noexcept {
  constexpr std::uint64_t shortest_usual_line = 80;
  constexpr std::uint64_t most = std::min<std::uint64_t>(std::uint64_t{2} << 30, SIZE_MAX / 4);
  return static_cast<std::size_t>(
      std::min(csv_size / shortest_usual_line * (sizeof(chn_cfg) + 16), most));
}

// A block taken from the growing end of the heap and given back stays there, and the records to
// come are cut from it; the advice that it was given meanwhile holds for them.
void reserve_huge_pages(std::size_t expected) noexcept {
  constexpr int usual_mapped_blocks = 65536;
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  mallopt(M_MMAP_MAX, 0);
  void* block = std::malloc(expected);
  mallopt(M_MMAP_MAX, usual_mapped_blocks);
  if (block == nullptr) return;
  const std::size_t to_next_page = (0 - reinterpret_cast<std::uintptr_t>(block)) % huge_page;
  if (to_next_page < expected) {
    ::madvise(static_cast<char*>(block) + to_next_page, expected - to_next_page, MADV_HUGEPAGE);
  }
  std::free(block);
}

#endif

}  // namespace

void prepare_heap(const char* path) noexcept {
#if defined(__GLIBC__) && defined(MADV_HUGEPAGE)
  struct stat status;
  if (::stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return;
  const std::size_t expected = expected_heap(static_cast<std::uint64_t>(status.st_size));
  if (expected >= huge_page) reserve_huge_pages(expected);
#else
  static_cast<void>(path);
#endif
}

}  // namespace ruvex
