#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tool/process.h"

namespace ruvex {
namespace {

namespace fs = std::filesystem;

using FailureTest = ToolTest;

constexpr const char* unwritable = "Unable to write xml file, exiting.";

TEST_F(FailureTest, OtherThanTwoOrThreeArgumentsShowTheUsageAndTouchNothing) {
  write("in.csv", point_line());
  write("out.xml", "earlier output");
  const std::vector<std::string> all = {path("in.csv"), path("out.xml"), path("other"), "more"};
  const outcome usage = {1, std::string(banner) + "\nUsage: ruvex CsvFilename XmlFilename\n", ""};
  for (const int count : {0, 1, 4, 3}) {
    EXPECT_EQ(run({all.begin(), all.begin() + count}), count == 3 ? success() : usage) << count;
    EXPECT_EQ(read("out.xml") == "earlier output", count != 3) << count;
  }
  EXPECT_TRUE(exists("out.xml") && !exists("other")) << "a third argument is ignored";
}

TEST_F(FailureTest, WhatCannotBeReadEndsTheRun) {
  const std::string good = point_line(), long_text(32, '1');
  const struct {
    std::string line;
    int code;
    std::string message;
  } cases[] = {
      {std::string(1100, '-'), 3, "Line 2 is longer than 1023 characters, exiting."},
      {std::string(1, '\0'), 3, "Line 2 holds a NUL byte, exiting."},
      {point_line({{1, long_text}}), 4, "Line 2: field 1 is longer than 31 characters, exiting."},
      {point_line({{4, "X  "}}), 5, "Illegal Modbus reference, exiting."},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(convert(good + row.line + good), failed_read(row.code, row.message));
    EXPECT_FALSE(exists("out.xml")) << row.message;
  }
}

TEST_F(FailureTest, WhatCannotBeOpenedEndsTheRun) {
  fs::create_directory(path("folder"));
  fs::create_directory(path("closed"));
  write("closed/in.csv", point_line());
  write("secret.csv", point_line());
  fs::permissions(path("secret.csv"), fs::perms::none);
  fs::permissions(path("closed"), fs::perms::none);
  const std::pair<const char*, int> cases[] = {
      {"missing.csv", 1}, {"", 1}, {"closed/in.csv", 1}, {"folder", 2}, {"secret.csv", 2}};
  for (const auto& [name, code] : cases) {
    write("out.xml", "earlier output");
    const std::string mapping = *name == '\0' ? "" : path(name);
    const outcome ended = run({mapping, path("out.xml")}, obey_permissions);
    if (ended.status == not_started) {
      fs::permissions(path("closed"), fs::perms::all);
      GTEST_SKIP() << "skipped: root cannot give up its rights here";
    }
    EXPECT_EQ(ended, failed_read(code, "Unable to open csv file, exiting.")) << name;
    EXPECT_FALSE(exists("out.xml")) << name;
  }
  fs::permissions(path("closed"), fs::perms::all);
}

TEST_F(FailureTest, TheMappingIsNeverTheOutput) {
  write("in.csv", point_line());
  fs::create_symlink(path("in.csv"), path("link"));
  fs::create_hard_link(path("in.csv"), path("twin"));
  for (const char* output : {"in.csv", "link", "twin"}) {
    EXPECT_EQ(run({path("in.csv"), path(output)}),
              failed_run("Input and output are the same file, exiting."));
    EXPECT_EQ(read("in.csv"), point_line()) << output;
    EXPECT_EQ(read(output), point_line()) << output;
  }
}

// The mapping is the memory of this process: a page of whole points, behind which a read fails.
TEST_F(FailureTest, PartOfAMappingIsNoMapping) {
  if (*RUVEX_EMULATOR != '\0') GTEST_SKIP() << "skipped: the memory is the emulator's";
  const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* const page =
      ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (page == MAP_FAILED) GTEST_SKIP() << "skipped: no memory may begin at address 0";
  const std::string memory = "/proc/" + std::to_string(::getpid()) + "/mem";
  std::string points = point_line();
  while (points.size() < size - 2 * point_line().size()) points += point_line();
  points.insert(0, size - points.size() - 1, '-').insert(size - points.size(), "\n");
  const int own = ::open(memory.c_str(), O_RDWR | O_CLOEXEC);
  EXPECT_EQ(::pwrite(own, points.data(), size, 0), static_cast<ssize_t>(size));
  ::close(own);
  write("out.xml", "earlier output");
  EXPECT_EQ(run({memory, path("out.xml")}), failed_run("Unable to read csv file, exiting."));
  EXPECT_FALSE(exists("out.xml"));
  ::munmap(page, size);
}

// Where `long` has 32 bits, a size or a date that does not fit it must not fail the run.
TEST_F(FailureTest, LargeFilesAndLateDatesAreRead) {
  constexpr timespec in_2040[2] = {{2208988800, 0}, {2208988800, 0}};
  write("in.csv", point_line());
  ASSERT_EQ(utimensat(AT_FDCWD, path("in.csv").c_str(), in_2040, 0), 0);
  EXPECT_EQ(run({path("in.csv"), path("out.xml")}), success());
  write("large.csv", point_line() + std::string(2000, '-'));
  ASSERT_EQ(truncate(path("large.csv").c_str(), off_t{3} << 30), 0);
  EXPECT_EQ(run({path("large.csv"), path("out.xml")}),
            failed_read(3, "Line 2 is longer than 1023 characters, exiting."));
}

TEST_F(FailureTest, ExhaustedMemoryEndsTheRun) {
  if (RUVEX_SANITIZED) GTEST_SKIP() << "skipped: the sanitizers need more than a limit leaves";
  if (*RUVEX_EMULATOR != '\0') GTEST_SKIP() << "skipped: the emulator sets no memory limit";
  std::string mapping;
  for (int point = 0; point < 40000; ++point) {
    mapping += "p,0,n," + std::to_string(point / 10) + ",40001,t,b,1,u,0,0\n";
  }
  // The last allocation before the end is now one of a record, now one of the reader's own.
  for (rlim_t bytes = 16 << 20; bytes < 32 << 20; bytes += 1 << 19) {
    const auto limit_memory = [bytes] {
      const rlimit limit = {bytes, bytes};
      ::setrlimit(RLIMIT_AS, &limit);
    };
    EXPECT_EQ(convert(mapping, limit_memory), failed_read(7, "Out of memory, exiting.")) << bytes;
    EXPECT_FALSE(exists("out.xml")) << bytes;
  }
}

void limit_file_size() {
  const rlimit limit = {100000, 100000};
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(FailureTest, WhatCannotBeWrittenEndsTheRunAndLeavesNoFile) {
  fs::create_directory(path("folder"));
  // A device of our own where the system lets us make one, so that no fault can take the system's.
  if (::mknod(path("full").c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0) {
    fs::create_symlink("/dev/full", path("full"));
  }
  fs::create_symlink("/dev/full", path("link to full"));
  write("in.csv", many_points(200));
  const std::pair<const char*, preparation> cases[] = {{"missing/out.xml", {}},
                                                       {"folder", {}},
                                                       {"full", {}},
                                                       {"link to full", {}},
                                                       {"stops half-way.xml", limit_file_size}};
  for (const auto& [name, prepare] : cases) {
    const fs::file_type before = type(name);
    EXPECT_EQ(run({path("in.csv"), path(name)}, prepare), failed_run(unwritable)) << name;
    EXPECT_EQ(type(name), before) << name;
  }
}

TEST_F(FailureTest, LinksAreReplacedNotFollowed) {
  ASSERT_EQ(convert(point_line()), success());
  write("target", "not ours");
  fs::create_symlink(path("target"), path("link"));
  fs::create_symlink(path("nowhere"), path("dangling"));
  for (const char* output : {"link", "dangling"}) {
    EXPECT_EQ(run({path("in.csv"), path(output)}), success()) << output;
    EXPECT_EQ(type(output), fs::file_type::regular) << output;
    EXPECT_EQ(read(output), read("out.xml")) << output;
  }
  EXPECT_EQ(read("target"), "not ours");
  EXPECT_FALSE(exists("nowhere"));
}

// As it is in a container; nothing can be put in its place.
TEST_F(FailureTest, AMountedFileIsWrittenWhereItStands) {
  ASSERT_EQ(convert(point_line()), success());
  const std::string expected = read("out.xml");
  write("mounted", "earlier output");
  const auto mount = [from = path("mounted"), to = path("out.xml")] {
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) != 0) {
      ::_exit(not_started);
    }
  };
  const outcome ended = convert(point_line(), mount);
  if (ended.status == not_started) GTEST_SKIP() << "skipped: no mount namespace can be made here";
  EXPECT_EQ(ended, success());
  EXPECT_EQ(read("mounted"), expected);
}

// The links are those of /dev/stdin and /dev/stdout, which a fault would take from the system.
TEST_F(FailureTest, StandardStreamsServeAsFiles) {
  ASSERT_EQ(convert(point_line()), success());
  const std::string expected = read("out.xml");
  fs::create_symlink("/proc/self/fd/0", path("stdin"));
  fs::create_symlink("/proc/self/fd/1", path("stdout"));
  const auto read_mapping = [this] {
    ::close(STDIN_FILENO);
    ::open(path("in.csv").c_str(), O_RDONLY);
  };
  EXPECT_EQ(run({path("stdin"), path("from stdin.xml")}, read_mapping), success());
  EXPECT_EQ(read("from stdin.xml"), expected);

  const outcome ended = run({path("in.csv"), path("stdout")});
  EXPECT_EQ(ended, (outcome{0, expected + success().out.substr(banner.size()), ""}));
  EXPECT_EQ(type("stdout"), fs::file_type::symlink);
}

TEST_F(FailureTest, LostStandardStreamsCostNothing) {
  ASSERT_EQ(convert(point_line()), success());
  const std::string expected = read("out.xml");
  for (unsigned closed = 1; closed < 8; ++closed) {  // a bit for each
    const outcome ended = convert(point_line(), [closed] {
      for (int descriptor = 0; descriptor < 3; ++descriptor) {
        if ((closed >> descriptor & 1) != 0) ::close(descriptor);
      }
    });
    EXPECT_EQ(ended, (outcome{0, (closed & 2) == 0 ? success().out : "", ""})) << closed;
    EXPECT_EQ(read("out.xml"), expected) << closed;
  }
  const auto fill_stdout = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
  const auto break_stdout = [] {
    int ends[2] = {-1, -1};
    if (::pipe(ends) == 0) ::close(ends[0]);
    ::dup2(ends[1], STDOUT_FILENO);
    std::signal(SIGPIPE, SIG_DFL);
  };
  for (const preparation& prepare : {preparation(fill_stdout), preparation(break_stdout)}) {
    EXPECT_EQ(convert(point_line(), prepare), (outcome{0, "", ""}));
    EXPECT_EQ(read("out.xml"), expected);
    EXPECT_EQ(run({}, prepare), (outcome{1, "", ""}));
  }
}

}  // namespace
}  // namespace ruvex
