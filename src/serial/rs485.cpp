#include "ruvex/serial/rs485.h"

#include <linux/serial.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace ruvex {
namespace {

struct release_block {
  void operator()(serial_rs485* block) const noexcept { std::free(block); }
};
using saved_rs485 = std::unique_ptr<serial_rs485, release_block>;

constexpr std::uint32_t compared_flags =
    SER_RS485_ENABLED | SER_RS485_RTS_ON_SEND | SER_RS485_RTS_AFTER_SEND | SER_RS485_RX_DURING_TX;

std::int32_t fails_with(int reason) {
  errno = reason;
  return -1;
}

serial_rs485 in_terms_of_the_driver(const ser_rs485& rs485) {
  serial_rs485 terms = {};
  terms.flags = SER_RS485_ENABLED;
  terms.flags |= rs485.rts_on_send ? SER_RS485_RTS_ON_SEND : SER_RS485_RTS_AFTER_SEND;
  if (rs485.receive_on_send) terms.flags |= SER_RS485_RX_DURING_TX;
  terms.delay_rts_before_send = static_cast<std::uint32_t>(rs485.delay_before_send);
  terms.delay_rts_after_send = static_cast<std::uint32_t>(rs485.delay_after_send);
  return terms;
}

// While the control is off, nothing else of it counts.
bool is_same(const serial_rs485& wanted, const serial_rs485& line) {
  if ((wanted.flags & SER_RS485_ENABLED) == 0) return (line.flags & SER_RS485_ENABLED) == 0;
  return ((wanted.flags ^ line.flags) & compared_flags) == 0 &&
         wanted.delay_rts_before_send == line.delay_rts_before_send &&
         wanted.delay_rts_after_send == line.delay_rts_after_send;
}

// Drivers leave out what they do not have, and report success. The ioctl may write to its argument.
std::int32_t change(int fd, const serial_rs485& before, const serial_rs485& wanted) {
  serial_rs485 line = wanted;
  if (ioctl(fd, TIOCSRS485, &line) != 0) return -1;
  if (ioctl(fd, TIOCGRS485, &line) == 0 && is_same(wanted, line)) return 0;
  serial_rs485 back = before;
  ioctl(fd, TIOCSRS485, &back);
  return fails_with(EOPNOTSUPP);
}

}  // namespace

std::int32_t serSetRs485(ser_port* port, const ser_rs485* rs485) noexcept {
  if (rs485 != nullptr && (rs485->delay_before_send < 0 || rs485->delay_after_send < 0))
    return fails_with(EINVAL);
  saved_rs485 before(static_cast<serial_rs485*>(std::calloc(1, sizeof(serial_rs485))));
  if (before == nullptr) return fails_with(ENOMEM);
  if (ioctl(port->fd, TIOCGRS485, before.get()) != 0) return -1;
  const serial_rs485 off = {};
  if (change(port->fd, *before, rs485 == nullptr ? off : in_terms_of_the_driver(*rs485)) != 0)
    return -1;
  if (port->rs485_saved == nullptr) port->rs485_saved = before.release();
  return 0;
}

}  // namespace ruvex
