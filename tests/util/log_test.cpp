#include "ruvex/util/log.h"

#include <syslog.h>

#include <functional>
#include <string>

#include "gtest/gtest.h"

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

TEST(Log, MessagesGoWhereTheCallSaysAtItsPriority) {
  const std::string longest(1023, 'x'), longer = longest + "y";
  const struct {
    std::function<void()> call;
    int priority;
    std::string standard_output, system_log;
  } cases[] = {
      {[] { SysLogS("%s %d", "quiet", 5); }, LOG_INFO, "", "quiet 5\n"},
      {[] { SysLog("%s %d\n", "two", 2); }, LOG_INFO, "two 2\n", "two 2\n"},
      {[] { SysLogP(LOG_PRIORITY_ERR, "%s", "end\r\n"); }, LOG_ERR, "end\r\n", "end\r\n"},
      {[] { SysLog("%s%%", "%s %n %5"); }, LOG_INFO, "%s %n %5%", "%s %n %5%\n"},
      {[&] { SysLogP(5, "%s", longest.c_str()); }, LOG_NOTICE, longest, longest + "\n"},
      {[&] { SysLogS("%s%s", longer.c_str(), "z"); }, LOG_INFO, "", longest + "\n"},
  };
  for (const auto& row : cases) {
    const int others = 0xff & ~LOG_MASK(row.priority);
    EXPECT_EQ(echoes_of(LOG_MASK(row.priority), row.call),
              row.standard_output + "|test: " + row.system_log);
    EXPECT_EQ(echoes_of(others, row.call), row.standard_output + "|") << row.system_log;
  }
}

}  // namespace
}  // namespace ruvex
