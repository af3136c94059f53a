// Single steps that several operations take.
#pragma once

#include <sys/time.h>

#include <chrono>
#include <cstddef>

#include "ruvex/socket/record.h"

namespace ruvex {

// Reports the system's error after the label, as perror: -1.
int failed(const char* label) noexcept;

// Writes a fixed text to standard error: -1.
int refused(const char* text) noexcept;

// A record with its addresses and without a descriptor (m_sock -1). Null and reported where family
// and type do not go together. Null when memory runs out; this is reported only where there is none
// for m_sockaddr.
socket_ptr make_record(int family, int type, int protocol) noexcept;

// Sets or clears O_NONBLOCK; `before` becomes the file status flags as they were. 0; -1 and
// reported, with the flags as they were.
int set_nonblocking(int fd, bool on, int& before) noexcept;

// Copies a text with its NUL into `to`, which has `room` bytes. False and reported when it does not
// fit; then nothing is copied.
bool store(char* to, std::size_t room, const char* text) noexcept;

// Characters of a local name: a path without its first byte.
inline constexpr std::size_t longest_local_name = sizeof(sockaddr_un::sun_path) - 1;

// Makes `address` the local address of a name. False and reported when the name does not fit; then
// `address` stays as it was.
bool set_local_name(skt_address& address, const char* name) noexcept;

// Whether a set of select can hold the descriptor. FD_SET of any other writes beyond the set.
bool fits_set(int fd) noexcept;

timeval time_of(long milliseconds) noexcept;

// A time limit that holds over several waits, of a clock that nobody sets.
using moment = std::chrono::steady_clock::time_point;

// The moment that many milliseconds after another, a hundred years at most.
moment later(moment start, long long milliseconds) noexcept;

// Milliseconds until the deadline, rounded up; 0 when it has passed.
long ms_until(moment deadline) noexcept;

// Waits until the descriptor can be read or, with `writable` not null, read or written; for
// `timeout_ms` at most. As select: -1 with errno, 0 when the time has passed, else how many of the
// two are set. A descriptor that no set can hold: -1 with EINVAL.
int wait_for(int fd, bool* readable, bool* writable, long timeout_ms) noexcept;

}  // namespace ruvex
