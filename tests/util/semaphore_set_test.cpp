#include "ruvex/util/semaphore_set.h"

#include <gtest/gtest.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/c_library.h"

namespace ruvex {
namespace {

using operation = std::int32_t (*)(const SemHandle*);

std::vector<int> sets;  // of the test

void remove_sets(int signal) {
  for (const int set : sets) ::semctl(set, 0, IPC_RMID);
  if (signal != 0) ::_exit(1);
}

int state(const SemHandle& handle, int command) {
  return ::semctl(handle.set_id, handle.num, command);
}

// Carries it out in another process, whose result is 0 or the reason of the failure.
pid_t start(operation call, const SemHandle& handle) {
  if (const pid_t child = ::fork(); child != 0) return child;
  ::_exit(call(&handle) == 0 ? 0 : errno);
}

// Of the process that ends next.
int result() {
  int status = -1;
  ::wait(&status);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// GETNCNT: processes in SemWait; GETZCNT: in SemWaitZ.
void await(const SemHandle& handle, int command, int count) {
  while (state(handle, command) != count) ::usleep(500);
}

struct SemaphoreSet : testing::Test {
  void SetUp() override {
    sem_id = -1;
    sem_num = sem_num_max = 0;
    ::signal(SIGALRM, remove_sets);
    ::alarm(60);  // instead of waiting for ever
    testing::internal::CaptureStderr();
    if (::semget(IPC_PRIVATE, 0, 0) == -1 && errno == ENOSYS)
      GTEST_SKIP() << "skipped: the system has no semaphore sets";
  }
  void TearDown() override {
    EXPECT_EQ(testing::internal::GetCapturedStderr(), printed);
    ::alarm(0);
    remove_sets(0);
  }
  static int create(std::int32_t count) {  // its identifier
    EXPECT_EQ(SemCreateSet(count), 0);
    return sets.emplace_back(sem_id);
  }
  static SemHandle semaphore(int value) {  // of a set of its own
    SemHandle handle = {create(1), sem_num = 0};
    EXPECT_EQ(SemInit(&handle, value), 0);
    return handle;
  }
  std::string printed;  // by all of the test
};

TEST_F(SemaphoreSet, SemaphoresAreHandedOutOnceInAProcess) {
  // Of a new set unless 0, and the value; the result, and the semaphore's index and value, if any.
  const int rows[][5] = {{0, 1, -1, -1, -1}, {2, 1, 0, 0, 1},    {0, 32767, 0, 1, 32767},
                         {0, 1, -1, -1, -1}, {2, 1, -1, -1, -1}, {4, 32768, -1, 2, 0},
                         {0, 0, 0, 3, 0},    {5, -1, -1, 4, 0}};
  for (const auto& [count, value, result, num, got] : rows) {
    if (count != 0) create(count);
    SemHandle handle = {7, -1};
    EXPECT_EQ(SemInit(&handle, value), result) << count << " " << value;
    EXPECT_EQ((std::tuple{handle.set_id, handle.num, state(handle, GETVAL)}),
              (std::tuple{num == -1 ? -1 : sem_id, num, got}));
  }
  EXPECT_EQ((std::tuple{SemCreateSet(0), sem_id, sem_num_max}), (std::tuple{-1, -1, 5}));
  const std::string too_large = "semctl" + system_words(ERANGE);
  printed = too_large + too_large + "semget: Invalid argument\n";
}

TEST_F(SemaphoreSet, WaitsEndByPostsByEventsAndBySignals) {
  ::signal(SIGUSR1, [](int) {});  // which resumes what can be resumed
  const std::tuple<operation, int, operation, int, int> rows[] = {
      {SemWait, GETNCNT, SemPost, 1, 0}, {SemWaitZ, GETZCNT, SemPostZ, 3, 1}};
  for (const auto& [wait, counted, post, released, added] : rows) {
    const SemHandle handle = semaphore(0);
    pid_t last = -1;
    for (int waiting = 1; waiting <= 4; ++waiting) {
      last = start(wait, handle);
      await(handle, counted, waiting);
      EXPECT_EQ(state(handle, GETVAL), added * waiting);
    }
    ::kill(last, SIGUSR1);
    EXPECT_EQ((std::tuple{result(), state(handle, GETVAL)}), (std::tuple{EINTR, added * 4}));
    for (int waiting = 3; waiting > 0; waiting -= released) {
      EXPECT_EQ((std::tuple{state(handle, counted), post(&handle)}), (std::tuple{waiting, 0}));
      for (int process = 0; process < released; ++process) EXPECT_EQ(result(), 0);
      EXPECT_EQ(state(handle, GETVAL), 0);
    }
  }
}

TEST_F(SemaphoreSet, FailuresAreSaidAndARemovedSetIsForgottenUnlessTheSystemRefuses) {
  EXPECT_EQ(SemRemoveSet(), -1);
  const SemHandle none = {-1, 0}, full = semaphore(32767), gone = semaphore(1);
  SemHandle same = {gone.set_id, 0x7fff0000};  // 16 bits count
  EXPECT_EQ((std::tuple{SemPost(&full), errno}), (std::tuple{-1, ERANGE}));
  start(SemWait, same);
  EXPECT_EQ((std::tuple{result(), state(gone, GETVAL)}), (std::tuple{0, 0})) << "nothing undone";
  EXPECT_EQ((std::tuple{SemPost(&same), state(gone, GETVAL)}), (std::tuple{0, 1}));
  EXPECT_EQ((std::tuple{SemPostZ(&same), state(gone, GETVAL)}), (std::tuple{0, 0}));
  printed = "SemPost" + system_words(ERANGE);
  if (::geteuid() == 0 && ::seteuid(65534) == 0) {  // only the superuser can act for other users
    EXPECT_EQ((std::tuple{SemRemoveSet(), sem_id, SemPost(&gone), errno}),
              (std::tuple{-1, gone.set_id, -1, EACCES}));
    EXPECT_EQ(::seteuid(0), 0);
    printed += "SemPost: Permission denied\n";
  }
  start(SemWait, gone);
  await(gone, GETNCNT, 1);
  EXPECT_EQ((std::tuple{SemRemoveSet(), sem_id, result()}), (std::tuple{0, -1, EIDRM}));
  for (const operation call : {SemWait, SemPost, SemWaitZ, SemPostZ}) {
    EXPECT_EQ((std::tuple{call(&gone), errno}), (std::tuple{-1, EINVAL}));
    errno = EINTR;
    EXPECT_EQ((std::tuple{call(&none), errno}), (std::tuple{-1, EINVAL}));
  }
  sem_num = 0;
  EXPECT_EQ((std::tuple{SemInit(&same, 1), SemRemoveSet()}), (std::tuple{-1, -1}));
  printed +=
      "SemWait: Identifier removed\nSemWait: Invalid argument\nSemPost: Invalid argument\n"
      "SemPost: Invalid argument\nSemWaitZ: Invalid argument\nSemPostZ: Invalid argument\n";
}

}  // namespace
}  // namespace ruvex
