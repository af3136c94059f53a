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

// Gives `sizes` bytes a call and counts the calls and the bytes sent.
struct counting_source {
  std::vector<std::int32_t> sizes;
  std::uint8_t next = 0;
  std::size_t calls = 0;

  static std::int32_t give(void* handle, void* buffer, std::int32_t length) {
    auto& self = *static_cast<counting_source*>(handle);
    EXPECT_EQ(length, mod_buffer_size);
    const std::int32_t size = self.calls < self.sizes.size() ? self.sizes[self.calls] : -1;
    ++self.calls;
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    for (std::int32_t at = 0; at < size; ++at) bytes[at] = self.next++;
    return size;
  }
};

TEST(Buffered, GivesEveryByteOnceAndAsksForManyAtATime) {
  counting_source source = {{3, 1, 0, 512, -1, 200, -1, 2}};
  mod_buffered buffered;
  mod_bufferedInit(&buffered, &source, counting_source::give,
                   [](void*, const void*, std::int32_t length) { return length; });
  std::uint8_t expected = 0, bytes[600];
  std::string got;
  for (const std::int32_t length : {1, 1, 2, 600, 1, 500, 2, 600, 1, 600, 1}) {
    const std::int32_t count = mod_bufferedRecv(&buffered, bytes, length);
    got += std::to_string(count) + " ";
    for (std::int32_t at = 0; at < count; ++at) EXPECT_EQ(bytes[at], expected++);
  }
  EXPECT_EQ(got, "1 1 1 1 -1 500 2 10 -1 200 -1 ") << "0 is an end, too";
  EXPECT_EQ(source.calls, 7U);
  EXPECT_EQ(mod_bufferedSend(&buffered, bytes, 100), 100);
  mod_bufferedRecv(&buffered, bytes, 1);
  mod_bufferedClear(&buffered);
  EXPECT_EQ(mod_bufferedRecv(&buffered, bytes, 1), -1) << "what was held is forgotten";
}

TEST(SocketTransport, MovesAllBytesAndKnowsTheEnd) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const timeval soon = {0, 50000};
  ASSERT_EQ(::setsockopt(ends[1], SOL_SOCKET, SO_RCVTIMEO, &soon, sizeof soon), 0);
  byte_list sent(100000), received(sent.size());
  std::iota(sent.begin(), sent.end(), std::uint8_t{0});
  if (::fork() == 0) {  // in pieces, since signals interrupt it
    struct sigaction interrupt = {};
    interrupt.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &interrupt, nullptr);
    ::ualarm(1000, 1000);
    const int small = 4096;
    ::setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
    mod_socketSend(&ends[0], sent.data(), static_cast<std::int32_t>(sent.size()));
    ::_exit(0);
  }
  ::usleep(20000);
  for (std::size_t at = 0; at < sent.size();) {
    const auto room = static_cast<std::int32_t>(std::min<std::size_t>(700, sent.size() - at));
    const std::int32_t got = mod_socketRecv(&ends[1], &received[at], room);
    ASSERT_GT(got, 0);
    at += static_cast<std::size_t>(got);
  }
  EXPECT_EQ(received, sent);
  std::uint8_t byte = 0;
  EXPECT_EQ(mod_socketRecv(&ends[1], &byte, 1), -1) << "the time-out";
  ::close(ends[0]);
  EXPECT_EQ(mod_socketRecv(&ends[1], &byte, 1), -1) << "the end";
  EXPECT_EQ(mod_socketSend(&ends[1], &byte, 1), -1) << "a peer that is gone";
}

}  // namespace
}  // namespace ruvex
