// The log calls: printf-style messages that go to the system log and, from two of the three, to
// standard output as well, so that a run at the terminal shows what the controller's log receives.
//
// A message is cut to 1023 characters. No failure is reported: where standard output is closed or
// no log daemon runs, the message is lost and the caller goes on. No identity or facility is set:
// the system library's defaults (the program's name, the user facility) apply. The calls keep no
// state. Any thread may call them, but a signal handler may not.
#pragma once

namespace ruvex {

// Priorities of the system log, as RFC 5424 (section 6.2.1, severities) numbers them.
enum log_priority : int { LOG_PRIORITY_ERR = 3, LOG_PRIORITY_NOTICE = 5, LOG_PRIORITY_INFO = 6 };

// Sends the message to the system log at INFO; standard output stays untouched.
// `format` and what follows are those of printf.
[[gnu::format(printf, 1, 2)]] void SysLogS(const char* format, ...);

// Writes the message to standard output, exactly as formatted and without a line end of its own,
// then sends it to the system log at INFO. The stream is not flushed.
[[gnu::format(printf, 1, 2)]] void SysLog(const char* format, ...);

// As SysLog, at `priority`, one of the eight levels 0 to 7 of the system log.
[[gnu::format(printf, 2, 3)]] void SysLogP(int priority, const char* format, ...);

}  // namespace ruvex
