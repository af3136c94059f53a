#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include "tool/process.h"

namespace ruvex {
namespace {

using SignalTest = ToolTest;

// The mapping arrives through a FIFO, so the run is in the middle of it when the signals are sent.
TEST_F(SignalTest, SignalsWhileReadingAreLoggedAndLoseNothing) {
  // More than a pipe and the reader's block hold: when it is written, lines of it have been read.
  std::string part;
  for (int line = 0; line < 300; ++line) part += point_line({{0, std::string(900, '-')}});
  const std::string bad = point_line({{4, "20001"}});
  const std::string int_notice = "SIGINT received", term_notice = "SIGTERM received";
  const struct {
    std::vector<int> signals;  // a part of the mapping is read after each
    std::string last_line;
    outcome ended;
  } cases[] = {
      {{SIGINT}, "", success(int_notice)},
      {{SIGTERM}, "", success(term_notice)},
      {{SIGTERM, SIGINT}, "", success(term_notice + int_notice)},
      {{SIGINT, SIGINT, SIGINT}, "", success(int_notice + int_notice + int_notice)},
      {{SIGTERM}, bad, failed_read(5, "Illegal Modbus reference, exiting.")},
  };
  make_fifo("fifo");
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::PrintToString(row.signals) + row.last_line);
    std::string mapping = part;
    for (std::size_t parts = 0; parts < row.signals.size(); ++parts) mapping += part;
    const outcome undisturbed = convert(mapping + row.last_line);

    process converter({RUVEX_PROGRAM, path("fifo"), path("disturbed.xml")});
    std::ofstream fifo(path("fifo"), std::ios::binary);
    fifo << part << std::flush;
    for (const int signal : row.signals) {
      EXPECT_EQ(::kill(converter.id(), signal), 0);
      fifo << part << std::flush;
    }
    fifo << row.last_line;
    fifo.close();
    outcome expected = row.ended;
    if (undisturbed.status != 0) expected.out.insert(banner.size(), term_notice);
    EXPECT_EQ(converter.wait(), expected);
    EXPECT_TRUE(read("disturbed.xml") == read("out.xml")) << "something was lost";
    EXPECT_EQ(exists("disturbed.xml"), undisturbed.status == 0);
  }
}

TEST_F(SignalTest, ASignalWhileWritingLosesNothing) {
  ASSERT_EQ(convert(many_points(300)), success());
  make_fifo("fifo");
  process converter({RUVEX_PROGRAM, path("in.csv"), path("fifo")});
  const int reader = ::open(path("fifo").c_str(), O_RDONLY | O_CLOEXEC);
  // The writer waits in a write once the pipe is full, but for what does not fill a page.
  const int full = ::fcntl(reader, F_GETPIPE_SZ) - 4096;
  for (int held = 0; held < full && !converter.has_ended(); ::usleep(1000)) {
    ASSERT_EQ(::ioctl(reader, FIONREAD, &held), 0);
  }
  EXPECT_EQ(::kill(converter.id(), SIGTERM), 0);
  const std::string received = read("fifo");
  ::close(reader);
  EXPECT_EQ(converter.wait(), success("SIGTERM received"));
  EXPECT_TRUE(received == read("out.xml")) << "something was lost";
}

}  // namespace
}  // namespace ruvex
