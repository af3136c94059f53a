#include "ruvex/socket/socket.h"

#include <sys/resource.h>
#include <sys/syscall.h>

#include "socket/socket_fixture.h"
#include "support/failing_allocations.h"

namespace ruvex {

// The request that the system refuses, and the value of SO_BROADCAST.
static unsigned long refused_request = 0;
constexpr int refused_broadcast = 99;

extern "C" {
int real_setsockopt(int, int, int, const void*, socklen_t) asm("__real_" RUVEX_SETSOCKOPT);
int wrap_setsockopt(int, int, int, const void*, socklen_t) asm("__wrap_" RUVEX_SETSOCKOPT);
int wrap_setsockopt(int fd, int level, int option, const void* value, socklen_t size) {
  if (option == SO_BROADCAST && *static_cast<const int*>(value) == refused_broadcast)
    return errno = EPERM, -1;
  return real_setsockopt(fd, level, option, value, size);
}
int __wrap_ioctl(int fd, unsigned long request, void* argument) {
  if (request == refused_request) return errno = EPERM, -1;
  return static_cast<int>(::syscall(SYS_ioctl, fd, request, argument));
}
[[gnu::alias("__wrap_ioctl")]] int __wrap___ioctl_time64(int, unsigned long, void*);
}

namespace {

TEST_F(Sockets, AreMadeOrRefusedWithAReason) {
  for (const auto& [family, type, length] :
       {std::tuple(AF_INET, int{SOCK_STREAM}, 16), {AF_LOCAL, SOCK_DGRAM, 110}}) {
    const socket_ptr skt(sktNew(family, type));
    ASSERT_NE(skt, nullptr);
    EXPECT_EQ(std::tuple(skt->m_valid, ::fcntl(skt->m_sock, F_GETFD), skt->m_addrlen, skt->m_type),
              std::tuple(1, FD_CLOEXEC, length, type));
    EXPECT_EQ(skt->m_connected + skt->m_selected + skt->m_mode + skt->m_port, 0);
    for (const skt_address* address :
         {skt->m_sockaddr, skt->m_peeraddr, skt->m_fromaddr, skt->m_destaddr})
      EXPECT_EQ(address->any.sa_family, family);
  }
  const std::string none = "Socket::Init():Error:'m_sockaddr == 0'\n";
  EXPECT_EQ(outcome([] { return sktNew(5, 1); }), "null Socket::Init():Illegal family: 5\n" + none);
  EXPECT_EQ(outcome([] { return sktNew(AF_PACKET, SOCK_DGRAM); }), "null " + none);
  EXPECT_EQ(outcome([] { return sktNew(AF_INET, 9); }),
            "null socket(): Socket type not supported\n");
  sktClose(nullptr);
}

TEST_F(Sockets, AreNotMadeWithoutDescriptors) {
  rlimit limit;
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit reached = {0, limit.rlim_max};
  const auto make = [&] {
    ife_info info;
    ::setrlimit(RLIMIT_NOFILE, &reached);
    const bool none = sktNew(AF_INET, SOCK_DGRAM) == nullptr && get_ife_info("lo", &info) == -1 &&
                      ife_to_in_addr("lo") == 0;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    return none;
  };
  const std::string line = "socket()" + system_words(EMFILE);
  EXPECT_EQ(outcome(make), "1 " + line + line + line);
}

TEST_F(Sockets, AreNotMadeWithoutMemory) {
  for (const auto& make :
       {+[] { return sktNew(AF_LOCAL, SOCK_STREAM); }, +[] { return sktNew_PSEUDO(-1); }}) {
    for (int failing = 0; failing <= 5; ++failing) {
      const std::string text = outcome([&] {
        watch(failing);
        Socket* const made = make();
        watching = false;
        return made;
      });
      EXPECT_EQ(text, failing == 5   ? "made "
                      : failing == 1 ? "null Socket::Init():Error:'m_sockaddr == 0'\n"
                                     : "null ");
      EXPECT_EQ(live_blocks, failing == 5 ? 5 : 0);
    }
  }
}

TEST_F(Sockets, OptionsAndDestinationsAreSetAndNothingElse) {
  const socket_ptr tcp = marked(sktNew(AF_INET, SOCK_STREAM)),
                   udp = marked(sktNew(AF_INET, SOCK_DGRAM)),
                   local = marked(sktNew(AF_LOCAL, SOCK_DGRAM)),
                   copy = marked(sktNew(AF_LOCAL, SOCK_DGRAM)), closed(sktNew(AF_INET, SOCK_DGRAM)),
                   path(sktNew_PSEUDO(::open("/", O_PATH | O_CLOEXEC)));  // keeps its flags
  ::close(std::exchange(closed->m_sock, -1));
  std::strcpy(closed->m_ife, "lo");
  std::strcpy(udp->m_ife, "no such one");
  std::strcpy(copy->m_ife, "a name of sixteen");
  const skt_address address = loopback();
  const std::string longest(107, 'n'), too_long = longest + "n", name = std::string("1\0", 2);
  const auto told = [&](const std::string& text) {  // an emulator does not tell time-outs
    return time_out_ms(*tcp, SO_RCVTIMEO) < 0 ? "" : text;
  };
  const std::string no_time = " )" + system_words(EDOM);
  const std::string promiscuous = "-1 Socket::SetPromiscuous():", bad = ": Bad file descriptor\n";
  // clang-format off
  expect_effects({
      {tcp, with(sktSetNonblocking, 7), "0 nonblock=1 "},
      {tcp, with(sktSetNonblocking, 0), "0 nonblock=0 "},
      {closed, with(sktSetNonblocking, 1), "-1 fcntl( F_GETFL )" + bad},
      {path, with(sktSetNonblocking, 1), "-1 fcntl( F_SETFL , O_NONBLOCK )" + bad},
      {tcp, with(sktReuse, 7), "0 reuse=1 "}, {tcp, with(sktReuse, 0), "0 reuse=0 "},
      {closed, with(sktReuse, 1), "-1 setsockopt( SO_REUSEADDR )" + bad},
      {tcp, with(sktSetTcpNodelay, 7), "0 nodelay=1 "},
      {tcp, with(sktSetTcpNodelay, 0), "0 nodelay=0 "}, {udp, with(sktSetTcpNodelay, 1), "0 "},
      {udp, with(sktSetBcast, 7), "0 bcast=1 "}, {udp, with(sktSetBcast, 0), "0 bcast=0 "},
      {udp, with(sktSetBcast, refused_broadcast),
       "-1 setsockopt( SO_BROADCAST ): Operation not permitted\n"},
      {tcp, with(sktSetBcast, 1),
       "-1 Socket::SetBcast():Operation attempted on TCP socket...\n"},
      {closed, with(sktSetBcast, 1), "-1 getsockopt( SO_BROADCAST )" + bad},
      {tcp, with(sktSetTimeouts, 2040, 0), "0 " + told("rcv=2040 ")},
      {tcp, with(sktSetTimeouts, 0, 80), "0 " + told("snd=80 ")},
      {tcp, with(sktSetTimeouts, -1, 60), "-1 setsockopt( SO_RCVTIMEO" + no_time},
      {tcp, with(sktSetTimeouts, 80, -1), "-1 setsockopt( SO_SNDTIMEO" + no_time + told("rcv=80 ")},
      {tcp, with(sktSetPromiscuous, 1), promiscuous + "no interface specified"},
      {udp, with(sktSetPromiscuous, 1), promiscuous + "ioctl(SIOCGIFFLAGS): No such device\n"},
      {closed, with(sktSetPromiscuous, 1), promiscuous + "ioctl(SIOCGIFFLAGS)" + bad},
      {copy, with(sktSetPromiscuous, 1),
       "-1 Socket: name of more than 15 characters: a name of sixteen\n"},
      {udp, with(sktSetDest, "10.1.2.3", 70000), "0 destaddr=10.1.2.3:4464 "},
      {udp, with(sktSetDest, "no such host", 81),
       "-1 Unknown host no such host.\ndestaddr=10.1.2.3:81 "},
      {udp, [](Socket* skt) { return sktSetDest_PORT(skt, 80), 0; }, "0 destaddr=10.1.2.3:80 "},
      {udp, with(sktSetDest_ADDR, &address), "0 destaddr=127.0.0.1:0 "},
      {local, with(sktSetDest, longest.c_str(), 7), "0 destaddr=" + name + longest + " "},
      {copy, with(sktSetDest_ADDR, local->m_destaddr), "0 destaddr=" + name + longest + " "},
      {local, with(sktSetDest, "ab", 7), "0 destaddr=" + name + "ab "},
      {local, with(sktSetDest, too_long.c_str(), 7),
       "-1 Socket: name of more than 107 characters: " + too_long + "\n"},
  });
  // clang-format on
}

TEST_F(Sockets, DottedTextsAreAddresses) {
  EXPECT_EQ(string_to_in_addr("0x7f.1"), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(string_to_in_addr("1.2.3.4.5"), 0U);
}

TEST_F(OwnNetwork, InterfacesAreDescribed) {
  ife_info info;
  const auto ask = [&](const char* name) {
    return outcome([&] { return get_ife_info(name, &info); });
  };
  EXPECT_EQ(ask(""), "1 ") << "the list has entries without a name";
  // lo is the first.
  ASSERT_TRUE(
      run("for n in 2 3 4 5 6 7 8 9; do ip link add n$n type veth && "
          "ip addr add 10.0.$n.1/24 broadcast + dev n$n || exit 1; done"));
  EXPECT_EQ(ask("n8"), "-1 ioctl:SIOCGIFHWADDR: No such device\n");
  EXPECT_EQ(ask("n9"), "1 ");
  ASSERT_TRUE(run("ip link add eth0 address 02:11:22:33:44:55 type veth"));
  EXPECT_EQ(ask("n8"), "0 ");
  EXPECT_EQ(std::tuple(info.if_addr, info.if_netmask, info.if_broadaddr),
            std::tuple(htonl(0x0A000801), htonl(0xFFFFFF00), htonl(0x0A0008FF)));
  EXPECT_EQ(std::memcmp(info.if_hwaddr, "\x02\x11\x22\x33\x44\x55\0\0", 8), 0);
  const socket_ptr skt(sktNew(AF_INET, SOCK_DGRAM));
  std::strcpy(skt->m_ife, "n8");
  expect_effects({{skt, with(sktSetPromiscuous, 1), "0 promisc=1 "},
                  {skt, with(sktSetPromiscuous, 0), "0 promisc=0 "}});
  const std::pair<unsigned long, std::string> failures[] = {
      {SIOCGIFCONF, "ioctl:SIOCGIFCONF"},
      {SIOCGIFNETMASK, "ioctl:SIOCGIFNETMASK"},
      {SIOCGIFBRDADDR, "ioctl:SIOCGIFBRDADDR"},
      {SIOCSIFFLAGS, "Socket::SetPromiscuous():ioctl(SIOCSIFFLAGS)"}};
  for (const auto& [request, label] : failures) {
    refused_request = request;
    EXPECT_EQ(outcome([&] { return get_ife_info("n8", &info) + sktSetPromiscuous(skt.get(), 0); }),
              "-1 " + label + ": Operation not permitted\n");
  }
  refused_request = 0;
  EXPECT_EQ(ife_to_in_addr("n9"), htonl(0x0A000901));
  EXPECT_EQ(outcome([] { return ife_to_in_addr("none"); }), "0 ioctl: No such device\n");
  EXPECT_EQ(outcome([] { return ife_to_in_addr("sixteen or more.."); }),
            "0 Socket: name of more than 15 characters: sixteen or more..\n");
}

}  // namespace
}  // namespace ruvex
