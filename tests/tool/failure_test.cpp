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

using CommandLineTest = ToolTest;
using MappingTest = ToolTest;
using OutputTest = ToolTest;
using StreamTest = ToolTest;

constexpr const char* unreadable = "Unable to open csv file, exiting.";
constexpr const char* unwritable = "Unable to write xml file, exiting.";
constexpr const char* illegal = "Illegal Modbus reference, exiting.";

TEST_F(CommandLineTest, OtherThanTwoOrThreeArgumentsShowTheUsageAndTouchNothing) {
  write("in.csv", point_line());
  write("out.xml", "earlier output");
  const std::vector<std::string> all = {path("in.csv"), path("out.xml"), "more", "and more"};
  for (const std::size_t count : {0u, 1u, 4u}) {
    SCOPED_TRACE(count);
    const auto end = all.begin() + static_cast<std::ptrdiff_t>(count);
    const std::string usage = "\nUsage: ruvex CsvFilename XmlFilename\n";
    EXPECT_EQ(run({all.begin(), end}), (outcome{1, std::string(banner) + usage, ""}));
    EXPECT_EQ(read("out.xml"), "earlier output");
  }
  EXPECT_EQ(run({path("out.xml")}).status, 1);
  EXPECT_EQ(read("out.xml"), "earlier output");
}

TEST_F(CommandLineTest, AThirdArgumentIsIgnored) {
  ASSERT_EQ(convert(point_line()), success());
  const std::string expected = read("out.xml");
  EXPECT_EQ(run({path("in.csv"), path("three.xml"), path("other.xml")}), success());
  EXPECT_EQ(read("three.xml"), expected);
  EXPECT_FALSE(exists("other.xml"));
}

TEST_F(MappingTest, WhatCannotBeReadEndsTheRun) {
  const std::string good = point_line();
  // 1023 characters, its newline included.
  const std::string full = std::string(1023 - good.size(), '-') + good;
  const std::string full_last = full.substr(0, 1022) + "0";
  const std::string nul(1, '\0');
  const struct {
    const char* name;
    std::string mapping;
    int code;  // 0: the mapping can be read
    std::string message;
  } cases[] = {
      {"1023 characters", full + good, 0, ""},
      {"1023 characters at the end", good + full_last, 0, ""},
      {"1024 characters", good + "-" + full, 3, "Line 2 is longer than 1023 characters, exiting."},
      {"1024 characters at the end", "\n\n" + full_last + "-", 3,
       "Line 3 is longer than 1023 characters, exiting."},
      {"a block without a newline", std::string(100000, 'x'), 3,
       "Line 1 is longer than 1023 characters, exiting."},
      {"NUL in a field", good + good.substr(0, 9) + nul + good, 3,
       "Line 2 holds a NUL byte, exiting."},
      {"NUL alone in the last line", good + ",,\r\n" + nul, 3, "Line 3 holds a NUL byte, exiting."},
      {"reference 20001", good + point_line({{4, "20001"}}), 5, illegal},
      {"reference with a leading blank", point_line({{4, " 40001"}}), 5, illegal},
      {"reference with a sign", point_line({{4, "+40001"}}), 5, illegal},
      {"reference of blanks after X", point_line({{4, "X  "}}), 5, illegal},
      {"reference below zero", point_line({{4, "-5"}}), 5, illegal},
      {"reference that leaves nothing", point_line({{4, "-900000"}}), 5, illegal},
      {"illegal reference of a line without a point", "a,0,name,1,50001\n", 5, illegal},
      {"too long, on an earlier field than the illegal reference",
       point_line({{1, std::string(32, '1')}, {4, "20001"}}), 4,
       "Line 1: field 1 is longer than 31 characters, exiting."},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(convert(row.mapping), row.code == 0 ? success() : failed_read(row.code, row.message));
    EXPECT_EQ(exists("out.xml"), row.code == 0);
  }
}

// A field of 31 characters is stored whole; one more ends the read, whatever the field.
TEST_F(MappingTest, FieldsHold31Characters) {
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
    const std::string xml = read("out.xml");
    EXPECT_TRUE(xml.find(row.shown + text + "<") != xml.npos ||
                xml.find(row.shown + text + "\"") != xml.npos);
    EXPECT_EQ(convert(point_line({{row.field, row.before + text + "4" + row.after}})),
              failed_read(4, "Line 1: field " + std::to_string(row.field) +
                                 " is longer than 31 characters, exiting."));
    EXPECT_FALSE(exists("out.xml"));
  }
}

