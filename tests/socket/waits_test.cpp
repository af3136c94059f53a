// Waits that signals interrupt, and waits of several processes at one listener.
#include <sys/wait.h>

#include <set>
#include <tuple>
#include <vector>

#include "socket/socket_fixture.h"

namespace ruvex {
namespace {

using std::chrono::milliseconds;
using clock = std::chrono::steady_clock;

// With the tenth signal comes what a wait waits for.
std::function<void()> event;
volatile sig_atomic_t signals = 0;

void on_signal(int) {
  signals = signals + 1;
  if (signals == 10) event();
  if (signals == 400) ::ualarm(0, 0);
}

char bytes[1 << 16];

int get(const socket_ptr& skt) {
  return sktRecv(skt.get(), bytes, 1);
}

int put(const socket_ptr& skt) {
  return sktSendN(skt.get(), bytes, 1);
}

void drain(const socket_ptr& skt) {
  while (::recv(skt->m_sock, bytes, sizeof bytes, MSG_DONTWAIT) > 0) continue;
}

// Sends until nothing more is taken, and then waits.
int fill(const socket_ptr& skt) {
  sktSetNonblocking(skt.get(), 1);
  while (sktSendN(skt.get(), bytes, 100) > 0) continue;
  sktSetNonblocking(skt.get(), 0);
  return put(skt);
}

TEST_F(Sockets, SignalsEndOnlyTheWaitsThatSayIt) {
  const std::string name = "ruvex_test_" + std::to_string(::getpid());
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0)),
      full(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0)), next(sktNew(AF_INET, SOCK_STREAM)),
      box(sktNew_LOCAL(SOCK_DGRAM, SKT_SERVER, name.c_str())),
      letter(sktNew_LOCAL(SOCK_DGRAM, SKT_CLIENT, name.c_str()));
  sktSetDest(letter.get(), name.c_str(), 0);
  ::listen(full->m_sock, 0);  // one that waits fills it, and the next gets no answer
  const socket_ptr first = connected_to(full);
  // Local ones, whose buffers hold what they hold: with TCP more fits in a moment later.
  int fds[4];
  ASSERT_EQ(::socketpair(AF_LOCAL, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) |
                ::socketpair(AF_LOCAL, SOCK_STREAM | SOCK_CLOEXEC, 0, fds + 2),
            0);
  const socket_ptr pseudo(sktNew_PSEUDO(fds[0])), peer(sktNew_PSEUDO(fds[1])),
      stream(sktNew_PSEUDO(fds[2])), far_end(sktNew_PSEUDO(fds[3]));
  std::tie(stream->m_type, stream->m_mode, stream->m_connected) =
      std::tuple(SOCK_STREAM, SKT_CLIENT, 1);
  socket_ptr caller;
  skt_address address = loopback();
  address.inet.sin_port = htons(port_of(listener));
  Socket* const selected[] = {listener.get()};
  const auto nothing = [] {};
  const auto call = [&] { ::connect(caller->m_sock, &address.any, sizeof address.inet); };
  const auto accept = [&](long timeout_ms) {
    caller.reset(sktNew(AF_INET, SOCK_STREAM));
    return accepting(timeout_ms)(listener.get());
  };
  const std::string interrupted = ": Interrupted system call\n",
                    no_get = "-1 Socket::Recv():recvfrom()" + interrupted,
                    no_put = "-1 Socket::Send()" + interrupted,
                    no_select = "-1 Socket::SelectRd():select()" + interrupted;
  // clang-format off
  const struct {
    std::function<int()> call;
    std::function<void()> event;
    std::string result, result_with_restart;
    int time_ms = 0;
  } rows[] = {
      {[&] { return sktConnectAddr(next.get(), &address, port_of(full), 300); }, nothing,
       "-1 ", "-1 "},
      {[&] { return sktSelectRd(1, selected, 300); }, nothing, no_select, no_select},
      {[&] { return accept(-1); }, call, "-1 ", "0 "},
      {[&] { return accept(9000); }, call, "0 ", "0 "},
      {[&] { return accept(200); }, nothing, "-1 ", "-1 ", 200},
      {[&] { return get(pseudo); }, [&] { put(peer); }, no_get, "1 "},
      {[&] { return get(box); }, [&] { put(letter); }, "1 ", "1 "},
      {[&] { return get(stream); }, [&] { put(far_end); }, "1 ", "1 "},
      {[&] { return fill(pseudo); }, [&] { drain(peer); }, no_put, "1 "},
      {[&] { return fill(letter); }, [&] { drain(box); }, no_put, "1 "},
      {[&] { return fill(stream); }, [&] { drain(far_end); }, no_put, "1 "},
      {[&] { return sktSetTimeouts(stream.get(), 80, 60000); }, nothing, "0 ", "0 "},
      {[&] { return fill(stream); }, [&] { drain(far_end); }, no_put, no_put},
      {[&] { return get(stream); }, nothing, "-2 ", "-2 ", 80},
  };
  // clang-format on
  for (const auto& row : rows) {
    // An emulator does not tell a receive how much of its time is left.
    if (row.time_ms == 80 && time_out_ms(*stream, SO_RCVTIMEO) < 0) continue;
    for (const int flags : {0, SA_RESTART}) {
      struct sigaction interrupt = {};
      interrupt.sa_handler = on_signal;
      interrupt.sa_flags = flags;
      ::sigaction(SIGALRM, &interrupt, nullptr);
      signals = 0;
      event = row.event;
      const auto start = clock::now();
      ::ualarm(5000, 5000);
      const std::string result = outcome(row.call);
      ::ualarm(0, 0);
      EXPECT_EQ(result, flags == 0 ? row.result : row.result_with_restart)
          << "row " << &row - rows << ", SA_RESTART " << (flags != 0);
      EXPECT_GE(clock::now() - start, milliseconds(row.time_ms));
      EXPECT_LT(signals, 400);
    }
  }
  std::signal(SIGALRM, SIG_DFL);
}

// Four that have all seen what the listener has.
TEST_F(Sockets, ProcessesThatShareAListenerGetAConnectionEachOrNone) {
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  const auto wait_at_once = [&](std::size_t connections, long timeout_ms) {
    std::vector<socket_ptr> clients(connections);
    for (socket_ptr& client : clients) client = connected_to(listener);
    for (int child = 0; child < 4; ++child) {
      if (::fork() != 0) continue;
      ::alarm(5);  // ends one that hangs
      const auto start = clock::now();
      const int result = accepting(timeout_ms)(listener.get());
      ::_exit(result == 0 ? 1 : clock::now() - start >= milliseconds(timeout_ms) ? 0 : 2);
    }
    std::multiset<int> ended;
    for (int status = 0; ::wait(&status) > 0;)
      ended.insert(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    return ended;
  };
  constexpr int none = 0, one = 1;
  const socket_ptr client = connected_to(listener);
  EXPECT_EQ(accepting(2000)(listener.get()), 0) << "and gives its turn back";
  pause_after_select_us = 10000;
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(wait_at_once(1, 100), (std::multiset{none, none, none, one}));
    EXPECT_EQ(wait_at_once(4, 2000), (std::multiset{one, one, one, one}));
  }
  pause_after_select_us = 0;
  const socket_ptr last = connected_to(listener);
  struct flock turn = {};
  turn.l_type = F_WRLCK;
  ::fcntl(listener->m_sock, F_OFD_SETLK, &turn);  // as of another that is stopped in its turn
  EXPECT_EQ(accepting(30)(listener.get()), -1);
}

}  // namespace
}  // namespace ruvex
