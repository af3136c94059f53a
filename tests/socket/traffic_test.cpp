#include <dirent.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>
#include <thread>

#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/options.h"
#include "ruvex/socket/transfer.h"
#include "socket/socket_fixture.h"
#include "support/temporary_file.h"

namespace ruvex {

// What a getsockopt and a select give in place of the system's answer.
static bool getsockopt_fails = false;
static bool select_finds_nothing = false;

extern "C" {
int real_getsockopt(int fd, int level, int option, void* value,
                    socklen_t* size) asm("__real_" RUVEX_GETSOCKOPT);
int wrap_getsockopt(int fd, int level, int option, void* value,
                    socklen_t* size) asm("__wrap_" RUVEX_GETSOCKOPT);
int wrap_getsockopt(int fd, int level, int option, void* value, socklen_t* size) {
  if (getsockopt_fails) return errno = ENOBUFS, -1;
  return real_getsockopt(fd, level, option, value, size);
}
int real_select(int count, fd_set* in, fd_set* out, fd_set* other,
                timeval* time) asm("__real_" RUVEX_SELECT);
int wrap_select(int count, fd_set* in, fd_set* out, fd_set* other,
                timeval* time) asm("__wrap_" RUVEX_SELECT);
int wrap_select(int count, fd_set* in, fd_set* out, fd_set* other, timeval* time) {
  const int ready = real_select(count, in, out, other, time);
  if (!select_finds_nothing) return ready;
  FD_ZERO(in);
  FD_ZERO(out);
  return 1;
}
}

namespace {

struct pair {
  socket_ptr client, server;
};

pair connected_pair() {
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
  EXPECT_EQ(sktConnectHost(client.get(), "localhost", port_of(*listener), 2000), 0);
  socket_ptr server(sktAcceptTimeout(listener.get(), 2000));
  EXPECT_NE(server, nullptr);
  return {std::move(client), std::move(server)};
}

std::string received(const socket_ptr& skt) {
  char bytes[64];
  const int count = sktRecv(skt.get(), bytes, sizeof bytes);
  return count < 0 ? std::to_string(count) : std::string(bytes, static_cast<std::size_t>(count));
}

TEST_F(Sockets, StreamsCarryBytesBothWays) {
  pair ends = connected_pair();
  EXPECT_EQ(ends.client->m_connected + ends.server->m_connected, 2);
  EXPECT_EQ(sktGetPeerAddr(ends.client.get()), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(ends.server->m_sockaddr->inet.sin_port, htons(port_of(*ends.client)));
  EXPECT_EQ(sktSendS(ends.client.get(), "question"), 8);
  EXPECT_EQ(received(ends.server), "question");
  EXPECT_EQ(sktSendC(ends.server.get(), '!'), 1);
  EXPECT_EQ(received(ends.client), "!");

  EXPECT_EQ(sktSetTimeouts(ends.client.get(), 20, 0), 0);
  EXPECT_EQ(received(ends.client), "-2");
  EXPECT_EQ(sktSetNonblocking(ends.server.get(), 1), 0);
  EXPECT_EQ(received(ends.server), "-2");
  const std::string block(1 << 16, 'x');
  int sent = 0;
  while (sent >= 0) sent = sktSendN(ends.server.get(), block.data(), 1 << 16);
  EXPECT_EQ(sent, skt_would_block);

  std::signal(SIGPIPE, SIG_IGN);
  ends.server.reset();
  std::string rest;
  while (rest != "" || sent != 0) rest = received(ends.client), sent = rest.empty() ? 0 : 1;
  while (sktSendC(ends.client.get(), 'x') > 0) continue;
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSendC(ends.client.get(), 'x'), 0); }), "");
}

