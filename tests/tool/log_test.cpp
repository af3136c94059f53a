#include "util/log.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tool/process.h"

namespace ruvex {
namespace {

// Stands in for the system log. The processes of the test see a /dev of their own, so that neither
// the log of the machine nor other processes that use it are touched.
class LogTest : public ToolTest {
 protected:
  LogTest() : log_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    std::filesystem::create_directory(path("dev"));
    write("dev/null", "");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path("dev/log").copy(address.sun_path, sizeof address.sun_path - 1);
    if (::bind(log_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      ADD_FAILURE() << "bind: " << std::strerror(errno);
    }
  }
  ~LogTest() override { ::close(log_); }

  void SetUp() override {
    process probe({}, enter());
    if (probe.wait().status == not_started) {
      GTEST_SKIP() << "skipped: no mount namespace can be made here";
    }
  }

  // What a process does to see the /dev of the test.
  preparation enter() const {
    return [dev = path("dev"), null = path("dev/null")] {
      if (::unshare(CLONE_NEWNS) != 0 ||
          ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          ::mount("/dev/null", null.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
          ::mount(dev.c_str(), "/dev", nullptr, MS_BIND | MS_REC, nullptr) != 0) {
        ::_exit(not_started);
      }
    };
  }

  // The entries that have arrived, "<13>Jan  2 03:04:05 identity: message", without their times.
  std::vector<std::string> entries() const {
    constexpr std::size_t time_length = 16;
    std::vector<std::string> entries;
    std::array<char, 4096> packet;
    ssize_t length;
    while ((length = ::recv(log_, packet.data(), packet.size(), 0)) > 0) {
      std::string entry(packet.data(), static_cast<std::size_t>(length));
      entries.push_back(entry.erase(entry.find('>') + 1, time_length));
    }
    return entries;
  }

 private:
  int log_;
};

TEST_F(LogTest, EveryMessageReachesTheSystemLogAtItsPriority) {
  write("bad.csv", point_line({{4, "20001"}}));
  write("long.csv", point_line({{9, std::string(64, 'd')}}));
  const std::string cut = "<13>ruvex: Line 1: description cut to 63 characters\n";
  const std::vector<std::string> last = {"<13>ruvex: terminate_app() entered",
                                         "<13>ruvex: RUVEX exiting\r\n"};
  const struct {
    std::string mapping, output;
    std::vector<std::string> entries;  // between the banner and the last two
  } cases[] = {
      {"long.csv", "out.xml", {cut}},
      {"long.csv", "missing/out.xml", {cut, "<11>ruvex: Unable to write xml file, exiting."}},
      {"bad.csv",
       "out.xml",
       {"<11>ruvex: Illegal Modbus reference, exiting.",
        "<11>ruvex: Unable to open/parse modbus mapping file",
        "<11>ruvex: Convert CSV : FATAL ERROR : Unable to read csv file, exiting..."}},
  };
  const std::string banner_start = "<13>ruvex: ruvex : Rev 1.0.6 : ";
  for (const auto& row : cases) {
    SCOPED_TRACE(row.mapping + " to " + row.output);
    run({path(row.mapping), path(row.output)}, enter());
    std::vector<std::string> logged = entries();
    ASSERT_FALSE(logged.empty());
    EXPECT_EQ(logged.front().substr(0, banner_start.size()), banner_start);
    EXPECT_EQ(logged.front().back(), '\n');
    logged.erase(logged.begin());
    std::vector<std::string> expected = row.entries;
    expected.insert(expected.end(), last.begin(), last.end());
    EXPECT_EQ(logged, expected);
  }
  run({}, enter());
  EXPECT_EQ(entries().size(), 1u) << "the usage is not for the log";
}

TEST_F(LogTest, SignalsAreNotices) {
  make_fifo("fifo");
  process converter({RUVEX_PROGRAM, path("fifo"), path("out.xml")}, enter());
  std::ofstream fifo(path("fifo"));
  ::kill(converter.id(), SIGTERM);
  ::kill(converter.id(), SIGINT);
  fifo.close();
  converter.wait();
  const std::vector<std::string> logged = entries();
  ASSERT_EQ(logged.size(), 5u);
  EXPECT_EQ(logged[1], "<13>ruvex: SIGINT received");
  EXPECT_EQ(logged[2], "<13>ruvex: SIGTERM received");
}

TEST_F(LogTest, MessagesKeepTheirPercentSignsAndAreCutTo1023Characters) {
  const std::string percent = "100%, %d%s%n %%";
  const std::string longest(1023, 'x');
  process logging({}, [&] {
    enter()();
    SysLogS("%s", percent.c_str());
    SysLog("%s %d%%\n", percent.c_str(), 7);
    SysLogP(LOG_PRIORITY_ERR, "%s", percent.c_str());
    SysLogP(LOG_PRIORITY_NOTICE, "%s", longest.c_str());
    SysLog("%s%s", longest.c_str(), "no room");
  });
  EXPECT_EQ(logging.wait(), (outcome{0, percent + " 7%\n" + percent + longest + longest, ""}));
  const std::vector<std::string> expected = {
      "<14>tool_test: " + percent, "<14>tool_test: " + percent + " 7%\n",
      "<11>tool_test: " + percent, "<13>tool_test: " + longest, "<14>tool_test: " + longest};
  EXPECT_EQ(entries(), expected);
}

}  // namespace
}  // namespace ruvex
