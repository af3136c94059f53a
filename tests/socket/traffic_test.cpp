#include "socket/socket_fixture.h"
#include "support/temporary_file.h"

namespace ruvex {

extern "C" int __wrap_select(int count, fd_set* in, fd_set* out, fd_set* other, timeval* time) {
  const bool finds_nothing = before_select && std::exchange(before_select, nullptr)();
  const timespec limit = {time->tv_sec, static_cast<long>(time->tv_usec * 1000)};
  const int ready = ::pselect(count, in, out, other, &limit, nullptr);
  if (ready > 0) ::usleep(pause_after_select_us);
  if (!finds_nothing) return ready;
  FD_ZERO(in);
  FD_ZERO(out);
  return 1;
}
// The name on 32-bit systems.
extern "C" [[gnu::alias("__wrap_select")]] int __wrap___select64(int, fd_set*, fd_set*, fd_set*,
                                                                 timeval*);

namespace {

TEST_F(Sockets, LocalSocketsMeetByName) {
  const std::string name = "ruvex_test_" + std::to_string(::getpid());
  for (const int type : {SOCK_STREAM, SOCK_DGRAM}) {
    const socket_ptr server(sktNew_LOCAL(type, SKT_SERVER, name.c_str()));
    const socket_ptr client(sktNew_LOCAL(type, SKT_CLIENT, name.c_str()));
    ASSERT_TRUE(server != nullptr && client != nullptr);
    const std::string own = client->m_name;
    EXPECT_TRUE(own.starts_with("/tmp/" + name + "_")) << own;
    EXPECT_EQ(own.size(), 12 + name.size());
    EXPECT_NE(::access(client->m_name, F_OK), 0) << "no file stays";
    const bool is_stream = type == SOCK_STREAM;
    EXPECT_EQ(is_stream ? sktConnectHost(client.get(), name.c_str(), 0, 1000)
                        : sktSetDest(client.get(), name.c_str(), 0),
              0);
    const socket_ptr accepted(is_stream ? sktAccept(server.get()) : nullptr);
    const socket_ptr& end = is_stream ? accepted : server;
    EXPECT_EQ(sktSendS(client.get(), "ping"), 4);
    EXPECT_EQ(received(end), "ping");
    EXPECT_EQ(sktSendS(end.get(), "pong"), 4);
    EXPECT_EQ(received(client), "pong");
    EXPECT_EQ(text_of(is_stream ? end->m_sockaddr : end->m_destaddr), std::string("1\0", 2) + own);
    EXPECT_EQ(sktGetPeerAddr(client.get()), 0U);
    EXPECT_EQ(outcome([&] { return sktNew_LOCAL(type, 1, name.c_str()); }),
              "null bind()" + system_words(EADDRINUSE));
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

TEST_F(Sockets, StreamsReadAndWriteAndStayWhenOpenedAgain) {
  int ends[2];
  ASSERT_EQ(::socketpair(AF_LOCAL, SOCK_STREAM, 0, ends), 0);
  socket_ptr near(sktNew_PSEUDO(ends[0]));
  const socket_ptr far(sktNew_PSEUDO(ends[1]));
  EXPECT_EQ(sktOpenStreams(near.get()) + sktOpenStreams(far.get()), 0);
  const auto before = std::tuple(near->m_fin, near->m_fout);
  EXPECT_EQ(sktOpenStreams(near.get()), 0);
  EXPECT_EQ(std::tuple(near->m_fin, near->m_fout), before);
  std::fputs("a line\n", near->m_fout);
  near.reset();
  char line[16] = {};
  EXPECT_STREQ(std::fgets(line, sizeof line, far->m_fin), "a line\n");
  EXPECT_EQ(std::fgetc(far->m_fin), EOF);
}

TEST_F(Sockets, SelectTellsWhichCanBeReadAndRefusesWhatIsInNoSet) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const socket_ptr idle(sktNew(AF_INET, SOCK_DGRAM)), reader(sktNew_PSEUDO(ends[0])),
      writer(sktNew_PSEUDO(ends[1])), last(sktNew_PSEUDO(::dup2(ends[0], 1023))),
      high(sktNew_PSEUDO(::dup2(ends[0], 1024)));
  if (high->m_sock < 0) GTEST_SKIP() << "skipped: fewer than 1025 descriptors are allowed";
  high->m_type = SOCK_STREAM;
  Socket* const all[] = {idle.get(), last.get(), high.get()};
  EXPECT_EQ(sktSelectRd(2, all, 10) + sktSelectRd(0, nullptr, 10), 0);
  EXPECT_EQ(sktSendC(writer.get(), 'x'), 1);
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
  const socket_ptr client = marked(sktNew(AF_INET, SOCK_STREAM)),
                   local = marked(sktNew(AF_LOCAL, SOCK_STREAM)),
                   other = marked(sktNew(AF_INET, SOCK_STREAM)),
                   path(sktNew_PSEUDO(::open("/", O_PATH | O_CLOEXEC)));
  const skt_address address = loopback();
  path->m_type = SOCK_STREAM;
  sktSetNonblocking(client.get(), 1);
  ::listen(listener->m_sock, 0);  // one that waits fills it, and the next gets no answer
  const auto to = [&](const socket_ptr& peer, long timeout_ms) {
    return with(sktConnectAddr, &address, port_of(peer), timeout_ms);
  };
  const std::string too_long(108, 'n'),
      step = "-1 fcntl( F_SETFL , O_NONBLOCK ): ",
      late = "-1 sktConnectAddr(): select : Nothing ready within timeout period\r\n";
  // clang-format off
  const auto start = std::chrono::steady_clock::now();
  expect_effects({
      {client, to(closed, 2000),
       "-1 sktConnectAddr(): select() returned both readable and writable\r\n"
       "sktConnectAddr(): getsockopt() : Perror(error) : Connection refused\npeer" +
           address_text(closed)},
      {client, to(listener, 2000), "0 connected=1 peer" + address_text(listener)},
      {client, to(closed, 9), step + std::strerror(EISCONN) + "\n"},
      {other, to(listener, 150), late + "peer" + address_text(listener)},
      {other, to(listener, 1), late},
      {other, [](Socket*) { return before_select = [] { return true; }, 0; }, "0 "},
      {other, to(listener, 1), "-1 sktConnectAddr(): socket not readable or writable\r\n"},
      {other, to(listener, -1), "-1 "},
      {other, with(sktConnectHost, "no such host", 9, 1),
       "-1 getaddrinfo(): No such device or address\n"},
      {closed, to(listener, 1), "-1 sktConnectAddr():Socket must be SOCK_STREAM\n"},
      {path, to(listener, 1), step + "Bad file descriptor\n"},
      {local, with(sktConnectHost, "nobody", 0, 9),
       step + "Connection refused\n" + std::string("peeraddr=1\0nobody ", 18)},
      {local, with(sktConnectHost, too_long.c_str(), 0, 9),
       "-1 Socket: name of more than 107 characters: " + too_long + "\n"},
  });
  // clang-format on
  const auto time = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(time >= std::chrono::milliseconds(151) && time < std::chrono::seconds(1));
  // The descriptor becomes another one meanwhile.
  const socket_ptr null(sktNew_PSEUDO(::open("/dev/null", O_RDWR | O_CLOEXEC)));
  const auto connect_as = [&](const socket_ptr& now) {
    const socket_ptr skt(sktNew(AF_INET, SOCK_STREAM));
    before_select = [&] { return ::dup2(now->m_sock, skt->m_sock) < 0; };
    return outcome([&] { return sktConnectAddr(skt.get(), &address, port_of(listener), 9); });
  };
  EXPECT_EQ(connect_as(null),
            "-1 sktConnectAddr(): select() returned both readable and writable\r\n"
            "sktConnectAddr(): getsockopt() < 0" +
                system_words(ENOTSOCK));
  EXPECT_TRUE(
      connect_as(path).ends_with("fcntl( F_SETFL , original_flags ): Bad file descriptor\n"));
}

// An address on a cable that nobody answers for, and then on an interface of our own.
TEST_F(OwnNetwork, AHostThatWasOffIsReachedWhenItIsBack) {
  ASSERT_TRUE(run("ip addr add 10.9.0.1/24 dev v0"));
  // Where that may not be changed, giving up takes three seconds.
  run("(cd /proc/sys/net/ipv4/neigh/v0 && echo 1 > mcast_solicit && echo 50 > retrans_time_ms)");
  const socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
  const auto connect = [&](int port) {
    return outcome([&] { return sktConnectHost(client.get(), "10.9.0.2", port, 9000); });
  };
  for (const int port : {9, 10})
    EXPECT_TRUE(connect(port).ends_with(system_words(EHOSTUNREACH))) << port;
  ASSERT_TRUE(run("ip addr add 10.9.0.2/32 dev lo"));
  const socket_ptr server(CreateAfInetServer(SOCK_STREAM, "10.9.0.2", 0));
  EXPECT_EQ(connect(port_of(server)), "0 ");
}

TEST_F(Sockets, OperationsChangeWhatTheyAreForAndNothingElse) {
  const std::string name = "ruvex_test_" + std::to_string(::getpid());
  const socket_ptr listener = marked(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0)),
                   server = marked(CreateAfInetServer(SOCK_DGRAM, nullptr, 0)),
                   tcp = marked(sktNew(AF_INET, SOCK_STREAM)),
                   client = marked(sktNew(AF_INET, SOCK_STREAM)),
                   half = marked(sktNew(AF_INET, SOCK_STREAM)),
                   udp = marked(sktNew(AF_INET, SOCK_DGRAM)),
                   local = marked(sktNew(AF_LOCAL, SOCK_STREAM)),
                   output(sktNew_PSEUDO(::open("/dev/null", O_WRONLY | O_CLOEXEC)));
  const int port = port_of(listener);
  half->m_connected = 1;
  EXPECT_EQ(state_of(*listener)["reuse"], "1");
  EXPECT_EQ(sktBind_PORT(udp.get(), 0), 0);
  sktSetDest(udp.get(), "127.0.0.1", port_of(server));
  char bytes[4] = {};
  const auto receive = with(sktRecv, bytes, 4);
  const auto send = with(sktSendC, 'x');
  const auto send_till_gone = [](Socket* skt) {
    while (sktSendC(skt, 'x') > 0) continue;
    return sktSendC(skt, 'x');
  };
  std::signal(SIGPIPE, SIG_IGN);
  const std::string in_use = "bind()" + system_words(EADDRINUSE), none = "Socket not connected\n",
                    no_accept = ":accept()" + system_words(EOPNOTSUPP),
                    no_length = ": Invalid argument\n", no_recv = "-1 Socket::Recv():recvfrom()",
                    // Some fdopen() takes any descriptor.
      unopened = has_glibc ? "-1 " : "0 fin=1 fout=1 ",
                    // A loopback address of this process alone.
      own = in_addr_to_string(htonl(0x7F000000U + static_cast<unsigned>(::getpid())));
  EXPECT_EQ(outcome([&] { return CreateAfInetServer(SOCK_STREAM, nullptr, port); }),
            "null " + in_use);
  // clang-format off
  expect_effects({
      {tcp, with(sktBind_IFE_PORT, "here", 5), "-1 inet_aton(): Invalid argument\nport=5 "},
      {tcp, with(sktBind_IFE_PORT, "127.0.0.1", port),
       "-1 " + in_use + "port=" + std::to_string(port) + " sock" + address_text(listener)},
      {tcp, with(sktBind_LOCAL, "name"), "-1 sktBind_LOCAL(): Must be AF_LOCAL socket\n"},
      {local, with(sktBind_PORT, 0), "-1 Socket::Bind(): Must be AF_INET socket\n"},
      {local, with(sktBind_LOCAL, nullptr), "-1 sktBind_LOCAL():Null hostname\n"},
      {local, with(sktBind_LOCAL, name.c_str()), std::string("0 sockaddr=1\0", 13) + name + " "},
      {tcp, with(sktBind_IFE_PORT, own.c_str(), 70000),
       "0 port=70000 sockaddr=" + own + ":4464 "},
      {half, with(sktBind_PORT, 0), "0 sockaddr=0.0.0.0:0 "},
      {tcp, with(sktListen), "0 "}, {udp, with(sktListen), "-1 "},
      {listener, with(sktSetNonblocking, 1), "0 nonblock=1 "},
      {listener, accepting(-1), "-1 "}, {listener, accepting(20), "-1 "},
      {client, with(sktConnectHost, "127.0.0.1", port, 2000),
       "0 connected=1 peer" + address_text(listener)},
      {listener, accepting(-1), "0 "},
      {client, with(sktListen), "-1 listen()" + no_length},
      {client, with(sktGetPeerAddr), std::to_string(int(htonl(INADDR_LOOPBACK))) + " "},
      {client, receive, "0 "}, {client, send, "1 "}, {client, send_till_gone, "0 "},
      {client, with(sktOpenStreams), "0 fin=1 fout=1 "},
      {tcp, receive, "-1 Socket::Recv():" + none}, {tcp, send, "-1 Socket::Send():" + none},
      {half, receive, "-1 Socket::Recv():recv()" + system_words(ENOTCONN)},
      {output, with(sktOpenStreams), unopened}, {output, receive, no_recv + ": Bad file descriptor\n"},
      {udp, accepting(-1), "-1 Socket::Accept(void)" + no_accept}, {udp, send, "1 "},
      {server, accepting(2000), "-1 Socket::Accept(long)" + no_accept},
      {server, receive, "1 dest" + address_text(udp)}, {server, send, "1 "},
      {udp, receive, "1 from" + address_text(server)},
      {server, with(sktSetNonblocking, 1), "0 nonblock=1 "}, {server, receive, "-2 "},
      {udp, with(sktGetPeerAddr), "0 "},
      {udp, with(sktSendN, bytes, -1), "-1 Socket::Send()" + no_length},
      {udp, with(sktRecv, bytes, -1), no_recv + no_length},
  });
  // clang-format on
}

TEST_F(OwnNetwork, LinkLayerFramesGoOutOnTheirInterface) {
  EXPECT_EQ(outcome([] { return sktNew_RAW("none", 1); }), "null ioctl: No such device\n");
  EXPECT_EQ(outcome([] { return sktNew_ARCNET("none"); }), "null bind: No such device\n");
  EXPECT_EQ(outcome([] { return sktNew_RAW("sixteen letters.", 1); }),
            "null Socket: name of more than 15 characters: sixteen letters.\n");
  EXPECT_EQ(outcome([] { return sktNew_ARCNET("fourteen......"); }),
            "null Socket: name of more than 13 characters: fourteen......\n");
  const socket_ptr raw(sktNew_RAW("v0", 0x88B5));
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
