// Ports on pseudo-terminals, which are linked at free device paths for as long as a test runs.
#include "ruvex/serial/serial.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

#include "support/failing_allocations.h"

namespace ruvex {

enum step { none, memory, flags, settings };
static step refused = none;  // what the system refuses

extern "C" int __real_tcsetattr(int fd, int when, const termios* tio);
extern "C" int __wrap_tcsetattr(int fd, int when, const termios* tio) {
  const int result = __real_tcsetattr(fd, when, tio);  // in any case, so that it has to be undone
  return std::exchange(refused, none) == settings ? (errno = EIO, -1) : result;
}
extern "C" int __wrap_fcntl64(int fd, int command, long argument) {
  if (refused == flags && command == F_SETFL) return errno = EPERM, -1;
  return static_cast<int>(::syscall(SYS_fcntl, fd, command, argument));
}
extern "C" [[gnu::alias("__wrap_fcntl64")]] int __wrap___fcntl_time64(int fd, int command, long);

namespace {

constexpr int plain = INT_MAX;  // serOpen, serRecv

auto parts(const termios& tio) {
  return std::tuple(tio.c_iflag, tio.c_oflag, tio.c_cflag, tio.c_lflag, +tio.c_cc[VMIN],
                    +tio.c_cc[VTIME], ::cfgetispeed(&tio), ::cfgetospeed(&tio));
}

// `far` is the other end of the line, `near` the one that a port stands on.
struct Serial : testing::Test {
  Serial() : far(::posix_openpt(O_RDWR | O_NOCTTY)) {
    if (::grantpt(far) != 0 || ::unlockpt(far) != 0) std::abort();
    near = ::open(::ptsname(far), O_RDWR | O_NOCTTY);
  }
  ~Serial() override {
    if (number < 16) ::unlink(path.c_str());
    for (const int fd : {near, far}) ::close(fd);
  }
  void SetUp() override {
    while (++number < 16) {
      path = "/dev/ttyUSB" + std::to_string(number - 10);
      if (!std::filesystem::exists(path)) ::unlink(path.c_str());  // what a crashed run has left
      if (::symlink(::ptsname(far), path.c_str()) == 0) return;
    }
    GTEST_SKIP() << "skipped: " << path << ": " << std::system_category().message(errno);
  }
  termios at_line() const {
    termios tio = {};
    EXPECT_EQ(::tcgetattr(near, &tio), 0);
    return tio;
  }
  std::string received(std::size_t length) const {  // at the far end
    std::string bytes(length, '?');
    pollfd end = {far, POLLIN, 0};
    std::size_t at = 0;
    while (at < length && ::poll(&end, 1, 2000) == 1) at += ::read(far, &bytes[at], length - at);
    return bytes;
  }
  // The settings of the line, and how many descriptors are open.
  auto state() const {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::tuple(parts(at_line()), std::distance(descriptors, {}));
  }
  // Opening fails, prints this and leaves everything as it was.
  void expect_no_port(int port, int baud, const std::string& printed, step refusing) const {
    const auto before = state();
    testing::internal::CaptureStderr();
    refused = refusing;
    watch(refusing == memory ? 0 : never);
    EXPECT_EQ(serOpen(port, baud, 0), nullptr);
    watching = false;
    refused = none;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), printed);
    EXPECT_EQ(state(), before) << printed;
  }
  int far, near = -1, number = 9;
  std::string path;
};

TEST_F(Serial, WhatCannotBeOpenedIsSaid) {
  const std::string missing = "\nserOpen:open():: No such file or directory\n";
  for (const auto& [port, name] : {std::pair(20, "AM0"), {25, "AM5"}})
    expect_no_port(port, 2400, "serOpen:Error trying to open /dev/tty" + (name + missing), none);
  for (const auto& [port, name] : {std::pair(6, "S6"),
                                   {9, "S9"},
                                   {16, "USB6"},
                                   {19, "USB9"},
                                   {26, "AM6"},
                                   {-2, "S-2"},
                                   {INT_MIN, "S-2147483648"}})
    expect_no_port(port, 2400, std::string("Invalid serial port: /dev/tty") + name + "\n", none);
  for (const int baud : {230400, 0, static_cast<int>(B9600)})
    expect_no_port(6, baud, "Invalid baud rate: " + std::to_string(baud) + "\n", memory);
  for (const int port : {-1, 6})
    expect_no_port(port, 9600, "serOpen:calloc():: Cannot allocate memory\n", memory);
  expect_no_port(number, 9600, "serOpen:fcntl():: Operation not permitted\n", flags);
  expect_no_port(number, 9600, "serOpen:tcsetattr():: Input/output error\n", settings);
}

