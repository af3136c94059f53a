// Steps of opening that ports by number and ports by path share. Failures are reported on standard
// error.
#pragma once

#include <termios.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "ruvex/serial/port.h"

namespace ruvex {

// A port that is about to be made. Unlike serClose, giving it up leaves the settings alone, which
// may not have been read yet.
struct give_up {
  void operator()(ser_port* port) const noexcept {
    if (port->fd > 0) close(port->fd);
    std::free(port);
  }
};
using unfinished_port = std::unique_ptr<ser_port, give_up>;

// A port of zeros without a descriptor (-1), or null.
unfinished_port allocate_port(speed_t speed) noexcept;

// Opens `dev_name`. On failure give_up closes what is open.
bool open_descriptor(ser_port& port) noexcept;

// Adds the time-out to `tio`, discards unread input and applies `tio`. False, with `errno` and
// without a report, when the system refuses `tio`.
bool try_settings(ser_port& port, std::int32_t timeout) noexcept;

// Reports the refusal that `errno` tells, and puts `tio_saved` back. Always false.
bool refuse_settings(const ser_port& port) noexcept;

}  // namespace ruvex
