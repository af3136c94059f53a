// Ports on pseudo-terminals, which are linked at free device paths for as long as a test runs.
#include "ruvex/serial/serial.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
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

#include "ruvex/serial/rs485.h"
#include "support/c_library.h"
#include "support/failing_allocations.h"

namespace ruvex {

enum step { none, memory, flags, settings };
static step refused = none;  // what the system refuses

static void (*leave_out)(termios&) = nullptr;  // what the driver does to the next settings

extern "C" int __real_tcsetattr(int fd, int when, const termios* tio);
extern "C" int __wrap_tcsetattr(int fd, int when, const termios* tio) {
  termios taken = *tio;
  if (leave_out != nullptr) std::exchange(leave_out, nullptr)(taken);
  const int result = __real_tcsetattr(fd, when, &taken);  // in any case: it has to be undone
  return std::exchange(refused, none) == settings ? (errno = EIO, -1) : result;
}
extern "C" int __wrap_fcntl64(int fd, int command, long argument) {
  if (refused == flags && command == F_SETFL) return errno = EPERM, -1;
  return static_cast<int>(::syscall(SYS_fcntl, fd, command, argument));
}
extern "C" [[gnu::alias("__wrap_fcntl64")]] int __wrap___fcntl_time64(int fd, int command, long);
extern "C" [[gnu::alias("__wrap_fcntl64")]] int __wrap_fcntl(int fd, int command, long);

// A driver with direction control, which leaves out silently what it does not have.
static struct {
  bool exists;
  std::uint32_t lacking, longest_delay;
  serial_rs485 now;
} driver;
extern "C" int __wrap_ioctl(int fd, unsigned long request, serial_rs485* rs485) {
  if (!driver.exists) return static_cast<int>(::syscall(SYS_ioctl, fd, request, rs485));
  if (request == TIOCSRS485) {
    rs485->flags &= ~driver.lacking;
    for (auto* delay : {&rs485->delay_rts_before_send, &rs485->delay_rts_after_send})
      *delay = std::min(*delay, driver.longest_delay);
    driver.now = *rs485;
  }
  return *rs485 = driver.now, 0;
}
extern "C" [[gnu::alias("__wrap_ioctl")]] int __wrap___ioctl_time64(int, unsigned long,
                                                                    serial_rs485*);

namespace {

constexpr int plain = INT_MAX;  // serOpen, serRecv
const std::string no_file = "\nserOpen:open():: No such file or directory\n";

auto parts(const termios& tio) {
  return std::tuple(tio.c_iflag, tio.c_oflag, tio.c_cflag, tio.c_lflag, +tio.c_cc[VMIN],
                    +tio.c_cc[VTIME], ::cfgetispeed(&tio), ::cfgetospeed(&tio));
}

// `far` is the other end of the line, `near` the one that a port stands on.
struct Line : testing::Test {
  Line() : far(::posix_openpt(O_RDWR | O_NOCTTY)) {
    if (::grantpt(far) != 0 || ::unlockpt(far) != 0) std::abort();
    near = ::open(::ptsname(far), O_RDWR | O_NOCTTY);
  }
  ~Line() override {
    for (const int fd : {near, far}) ::close(fd);
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
  template <typename Opening>
  void expect_refused(Opening open_port, const std::string& printed, step refusing = none) const {
    const auto before = state();
    testing::internal::CaptureStderr();
    refused = refusing;
    watch(refusing == memory ? 0 : never);
    EXPECT_EQ(open_port(), nullptr);
    watching = false;
    refused = none;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), printed);
    EXPECT_EQ(state(), before) << printed;
  }
  void expect_no_port(int port, int baud, const std::string& printed, step refusing) const {
    expect_refused([&] { return serOpen(port, baud, 0); }, printed, refusing);
  }
  int far, near = -1;
  std::string path = ::ptsname(far);
};

// The line has a number as well.
struct Serial : Line {
  ~Serial() override {
    if (number < 16) ::unlink(path.c_str());
  }
  void SetUp() override {
    while (++number < 16) {
      path = "/dev/ttyUSB" + std::to_string(number - 10);
      if (!std::filesystem::exists(path)) ::unlink(path.c_str());  // what a crashed run has left
      if (::symlink(::ptsname(far), path.c_str()) == 0) return;
    }
    GTEST_SKIP() << "skipped: " << path << ": " << std::system_category().message(errno);
  }
  int number = 9;
};

TEST_F(Serial, WhatCannotBeOpenedIsSaid) {
  for (const auto& [port, name] : {std::pair(20, "AM0"), {25, "AM5"}})
    expect_no_port(port, 2400, "serOpen:Error trying to open /dev/tty" + (name + no_file), none);
  for (const auto& [port, name] : {std::pair(6, "S6"),
                                   {9, "S9"},
                                   {16, "USB6"},
                                   {19, "USB9"},
                                   {26, "AM6"},
                                   {-2, "S-2"},
                                   {INT_MIN, "S-2147483648"}})
    expect_no_port(port, 2400, std::string("Invalid serial port: /dev/tty") + name + "\n", none);
  for (const int baud : {230400, 1800, 0, static_cast<int>(B9600)})
    expect_no_port(6, baud, "Invalid baud rate: " + std::to_string(baud) + "\n", memory);
  for (const int port : {-1, 6})
    expect_no_port(port, 9600, "serOpen:calloc():" + system_words(ENOMEM), memory);
  expect_no_port(number, 9600, "serOpen:fcntl():: Operation not permitted\n", flags);
  expect_no_port(number, 9600, "serOpen:tcsetattr():" + system_words(EIO), settings);
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
  expect_no_port(-1, 0, "serOpen:tcsetattr():" + system_words(EIO), settings);
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
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "serSetBaud:tcsetattr():" + system_words(EIO));
  EXPECT_EQ(std::tuple(port->speed, ::cfgetospeed(&port->tio)), std::tuple(B19200, B19200));
  serClose(nullptr);
}

