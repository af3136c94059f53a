#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>
#include <utility>

#include "ruvex/socket/address.h"
#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/options.h"
#include "ruvex/socket/transfer.h"
#include "socket/socket_fixture.h"
#include "support/temporary_file.h"

namespace ruvex {

extern "C" int __wrap_select(int count, fd_set* in, fd_set* out, fd_set* other, timeval* time) {
  if (before_select) std::exchange(before_select, nullptr)();
  const timespec limit = {time->tv_sec, static_cast<long>(time->tv_usec * 1000)};
  const int ready = ::pselect(count, in, out, other, &limit, nullptr);
  if (ready > 0) ::usleep(pause_after_select_us);
  if (!select_finds_nothing) return ready;
  select_finds_nothing = false;
  FD_ZERO(in);
  FD_ZERO(out);
  return 1;
}
// The name on 32-bit systems.
extern "C" [[gnu::alias("__wrap_select")]] int __wrap___select64(int, fd_set*, fd_set*, fd_set*,
                                                                 timeval*);

namespace {

TEST_F(Sockets, StreamsCarryBytesBothWays) {
  pair ends = connected_pair();
  EXPECT_EQ(ends.client->m_connected + ends.server->m_connected, 2);
  EXPECT_EQ(sktGetPeerAddr(ends.client.get()), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(ends.server->m_sockaddr->inet.sin_port, htons(port_of(ends.client)));
  EXPECT_EQ(sktSendS(ends.client.get(), "question"), 8);
  EXPECT_EQ(received(ends.server), "question");
  EXPECT_EQ(sktSendC(ends.server.get(), '!'), 1);
  EXPECT_EQ(received(ends.client), "!");

  EXPECT_EQ(sktSetTimeouts(ends.client.get(), 20, 0), 0);
  char byte = 0;
  EXPECT_EQ(outcome([&] { return sktRecv(ends.client.get(), &byte, 1); }), "-2 ");
  EXPECT_EQ(sktSetNonblocking(ends.server.get(), 1), 0);
  EXPECT_EQ(received(ends.server), "-2");
  const std::string block(1 << 16, 'x');
  int sent = 0;
  while (sent >= 0) sent = sktSendN(ends.server.get(), block.data(), 1 << 16);
  EXPECT_EQ(sent, skt_would_block);

  std::signal(SIGPIPE, SIG_IGN);
  ends.server.reset();
  while (!received(ends.client).empty()) continue;
  while (sktSendC(ends.client.get(), 'x') > 0) continue;
  EXPECT_EQ(outcome([&] { return sktSendC(ends.client.get(), 'x'); }), "0 ");
}

TEST_F(Sockets, DatagramServersAnswerTheSender) {
  const socket_ptr server(CreateAfInetServer(SOCK_DGRAM, nullptr, 0));
  const socket_ptr one(sktNew(AF_INET, SOCK_DGRAM)), other(sktNew(AF_INET, SOCK_DGRAM));
  for (const socket_ptr* client : {&one, &other, &one}) {
    EXPECT_EQ(sktSetDest((*client).get(), "127.0.0.1", port_of(server)), 0);
    EXPECT_EQ(sktSendS((*client).get(), "a"), 1);
    EXPECT_EQ(received(server), "a");
    EXPECT_EQ(sktSendN(server.get(), "bcd", 2), 2);
    EXPECT_EQ(received(*client), "bc");
    EXPECT_EQ((*client)->m_fromaddr->inet.sin_port, htons(port_of(server)));
  }
  EXPECT_EQ(sktSetNonblocking(server.get(), 1), 0);
  EXPECT_EQ(received(server), "-2");
  EXPECT_EQ(server->m_destaddr->inet.sin_port, htons(port_of(one))) << "still the last sender";
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
      EXPECT_EQ(std::string(accepted->m_sockaddr->local.sun_path, 13 + name.size()),
                '\0' + std::string(client->m_name));
    } else {
      EXPECT_EQ(sktSetDest(client.get(), name.c_str(), 0), 0);
    }
    const socket_ptr& end = accepted != nullptr ? accepted : server;
    EXPECT_EQ(sktSendS(client.get(), "ping"), 4);
    EXPECT_EQ(received(end), "ping");
    EXPECT_EQ(sktSendS(end.get(), "pong"), 4);
    EXPECT_EQ(received(client), "pong");
    EXPECT_EQ(sktGetPeerAddr(client.get()), 0U);
    EXPECT_EQ(outcome([&] { return sktNew_LOCAL(type, 1, name.c_str()); }),
              "null bind(): Address already in use\n");
  }
  const temporary_file file;  // whose path is a server's name
  EXPECT_EQ(outcome([&] { return sktNew_LOCAL(SOCK_STREAM, SKT_SERVER, file.path()); }), "made ");
  EXPECT_EQ(::access(file.path(), F_OK), 0) << "only a client's is removed";
  const std::string longest(95, 'n'), too_long(96, 'n');
  const std::tuple<int, const char*, std::string> rows[] = {
      {SKT_SERVER, "", "null "},
      {SKT_CLIENT, nullptr, "null "},
      {SKT_CLIENT, longest.c_str(), "made "},
      {SKT_CLIENT, too_long.c_str(),
       "null Socket: name of more than 95 characters: " + too_long + "\n"},
      {SKT_CLIENT, "no/folder", "null Socket::Socket():Bad client name: /tmp/no/folder_XXXXXX\n"}};
  for (const auto& [mode, given, text] : rows)
    EXPECT_EQ(outcome([m = mode, n = given] { return sktNew_LOCAL(SOCK_DGRAM, m, n); }), text);
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
  for (int times = 0; times < 2; ++times)
    EXPECT_EQ(sktOpenStreams(sockets.client.get()) + sktOpenStreams(sockets.server.get()), 0);
  std::fputs("a line\n", sockets.client->m_fout);
  sockets.client.reset();
  char line[16] = {};
  EXPECT_STREQ(std::fgets(line, sizeof line, sockets.server->m_fin), "a line\n");
  EXPECT_EQ(std::fgetc(sockets.server->m_fin), EOF);
}

TEST_F(Sockets, SelectTellsWhichCanBeReadAndRefusesWhatIsInNoSet) {
  rlimit limit;
  ::getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur < 1030) GTEST_SKIP() << "skipped: fewer than 1030 descriptors are allowed";
  const pair one = connected_pair(), other = connected_pair();
  const socket_ptr high(sktNew_PSEUDO(::dup2(one.server->m_sock, 1024))),
      last(sktNew_PSEUDO(::dup2(other.server->m_sock, 1023)));
  high->m_type = SOCK_STREAM;
  Socket* const all[] = {one.server.get(), last.get(), high.get()};
  EXPECT_EQ(sktSelectRd(2, all, 10), 0);
  EXPECT_EQ(sktSelectRd(0, nullptr, 10), 0);
  EXPECT_EQ(sktSendC(other.client.get(), 'x'), 1);
  EXPECT_EQ(sktSelectRd(2, all, 2000), 1);
  EXPECT_EQ(std::tuple(sktIsSelected(all[0]), sktIsSelected(all[1]), sktIsSelected(nullptr)),
            std::tuple(0, 1, 0));
  const std::string invalid = "Socket::SelectRd():select(): Invalid argument\n";
  EXPECT_EQ(outcome([&] { return sktSelectRd(2, all, -1); }), "-1 " + invalid);
  EXPECT_EQ(sktIsSelected(last.get()), 0);
  EXPECT_EQ(outcome([&] { return sktSelectRd(3, all, 0); }), "-1 " + invalid);
  EXPECT_EQ(outcome([&] { return sktAcceptTimeout(high.get(), 0); }),
            "null Socket::Accept(long):select(): Invalid argument\n");
  const skt_address address = loopback();
  EXPECT_EQ(outcome([&] { return sktConnectAddr(high.get(), &address, 1, 0); }),
            "-1 sktConnectAddr(): descriptor 1024 is beyond those of select\r\n");
}

