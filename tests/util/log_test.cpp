#include "util/log.h"

#include <syslog.h>

#include <functional>
#include <string>

#include "gtest/gtest.h"

namespace ruvex {
namespace {

struct echoes {
  std::string standard_output, system_log;
};

// Where a message goes while the system log takes these priorities only. The log is seen through
// its copy on standard error; no log daemon is needed.
echoes echoes_of(int priorities, const std::function<void()>& call) {
  const int earlier = ::setlogmask(priorities);
  ::openlog("test", LOG_PERROR, LOG_USER);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  call();
  echoes got = {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
  ::openlog(nullptr, 0, LOG_USER);
  ::setlogmask(earlier);
  return got;
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
      {[] { SysLogP(LOG_PRIORITY_NOTICE, "%4.1f|", 1.25); }, LOG_NOTICE, " 1.2|", " 1.2|\n"},
      {[] { SysLogP(LOG_PRIORITY_INFO, "plain"); }, LOG_INFO, "plain", "plain\n"},
      {[] { SysLogP(LOG_DEBUG, "plain"); }, LOG_DEBUG, "plain", "plain\n"},
      {[] { SysLog("%s%%", "%s %n %5"); }, LOG_INFO, "%s %n %5%", "%s %n %5%\n"},
      {[] { SysLog("%s", ""); }, LOG_INFO, "", "\n"},
      {[&] { SysLog("%s", longest.c_str()); }, LOG_INFO, longest, longest + "\n"},
      {[&] { SysLogP(3, "%s", longer.c_str()); }, LOG_ERR, longest, longest + "\n"},
      {[&] { SysLogS("%s%s", longer.c_str(), "z"); }, LOG_INFO, "", longest + "\n"},
  };
  for (const auto& row : cases) {
    const echoes at_its_priority = echoes_of(LOG_MASK(row.priority), row.call);
    EXPECT_EQ(at_its_priority.standard_output, row.standard_output);
    EXPECT_EQ(at_its_priority.system_log, "test: " + row.system_log);
    const echoes at_others = echoes_of(0xff & ~LOG_MASK(row.priority), row.call);
    EXPECT_EQ(at_others.standard_output, row.standard_output);
    EXPECT_EQ(at_others.system_log, "") << row.system_log;
  }
}

}  // namespace
}  // namespace ruvex
