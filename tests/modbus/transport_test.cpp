#include "ruvex/modbus/transport.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <numeric>

#include "modbus/bytes.h"

namespace ruvex {
namespace {

// A source that gives `sizes` bytes a call and counts the calls.
struct counting_source {
  std::vector<std::int32_t> sizes;
  std::uint8_t next = 0;
  int calls = 0;
};

std::int32_t give_pieces(void* handle, void* buffer, std::int32_t length) {
  auto& source = *static_cast<counting_source*>(handle);
  EXPECT_EQ(length, mod_buffer_size);
  const auto call = static_cast<std::size_t>(source.calls++);
  const std::int32_t size = call < source.sizes.size() ? source.sizes[call] : -1;
  for (std::int32_t at = 0; at < size; ++at) static_cast<std::uint8_t*>(buffer)[at] = source.next++;
  return size;
}

std::int32_t count_sent(void* handle, const void*, std::int32_t length) {
  static_cast<counting_source*>(handle)->calls += length;
  return length;
}

TEST(Buffered, GivesEveryByteOnceAndAsksForManyAtATime) {
  counting_source source = {{3, 1, 0, 512, -1, 200}};
  mod_buffered buffered;
  mod_bufferedInit(&buffered, &source, give_pieces, count_sent);
  std::uint8_t expected = 0;
  std::uint8_t bytes[600];
  std::int32_t ends = 0;
  for (const std::int32_t length : {1, 1, 2, 600, 1, 500, 2, 600, 1, 600, 1}) {
    const std::int32_t got = mod_bufferedRecv(&buffered, bytes, length);
    if (got == -1) ++ends;
    for (std::int32_t at = 0; at < got; ++at) EXPECT_EQ(bytes[at], expected++);
  }
  EXPECT_EQ(expected, (3 + 1 + 512 + 200) % 256);
  EXPECT_EQ(source.calls, 7);
  EXPECT_EQ(ends, 3) << "0 is an end, too";
  EXPECT_EQ(mod_bufferedSend(&buffered, bytes, 100), 100);
  EXPECT_EQ(source.calls, 107);

  source = {{5, 5}};
  mod_bufferedRecv(&buffered, bytes, 2);
  mod_bufferedClear(&buffered);
  EXPECT_EQ(mod_bufferedRecv(&buffered, bytes, 1), 1);
  EXPECT_EQ(bytes[0], 5) << "what was held is forgotten";
}

TEST(SocketTransport, MovesAllBytesAndKnowsTheEnd) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const timeval soon = {0, 50000};
  ASSERT_EQ(::setsockopt(ends[1], SOL_SOCKET, SO_RCVTIMEO, &soon, sizeof soon), 0);
  byte_list sent(100000);
  std::iota(sent.begin(), sent.end(), std::uint8_t{0});
  const pid_t sender = ::fork();
  if (sender == 0) {  // in pieces, since signals interrupt it
    struct sigaction interrupt = {};
    interrupt.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &interrupt, nullptr);
    ::ualarm(1000, 1000);
    const int small = 4096;
    ::setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
    const std::int32_t length = static_cast<std::int32_t>(sent.size());
    ::_exit(mod_socketSend(&ends[0], sent.data(), length) == length ? 0 : 1);
  }
  ::usleep(20000);
  byte_list received;
  std::uint8_t piece[700];
  while (received.size() < sent.size()) {
    const std::int32_t got = mod_socketRecv(&ends[1], piece, sizeof piece);
    ASSERT_GT(got, 0);
    received.insert(received.end(), piece, piece + got);
  }
  EXPECT_EQ(received, sent);
  EXPECT_EQ(mod_socketRecv(&ends[1], piece, 1), -1) << "the time-out";
  ::close(ends[0]);
  EXPECT_EQ(mod_socketRecv(&ends[1], piece, 1), -1) << "the end";
  EXPECT_EQ(mod_socketSend(&ends[1], piece, 1), -1) << "a peer that is gone";
  ::close(ends[1]);
  EXPECT_EQ(mod_socketRecv(&ends[1], piece, 1), -1) << "no socket";
}

}  // namespace
}  // namespace ruvex