TEST_F(Sockets, ConnectingFailsInTimeAndCanBeTriedAgain) {
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  const socket_ptr closed(CreateAfInetServer(SOCK_DGRAM, "127.0.0.1", 0));  // a port without TCP
  const socket_ptr client(sktNew(AF_INET, SOCK_STREAM)), local(sktNew(AF_LOCAL, SOCK_STREAM)),
      path(sktNew_PSEUDO(::open("/", O_PATH | O_CLOEXEC))), other(sktNew(AF_INET, SOCK_STREAM));
  const skt_address address = loopback();
  const int flags = ::fcntl(client->m_sock, F_GETFL);
  path->m_type = SOCK_STREAM;
  ::listen(listener->m_sock, 0);  // one that waits fills it, and the next gets no answer
  const auto connect = [&](const socket_ptr& skt, const socket_ptr& to, long timeout_ms) {
    const std::string text =
        outcome([&] { return sktConnectAddr(skt.get(), &address, port_of(to), timeout_ms); });
    EXPECT_EQ(std::tuple(::fcntl(skt->m_sock, F_GETFL) & ~O_PATH, skt->m_connected),
              std::tuple(skt == path ? 0 : flags, text == "0 " ? 1 : 0));
    return text;
  };
  EXPECT_EQ(connect(client, closed, 2000),
            "-1 sktConnectAddr(): select() returned both readable and writable\r\n"
            "sktConnectAddr(): getsockopt() : Perror(error) : Connection refused\n");
  EXPECT_EQ(connect(client, listener, 2000), "0 ");
  EXPECT_EQ(outcome([&] { return sktConnectAddr(client.get(), &address, port_of(closed), 9); }),
            "-1 fcntl( F_SETFL , O_NONBLOCK ): Transport endpoint is already connected\n");
  EXPECT_EQ(client->m_connected, 1);
  EXPECT_EQ(client->m_peeraddr->inet.sin_port, htons(port_of(listener)));
  const auto start = std::chrono::steady_clock::now();
  for (const int timeout_ms : {150, 1})
    EXPECT_EQ(connect(other, listener, timeout_ms),
              "-1 sktConnectAddr(): select : Nothing ready within timeout period\r\n");
  const auto time = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(time >= std::chrono::milliseconds(149) && time < std::chrono::seconds(1));
  select_finds_nothing = true;
  EXPECT_EQ(connect(other, listener, 1),
            "-1 sktConnectAddr(): socket not readable or writable\r\n");
  EXPECT_EQ(connect(closed, listener, 1), "-1 sktConnectAddr():Socket must be SOCK_STREAM\n");
  EXPECT_EQ(connect(path, listener, 1), "-1 fcntl( F_SETFL , O_NONBLOCK ): Bad file descriptor\n");
  EXPECT_EQ(outcome([&] { return sktConnectHost(local.get(), "nobody", 0, 9); }),
            "-1 fcntl( F_SETFL , O_NONBLOCK ): Connection refused\n");
  EXPECT_EQ(::fcntl(local->m_sock, F_GETFL), flags);
  EXPECT_EQ(outcome([&] { return sktConnectHost(other.get(), "no such host", 9, 1); }),
            "-1 getaddrinfo(): No such device or address\n");
  EXPECT_EQ(connect(other, listener, -1), "-1 ");
  // The descriptor becomes another one meanwhile.
  const socket_ptr null(sktNew_PSEUDO(::open("/dev/null", O_RDWR | O_CLOEXEC)));
  const auto connect_over = [&](const socket_ptr& now) {
    const socket_ptr skt(sktNew(AF_INET, SOCK_STREAM));
    before_select = [&] { ::dup2(now->m_sock, skt->m_sock); };
    return outcome([&] { return sktConnectAddr(skt.get(), &address, port_of(listener), 9); });
  };
  EXPECT_EQ(connect_over(null),
            "-1 sktConnectAddr(): select() returned both readable and writable\r\n"
            "sktConnectAddr(): getsockopt() < 0: Socket operation on non-socket\n");
  EXPECT_NE(connect_over(path).find("fcntl( F_SETFL , original_flags ): Bad file descriptor\n"),
            std::string::npos);
}

