#include "ruvex/util/log.h"

#include <syslog.h>

#include <functional>
#include <string>
#include <tuple>

#include "gtest/gtest.h"
#include "support/c_library.h"

namespace ruvex {
namespace {

// What a call writes while the system log takes these priorities only: standard output, "|", and
// the log's copy on standard error; no log daemon is needed.
std::string echoes_of(int priorities, const std::function<void()>& call) {
  const int earlier = ::setlogmask(priorities);
  ::openlog("test", LOG_PERROR, LOG_USER);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  call();
  const std::string written = testing::internal::GetCapturedStdout() + "|";
  ::openlog(nullptr, 0, LOG_USER);
  ::setlogmask(earlier);
  return written + testing::internal::GetCapturedStderr();
}

// Some cut a line that is longer, its header included.
constexpr std::size_t longest_logged =
    has_glibc ? 1023 : 1024 - sizeof "<14>Jan  1 00:00:00 test: ";

TEST(Log, MessagesGoWhereTheCallSaysAtItsPriority) {
  const std::string longest(1023, 'x'), logged = longest.substr(0, longest_logged) + "\n";
  // The call, its priority, and what goes to standard output and to the system log.
  const std::tuple<std::function<void()>, int, std::string, std::string> cases[] = {
      {[] { SysLogS("%s %d", "quiet", 5); }, LOG_INFO, "", "quiet 5\n"},
      {[] { SysLogP(LOG_PRIORITY_ERR, "%s", "end\r\n"); }, LOG_ERR, "end\r\n", "end\r\n"},
      {[] { SysLog("%s%%", "%s %n %5"); }, LOG_INFO, "%s %n %5%", "%s %n %5%\n"},
      {[&] { SysLogP(5, "%s", longest.c_str()); }, LOG_NOTICE, longest, logged},
      {[&] { SysLogS("%s%s", longest.c_str(), "yz"); }, LOG_INFO, "", logged},
  };
  for (const auto& [call, priority, standard_output, system_log] : cases) {
    const int mask = LOG_MASK(priority);
    EXPECT_EQ(echoes_of(mask, call), standard_output + "|test: " + system_log);
    EXPECT_EQ(echoes_of(0xff & ~mask, call), standard_output + "|") << system_log;
  }
}

}  // namespace
}  // namespace ruvex