TEST_F(Line, OpensByPathInEachFormat) {
  // clang-format off
  const std::tuple<const char*, int, speed_t, tcflag_t, tcflag_t> cases[] = {
      {"300,7N1", 0, B300, IGNPAR, CS7}, {"600,7E1", 1, B600, INPCK, CS7 | PARENB},
      {"1200,7O2", 255, B1200, INPCK, CS7 | PARENB | PARODD | CSTOPB},
      {"4800,8E1", 1, B4800, INPCK, CS8 | PARENB}, {"9600,8N2", 1, B9600, IGNPAR, CS8 | CSTOPB},
      {"38400,8O1", 1, B38400, INPCK, CS8 | PARENB | PARODD}, {"1800,8N1", 1, B1800, IGNPAR, CS8},
      {"230400,8N1", 1, B230400, IGNPAR, CS8}, {"460800,8N1", 1, B460800, IGNPAR, CS8},
      {"500000,8N1", 1, B500000, IGNPAR, CS8}, {"576000,8N1", 1, B576000, IGNPAR, CS8},
      {"921600,8N1", 1, B921600, IGNPAR, CS8}, {"19200,8E1", 1, B19200, INPCK, CS8 | PARENB}};
  // clang-format on
  for (const auto& [text, timeout, code, input, control] : cases) {
    termios line = at_line();
    ::cfsetospeed(&line, code);
    ::tcsetattr(near, TCSANOW, &line);
    const auto before = parts(line = at_line());
    if (::cfgetospeed(&line) != code) continue;  // an emulated system stops at 460800
    ser_format format = {1, 2, 'X', 3};
    EXPECT_TRUE(serParseFormat(text, format));
    ser_port_ptr port(serOpenPath(path.c_str(), format, timeout));
    ASSERT_NE(port, nullptr) << text;
    EXPECT_EQ(std::tuple(port->index, port->dev_name, port->speed), std::tuple(-1, path, code));
    EXPECT_EQ(parts(port->tio), std::tuple(input, 0, control | CREAD | CLOCAL | code, 0,
                                           timeout == 0, timeout, code, code));
    line = at_line();
    line.c_cflag = port->tio.c_cflag;
    EXPECT_EQ(parts(line), parts(port->tio)) << text;
    EXPECT_EQ(::write(far, "\xff\x80\0", 3), 3);
    for (const int byte : {0xFF, 0x80, 0}) EXPECT_EQ(serRecvTimeout(port.get(), 2000), byte);
    port.reset();
    EXPECT_EQ(parts(at_line()), before);
  }
}