TEST_F(MappingTest, FieldsThatAreNotStoredHaveNoLimit) {
  const std::string text(200, '4');
  ASSERT_EQ(convert(point_line({{5, "none"}})), success());
  const std::string expected = read("out.xml");
  const std::string behind = "0," + text + "," + text;
  for (const std::string& line :
       {point_line({{5, "none"}, {0, text}}), point_line({{5, text}}),
        point_line({{5, "none"}, {10, text}}), point_line({{5, "none"}, {16, behind}})}) {
    EXPECT_EQ(convert(line), success()) << line;
    EXPECT_EQ(read("out.xml"), expected) << line;
  }
  EXPECT_EQ(convert(point_line({{5, "Bit16"}, {15, text}})), success());
  EXPECT_NE(read("out.xml").find("<reg_group_en>1<"), std::string::npos);
}

TEST_F(MappingTest, NamesAndDescriptionsAreCutTo63Characters) {
  const std::string notice = "Line 2: description cut to 63 characters\n";
  const std::string cut(63, 'n');
  const std::string name = "chn_cfg name=\"" + cut + "\"";
  const std::string description = "<bac_desc>" + cut + "<";
  const struct {
    std::size_t field, length;
    std::string printed, shown;
  } cases[] = {
      {2, 63, "", name},
      {2, 64, "", name},
      {2, 900, "", name},
      {9, 63, "", description},
      {9, 64, notice, description},
      {9, 900, notice, description},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE("field " + std::to_string(row.field) + " of " + std::to_string(row.length));
    const std::string line = point_line({{row.field, std::string(row.length, 'n')}});
    EXPECT_EQ(convert("\n" + line), success(row.printed));
    EXPECT_NE(read("out.xml").find(row.shown), std::string::npos);
  }
}

TEST_F(MappingTest, AUnitHolds32767Channels) {
  std::string mapping;
  for (int line = 0; line < 32767; ++line) mapping += "p,0,n,1,40001,t,b,1,u,0,0\n";
  EXPECT_EQ(convert(mapping + "p,0,n,2,40001,t,b,1,u,0,0\n"), success());
  const std::string xml = read("out.xml");
  std::size_t channels = 0;
  for (std::size_t at = 0; (at = xml.find("</chn_cfg>", at)) != xml.npos; ++at) ++channels;
  EXPECT_EQ(channels, 32768u);
  EXPECT_EQ(convert(mapping + "p,0,n,01,40001,t,b,1,u,0,0\n"),
            failed_read(6, "Line 32768: more than 32767 channels in one unit, exiting."));
  EXPECT_FALSE(exists("out.xml"));
}

TEST_F(MappingTest, WhatCannotBeOpenedEndsTheRun) {
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
    EXPECT_EQ(ended, failed_read(row.code, unreadable));
    EXPECT_FALSE(exists("out.xml"));
  }
  fs::permissions(path("closed"), fs::perms::all);
}

// Where `long` has 32 bits, a size or a date that does not fit it must not fail the run.
TEST_F(MappingTest, LargeFilesAndLateDatesAreRead) {
  constexpr timespec in_2040[2] = {{2208988800, 0}, {2208988800, 0}};
  write("in.csv", point_line());
  ASSERT_EQ(utimensat(AT_FDCWD, path("in.csv").c_str(), in_2040, 0), 0);
  EXPECT_EQ(run({path("in.csv"), path("out.xml")}), success());
  write("large.csv", point_line() + std::string(2000, '-'));
  ASSERT_EQ(truncate(path("large.csv").c_str(), off_t{3} << 30), 0);
  EXPECT_EQ(run({path("large.csv"), path("out.xml")}),
            failed_read(3, "Line 2 is longer than 1023 characters, exiting."));
}

TEST_F(MappingTest, ExhaustedMemoryEndsTheRun) {
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

TEST_F(OutputTest, WhatCannotBeWrittenEndsTheRunAndLeavesNoFile) {
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

TEST_F(OutputTest, AReaderThatGoesAwayIsAFailedWrite) {
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

TEST_F(OutputTest, LinksAreReplacedNotFollowed) {
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
TEST_F(StreamTest, StandardStreamsServeAsFiles) {
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

TEST_F(StreamTest, LostStandardStreamsCostNothing) {
  ASSERT_EQ(convert(point_line()), success());
  const std::string expected = read("out.xml");
  const std::vector<std::vector<int>> cases = {{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 1, 2}};
  for (const std::vector<int>& closed : cases) {
    SCOPED_TRACE(testing::PrintToString(closed));
    const outcome ended = convert(point_line(), [&closed] {
      for (const int descriptor : closed) ::close(descriptor);
    });
    const bool has_stdout = std::find(closed.begin(), closed.end(), 1) == closed.end();
    EXPECT_EQ(ended, (outcome{0, has_stdout ? success().out : "", ""}));
    EXPECT_EQ(read("out.xml"), expected);
  }
  const auto fill_stdout = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
  EXPECT_EQ(convert(point_line(), fill_stdout), (outcome{0, "", ""}));
  EXPECT_EQ(read("out.xml"), expected);
}

}  // namespace
}  // namespace ruvex