TEST_F(Sockets, DatagramServersAnswerTheSender) {
  const socket_ptr server(CreateAfInetServer(SOCK_DGRAM, nullptr, 0));
  const socket_ptr one(sktNew(AF_INET, SOCK_DGRAM)), other(sktNew(AF_INET, SOCK_DGRAM));
  for (const socket_ptr* client : {&one, &other, &one}) {
    EXPECT_EQ(sktSetDest((*client).get(), "127.0.0.1", port_of(*server)), 0);
    EXPECT_EQ(sktSendS((*client).get(), "a"), 1);
    EXPECT_EQ(received(server), "a");
    EXPECT_EQ(sktSendN(server.get(), "bcd", 2), 2);
    EXPECT_EQ(received(*client), "bc");
    EXPECT_EQ((*client)->m_fromaddr->inet.sin_port, htons(port_of(*server)));
  }
  EXPECT_EQ(sktSetNonblocking(server.get(), 1), 0);
  EXPECT_EQ(received(server), "-2");
  EXPECT_EQ(server->m_destaddr->inet.sin_port, htons(port_of(*one))) << "still the last sender";
  EXPECT_EQ(sktGetPeerAddr(one.get()), 0U);
}

TEST_F(Sockets, LocalSocketsMeetByName) {
  const std::string name = "ruvex_test_" + std::to_string(::getpid());
  for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
    const socket_ptr server(sktNew_LOCAL(type, SKT_SERVER, name.c_str()));
    const socket_ptr client(sktNew_LOCAL(type, SKT_CLIENT, name.c_str()));
    ASSERT_TRUE(server != nullptr && client != nullptr);
    EXPECT_EQ(std::string(client->m_name).substr(0, 6 + name.size()), "/tmp/" + name + "_");
    EXPECT_EQ(std::strlen(client->m_name), 12 + name.size());
    EXPECT_NE(::access(client->m_name, F_OK), 0) << "no file stays";
    socket_ptr accepted;
    if (type == SOCK_STREAM) {
      EXPECT_EQ(sktConnectHost(client.get(), name.c_str(), 0, 1000), 0);
      accepted.reset(sktAccept(server.get()));
      ASSERT_NE(accepted, nullptr);
      EXPECT_EQ(accepted->m_sockaddr->local.sun_path, std::string());
      EXPECT_STREQ(accepted->m_sockaddr->local.sun_path + 1, client->m_name);
    } else {
      EXPECT_EQ(sktSetDest(client.get(), name.c_str(), 0), 0);
    }
    const socket_ptr& end = accepted != nullptr ? accepted : server;
    EXPECT_EQ(sktSendS(client.get(), "ping"), 4);
    EXPECT_EQ(received(end), "ping");
    EXPECT_EQ(sktSendS(end.get(), "pong"), 4);
    EXPECT_EQ(received(client), "pong");
    EXPECT_EQ(sktGetPeerAddr(client.get()), 0U);
    EXPECT_EQ(printed([&] { EXPECT_EQ(sktNew_LOCAL(type, 1, name.c_str()), nullptr); }),
              "bind(): Address already in use\n");
  }
  const temporary_file file;  // whose path is a server's name
  EXPECT_NE(socket_ptr(sktNew_LOCAL(SOCK_STREAM, SKT_SERVER, file.path())), nullptr);
  EXPECT_EQ(::access(file.path(), F_OK), 0) << "only a client's is removed";
  EXPECT_EQ(sktNew_LOCAL(SOCK_STREAM, 1, ""), nullptr);
  EXPECT_EQ(sktNew_LOCAL(SOCK_STREAM, 0, nullptr), nullptr);
  const std::string longest(95, 'n'), too_long(96, 'n');
  EXPECT_NE(socket_ptr(sktNew_LOCAL(SOCK_DGRAM, SKT_CLIENT, longest.c_str())), nullptr);
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktNew_LOCAL(SOCK_DGRAM, 0, too_long.c_str()), nullptr); }),
            "Socket: name of more than 95 characters: " + too_long + "\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktNew_LOCAL(SOCK_DGRAM, 0, "no/folder"), nullptr); }),
            "Socket::Socket():Bad client name: /tmp/no/folder_XXXXXX\n");
}