TEST_F(Line, OnlyFormatsAreRead) {
  const std::tuple unread(1, 2, 'X', 3);
  for (const char* text : {"", "9600", "9600,8E", "9600,8E11", " 9600,8E1", "9600.8E1", "09600,8E1",
                           "-9600,8E1", ",8E1", "31250,8E1", "4294976896,8E1", "9600,9E1",
                           "9600,6E1", "9600,8e1", "9600,8E0", "9600,8E3"}) {
    ser_format read = {1, 2, 'X', 3};
    EXPECT_FALSE(serParseFormat(text, read)) << text;
    EXPECT_EQ(std::tuple(read.baud, read.data_bits, read.parity, read.stop_bits), unread);
  }
}

TEST_F(Line, WhatCannotBeOpenedByPathIsSaid) {
  const std::string fifo = testing::TempDir() + "ruvex_serial_" + std::to_string(::getpid());
  const std::string missing = fifo + ".missing";
  EXPECT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
  const std::string long_path = std::string(88 - path.size(), '/') + path;
  // clang-format off
  const std::tuple<std::string, ser_format, int, step, std::string> cases[] = {
      {path, {31250, 9, 'X', 3}, -1, memory, "Invalid baud rate: 31250\n"},
      {path, {9600, 6, 'X', 3}, -1, memory, "Invalid data bits: 6\n"},
      {path, {9600, 8, 'e', 3}, -1, memory, "Invalid parity: e\n"},
      {path, {9600, 8, '\x1b', 1}, 0, none, "Invalid parity: 0x1B\n"},
      {path, {9600, 8, '\xe9', 1}, 0, none, "Invalid parity: 0xE9\n"},
      {path, {9600, 8, 'E', 3}, -1, memory, "Invalid stop bits: 3\n"},
      {path, {}, 256, memory, "Invalid time-out: 256\n"},
      {path, {}, -1, memory, "Invalid time-out: -1\n"},
      {path, {}, 0, memory, "serOpen:calloc():" + system_words(ENOMEM)},
      {path, {}, 0, settings, "serOpen:tcsetattr():" + system_words(EIO)},
      {long_path, {}, 0, none, "serOpen:Path longer than 87 characters: " + long_path + "\n"},
      {missing, {}, 0, none, "serOpen:Error trying to open " + missing + no_file},
      {fifo, {}, 0, none, "Not a terminal: " + fifo + "\n"},
      {"/dev/null", {}, 0, none, "Not a terminal: /dev/null\n"}};
  // clang-format on
  for (const auto& [at, format, timeout, refusing, printed] : cases)
    expect_refused([&] { return serOpenPath(at.c_str(), format, timeout); }, printed, refusing);
  EXPECT_NE(ser_port_ptr(serOpenPath(long_path.c_str() + 1, {}, 0)), nullptr);
  pollfd end = {reader, POLLIN, 0};
  EXPECT_EQ(::poll(&end, 1, 0), 0) << "the FIFO has been opened";
  ::close(reader);
  ::unlink(fifo.c_str());
}

