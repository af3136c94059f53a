// Units on a serial line, in Modbus RTU, among others that the line may have.
#pragma once

#include <cstdint>
#include <string>

#include "register_image.h"
#include "responder.h"
#include "ruvex/modbus/context.h"
#include "ruvex/modbus/line.h"
#include "ruvex/serial/serial.h"

namespace ruvex {

class rtu_slave {
 public:
  rtu_slave() = default;
  ~rtu_slave();
  rtu_slave(const rtu_slave&) = delete;
  rtu_slave& operator=(const rtu_slave&) = delete;

  // Opens the device at `path`, or makes a pseudo-terminal where that is "pty". False after a
  // message.
  bool open(const std::string& path, const ser_format& format);

  // The path of the device; of a pseudo-terminal the one that a master opens.
  const std::string& name() const noexcept { return name_; }

  // Answers the requests for the units of `where` until `stop` can be read, true, or the line has
  // gone, false after a complaint. Broadcasts and requests for other units get no answer.
  bool run(responder& answers, const station& where, int stop);

 private:
  // What is received of the line; a byte at a time to the codec, in blocks from the system.
  struct source {
    mod_line line;
    int stop;
    std::int32_t gap_ms;  // the longest silence inside a frame
    std::int32_t next, end;
    std::uint8_t bytes[mod_buffer_size];
  };

  bool make_terminal();
  static std::int32_t receive(void* handle, void* buffer, std::int32_t length);
  void answer(responder& answers, const station& where);

  std::string name_;
  ser_port_ptr port_;
  int terminal_ = -1;   // the end of a pseudo-terminal that is served
  int other_end_ = -1;  // held open: without it a master that leaves would end the line
  std::int64_t silence_us_ = 0;
  source source_ = {};
  mod_ctx ctx_ = {};
};

}  // namespace ruvex