TEST_F(Sockets, PseudoSocketsReadAndWriteAndStreamsToo) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  socket_ptr reader(sktNew_PSEUDO(ends[0]));
  const socket_ptr writer(sktNew_PSEUDO(ends[1]));
  EXPECT_EQ(sktSendS(writer.get(), "through"), 7);
  EXPECT_EQ(received(reader), "through");
  EXPECT_EQ(sktOpenStreams(writer.get()), -1) << "the end cannot be read";
  reader.reset();
  std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(sktSendS(writer.get(), "gone"), 0);

  pair sockets = connected_pair();
  EXPECT_EQ(sktOpenStreams(sockets.client.get()) + sktOpenStreams(sockets.server.get()), 0);
  std::fputs("a line\n", sockets.client->m_fout);
  sockets.client.reset();
  char line[16] = {};
  EXPECT_STREQ(std::fgets(line, sizeof line, sockets.server->m_fin), "a line\n");
  EXPECT_EQ(std::fgetc(sockets.server->m_fin), EOF);
}

TEST_F(Sockets, SelectTellsWhichCanBeRead) {
  pair one = connected_pair(), other = connected_pair();
  Socket* const both[] = {one.server.get(), other.server.get()};
  EXPECT_EQ(sktSendC(other.client.get(), 'x'), 1);
  EXPECT_EQ(sktSelectRd(2, both, 2000), 1);
  EXPECT_EQ(sktIsSelected(both[0]), 0);
  EXPECT_EQ(sktIsSelected(both[1]), 1);
  EXPECT_EQ(sktIsSelected(nullptr), 0);
  EXPECT_EQ(sktSelectRd(1, both, 10), 0);
  EXPECT_EQ(sktSelectRd(0, nullptr, 10), 0);
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSelectRd(2, both, -1), -1); }),
            "Socket::SelectRd():select(): Invalid argument\n");
  EXPECT_EQ(sktIsSelected(both[1]), 0);
}

TEST_F(Sockets, DescriptorsBeyondASetAreRefused) {
  rlimit limit;
  ::getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur < 1030) GTEST_SKIP() << "skipped: fewer than 1030 descriptors are allowed";
  pair ends = connected_pair();
  const int beyond = ::dup2(ends.server->m_sock, 1024), last = ::dup2(ends.server->m_sock, 1023);
  const socket_ptr high(sktNew_PSEUDO(beyond)), edge(sktNew_PSEUDO(last));
  high->m_type = SOCK_STREAM;
  EXPECT_EQ(sktSendC(ends.client.get(), 'x'), 1);
  Socket* const sockets[] = {edge.get(), high.get()};
  EXPECT_EQ(sktSelectRd(1, sockets, 2000), 1);
  EXPECT_EQ(sktIsSelected(edge.get()), 1);
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSelectRd(2, sockets, 0), -1); }),
            "Socket::SelectRd():select(): Invalid argument\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktAcceptTimeout(high.get(), 0), nullptr); }),
            "Socket::Accept(long):select(): Invalid argument\n");
  const skt_address address = loopback();
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktConnectAddr(high.get(), &address, 1, 0), -1); }),
            "sktConnectAddr(): descriptor 1024 is beyond those of select\r\n");
}

