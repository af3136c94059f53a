#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tool/process.h"

namespace ruvex {
namespace {

namespace fs = std::filesystem;

using FailureTest = ToolTest;

constexpr const char* unwritable = "Unable to write xml file, exiting.";
constexpr const char* illegal = "Illegal Modbus reference, exiting.";

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
  const std::string good = point_line(), nul(1, '\0'), text(150, '4');
  // 1023 characters, its newline included.
  const std::string full = std::string(1023 - good.size(), '-') + good;
  const std::string full_last = full.substr(0, 1022) + "0";
  const std::string too_long = " is longer than 1023 characters, exiting.";
  const struct {
    std::string mapping;
    int code;  // 0: the mapping can be read
    std::string message;
  } cases[] = {
      {full + good, 0, ""},
      {good + full_last, 0, ""},
      {good + "-" + full, 3, "Line 2" + too_long},
      {"\n\n" + full_last + "-", 3, "Line 3" + too_long},
      {std::string(100000, 'x'), 3, "Line 1" + too_long},
      {good + good.substr(0, 9) + nul + good, 3, "Line 2 holds a NUL byte, exiting."},
      {good + ",,\r\n" + nul, 3, "Line 3 holds a NUL byte, exiting."},
      {good + point_line({{4, "X  "}}), 5, illegal},
      {point_line({{4, "-900000"}}), 5, illegal},
      {"a,0,name,1,50001\n", 5, illegal},  // without a point
      {point_line({{1, std::string(32, '1')}, {4, "20001"}}), 4,
       "Line 1: field 1 is longer than 31 characters, exiting."},
      // Fields that are not stored have no limit.
      {point_line({{0, text}, {5, text}, {10, text}, {16, "0," + text + "," + text}}), 0, ""},
      {point_line({{5, "Bit16"}, {15, text}}), 0, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.mapping.substr(0, 100));
    EXPECT_EQ(convert(row.mapping), row.code == 0 ? success() : failed_read(row.code, row.message));
    EXPECT_EQ(exists("out.xml"), row.code == 0);
  }
}

// A field of 31 characters is stored whole; one more ends the read, whatever the field.
TEST_F(FailureTest, FieldsHold31Characters) {
  const struct {
    std::size_t field;
    std::string before, after;  // what the field has around the text that is stored
    std::string shown;          // what the document has before it
  } cases[] = {
      {1, "", "", "<bac_cov_inc>"}, {3, "", "", " address=\""},     {3, "", "/1", " ip_address=\""},
      {3, "4/", "", " address=\""}, {4, "", "", "<reg_num>"},       {4, "X", "", "<reg_num>"},
      {6, "", "", "<bac_type>"},    {7, "", "  ", " instance=\""},  {8, "", "", "<bac_units>"},
      {11, "", "", "<scl_dev_lo>"}, {12, "", "", "<scl_dev_hi>"},   {13, "", "", "<scl_usr_lo>"},
      {14, "", "", "<scl_usr_hi>"}, {15, "", "", "<reg_group_en>"}, {16, "", "", "<reg_restart>"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.shown + " from field " + std::to_string(row.field));
    const std::string text(31, '4');
    EXPECT_EQ(convert(point_line({{row.field, row.before + text + row.after}})), success());
    const char end = row.shown.back() == '>' ? '<' : '"';
    EXPECT_NE(read("out.xml").find(row.shown + text + end), std::string::npos);
    EXPECT_EQ(convert(point_line({{row.field, row.before + text + "4" + row.after}})),
              failed_read(4, "Line 1: field " + std::to_string(row.field) +
                                 " is longer than 31 characters, exiting."));
    EXPECT_FALSE(exists("out.xml"));
  }
}

TEST_F(FailureTest, DescriptionsAreCutTo63Characters) {
  for (const std::size_t length : {63u, 64u, 900u}) {
    const std::string line = point_line({{9, std::string(length, 'n')}});
    const char* notice = length == 63 ? "" : "Line 2: description cut to 63 characters\n";
    EXPECT_EQ(convert("\n" + line), success(notice)) << length;
    EXPECT_NE(read("out.xml").find("<bac_desc>" + std::string(63, 'n') + "<"), std::string::npos);
  }
}

TEST_F(FailureTest, AUnitHolds32767Channels) {
  std::string mapping;
  for (int line = 0; line < 32767; ++line) mapping += "p,0,n,1,40001,t,b,1,u,0,0\n";
  EXPECT_EQ(convert(mapping + "p,0,n,2,40001,t,b,1,u,0,0\n"), success());
  const std::string xml = read("out.xml");
  EXPECT_EQ(std::count(xml.begin(), xml.end(), '\n'), 2 * 2 + 32768 * 33) << "lines of elements";
  EXPECT_EQ(convert(mapping + "p,0,n,01,40001,t,b,1,u,0,0\n"),
            failed_read(6, "Line 32768: more than 32767 channels in one unit, exiting."));
  EXPECT_FALSE(exists("out.xml"));
}

TEST_F(FailureTest, WhatCannotBeOpenedEndsTheRun) {
  fs::create_directory(path("folder"));
  fs::create_directory(path("closed"));
  write("closed/in.csv", point_line());
  write("secret.csv", point_line());
  fs::permissions(path("secret.csv"), fs::perms::none);
  fs::permissions(path("closed"), fs::perms::none);
  const struct {
    const char* mapping;
    int code;
  } cases[] = {{"missing.csv", 1},   {"missing/in.csv", 1}, {"secret.csv/in.csv", 1}, {"", 1},
               {"closed/in.csv", 1}, {"folder", 2},         {"secret.csv", 2}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.mapping);
    write("out.xml", "earlier output");
    const std::string mapping = *row.mapping == '\0' ? "" : path(row.mapping);
    const outcome ended = run({mapping, path("out.xml")}, obey_permissions);
    if (ended.status == not_started) {
      fs::permissions(path("closed"), fs::perms::all);
      GTEST_SKIP() << "skipped: root cannot give up its rights here";
    }
    EXPECT_EQ(ended, failed_read(row.code, "Unable to open csv file, exiting."));
    EXPECT_FALSE(exists("out.xml"));
  }
  fs::permissions(path("closed"), fs::perms::all);
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
  for (const int points_of_a_unit : {1, 30000}) {
    std::string mapping;
    for (int point = 0; point < 40000; ++point) {
      mapping += "p,0,n," + std::to_string(point / points_of_a_unit) + ",40001,t,b,1,u,0,0\n";
    }
    // The last allocation before the end is now one of a record, now one of the reader's own.
    for (rlim_t bytes = 16 << 20; bytes < 32 << 20; bytes += 1 << 19) {
      SCOPED_TRACE(std::to_string(bytes) +
                   " bytes, points to a unit: " + std::to_string(points_of_a_unit));
      const auto limit_memory = [bytes] {
        const rlimit limit = {bytes, bytes};
        ::setrlimit(RLIMIT_AS, &limit);
      };
      EXPECT_EQ(convert(mapping, limit_memory), failed_read(7, "Out of memory, exiting."));
      EXPECT_FALSE(exists("out.xml"));
    }
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
  const struct {
    const char* output;
    preparation prepare;
  } cases[] = {{"missing/out.xml", {}}, {"folder", {}},
               {"in.csv/out.xml", {}},  {"full", {}},
               {"link to full", {}},    {"stops half-way.xml", limit_file_size}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.output);
    const fs::file_type before = type(row.output);
    EXPECT_EQ(run({path("in.csv"), path(row.output)}, row.prepare), failed_run(unwritable));
    EXPECT_EQ(type(row.output), before);
  }
}

TEST_F(FailureTest, AReaderThatGoesAwayIsAFailedWrite) {
  write("in.csv", many_points(200));
  make_fifo("fifo");
  process converter({RUVEX_PROGRAM, path("in.csv"), path("fifo")});
  const int reader = ::open(path("fifo").c_str(), O_RDONLY | O_CLOEXEC);
  char first = '\0';
  EXPECT_EQ(::read(reader, &first, 1), 1);
  ::close(reader);
  EXPECT_EQ(converter.wait(), failed_run(unwritable));
  EXPECT_EQ(type("fifo"), fs::file_type::fifo);
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
  EXPECT_EQ(convert(point_line(), fill_stdout), (outcome{0, "", ""}));
  EXPECT_EQ(read("out.xml"), expected);
}

}  // namespace
}  // namespace ruvex
