#include "signals.h"

#include <csignal>

#include "ruvex/util/log.h"

namespace ruvex {

signal_disposition old_handler_SIGTERM = SIG_DFL;
signal_disposition old_handler_SIGINT = SIG_DFL;

namespace {

// One flag for each kind, and one above them that a quiet step looks at.
volatile std::sig_atomic_t any_arrived = 0;
volatile std::sig_atomic_t sigint_arrived = 0;
volatile std::sig_atomic_t sigterm_arrived = 0;
volatile std::sig_atomic_t unknown_arrived = 0;

volatile std::sig_atomic_t& flag_of(int signal_number) {
  if (signal_number == SIGINT) return sigint_arrived;
  if (signal_number == SIGTERM) return sigterm_arrived;
  return unknown_arrived;
}

void log_arrival(volatile std::sig_atomic_t& flag, const char* notice) {
  if (flag == 0) return;
  flag = 0;
  SysLogP(LOG_PRIORITY_NOTICE, "%s", notice);
}

}  // namespace

void signal_handler(int signal_number) {
  flag_of(signal_number) = 1;
  any_arrived = 1;
}

void ignore_signals_of_writes() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void install_signal_handlers() {
  old_handler_SIGTERM = std::signal(SIGTERM, signal_handler);
  old_handler_SIGINT = std::signal(SIGINT, signal_handler);
}

void log_signals() {
  if (any_arrived == 0) return;
  any_arrived = 0;
  log_arrival(sigint_arrived, "SIGINT received");
  log_arrival(sigterm_arrived, "SIGTERM received");
  log_arrival(unknown_arrived, "Unknown signal received");
}

void restore_signal_handlers() {
  std::signal(SIGTERM, old_handler_SIGTERM);
  std::signal(SIGINT, old_handler_SIGINT);
}

}  // namespace ruvex
