// A serial port that no other program uses meanwhile.
#pragma once

#include <cstdint>

#include "ruvex/serial/format.h"
#include "ruvex/serial/serial.h"

namespace ruvex {

class locked_port {
 public:
  // Opens the port at `path`; `timeout` as for serOpenPath. When another program has it, or it
  // cannot be opened, a complaint has been printed and is_open() is false; the settings of a port
  // that is in use are not touched.
  locked_port(const char* path, const ser_format& format, std::int32_t timeout);
  ~locked_port();  // closes and frees it
  locked_port(const locked_port&) = delete;
  locked_port& operator=(const locked_port&) = delete;

  bool is_open() const noexcept { return port_ != nullptr; }
  int descriptor() const noexcept { return port_->fd; }

 private:
  bool lock(const char* path) noexcept;

  int lock_ = -1;
  ser_port_ptr port_;
};

}  // namespace ruvex
