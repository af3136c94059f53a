// The notices of SIGTERM and SIGINT. A signal ends nothing: it is remembered by the handler and
// logged by the main flow at its next step, where logging is safe.
#pragma once

namespace ruvex {

using signal_disposition = void (*)(int);

// The dispositions that were in force before install_signal_handlers().
extern signal_disposition old_handler_SIGTERM;
extern signal_disposition old_handler_SIGINT;

// Remembers that the signal arrived. It may run at any time.
void signal_handler(int signal_number);

// SIGPIPE and SIGXFSZ are ignored from here on, to the end of the process: a reader that goes away
// and a file that may not grow are failed writes like any other.
void ignore_signals_of_writes();

// Installs signal_handler for SIGTERM, then for SIGINT, and saves what was there. Interrupted
// system calls are resumed.
void install_signal_handlers();

// Logs, at NOTICE, a line for each kind of signal that has arrived since the last call.
void log_signals();

// Puts the saved dispositions back, SIGTERM's first, then SIGINT's.
void restore_signal_handlers();

}  // namespace ruvex