TEST_F(Line, SettingsTakenInPartAreRefused) {
  // Another pseudo-terminal, which does not look like one and leaves data bits and parity out.
  const std::string other = "/dev/ptmx";
  // clang-format off
  const std::tuple<std::string, ser_format, void (*)(termios&), std::string> cases[] = {
      {path, {9600, 8, 'N', 1}, [](termios& tio) { ::cfsetospeed(&tio, B50); }, "baud rate 9600"},
      {path, {9600, 8, 'E', 2}, [](termios& tio) { tio.c_cflag ^= CSTOPB; }, "stop bits 2"},
      {other, {9600, 8, 'N', 1}, [](termios& tio) { tio.c_cflag |= PARODD; }, "parity N"},
      {other, {9600, 7, 'N', 1}, nullptr, "data bits 7"}, {other, {}, nullptr, "parity E"}};
  // clang-format on
  for (const auto& [at, format, leaving_out, missing] : cases) {
    leave_out = leaving_out;
    expect_refused([&] { return serOpenPath(at.c_str(), format, 0); },
                   "serOpen:" + at + " does not take " + missing + "\n");
  }
}

TEST_F(Line, AnotherMayHaveLeftItAsItIsWanted) {
  const ser_port_ptr other(serOpenPath(path.c_str(), {}, 0));
  EXPECT_NE(ser_port_ptr(serOpenPath(path.c_str(), {}, 0)), nullptr);
}

TEST_F(Line, DroppedInputDoesNotComeLater) {
  const ser_port_ptr port(serOpenPath(path.c_str(), {}, 1));
  EXPECT_EQ(::write(far, "late", 4), 4);
  EXPECT_EQ(serRecv(port.get()), 'l');
  std::int32_t (*const drop)(void*) = serDropInput;
  EXPECT_EQ(drop(port.get()), 0);
  EXPECT_EQ(serRecvTimeout(port.get(), 50), 256);
  ::close(std::exchange(far, -1));
  EXPECT_EQ(drop(port.get()), -1);
}

TEST_F(Line, DirectionControlIsSetWholeOrNotAtAll) {
  ser_port_ptr port(serOpenPath(path.c_str(), {}, 1));
  const int refusal = ::ioctl(near, TIOCGRS485, &driver.now) == 0 ? 0 : errno;
  EXPECT_EQ(serSetRs485(port.get(), nullptr), -1);
  EXPECT_EQ(errno, refusal);
  const auto values = [&now = driver.now] {
    return std::tuple(now.flags, now.delay_rts_before_send, now.delay_rts_after_send);
  };
  driver = {true, 0, 100, {}};
  driver.now.delay_rts_before_send = 7;
  const auto before = values();
  // clang-format off
  constexpr std::uint32_t on = SER_RS485_ENABLED, level = SER_RS485_RTS_ON_SEND,
                          other_level = SER_RS485_RTS_AFTER_SEND, echo = SER_RS485_RX_DURING_TX;
  const std::tuple<ser_rs485, std::uint32_t, int, decltype(values())> cases[] = {
      {{-1, 0, true, false}, 0, EINVAL, {}}, {{0, -1, true, false}, 0, EINVAL, {}},
      {{101, 0, true, false}, 0, EOPNOTSUPP, {}}, {{0, 101, true, false}, 0, EOPNOTSUPP, {}},
      {{2, 3, true, false}, on, EOPNOTSUPP, {}}, {{2, 3, true, true}, echo, EOPNOTSUPP, {}},
      {{2, 3, true, false}, level, EOPNOTSUPP, {}}, {{2, 3, true, false}, 0, 0, {on | level, 2, 3}},
      {{0, 100, false, true}, 0, 0, {on | other_level | echo, 0, 100}}};
  // clang-format on
  for (const auto& [rs485, lacking, error, after] : cases) {
    driver.lacking = lacking;
    errno = 0;
    EXPECT_EQ(serSetRs485(port.get(), &rs485), error == 0 ? 0 : -1);
    EXPECT_EQ(std::tuple(errno, values()), std::tuple(error, error == 0 ? after : before));
  }
  EXPECT_EQ(serSetRs485(port.get(), nullptr), 0);
  EXPECT_EQ(values(), std::tuple(0U, 0U, 0U));
  port.reset();
  EXPECT_EQ(values(), before);
  driver.exists = false;
}

}  // namespace
}  // namespace ruvex