TEST_F(Sockets, ConnectingFailsInTimeAndCanBeTriedAgain) {
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  const socket_ptr closed(CreateAfInetServer(SOCK_DGRAM, "127.0.0.1", 0));  // a port without TCP
  const socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
  const skt_address address = loopback();
  const int flags = ::fcntl(client->m_sock, F_GETFL);
  EXPECT_EQ(printed([&] {
              EXPECT_EQ(sktConnectAddr(client.get(), &address, port_of(*closed), 2000), -1);
            }),
            "sktConnectAddr(): select() returned both readable and writable\r\n"
            "sktConnectAddr(): getsockopt() : Perror(error) : Connection refused\n");
  EXPECT_EQ(::fcntl(client->m_sock, F_GETFL), flags);
  EXPECT_EQ(client->m_connected, 0);
  EXPECT_EQ(sktConnectAddr(client.get(), &address, port_of(*listener), 2000), 0);
  EXPECT_EQ(::fcntl(client->m_sock, F_GETFL), flags);
  EXPECT_EQ(client->m_connected, 1);
  EXPECT_EQ(client->m_peeraddr->inet.sin_port, htons(port_of(*listener)));
  const socket_ptr local(sktNew(AF_LOCAL, SOCK_STREAM));
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktConnectHost(local.get(), "nobody", 0, 9), -1); }),
            "fcntl( F_SETFL , O_NONBLOCK ): Connection refused\n");
  EXPECT_EQ(::fcntl(local->m_sock, F_GETFL), flags);
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktConnectAddr(closed.get(), &address, 9, 1), -1); }),
            "sktConnectAddr():Socket must be SOCK_STREAM\n");
  const std::string failed =
      printed([&] { EXPECT_EQ(sktConnectHost(client.get(), "no such host", 9, 1), -1); });
  EXPECT_EQ(failed.substr(0, 15), "getaddrinfo(): ");

  const socket_ptr path(sktNew_PSEUDO(::open("/", O_PATH | O_CLOEXEC)));
  path->m_type = SOCK_STREAM;
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktConnectAddr(path.get(), &address, 9, 1), -1); }),
            "fcntl( F_SETFL , O_NONBLOCK ): Bad file descriptor\n");
  const socket_ptr another(sktNew(AF_INET, SOCK_STREAM));
  getsockopt_fails = true;
  EXPECT_EQ(printed([&] {
              EXPECT_EQ(sktConnectAddr(another.get(), &address, port_of(*listener), 2000), -1);
            }),
            "sktConnectAddr(): getsockopt() < 0: No buffer space available\n");
  getsockopt_fails = false;
}

// An address that takes packets and does not answer.
TEST_F(Sockets, ConnectingGivesUpWhereNobodyAnswers) {
  const own_network network;
  if (!network.missing().empty()) GTEST_SKIP() << network.missing();
  if (!own_network::run("ip link add v0 type veth peer name v1 && ip link set v1 up && "
                        "ip addr add 10.9.9.1/24 dev v0 && ip link set v0 up")) {
    GTEST_SKIP() << "skipped: no pair of virtual interfaces can be made";
  }
  const std::string nothing_ready =
      "sktConnectAddr(): select : Nothing ready within timeout period\r\n";
  const auto connect = [](const socket_ptr& skt, long timeout) {
    return printed([&] { EXPECT_EQ(sktConnectHost(skt.get(), "10.9.9.9", 80, timeout), -1); });
  };
  const socket_ptr first(sktNew(AF_INET, SOCK_STREAM)), second(sktNew(AF_INET, SOCK_STREAM));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(connect(first, 150), nothing_ready);
  const auto time = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(time >= std::chrono::milliseconds(149) && time < std::chrono::seconds(1));
  EXPECT_EQ(connect(first, 1), nothing_ready) << "once more";
  select_finds_nothing = true;
  EXPECT_EQ(connect(second, 1), "sktConnectAddr(): socket not readable or writable\r\n");
  select_finds_nothing = false;

  const socket_ptr third(sktNew(AF_INET, SOCK_STREAM));
  const int path = ::open("/", O_PATH | O_CLOEXEC);
  std::thread meanwhile([&] {  // the descriptor becomes another one
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    ::dup2(path, third->m_sock);
  });
  const std::string text = connect(third, 150);
  meanwhile.join();
  ::close(path);
  const std::string last = "fcntl( F_SETFL , original_flags ): Bad file descriptor\n";
  EXPECT_EQ(text.substr(text.size() - std::min(text.size(), last.size())), last) << text;
}

