// Waits that signals interrupt, and waits of several processes at one listener.
#include <poll.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <set>
#include <tuple>
#include <vector>

#include "ruvex/socket/options.h"
#include "socket/socket_fixture.h"

namespace ruvex {

// Why no descriptor can be locked; 0: they can.
static int lock_error = 0;

// On 32-bit systems the call has another name.
#ifdef __arm__
#define RUVEX_FCNTL "__fcntl_time64"
#else
#define RUVEX_FCNTL "fcntl64"
#endif
extern "C" {
int real_fcntl(int fd, int command, ...) asm("__real_" RUVEX_FCNTL);
int wrap_fcntl(int fd, int command, void* argument) asm("__wrap_" RUVEX_FCNTL);
int wrap_fcntl(int fd, int command, void* argument) {
  if (command == F_SETLK && lock_error != 0) return errno = lock_error, -1;
  return real_fcntl(fd, command, argument);
}
}

namespace {

using std::chrono::milliseconds;

auto now() {
  return std::chrono::steady_clock::now();
}

// A timer whose signal comes every 5 ms. With the tenth comes `event`, and after two seconds the
// timer ends.
volatile sig_atomic_t signals = 0;
const std::function<void()>* event = nullptr;

void start_signals(int flags, const std::function<void()>& at_tenth) {
  signals = 0;
  event = &at_tenth;
  struct sigaction interrupt = {};
  interrupt.sa_flags = flags;
  interrupt.sa_handler = [](int) {
    signals = signals + 1;
    if (signals == 10) (*event)();
    if (signals == 400) ::ualarm(0, 0);
  };
  ::sigaction(SIGALRM, &interrupt, nullptr);
  ::ualarm(5000, 5000);
}

void end_signals() {
  ::ualarm(0, 0);
  std::signal(SIGALRM, SIG_DFL);
}

// Takes all that is there, for a handler of signals.
void drain(const socket_ptr& skt) {
  static char bytes[1 << 16];
  pollfd input = {skt->m_sock, POLLIN, 0};
  while (::poll(&input, 1, 0) > 0) static_cast<void>(::read(skt->m_sock, bytes, sizeof bytes));
}

// Sends until no byte more can be taken.
void fill(const socket_ptr& skt) {
  const std::string block(1 << 16, 'x');
  sktSetNonblocking(skt.get(), 1);
  for (int size = 1 << 16; size > 0; size /= 16)
    while (sktSendN(skt.get(), block.data(), size) > 0) continue;
  sktSetNonblocking(skt.get(), 0);
}

// Two ends whose buffers hold what they hold: with TCP more fits in a moment later.
pair local_pair() {
  int ends[2];
  EXPECT_EQ(::socketpair(AF_LOCAL, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  pair made = {socket_ptr(sktNew_PSEUDO(ends[0])), socket_ptr(sktNew_PSEUDO(ends[1]))};
  for (const socket_ptr& skt : {std::cref(made.client), std::cref(made.server)})
    std::tie(skt->m_type, skt->m_mode, skt->m_connected) = std::tuple(SOCK_STREAM, SKT_CLIENT, 1);
  return made;
}

TEST_F(Sockets, SignalsEndOnlyTheWaitsThatSayIt) {
  const std::string name = "ruvex_test_" + std::to_string(::getpid());
  const pair ends = local_pair(), limited = local_pair();
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0)),
      full(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0)), first(sktNew(AF_INET, SOCK_STREAM)),
      next(sktNew(AF_INET, SOCK_STREAM)), box(sktNew_LOCAL(SOCK_DGRAM, SKT_SERVER, name.c_str())),
      letter(sktNew_LOCAL(SOCK_DGRAM, SKT_CLIENT, name.c_str()));
  int pipe[2];
  ASSERT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
  const socket_ptr out(sktNew_PSEUDO(pipe[0])), in(sktNew_PSEUDO(pipe[1]));
  sktSetDest(letter.get(), name.c_str(), 0);
  ::listen(full->m_sock, 0);  // one that waits fills it, and the next gets no answer
  EXPECT_EQ(sktConnectHost(first.get(), "127.0.0.1", port_of(full), 2000), 0);
  EXPECT_EQ(sktSetTimeouts(limited.server.get(), 80, 60000), 0);
  skt_address address = loopback();
  address.inet.sin_port = htons(port_of(listener));
  socket_ptr caller;
  Socket* const selected[] = {listener.get()};
  const auto nothing = [] {};
  const auto call = [&] { ::connect(caller->m_sock, &address.any, sizeof address.inet); };
  const auto accept = [&](auto take) {
    caller.reset(sktNew(AF_INET, SOCK_STREAM));
    return socket_ptr(take(listener.get())) == nullptr ? -1 : 0;
  };
  const auto receive = [](const socket_ptr& skt) {
    char byte;
    return sktRecv(skt.get(), &byte, 1);
  };
  const auto send = [](const socket_ptr& skt) {
    fill(skt);
    return sktSendC(skt.get(), 'x');
  };
  const auto put = [](const socket_ptr& skt) { sktSendC(skt.get(), 'x'); };
  const auto within = [](long ms) {
    return [=](Socket* skt) { return sktAcceptTimeout(skt, ms); };
  };
  const std::string interrupted = ": Interrupted system call\n";
  const std::string no_read = "-1 Socket::Recv():recvfrom()" + interrupted,
                    no_send = "-1 Socket::Send()" + interrupted,
                    no_select = "-1 Socket::SelectRd():select()" + interrupted;
  const bool knows_limits = time_out_ms(limited.server, SO_RCVTIMEO) == 80;
  // clang-format off
  const struct {
    std::function<int()> call;
    std::function<void()> event;
    std::string result, result_with_restart;
    int time_ms = 0;
    bool is_possible = true;
  } rows[] = {
      {[&] { return sktConnectHost(next.get(), "127.0.0.1", port_of(full), 300); }, nothing, "-1 ", "-1 "},
      {[&] { return accept(sktAccept); }, call, "-1 ", "0 "},
      {[&] { return accept(within(200)); }, nothing, "-1 ", "-1 ", 200},
      {[&] { return accept(within(9000)); }, call, "0 ", "0 "},
      {[&] { return sktSelectRd(1, selected, 300); }, nothing, no_select, no_select},
      {[&] { return receive(ends.server); }, [&] { put(ends.client); }, "1 ", "1 "},
      {[&] { return receive(box); }, [&] { put(letter); }, "1 ", "1 "},
      {[&] { return receive(limited.server); }, nothing, "-2 ", "-2 ", 80, knows_limits},
      {[&] { return receive(out); }, [&] { put(in); }, no_read, "1 "},
      {[&] { return send(ends.client); }, [&] { drain(ends.server); }, no_send, "1 "},
      {[&] { return send(limited.server); }, [&] { drain(limited.client); }, no_send, no_send},
      {[&] { return send(letter); }, [&] { drain(box); }, no_send, "1 "},
      {[&] { return send(in); }, [&] { drain(out); }, no_send, "1 "},
  };
  // clang-format on
  for (const auto& row : rows) {
    if (!row.is_possible) continue;  // an emulator does not tell what the time-out is
    for (const int flags : {0, SA_RESTART}) {
      const auto since = now();
      start_signals(flags, row.event);
      const std::string result = outcome(row.call);
      end_signals();
      const auto time = now() - since;
      EXPECT_EQ(result, flags == 0 ? row.result : row.result_with_restart)
          << "row " << &row - rows << ", SA_RESTART " << (flags != 0);
      EXPECT_TRUE(time >= milliseconds(row.time_ms) && time < milliseconds(1900)) << &row - rows;
    }
  }
}

// Four that have all seen what the listener has.
TEST_F(Sockets, ProcessesThatShareAListenerGetAConnectionEachOrNone) {
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  const auto caller = [&] {
    socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
    EXPECT_EQ(sktConnectHost(client.get(), "127.0.0.1", port_of(listener), 2000), 0);
    return client;
  };
  const auto accepts = [&](long timeout_ms) {
    return socket_ptr(sktAcceptTimeout(listener.get(), timeout_ms)) != nullptr;
  };
  const auto wait_at_once = [&](std::size_t connections, long timeout_ms) {
    std::vector<socket_ptr> clients(connections);
    for (socket_ptr& client : clients) client = caller();
    for (int child = 0; child < 4; ++child) {
      if (::fork() != 0) continue;
      ::alarm(5);  // ends one that hangs
      const auto since = now();
      const bool got = accepts(timeout_ms);
      ::_exit(got ? 1 : now() - since >= milliseconds(timeout_ms) ? 0 : 2);
    }
    std::multiset<int> ended;
    for (int status = 0; ::wait(&status) > 0;) ended.insert(status);
    return ended;
  };
  constexpr int none = W_EXITCODE(0, 0), one = W_EXITCODE(1, 0);
  const socket_ptr client = caller();
  EXPECT_TRUE(accepts(2000));
  pause_after_select_us = 3000;
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(wait_at_once(1, 60), (std::multiset{none, none, none, one}));
    EXPECT_EQ(wait_at_once(4, 2000), (std::multiset{one, one, one, one}));
  }
  pause_after_select_us = 0;
  const socket_ptr last = caller();
  for (const auto& [error, is_accepted] : {std::pair(EAGAIN, false), {ENOLCK, true}}) {
    const auto since = now();
    lock_error = error;
    EXPECT_EQ(accepts(30), is_accepted) << error;
    EXPECT_LT(now() - since, milliseconds(1000));
  }
  lock_error = 0;
}

}  // namespace
}  // namespace ruvex
