#include "ruvex/util/semaphore_set.h"

#include <sys/sem.h>

#include <cerrno>
#include <cstdio>

namespace ruvex {
namespace {

constexpr int set_permissions = 0644;
constexpr std::int32_t none = -1;

// The last argument of semctl, which its caller has to declare.
union control_value {
  int value;
  semid_ds* status;
  unsigned short* values;
};

unsigned short number(const SemHandle& handle) {
  return static_cast<unsigned short>(handle.num);
}

int set_value(const SemHandle& handle, std::int32_t value) {
  return semctl(handle.set_id, number(handle), SETVAL, control_value{value});
}

// The result of an operation whose system call gave `result`.
std::int32_t conclude(int result, const char* operation) {
  if (result == 0) return 0;
  const int reason = errno;
  if (reason != EINTR) std::perror(operation);
  errno = reason;  // callers look for EINTR, which printing must neither hide nor bring about
  return -1;
}

bool holds_semaphore(const SemHandle& handle) {
  if (handle.set_id != none) return true;
  errno = EINVAL;  // whatever it was, an EINTR of old would make the caller try for ever
  return false;
}

// One operation of semop: `change` is added; 0 waits for 0.
std::int32_t operate(const SemHandle& handle, short change, const char* operation) {
  if (!holds_semaphore(handle)) return -1;
  sembuf action = {number(handle), change, 0};
  return conclude(semop(handle.set_id, &action, 1), operation);
}

}  // namespace

std::int32_t sem_id = none;
std::int32_t sem_num = 0;
std::int32_t sem_num_max = 0;

std::int32_t SemCreateSet(std::int32_t count) noexcept {
  sem_id = semget(IPC_PRIVATE, count, IPC_CREAT | IPC_EXCL | set_permissions);
  if (sem_id == none) {
    std::perror("semget");
    return -1;
  }
  sem_num_max = count;
  return 0;
}

std::int32_t SemInit(SemHandle* handle, std::int32_t value) noexcept {
  if (sem_id == none || sem_num >= sem_num_max) {
    handle->set_id = none;
    return -1;
  }
  *handle = {sem_id, sem_num++};
  return conclude(set_value(*handle, value), "semctl");
}

std::int32_t SemWait(const SemHandle* handle) noexcept {
  return operate(*handle, -1, "SemWait");
}

std::int32_t SemPost(const SemHandle* handle) noexcept {
  return operate(*handle, 1, "SemPost");
}

std::int32_t SemWaitZ(const SemHandle* handle) noexcept {
  SemPost(handle);
  return operate(*handle, 0, "SemWaitZ");
}

std::int32_t SemPostZ(const SemHandle* handle) noexcept {
  if (!holds_semaphore(*handle)) return -1;
  return conclude(set_value(*handle, 0), "SemPostZ");
}

std::int32_t SemRemoveSet() noexcept {
  if (semctl(sem_id, 0, IPC_RMID) != 0) return -1;  // no set: EINVAL
  sem_id = none;
  return 0;
}

}  // namespace ruvex
