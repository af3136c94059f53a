// Units on a serial line, in Modbus RTU, among others that the line may have.
//
// A thread of its own serves the line: inside a frame it has to wait.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "bus/locked_port.h"
#include "register_image.h"
#include "responder.h"
#include "ruvex/modbus/context.h"
#include "ruvex/modbus/line.h"
#include "ruvex/serial/format.h"

namespace ruvex {

class rtu_slave {
 public:
  rtu_slave() = default;
  ~rtu_slave();  // ends the answering
  rtu_slave(const rtu_slave&) = delete;
  rtu_slave& operator=(const rtu_slave&) = delete;

  // Opens the device at `path`, or makes a pseudo-terminal where that is "pty". False after a
  // message.
  bool open(const std::string& path, const ser_format& format);

  // The path of the device; of a pseudo-terminal the one that a master opens.
  const std::string& name() const noexcept { return name_; }

  // Begins to answer the requests for the units of `where`, which outlives the slave, on an open
  // line. Broadcasts and requests for other units get no answer. When the line goes, the
  // process gets SIGTERM, as if a user had ended it.
  void start(const station& where, responder& answers);

  // Ends the answering; false when the line has gone before.
  bool end();

 private:
  // What is received of the line; a byte at a time to the codec, in blocks from the system.
  struct source {
    mod_line line;
    int stop;             // can be read once the answering is to end
    std::int32_t gap_ms;  // the longest silence inside a frame
    std::int32_t next, end;
    std::uint8_t bytes[mod_buffer_size];
  };

  bool make_terminal();
  bool run(const station& where, responder& answers);
  static std::int32_t receive(void* handle, void* buffer, std::int32_t length);
  void answer(const station& where, responder& answers);

  std::string name_;
  std::unique_ptr<locked_port> port_;
  int terminal_ = -1;   // the end of a pseudo-terminal that is served
  int other_end_ = -1;  // held open: without it a master that leaves would end the line
  std::int64_t silence_us_ = 0;
  source source_ = {};
  mod_ctx ctx_ = {};
  std::thread thread_;
  bool has_gone_ = false;  // to be read after the end
};

}  // namespace ruvex
