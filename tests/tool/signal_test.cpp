#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <string>

#include "tool/process.h"

namespace ruvex {
namespace {

using SignalTest = ToolTest;

// The mapping arrives through a FIFO, so the run is in the middle of it when the signals are sent.
TEST_F(SignalTest, SignalsWhileReadingAreLoggedAndLoseNothing) {
  // More than a pipe and the reader's block hold: when it is written, lines of it have been read.
  std::string part;
  for (int line = 0; line < 300; ++line) part += point_line({{0, std::string(900, '-')}});
  const std::string bad = point_line({{4, "20001"}}),
                    illegal = "Illegal Modbus reference, exiting.";
  const std::string notices = "SIGTERM receivedSIGINT receivedSIGINT received";
  make_fifo("fifo");
  for (const bool fails : {false, true}) {
    const std::string last = fails ? bad : "";
    EXPECT_EQ(convert(part + part + part + part + last),
              fails ? failed_read(5, illegal) : success());
    process converter({RUVEX_PROGRAM, path("fifo"), path("disturbed.xml")});
    std::ofstream fifo(path("fifo"), std::ios::binary);
    fifo << part << std::flush;
    for (const int signal : {SIGTERM, SIGINT, SIGINT}) {
      EXPECT_EQ(::kill(converter.id(), signal), 0);
      fifo << part << std::flush;
    }
    fifo << last;
    fifo.close();
    EXPECT_EQ(converter.wait(), fails ? failed_read(5, notices + illegal) : success(notices));
    EXPECT_TRUE(read("disturbed.xml") == read("out.xml")) << "something was lost";
    EXPECT_EQ(exists("disturbed.xml"), !fails);
  }
}

TEST_F(SignalTest, ASignalWhileWritingLosesNothing) {
  ASSERT_EQ(convert(many_points(300)), success());
  make_fifo("fifo");
  process converter({RUVEX_PROGRAM, path("in.csv"), path("fifo")});
  const int reader = ::open(path("fifo").c_str(), O_RDONLY | O_CLOEXEC);
  // The writer waits in a write once the pipe is full, but for what does not fill a page.
  const int full = ::fcntl(reader, F_GETPIPE_SZ) - 4096;
  for (int held = 0, waits = 0; held < full && waits < 60000; ++waits, ::usleep(1000)) {
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
