// Named memory that several processes share: POSIX shared-memory objects, mapped for reading and
// writing.
//
//   shm_ptr memory(ShmOpen("/setpoints", sizeof(setpoints)), {sizeof(setpoints)});
//   if (memory == nullptr) return;  // standard error says why
//   auto* shared = static_cast<setpoints*>(memory.get());
//
// A name begins with "/", has no other "/", and at most 255 characters after the first. An object
// stays, with its content, until its name has been removed and nobody maps it any more. The end of
// a process removes no name, so one process calls ShmUnlink when the work is done.
//
// The calls keep no state, and any thread may make them. No descriptor stays open after a call.
// Nothing is retried. Nothing here orders what the processes write; the semaphores of
// util/semaphore_set.h can.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace ruvex {

// Makes a new object of `size` bytes, 1 or more, all zero, and returns the start of its mapping. An
// object that had the name loses it first; processes that map that one keep it, apart from the new
// one. The permissions are 0644 (the owner reads and writes, others read), less the process's
// umask.
//
// The caller owns the mapping and ends it with munmap(start, size); the end of the process or exec
// ends it, too. A process started by fork inherits a mapping of its own.
//
// Null on failure; then nothing stays mapped, and standard error holds one of these ("perror" is
// followed by the system's text):
//   perror shm_open      the name cannot be opened or created
//   ShmOpen(): Memory already allocated...
//                        another process has made the object and set its size in this very moment;
//                        it stays as it is
//   perror ftruncate     the size cannot be set, or there is not as much memory
//   perror mmap          it cannot be mapped, or `size` is 0
// After the last two the name is removed.
//
// All memory is reserved here, so that a later use cannot fail when memory runs out (SIGBUS).
void* ShmOpen(const char* name, std::size_t size) noexcept;

// Maps the whole of an existing object and returns the start. Null, without a message (errno), when
// there is none, when it may not be written, when it has no size yet, or when it cannot be mapped.
//
// The caller owns the mapping and ends it like one of ShmOpen. The size is that of the object,
// which the call does not tell. Processes agree on it, as a rule by one declaration of what is
// shared; a size that varies is written into the memory itself. Reading and writing beyond the end
// raise SIGBUS or SIGSEGV; another process can move the end by shortening the object.
//
// A process attaches after ShmOpen has returned in the other. Before that there may be no size yet,
// and ShmOpen may fill with zeros what was written.
void* ShmAttach(const char* name) noexcept;

// Owns a mapping of `size` bytes.
struct shm_unmap {
  std::size_t size;
  void operator()(void* start) const noexcept { munmap(start, size); }
};
using shm_ptr = std::unique_ptr<void, shm_unmap>;

// Removes the name: 0, or -1 when it cannot be removed (errno). Mappings of the object stay valid.
std::int32_t ShmUnlink(const char* name) noexcept;

}  // namespace ruvex