TEST_F(Sockets, AcceptingEndsWithItsTimeOrItsReason) {
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, nullptr, 0));
  const socket_ptr datagrams(CreateAfInetServer(SOCK_DGRAM, "127.0.0.1", 0));
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktAcceptTimeout(listener.get(), 20), nullptr); }), "");
  EXPECT_EQ(sktSetNonblocking(listener.get(), 1), 0);
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktAccept(listener.get()), nullptr); }), "");
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktAccept(datagrams.get()), nullptr); }),
            "Socket::Accept(void):accept(): Operation not supported\n");
  EXPECT_EQ(sktSetDest(datagrams.get(), "127.0.0.1", port_of(*datagrams)), 0);
  EXPECT_EQ(sktSendC(datagrams.get(), 'x'), 1);
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktAcceptTimeout(datagrams.get(), 2000), nullptr); }),
            "Socket::Accept(long):accept(): Operation not supported\n");
}

TEST_F(Sockets, ServersAndBindingFailWithTheirReason) {
  const socket_ptr server(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  const socket_ptr inet(sktNew(AF_INET, SOCK_STREAM)), local(sktNew(AF_LOCAL, SOCK_STREAM));
  const int port = port_of(*server);
  int reuse = 0;
  socklen_t size = sizeof reuse;
  ::getsockopt(server->m_sock, SOL_SOCKET, SO_REUSEADDR, &reuse, &size);
  EXPECT_EQ(reuse, 1);
  pair ends = connected_pair();
  const struct {
    std::function<bool()> fails;
    std::string text;
  } rows[] = {
      {[&] { return CreateAfInetServer(SOCK_STREAM, "127.0.0.1", port) == nullptr; },
       "bind(): Address already in use\n"},
      {[&] { return CreateAfInetServer(SOCK_STREAM, nullptr, port) == nullptr; },
       "bind(): Address already in use\n"},
      {[&] { return CreateAfInetServer(SOCK_STREAM, "here", 0) == nullptr; },
       "inet_aton(): Invalid argument\n"},
      {[&] { return sktBind_IFE_PORT(local.get(), "127.0.0.1", 0) == -1; },
       "Socket::Bind(): Must be AF_INET socket\n"},
      {[&] { return sktBind_PORT(local.get(), 0) == -1; },
       "Socket::Bind(): Must be AF_INET socket\n"},
      {[&] { return sktBind_LOCAL(inet.get(), "name") == -1; },
       "sktBind_LOCAL(): Must be AF_LOCAL socket\n"},
      {[&] { return sktBind_LOCAL(local.get(), nullptr) == -1; },
       "sktBind_LOCAL():Null hostname\n"},
      {[&] { return sktListen(ends.client.get()) == -1; }, "listen(): Invalid argument\n"},
      {[&] { return sktListen(socket_ptr(sktNew(AF_INET, SOCK_DGRAM)).get()) == -1; }, ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(printed([&] { EXPECT_TRUE(row.fails()) << row.text; }), row.text);
  }
  EXPECT_EQ(sktBind_PORT(inet.get(), 70000), 0);
  EXPECT_EQ(inet->m_port, 70000);
  EXPECT_EQ(port_of(*inet), 4464);
}

TEST_F(Sockets, TransfersFailWithTheirReason) {
  char bytes[4];
  const socket_ptr tcp(sktNew(AF_INET, SOCK_STREAM)), udp(sktNew(AF_INET, SOCK_DGRAM));
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktRecv(tcp.get(), bytes, 4), -1); }),
            "Socket::Recv():Socket not connected\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSendC(tcp.get(), 'x'), -1); }),
            "Socket::Send():Socket not connected\n");
  tcp->m_connected = 1;
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktRecv(tcp.get(), bytes, 4), -1); }),
            "Socket::Recv():recv(): Transport endpoint is not connected\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktRecv(udp.get(), bytes, -1), -1); }),
            "Socket::Recv():recvfrom(): Invalid argument\n");
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSendN(udp.get(), bytes, -1), -1); }),
            "Socket::Send(): Invalid argument\n");
  const socket_ptr output(sktNew_PSEUDO(::open("/dev/null", O_WRONLY | O_CLOEXEC)));
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktRecv(output.get(), bytes, 4), -1); }),
            "Socket::Recv():recvfrom(): Bad file descriptor\n");
}