TEST_F(Serial, SettingsAreAppliedAndPutBack) {
  const auto before = parts(at_line());
  EXPECT_EQ(std::exchange(c_cflag, CS8), 0x8B0U);  // the first row puts it right again
  // clang-format off
  const std::tuple<int, int, int, speed_t, tcflag_t, tcflag_t, int, int> cases[] = {
      {2400, 0, 0, B2400, 4, 0x8B0, 1, 0}, {4800, 10, plain, B4800, 4, 0x8B0, 0, 10},
      {9600, 255, plain, B9600, 4, 0x8B0, 0, 255}, {19200, 256, 1, B19200, 4, 0x8E0, 0, 0},
      {38400, 257, plain, B38400, 4, 0x8E0, 0, 1}, {57600, -1, 2, B57600, 0x30, 0x9A0, 0, 255},
      {115200, 1, 3, B115200, 0x30, 0xBA0, 0, 1}, {9600, 1, 4, B9600, 4, 0x8F0, 0, 1},
      {9600, 1, 5, B9600, 0x30, 0x9B0, 0, 1}, {9600, 1, 6, B9600, 0x30, 0xBB0, 0, 1},
      {9600, 1, 7, B9600, 0x30, 0xBB0, 0, 1}};
  // clang-format on
  for (const auto& [baud, timeout, mode, code, input, control, min, time] : cases) {
    ser_port_ptr port(mode == plain ? serOpen(number, baud, timeout)
                                    : serOpenMod(number, baud, timeout, mode));
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(std::tuple(port->index, port->dev_name, port->speed, c_iflag, c_cflag),
              std::tuple(number - 10, path, code, input, control));
    EXPECT_EQ(::fcntl(port->fd, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDWR);
    EXPECT_EQ(::fcntl(port->fd, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(parts(port->tio), std::tuple(input, 0, control | code, 0, min, time, code, code));
    termios line = at_line();
    EXPECT_EQ(::cfgetospeed(&line), code);
    line.c_cflag = port->tio.c_cflag;  // a pseudo-terminal keeps to 8 bits without parity
    EXPECT_EQ(parts(line), parts(port->tio));
    port.reset();
    EXPECT_EQ(parts(at_line()), before);
  }
  c_cflag = 0x8B0;
  c_iflag = IGNPAR;
}

TEST_F(Serial, ConsoleIsStandardInputAndStaysOpen) {
  ::dup2(near, STDIN_FILENO);
  termios raw = at_line();
  const auto before = parts(raw);
  ser_port_ptr port(serOpen(-1, 12345, 256));
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(std::tuple(port->index, port->speed, port->fd), std::tuple(0, 12345U, 0));
  ::cfmakeraw(&raw);
  raw.c_cc[VMIN] = 0;
  EXPECT_EQ(parts(at_line()), parts(raw));
  EXPECT_EQ(serRecvTimeout(port.get(), 0), 256);
  port.reset();
  EXPECT_EQ(parts(at_line()), before);
  expect_no_port(-1, 0, "serOpen:tcsetattr():: Input/output error\n", settings);
  EXPECT_NE(std::freopen("/dev/null", "r", stdin), nullptr);
  expect_no_port(-1, 0, "Not a terminal!\n", none);
}

TEST_F(Serial, EveryByteGoesBothWays) {
  EXPECT_EQ(::write(far, "old\n", 4), 4);
  EXPECT_EQ(received(5), "old\r\n");  // echoed, so it has arrived
  const ser_port_ptr port(serOpen(number, 9600, 20));
  EXPECT_EQ(serRecvTimeout(port.get(), 0), 256);
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  for (const char byte : all) EXPECT_EQ(serSend(port.get(), static_cast<std::uint8_t>(byte)), 1);
  std::int32_t (*const send_fn)(void*, const void*, std::int32_t) = serSendBuf;
  std::int32_t (*const recv_fn)(void*, void*, std::int32_t) = serRecvBuf;
  EXPECT_EQ(std::tuple(send_fn(port.get(), all.data(), 256), send_fn(port.get(), "", -1)),
            std::tuple(256, -1));
  EXPECT_EQ(serSendStr(port.get(), "\xff\n\0hidden"), 2);
  EXPECT_EQ(received(514), all + all + "\xff\n");
  EXPECT_EQ(serTxWait(port.get()), 0);
  EXPECT_EQ(::write(far, (all + all + "\xff\n\r").data(), 515), 515);
  ser_port last = *port;
  last.fd = ::dup2(port->fd, 1023);  // the last in a set
  for (int byte = 0; byte < 256; ++byte) EXPECT_EQ(serRecv(port.get()), byte);
  for (int byte = 0; byte < 256; ++byte) EXPECT_EQ(serRecvTimeout(&last, 2000), byte);
  EXPECT_EQ(recv_fn(port.get(), all.data(), 256), 3);
  EXPECT_EQ(all.substr(0, 4), "\xff\n\r\x03");
  EXPECT_EQ(recv_fn(port.get(), all.data(), -1), -1);
  ::close(std::exchange(last.fd, 1024));  // in no set
  testing::internal::CaptureStderr();
  EXPECT_EQ(serRecvTimeout(&last, 0), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "serRecvTimeout:select(): Invalid argument\n");
}

TEST_F(Serial, WaitsAreAsLongAsAsked) {
  struct sigaction interrupt = {};
  interrupt.sa_handler = [](int) {};
  ::sigaction(SIGALRM, &interrupt, nullptr);
  // clang-format off
  const std::tuple<int, int, int, int, int, int, std::string> cases[] = {
      {1, plain, 0, -1, 90, 900, ""}, {0, plain, 200, -1, 190, 900, ""},
      {1, 1050, 0, 256, 1050, 1900, ""},
      {0, 5000, 100, -1, 90, 900, "serRecvTimeout:select(): Interrupted system call\n"},
      {0, -1, 0, -1, 0, 400, "serRecvTimeout:select(): Invalid argument\n"}};
  // clang-format on
  for (const auto& [tenths, wait, interval, result, least, most, printed] : cases) {
    const ser_port_ptr port(serOpen(number, 9600, tenths));
    testing::internal::CaptureStderr();
    const auto start = std::chrono::steady_clock::now();
    ::ualarm(interval * 1000, interval * 1000);
    EXPECT_EQ(wait == plain ? serRecv(port.get()) : serRecvTimeout(port.get(), wait), result);
    ::ualarm(0, 0);
    const auto time = (std::chrono::steady_clock::now() - start) / std::chrono::milliseconds(1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), printed);
    EXPECT_TRUE(time >= least && time <= most) << tenths << " " << time;
  }
}

TEST_F(Serial, SpeedChangesUntilTheLineHasGone) {
  const ser_port_ptr port(serOpen(number, 9600, 0));
  const std::tuple<int, int, speed_t> cases[] = {
      {115200, 0, B115200}, {57600, 0, B57600}, {38400, 0, B38400}, {19200, 0, B19200},
      {2400, -1, B19200},   {4800, -1, B19200}, {9600, 0, B9600},   {230400, -1, B9600}};
  testing::internal::CaptureStderr();
  for (const auto& [baud, result, code] : cases) {
    EXPECT_EQ(serSetBaud(port.get(), baud), result);
    EXPECT_EQ(serSetTimeout(port.get(), 50), 0);
    EXPECT_EQ(std::tuple(port->speed, ::cfgetospeed(&port->tio), parts(at_line())),
              std::tuple(code, code, parts(port->tio)));
  }
  ::close(std::exchange(far, -1));
  EXPECT_EQ(std::tuple(serRecv(port.get()), serRecvTimeout(port.get(), 2000)), std::tuple(-1, -1));
  EXPECT_EQ(std::tuple(serSend(port.get(), 1), serTxWait(port.get())), std::tuple(-1, -1));
  EXPECT_EQ(serSetBaud(port.get(), 19200), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "serSetBaud:tcsetattr():: Input/output error\n");
  EXPECT_EQ(std::tuple(port->speed, ::cfgetospeed(&port->tio)), std::tuple(B19200, B19200));
  serClose(nullptr);
}

}  // namespace
}  // namespace ruvex
