#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/c_library.h"
#include "tool/process.h"

namespace ruvex {
namespace {

// Lines as they are sent; some C libraries end each of them.
std::vector<std::string> as_sent(std::vector<std::string> lines) {
  for (std::string& line : lines) {
    if (!has_glibc && !line.ends_with('\n')) line += '\n';
  }
  return lines;
}

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
    EXPECT_EQ(::bind(log_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~LogTest() override { ::close(log_); }

  void SetUp() override {
    if (process({}, enter()).wait().status == not_started) {
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
      entry.erase(entry.find('>') + 1, time_length);
      entries.push_back(entry);
    }
    return entries;
  }

 private:
  int log_;
};

TEST_F(LogTest, EveryMessageReachesTheSystemLogAtItsPriority) {
  const std::string entered = "<13>ruvex: terminate_app() entered";
  const std::string exiting = "<13>ruvex: RUVEX exiting\r\n";
  const struct {
    int signal;
    std::string line;
    std::vector<std::string> entries;  // after the banner
  } cases[] = {
      {SIGINT,
       point_line({{9, std::string(64, 'd')}}),
       {"<13>ruvex: SIGINT received", "<13>ruvex: Line 2: description cut to 63 characters\n",
        "<11>ruvex: Unable to write xml file, exiting.", entered, exiting}},
      {SIGTERM,
       point_line({{4, "20001"}}),
       {"<13>ruvex: SIGTERM received", "<11>ruvex: Illegal Modbus reference, exiting.",
        "<11>ruvex: Unable to open/parse modbus mapping file",
        "<11>ruvex: Convert CSV : FATAL ERROR : Unable to read csv file, exiting...", entered,
        exiting}},
  };
  make_fifo("fifo");
  for (const auto& row : cases) {
    process converter({RUVEX_PROGRAM, path("fifo"), path("missing/out.xml")}, enter());
    std::ofstream fifo(path("fifo"));  // opens when the program does, which reads a line then
    ::kill(converter.id(), row.signal);
    fifo << '\n' << row.line;
    fifo.close();
    converter.wait();
    std::vector<std::string> logged = entries();
    ASSERT_FALSE(logged.empty());
    EXPECT_TRUE(logged.front().starts_with("<13>ruvex: ruvex : Rev 1.0.6 : "));
    logged.erase(logged.begin());
    EXPECT_EQ(logged, as_sent(row.entries));
  }
  run({}, enter());
  EXPECT_EQ(entries().size(), 1u) << "the usage is not for the log";
}

}  // namespace
}  // namespace ruvex
