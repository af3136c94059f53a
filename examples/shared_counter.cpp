// Two processes raise one counter in shared memory, 1000 times each, under a semaphore.

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "ruvex/util/semaphore_set.h"
#include "ruvex/util/shared_memory.h"

using namespace ruvex;

namespace {

bool lock(const SemHandle& semaphore) {
  while (SemWait(&semaphore) != 0) {
    if (errno != EINTR) return false;  // a signal alone is no reason to give up
  }
  return true;
}

// What each of the two processes does; the result is its exit status.
int raise_counter(const char* name, const SemHandle& semaphore) {
  const shm_ptr memory(ShmAttach(name), {sizeof(int)});
  if (memory == nullptr) return 1;
  int* const counter = static_cast<int*>(memory.get());
  for (int times = 0; times < 1000; ++times) {
    if (!lock(semaphore)) return 1;
    ++*counter;
    if (SemPost(&semaphore) != 0) return 1;
  }
  return 0;
}

}  // namespace

int main() {
  char name[32];
  std::snprintf(name, sizeof name, "/counter_%d", getpid());
  const shm_ptr memory(ShmOpen(name, sizeof(int)), {sizeof(int)});
  SemHandle semaphore = {};
  bool good = memory != nullptr && SemCreateSet(1) == 0 && SemInit(&semaphore, 1) == 0;

  for (int processes = 0; good && processes < 2; ++processes) {
    const pid_t child = fork();
    if (child == 0) _exit(raise_counter(name, semaphore));
    good = child > 0;
  }
  int status = 0;
  while (wait(&status) > 0) good = good && status == 0;

  SemRemoveSet();
  ShmUnlink(name);
  if (!good) return 1;
  std::printf("Two processes have raised the counter to %d.\n", *static_cast<int*>(memory.get()));
  return 0;
}
