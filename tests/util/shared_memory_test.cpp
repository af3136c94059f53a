#include "ruvex/util/shared_memory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>

#include "support/c_library.h"

namespace ruvex {

static const char* race = nullptr;  // what another makes of the object just before it is opened
static volatile std::sig_atomic_t signals = 0;

extern "C" int __real_shm_open(const char* name, int flags, mode_t mode);
extern "C" int __wrap_shm_open(const char* name, int flags, mode_t mode) {
  if (race != nullptr)
    std::ofstream(std::string("/dev/shm") + name) << std::exchange(race, nullptr);
  return __real_shm_open(name, flags, mode);
}
extern "C" int __real_posix_fallocate(int fd, off_t start, off_t size);
extern "C" int __real_posix_fallocate64(int fd, off_t start, off_t size);
extern "C" int __wrap_posix_fallocate64(int fd, off_t start, off_t size) {
  signals = 0;
  ::raise(SIGUSR1);  // some kernels then give up
  if (signals != 0) return EINTR;
  if constexpr (has_glibc) return __real_posix_fallocate64(fd, start, size);
  return __real_posix_fallocate(fd, start, size);
}
extern "C" [[gnu::alias("__wrap_posix_fallocate64")]] int __wrap_posix_fallocate(int, off_t, off_t);

namespace {

std::string content(const shm_ptr& memory) {
  return {static_cast<char*>(memory.get()), memory.get_deleter().size};
}

struct SharedMemory : testing::Test {
  void SetUp() override {
    ::signal(SIGUSR1, [](int) { signals = signals + 1; });
    testing::internal::CaptureStderr();
    ::close(free_descriptor = ::dup(1));
  }
  void TearDown() override {
    EXPECT_EQ(::dup(1), free_descriptor);
    ::close(free_descriptor);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), printed);
    ::shm_unlink(name.c_str());
  }
  shm_ptr open(std::size_t size) const { return shm_ptr(ShmOpen(name.c_str(), size), {size}); }
  shm_ptr attach(std::size_t size) const { return shm_ptr(ShmAttach(name.c_str()), {size}); }
  const std::string name = "/ruvex_test_" + std::to_string(::getpid()), path = "/dev/shm" + name;
  std::string printed;  // by all of the test
  int free_descriptor = -1;
};

TEST_F(SharedMemory, NewObjectsAreSharedAndEarlierOnesStayMapped) {
  ::umask(0);
  shm_ptr memory;
  for (const std::size_t size : {1, 4096, 20 * 4096}) {
    const shm_ptr earlier = std::move(memory);
    memory = open(size);
    EXPECT_EQ(signals, 1) << "it was neither lost nor in the way";
    EXPECT_EQ(content(memory), std::string(size, '\0'));
    struct stat object = {};
    EXPECT_EQ(::stat(path.c_str(), &object), 0);
    EXPECT_EQ((std::tuple{object.st_size, object.st_mode & 07777}), (std::tuple{size, 0644}));
    if (::fork() == 0) ::_exit(std::memset(attach(size).release(), 'c', size) == nullptr);
    ::wait(nullptr);
    EXPECT_EQ(content(memory), std::string(size, 'c'));
    EXPECT_EQ(content(earlier), std::string(earlier.get_deleter().size, 'c'));
  }
  EXPECT_EQ(ShmUnlink(name.c_str()), 0);
  EXPECT_EQ((std::tuple{ShmAttach(name.c_str()), errno}), (std::tuple{nullptr, ENOENT}));
  char* const last = static_cast<char*>(memory.get()) + 20 * 4096 - 1;
  memory.reset();
  EXPECT_EQ((std::tuple{::access(last, F_OK), errno}), (std::tuple{-1, EFAULT}));
}

TEST_F(SharedMemory, ObjectsOfOthersAreTakenAsTheyAreOrNotAtAll) {
  race = "theirs";
  EXPECT_EQ(open(4096), nullptr);
  printed = "ShmOpen(): Memory already allocated...\n";
  EXPECT_EQ(content(attach(7)), std::string("theirs\0", 7)) << "the object is left alone";
  race = "";
  EXPECT_NE(open(4096), nullptr) << "without a size it is as good as new";
  EXPECT_EQ(::truncate(path.c_str(), 0), 0);
  EXPECT_EQ((std::tuple{ShmAttach(name.c_str()), errno}), (std::tuple{nullptr, EINVAL}));
  EXPECT_EQ(::truncate(path.c_str(), 0x100001000), 0);  // of which 32 bits show 4096 bytes
  EXPECT_EQ(attach(0x1000) == nullptr, sizeof(void*) == 4);
}

TEST_F(SharedMemory, WhatCannotBeOpenedIsSaidAndNothingStays) {
  const auto expect_none = [&](const std::string& object, std::size_t size, const char* reason) {
    EXPECT_EQ((std::tuple{ShmOpen(object.c_str(), size), ShmUnlink(object.c_str())}),
              (std::tuple{nullptr, -1}));
    printed += reason;
  };
  expect_none("/two/parts", 16, "shm_open: Invalid argument\n");
  expect_none(name, 0, "mmap: Invalid argument\n");
  if (sizeof(std::size_t) > 4) expect_none(name, SIZE_MAX, "ftruncate: Invalid argument\n");
  if (::unshare(CLONE_NEWNS) != 0 || ::mount("", "/", "", MS_REC | MS_PRIVATE, "") != 0 ||
      ::mount("tmpfs", "/dev/shm", "tmpfs", 0, "size=64k") != 0)  // for this process alone
    GTEST_SKIP() << "skipped: no small file system: " << std::strerror(errno);
  expect_none(name, 65537, "ftruncate: No space left on device\n");
  EXPECT_EQ((std::tuple{open(65536) != nullptr, ShmUnlink(name.c_str())}), (std::tuple{true, 0}));
}

}  // namespace
}  // namespace ruvex
