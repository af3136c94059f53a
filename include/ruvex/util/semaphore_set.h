// Semaphores for processes that share data: one System V set per process, from which single
// semaphores are handed out. A semaphore either counts (SemWait, SemPost) or announces an event to
// all who wait for it (SemWaitZ, SemPostZ).
//
//   SemHandle lock;
//   if (SemCreateSet(1) != 0 || SemInit(&lock, 1) != 0) return;  // standard error says why
//   if (fork() == 0) ...                                         // the child has the handle, too
//   if (SemWait(&lock) == 0) {
//     ...                                                        // only one is here at a time
//     SemPost(&lock);
//   }
//
// One process creates the set, fills the handles it needs, and then starts the others. The set has
// no name, so a process reaches it only through handles that it has inherited or been given (in
// shared memory, for example). At the end one process of the same user calls SemRemoveSet. A set
// that nobody removes outlives all processes and counts against the system's limits; `ipcs -s`
// lists it, `ipcrm -s` removes it.
//
// The calls give 0 on success and -1 on failure. System errors are reported by perror, with the
// text that an operation names. Nothing is retried: a wait that a signal interrupts ends, even when
// the handler was installed to resume calls.
//
// A process that ends between SemWait and SemPost leaves the semaphore as it is: nothing is undone,
// and the others wait until somebody posts for it.
//
// Several threads may use a handle at once. SemCreateSet, SemInit and SemRemoveSet change the words
// below, which nothing guards: only one thread calls them.
#pragma once

#include <cstdint>

namespace ruvex {

// A semaphore. Handles are plain values: copies stand for the same semaphore.
struct SemHandle {
  std::int32_t set_id;  // -1: no semaphore
  std::int32_t num;     // index in the set; its low 16 bits count
};

// The set of this process, inherited by those it starts. To be read by callers, and changed only
// through the operations.
extern std::int32_t sem_id;       // the system's identifier; -1 while there is none
extern std::int32_t sem_num;      // index of the semaphore to hand out next; it only grows
extern std::int32_t sem_num_max;  // how many semaphores the set has

// Creates the set, with `count` semaphores: 1 up to the system's limit (SEMMSL, 32000 as a rule).
// Permissions are 0644: processes of other users, the superuser's excepted, cannot change a value.
// On failure `sem_id` is -1, `sem_num_max` stays, and standard error holds
//   perror semget
// An earlier set is forgotten in either case and stays in the system, so it is removed first. The
// numbering goes on: of a second set those semaphores can be had whose index is not below
// `sem_num`.
std::int32_t SemCreateSet(std::int32_t count) noexcept;

// Hands out the next semaphore of the set, with a value of 0 to 32767; 0 for one that announces
// events. -1, with `set_id` -1 and no message, when there is no set or no semaphore is left. When
// the system refuses the value: -1 and
//   perror semctl
// Then the handle is filled, and the semaphore counts as handed out with the value 0.
std::int32_t SemInit(SemHandle* handle, std::int32_t value) noexcept;

// The four operations on a semaphore. -1 without a message for a handle whose `set_id` is -1 (errno
// EINVAL), and when a signal interrupted the call (errno EINTR, which nothing else gives). Any
// other failure is reported under the operation's name; so is the removal of the set, even during a
// wait:
//   perror SemWait       perror SemPost       perror SemWaitZ       perror SemPostZ

// Waits until the value is above 0, and lowers it by 1. An interrupted wait leaves it as it was.
std::int32_t SemWait(const SemHandle* handle) noexcept;

// Raises the value by 1, which lets one waiting process go on. At 32767 it fails.
std::int32_t SemPost(const SemHandle* handle) noexcept;

// Waits for the next SemPostZ: raises the value by 1, as SemPost (a failure of this step is
// reported and otherwise ignored), then waits until the value is 0. So the value is the number of
// waiting processes. An interrupted wait leaves the 1 that it has added, and waiting again adds
// another: the number is then too high until the next SemPostZ. An event that falls between the two
// steps is noticed, unless another process begins to wait at the same time; then both wait for the
// next.
std::int32_t SemWaitZ(const SemHandle* handle) noexcept;

// Sets the value to 0: all processes that are waiting in SemWaitZ go on.
std::int32_t SemPostZ(const SemHandle* handle) noexcept;

// Removes the set, and forgets it: `sem_id` is -1, so that a later SemInit gives -1. Waits on it
// fail. Without a set, or when the system refuses (the set is another user's, or has gone already):
// -1, no message (errno), and `sem_id` stays, so that the call can be repeated.
std::int32_t SemRemoveSet() noexcept;

}  // namespace ruvex
