#include "ruvex/util/log.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>

namespace ruvex {
namespace {

constexpr int no_echo = 0;
constexpr int echo = 1;

static_assert(LOG_PRIORITY_ERR == LOG_ERR && LOG_PRIORITY_NOTICE == LOG_NOTICE &&
              LOG_PRIORITY_INFO == LOG_INFO);

[[gnu::format(printf, 3, 0)]] void log_message(int priority, int to_stdout, const char* format,
                                               std::va_list arguments) {
  char message[1024];
  if (std::vsnprintf(message, sizeof message, format, arguments) < 0) return;
  if (to_stdout == echo) std::fputs(message, stdout);
  // The message is formatted already: a percent sign in it is text.
  syslog(priority, "%s", message);
}

}  // namespace

void SysLogS(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  log_message(LOG_INFO, no_echo, format, arguments);
  va_end(arguments);
}

void SysLog(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  log_message(LOG_INFO, echo, format, arguments);
  va_end(arguments);
}

void SysLogP(int priority, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  log_message(priority, echo, format, arguments);
  va_end(arguments);
}

}  // namespace ruvex