// Signals do not end a wait for what comes later.
TEST_F(Sockets, ReceivingGoesOnAfterASignal) {
  struct sigaction interrupt = {};
  interrupt.sa_handler = [](int) {};
  ::sigaction(SIGALRM, &interrupt, nullptr);
  const pair ends = connected_pair();
  std::thread later([&] {
    sigset_t signals;
    ::sigfillset(&signals);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    sktSendS(ends.client.get(), "late");
  });
  ::ualarm(5000, 5000);
  EXPECT_EQ(printed([&] { EXPECT_EQ(received(ends.server), "late"); }), "");
  ::ualarm(0, 0);
  later.join();
}

// Frames over a cable of two virtual ends.
TEST_F(Sockets, LinkLayerFramesGoOutOnTheirInterface) {
  const own_network network;
  if (!network.missing().empty()) GTEST_SKIP() << network.missing();
  if (!own_network::run("ip link add v0 type veth peer name v1 && ip link set v0 up && "
                        "ip link set v1 up")) {
    GTEST_SKIP() << "skipped: no pair of virtual interfaces can be made";
  }
  EXPECT_EQ(printed([] { EXPECT_EQ(sktNew_RAW("none", 1), nullptr); }), "ioctl: No such device\n");
  EXPECT_EQ(printed([] { EXPECT_EQ(sktNew_ARCNET("none"), nullptr); }), "bind: No such device\n");
  EXPECT_EQ(printed([] { EXPECT_EQ(sktNew_RAW("sixteen letters.", 1), nullptr); }),
            "Socket: name of more than 15 characters: sixteen letters.\n");
  EXPECT_EQ(printed([] { EXPECT_EQ(sktNew_ARCNET("fourteen......"), nullptr); }),
            "Socket: name of more than 13 characters: fourteen......\n");
  constexpr int experimental = 0x88B5;
  const socket_ptr raw(sktNew_RAW("v0", experimental));
  const socket_ptr packet(sktNew_ARCNET("v1"));
  ASSERT_TRUE(raw != nullptr && packet != nullptr);
  EXPECT_EQ(raw->m_addrlen, 20);
  EXPECT_EQ(raw->m_destaddr->link.sll_family, AF_PACKET);
  EXPECT_STREQ(raw->m_ife, "v0");
  EXPECT_EQ(packet->m_addrlen, 16);
  EXPECT_EQ(packet->m_destaddr->any.sa_family, 7);
  EXPECT_EQ(sktSetTimeouts(raw.get(), 2000, 0) + sktSetTimeouts(packet.get(), 2000, 0), 0);
  std::string frame("\xff\xff\xff\xff\xff\xff\x02\x00\x00\x00\x00\x01\x88\xb5", 14);
  frame += std::string(46, 'f');
  const auto await_frame = [&](const socket_ptr& skt) {
    std::string got;
    while (got.substr(0, 60) != frame && got != "-2") got = received(skt);
    return got;
  };
  EXPECT_EQ(sktSendN(raw.get(), frame.data(), 60), 60);
  EXPECT_EQ(await_frame(packet), frame);
  frame[20] = 'g';
  EXPECT_EQ(sktSendN(packet.get(), frame.data(), 60), 60);
  EXPECT_EQ(await_frame(raw), frame);
}

}  // namespace
}  // namespace ruvex
