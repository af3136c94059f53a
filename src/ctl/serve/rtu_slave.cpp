#include "rtu_slave.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "command.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/request.h"

namespace ruvex {
namespace {

constexpr std::int32_t send_timeout_ms = 2000;

// A USB adapter hands over what it has received in steps of some 16 ms.
constexpr std::int64_t shortest_gap_ms = 20;

// Three and a half characters of 11 bits, and never less than 1.75 ms ("MODBUS over Serial Line,
// Specification and Implementation Guide V1.02", section 2.5.1.1).
std::int64_t silence_us(std::int32_t baud) noexcept {
  return std::max<std::int64_t>(std::int64_t{38'500'000} / baud, 1750);
}

enum class waited : std::uint8_t { ready, silent, stopped };

// `timeout_ms` below 0 waits without end.
waited wait_for_input(int fd, int stop, std::int32_t timeout_ms) noexcept {
  std::array<pollfd, 2> sources = {{{fd, POLLIN, 0}, {stop, POLLIN, 0}}};
  int count = -1;
  do {
    count = ::poll(sources.data(), sources.size(), timeout_ms);
  } while (count < 0 && errno == EINTR);
  if (sources[1].revents != 0) return waited::stopped;
  return count > 0 ? waited::ready : waited::silent;
}

}  // namespace

rtu_slave::~rtu_slave() {
  end();
  if (terminal_ >= 0) ::close(terminal_);
  if (other_end_ >= 0) ::close(other_end_);
}

bool rtu_slave::make_terminal() {
  std::array<char, 128> path = {};
  terminal_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  const bool is_made = terminal_ >= 0 && ::grantpt(terminal_) == 0 && ::unlockpt(terminal_) == 0 &&
                       ::ptsname_r(terminal_, path.data(), path.size()) == 0;
  if (is_made) other_end_ = ::open(path.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios settings = {};
  if (other_end_ < 0 || ::tcgetattr(other_end_, &settings) != 0) {
    complain("no pseudo-terminal can be made: %s", std::strerror(errno));
    return false;
  }
  ::cfmakeraw(&settings);
  ::tcsetattr(other_end_, TCSANOW, &settings);
  name_ = path.data();
  return true;
}

bool rtu_slave::open(const std::string& path, const ser_format& format) {
  if (path == "pty") {
    if (!make_terminal()) return false;
  } else {
    port_ = std::make_unique<locked_port>(path.c_str(), format, 0);
    if (!port_->is_open()) return false;
    name_ = path;
  }
  silence_us_ = silence_us(format.baud);
  const std::int64_t gap_ms = std::max(shortest_gap_ms, silence_us_ * 2 / 1000 + 1);
  source_.gap_ms = static_cast<std::int32_t>(gap_ms);
  const int fd = port_ != nullptr ? port_->descriptor() : terminal_;
  mod_lineInit(&source_.line, fd, send_timeout_ms, format.baud);
  mod_init(&ctx_, MOD_RTU, &source_, receive, nullptr);
  return true;
}

std::int32_t rtu_slave::receive(void* handle, void* buffer, std::int32_t) {
  source& from = *static_cast<source*>(handle);
  if (from.next == from.end) {
    if (wait_for_input(from.line.fd, from.stop, from.gap_ms) != waited::ready) return -1;
    const std::int32_t got =
        mod_lineRecvTimeout(&from.line, from.bytes, sizeof from.bytes, from.gap_ms);
    if (got < 0) return -1;
    from.next = 0;
    from.end = got;
  }
  *static_cast<std::uint8_t*>(buffer) = from.bytes[from.next++];
  return 1;
}

void rtu_slave::start(const station& where, responder& answers) {
  source_.stop = ::eventfd(0, EFD_CLOEXEC);
  thread_ = std::thread([this, &where, &answers] {
    if (run(where, answers)) return;
    has_gone_ = true;
    ::kill(::getpid(), SIGTERM);
  });
}

bool rtu_slave::end() {
  if (!thread_.joinable()) return !has_gone_;
  const std::uint64_t once = 1;
  [[maybe_unused]] const ssize_t written = ::write(source_.stop, &once, sizeof once);
  thread_.join();
  ::close(source_.stop);
  return !has_gone_;
}

// False when the line has gone.
bool rtu_slave::run(const station& where, responder& answers) {
  while (!source_.line.is_closed) {
    const bool is_empty = source_.next == source_.end;
    const bool is_stopped =
        is_empty && wait_for_input(source_.line.fd, source_.stop, -1) == waited::stopped;
    if (is_stopped) return true;
    if (mod_waitRequest(&ctx_) > 0) answer(where, answers);
  }
  return false;
}

void rtu_slave::answer(const station& where, responder& answers) {
  const std::int16_t length = mod_rxToBin(MOD_RTU, ctx_.length, ctx_.buffer, ctx_.buffer);
  if (length < 2) return;  // it is corrupt, or has no function code
  const std::uint8_t number = ctx_.buffer[0];
  std::array<std::uint8_t, 1 + longest_pdu> message = {};
  const reply made =
      answers.respond(where, number, {ctx_.buffer + 1, static_cast<std::size_t>(length) - 1},
                      {name_, true}, message.data() + 1);
  if (made.size == 0) return;
  message[0] = static_cast<std::uint8_t>(made.is_stale ? number + 1 : number);
  ctx_.tx_length = mod_binToTx(MOD_RTU, static_cast<std::int32_t>(made.size) + 1, message.data(),
                               ctx_.tx_buffer);
  if (made.delay_ms != 0) {
    wait_for_input(-1, source_.stop, made.delay_ms);
  } else {
    std::this_thread::sleep_for(std::chrono::microseconds(silence_us_));
  }
  mod_lineSend(&source_.line, ctx_.tx_buffer, ctx_.tx_length);
}

}  // namespace ruvex