// An address on a cable that nobody answers for, and then on an interface of our own.
TEST_F(Sockets, AHostThatWasOffIsReachedWhenItIsBack) {
  const own_network network;
  if (!network.missing().empty()) GTEST_SKIP() << network.missing();
  ASSERT_TRUE(own_network::run("ip addr add 10.9.0.1/24 dev v0"));
  // Where that may not be changed, giving up takes three seconds.
  own_network::run(
      "(cd /proc/sys/net/ipv4/neigh/v0 && echo 1 > mcast_solicit && echo 50 > retrans_time_ms)");
  const socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
  const auto connect = [&](int port) {
    return outcome([&] { return sktConnectHost(client.get(), "10.9.0.2", port, 9000); });
  };
  for (const int port : {9, 10})
    EXPECT_TRUE(connect(port).ends_with(": No route to host\n")) << port;
  ASSERT_TRUE(own_network::run("ip addr add 10.9.0.2/32 dev lo"));
  const socket_ptr server(CreateAfInetServer(SOCK_STREAM, "10.9.0.2", 0));
  EXPECT_EQ(connect(port_of(server)), "0 ");
}

TEST_F(Sockets, ServersBindingAndTransfersFailWithTheirReason) {
  const socket_ptr server(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  const socket_ptr tcp(sktNew(AF_INET, SOCK_STREAM)), local(sktNew(AF_LOCAL, SOCK_STREAM)),
      udp(sktNew(AF_INET, SOCK_DGRAM)), readable(sktNew(AF_INET, SOCK_DGRAM)),
      half(sktNew(AF_INET, SOCK_STREAM)),
      output(sktNew_PSEUDO(::open("/dev/null", O_WRONLY | O_CLOEXEC)));
  half->m_connected = 1;
  int reuse = 0;
  socklen_t size = sizeof reuse;
  ::getsockopt(server->m_sock, SOL_SOCKET, SO_REUSEADDR, &reuse, &size);
  EXPECT_EQ(reuse, 1);
  const pair ends = connected_pair();
  char bytes[4] = {};
  const auto server_at = [](const char* address, int port) {
    return socket_ptr(CreateAfInetServer(SOCK_STREAM, address, port)) == nullptr ? -1 : 0;
  };
  const auto accept = [](const socket_ptr& skt) {
    return socket_ptr(sktAccept(skt.get())) == nullptr ? -1 : 0;
  };
  const auto accept_within = [](const socket_ptr& skt, long timeout_ms) {
    return socket_ptr(sktAcceptTimeout(skt.get(), timeout_ms)) == nullptr ? -1 : 0;
  };
  EXPECT_EQ(sktSetNonblocking(server.get(), 1), 0);
  EXPECT_EQ(sktBind_PORT(readable.get(), 0), 0);
  EXPECT_EQ(sktSetDest(udp.get(), "127.0.0.1", port_of(readable)), 0);
  EXPECT_EQ(sktSendC(udp.get(), 'x'), 1);
  const std::pair<std::function<int()>, std::string> rows[] = {
      {[&] { return server_at("127.0.0.1", port_of(server)); }, "bind(): Address already in use\n"},
      {[&] { return server_at(nullptr, port_of(server)); }, "bind(): Address already in use\n"},
      {[&] { return server_at("here", 0); }, "inet_aton(): Invalid argument\n"},
      {[&] { return sktBind_IFE_PORT(local.get(), "127.0.0.1", 0); },
       "Socket::Bind(): Must be AF_INET socket\n"},
      {[&] { return sktBind_PORT(local.get(), 0); }, "Socket::Bind(): Must be AF_INET socket\n"},
      {[&] { return sktBind_LOCAL(tcp.get(), "name"); },
       "sktBind_LOCAL(): Must be AF_LOCAL socket\n"},
      {[&] { return sktBind_LOCAL(local.get(), nullptr); }, "sktBind_LOCAL():Null hostname\n"},
      {[&] { return sktListen(ends.client.get()); }, "listen(): Invalid argument\n"},
      {[&] { return sktListen(udp.get()); }, ""},
      {[&] { return accept(server); }, ""},
      {[&] { return accept_within(server, 20); }, ""},
      {[&] { return accept(udp); }, "Socket::Accept(void):accept(): Operation not supported\n"},
      {[&] { return accept_within(readable, 2000); },
       "Socket::Accept(long):accept(): Operation not supported\n"},
      {[&] { return sktRecv(tcp.get(), bytes, 4); }, "Socket::Recv():Socket not connected\n"},
      {[&] { return sktSendC(tcp.get(), 'x'); }, "Socket::Send():Socket not connected\n"},
      {[&] { return sktRecv(half.get(), bytes, 4); },
       "Socket::Recv():recv(): Transport endpoint is not connected\n"},
      {[&] { return sktRecv(udp.get(), bytes, -1); },
       "Socket::Recv():recvfrom(): Invalid argument\n"},
      {[&] { return sktSendN(udp.get(), bytes, -1); }, "Socket::Send(): Invalid argument\n"},
      {[&] { return sktRecv(output.get(), bytes, 4); },
       "Socket::Recv():recvfrom(): Bad file descriptor\n"},
  };
  for (const auto& [call, text] : rows) EXPECT_EQ(outcome(call), "-1 " + text);
  EXPECT_EQ(sktBind_PORT(tcp.get(), 70000), 0);
  EXPECT_EQ(std::tuple(tcp->m_port, port_of(tcp)), std::tuple(70000, 4464));
}

// Frames over a cable of two virtual ends.
TEST_F(Sockets, LinkLayerFramesGoOutOnTheirInterface) {
  const own_network network;
  if (!network.missing().empty()) GTEST_SKIP() << network.missing();
  EXPECT_EQ(outcome([] { return sktNew_RAW("none", 1); }), "null ioctl: No such device\n");
  EXPECT_EQ(outcome([] { return sktNew_ARCNET("none"); }), "null bind: No such device\n");
  EXPECT_EQ(outcome([] { return sktNew_RAW("sixteen letters.", 1); }),
            "null Socket: name of more than 15 characters: sixteen letters.\n");
  EXPECT_EQ(outcome([] { return sktNew_ARCNET("fourteen......"); }),
            "null Socket: name of more than 13 characters: fourteen......\n");
  constexpr int experimental = 0x88B5;
  const socket_ptr raw(sktNew_RAW("v0", experimental));
  const socket_ptr packet(sktNew_ARCNET("v1"));
  ASSERT_TRUE(raw != nullptr && packet != nullptr);
  EXPECT_EQ(std::tuple(raw->m_addrlen, raw->m_destaddr->link.sll_family, raw->m_ife),
            std::tuple(20, AF_PACKET, std::string("v0")));
  EXPECT_EQ(std::tuple(packet->m_addrlen, packet->m_destaddr->any.sa_family), std::tuple(16, 7));
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
