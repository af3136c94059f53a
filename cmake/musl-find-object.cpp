// libgcc finds the tables of exceptions by _dl_find_object, which glibc has and musl has not. This
// one serves static programs: they consist of one object. It is compiled with glibc's headers,
// since it is glibc's record that libgcc reads.

#include <link.h>

#include <cstddef>

namespace {

int find_tables(dl_phdr_info* object, std::size_t, void* found) {
  for (int at = 0; at < object->dlpi_phnum; ++at) {
    const ElfW(Phdr)& part = object->dlpi_phdr[at];
    if (part.p_type != PT_GNU_EH_FRAME) continue;
    static_cast<dl_find_object*>(found)->dlfo_eh_frame =
        reinterpret_cast<void*>(object->dlpi_addr + part.p_vaddr);
    return 1;
  }
  return 0;
}

}  // namespace

int _dl_find_object(void*, dl_find_object* found) noexcept {
  *found = {};
  return dl_iterate_phdr(find_tables, found) == 1 ? 0 : -1;
}
