#include "ruvex/socket/socket.h"

#include <net/if.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/time.h>

#include <functional>
#include <utility>

#include "ruvex/socket/address.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/options.h"
#include "socket/socket_fixture.h"
#include "support/failing_allocations.h"

namespace ruvex {

// The request or option that the system refuses.
static unsigned long refused_request = 0;

// On 32-bit systems the calls have other names.
#ifdef __arm__
#define RUVEX_SETSOCKOPT "__setsockopt64"
#else
#define RUVEX_SETSOCKOPT "setsockopt"
#endif
extern "C" {
int real_setsockopt(int fd, int level, int option, const void* value,
                    socklen_t size) asm("__real_" RUVEX_SETSOCKOPT);
int wrap_setsockopt(int fd, int level, int option, const void* value,
                    socklen_t size) asm("__wrap_" RUVEX_SETSOCKOPT);
int wrap_setsockopt(int fd, int level, int option, const void* value, socklen_t size) {
  if (option == SO_BROADCAST && refused_request == SO_BROADCAST) return errno = EPERM, -1;
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
  const std::tuple<int, int, int> rows[] = {// the length of the address
                                            {AF_INET, SOCK_STREAM, 16},
                                            {AF_INET, SOCK_DGRAM, 16},
                                            {AF_LOCAL, SOCK_STREAM, 110},
                                            {AF_LOCAL, SOCK_DGRAM, 110}};
  for (const auto& [family, type, length] : rows) {
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
  ife_info info;
  testing::internal::CaptureStderr();
  ::setrlimit(RLIMIT_NOFILE, &reached);
  EXPECT_EQ(
      std::tuple(sktNew(AF_INET, SOCK_DGRAM), get_ife_info("lo", &info), ife_to_in_addr("lo")),
      std::tuple(nullptr, -1, 0U));
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "socket(): Too many open files\nsocket(): Too many open files\n"
            "socket(): Too many open files\n");
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

TEST_F(Sockets, OptionsAreSet) {
  const socket_ptr tcp(sktNew(AF_INET, SOCK_STREAM)), udp(sktNew(AF_INET, SOCK_DGRAM));
  const auto option = [](const socket_ptr& skt, int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    ::getsockopt(skt->m_sock, level, name, &value, &size);
    return value != 0;
  };
  for (const int on : {1, 0, 7, 0}) {
    EXPECT_EQ(sktSetNonblocking(tcp.get(), on) + sktReuse(tcp.get(), on) +
                  sktSetTcpNodelay(tcp.get(), on) + sktSetBcast(udp.get(), on),
              0);
    EXPECT_EQ(
        std::tuple((::fcntl(tcp->m_sock, F_GETFL) & O_NONBLOCK) != 0,
                   option(tcp, SOL_SOCKET, SO_REUSEADDR), option(tcp, IPPROTO_TCP, TCP_NODELAY),
                   option(udp, SOL_SOCKET, SO_BROADCAST)),
        std::tuple(on != 0, on != 0, on != 0, on != 0));
  }
  for (const auto& [rcv_ms, snd_ms] : {std::pair(1500, 0), {0, 2400}, {0, 0}})
    EXPECT_EQ(sktSetTimeouts(tcp.get(), rcv_ms, snd_ms), 0);
  for (const auto& [name, set] : {std::pair(SO_RCVTIMEO, 1500000), {SO_SNDTIMEO, 2400000}}) {
    timeval time = {};
    socklen_t size = sizeof time;
    ::getsockopt(tcp->m_sock, SOL_SOCKET, name, &time, &size);
    if (size != sizeof time) continue;  // an emulator does not tell
    EXPECT_EQ(time.tv_sec * 1000000 + time.tv_usec, set);
  }
}

TEST_F(Sockets, OptionsFailWithTheirLabel) {
  const socket_ptr tcp(sktNew(AF_INET, SOCK_STREAM)), udp(sktNew(AF_INET, SOCK_DGRAM)),
      other(sktNew(AF_INET, SOCK_DGRAM)), closed(sktNew(AF_INET, SOCK_DGRAM)),
      path(sktNew_PSEUDO(::open("/", O_PATH | O_CLOEXEC)));  // has flags, keeps them
  ::close(std::exchange(closed->m_sock, -1));
  std::strcpy(closed->m_ife, "lo");
  std::strcpy(udp->m_ife, "no such one");
  std::strcpy(other->m_ife, "a name of sixteen");
  const std::tuple<int (*)(Socket*, int), Socket*, std::string> rows[] = {
      {sktSetNonblocking, closed.get(), "fcntl( F_GETFL ): Bad file descriptor\n"},
      {sktSetNonblocking, path.get(), "fcntl( F_SETFL , O_NONBLOCK ): Bad file descriptor\n"},
      {sktSetBcast, tcp.get(), "Socket::SetBcast():Operation attempted on TCP socket...\n"},
      {sktSetBcast, closed.get(), "getsockopt( SO_BROADCAST ): Bad file descriptor\n"},
      {sktSetBcast, udp.get(), "setsockopt( SO_BROADCAST ): Operation not permitted\n"},
      {sktReuse, closed.get(), "setsockopt( SO_REUSEADDR ): Bad file descriptor\n"},
      {[](Socket* skt, int) { return sktSetTimeouts(skt, -1, 5); }, tcp.get(),
       "setsockopt( SO_RCVTIMEO ): Numerical argument out of domain\n"},
      {[](Socket* skt, int) { return sktSetTimeouts(skt, 5, -1); }, tcp.get(),
       "setsockopt( SO_SNDTIMEO ): Numerical argument out of domain\n"},
      {sktSetPromiscuous, tcp.get(), "Socket::SetPromiscuous():no interface specified"},
      {sktSetPromiscuous, udp.get(),
       "Socket::SetPromiscuous():ioctl(SIOCGIFFLAGS): No such device\n"},
      {sktSetPromiscuous, closed.get(),
       "Socket::SetPromiscuous():ioctl(SIOCGIFFLAGS): Bad file descriptor\n"},
      {sktSetPromiscuous, other.get(),
       "Socket: name of more than 15 characters: a name of sixteen\n"},
  };
  refused_request = SO_BROADCAST;
  for (const auto& [call, skt, text] : rows)
    EXPECT_EQ(outcome([call = call, skt = skt] { return call(skt, 1); }), "-1 " + text);
  refused_request = 0;
}

TEST_F(Sockets, DestinationsAreSet) {
  const socket_ptr udp(sktNew(AF_INET, SOCK_DGRAM)), local(sktNew(AF_LOCAL, SOCK_DGRAM)),
      other(sktNew(AF_LOCAL, SOCK_DGRAM));
  const sockaddr_in& destination = udp->m_destaddr->inet;
  EXPECT_EQ(sktSetDest(udp.get(), "10.1.2.3", 70000), 0);
  EXPECT_EQ(std::tuple(destination.sin_addr.s_addr, destination.sin_port),
            std::tuple(htonl(0x0A010203), htons(4464)));
  sktSetDest_PORT(udp.get(), 80);
  EXPECT_EQ(destination.sin_port, htons(80));
  EXPECT_EQ(outcome([&] { return sktSetDest(udp.get(), "no such host", 81); }),
            "-1 Unknown host no such host.\n");
  EXPECT_EQ(destination.sin_port, htons(81));
  const skt_address address = loopback();
  EXPECT_EQ(sktSetDest_ADDR(udp.get(), &address), 0);
  EXPECT_EQ(std::memcmp(udp->m_destaddr, &address, 16), 0);

  const std::string longest(107, 'n'), too_long = longest + "n";
  const std::string refusal = "-1 Socket: name of more than 107 characters: " + too_long + "\n";
  EXPECT_EQ(sktSetDest(local.get(), longest.c_str(), 0), 0);
  EXPECT_EQ(sktSetDest_ADDR(other.get(), local->m_destaddr), 0);
  EXPECT_EQ(std::string(other->m_destaddr->local.sun_path, 108), '\0' + longest);
  EXPECT_EQ(sktSetDest(local.get(), "ab", 0), 0);
  EXPECT_EQ(outcome([&] { return sktSetDest(local.get(), too_long.c_str(), 0); }), refusal);
  EXPECT_EQ(std::string(local->m_destaddr->local.sun_path, 108),
            std::string("\0ab", 3) + std::string(105, '\0'));
  EXPECT_EQ(outcome([&] { return sktConnectHost(local.get(), too_long.c_str(), 0, 9); }), refusal);
}

TEST_F(Sockets, DottedTextsAreAddresses) {
  constexpr std::tuple<const char*, std::uint32_t, const char*> rows[] = {
      {"192.168.10.20", 0xC0A80A14, "192.168.10.20"},
      {"10.1", 0x0A000001, "10.0.0.1"},
      {"0x7f.1", 0x7F000001, "127.0.0.1"},
      {"1.2.3.4.5", 0, "0.0.0.0"},
      {"", 0, "0.0.0.0"}};
  for (const auto& [text, address, back] : rows) {
    EXPECT_EQ(string_to_in_addr(text), htonl(address)) << text;
    EXPECT_STREQ(in_addr_to_string(htonl(address)), back);
  }
}

TEST_F(Sockets, InterfacesAreDescribed) {
  const own_network network;
  if (!network.missing().empty()) GTEST_SKIP() << network.missing();
  ife_info info;
  const auto ask = [&](const char* name) {
    return outcome([&] { return get_ife_info(name, &info); });
  };
  EXPECT_EQ(ask(""), "1 ") << "the list has entries without a name";
  // lo is the first.
  ASSERT_TRUE(
      own_network::run("for n in 2 3 4 5 6 7 8 9; do ip link add n$n type veth && "
                       "ip addr add 10.0.$n.1/24 broadcast + dev n$n || exit 1; done"));
  EXPECT_EQ(ask("n8"), "-1 ioctl:SIOCGIFHWADDR: No such device\n");
  for (const char* const name : {"n9", "", "no such interface"}) EXPECT_EQ(ask(name), "1 ") << name;
  ASSERT_TRUE(own_network::run("ip link add eth0 address 02:11:22:33:44:55 type veth"));
  EXPECT_EQ(ask("n8"), "0 ");
  EXPECT_EQ(std::tuple(info.if_addr, info.if_netmask, info.if_broadaddr),
            std::tuple(htonl(0x0A000801), htonl(0xFFFFFF00), htonl(0x0A0008FF)));
  EXPECT_EQ(std::memcmp(info.if_hwaddr, "\x02\x11\x22\x33\x44\x55\0\0", 8), 0);
  const socket_ptr skt(sktNew(AF_INET, SOCK_DGRAM));
  std::strcpy(skt->m_ife, "n8");
  for (const bool on : {true, false}) {
    EXPECT_EQ(sktSetPromiscuous(skt.get(), on ? 1 : 0), 0);
    EXPECT_EQ(own_network::run("ip link show n8 | grep -q PROMISC"), on);
  }
  const std::pair<unsigned long, std::string> failures[] = {
      {SIOCGIFCONF, "-1 ioctl:SIOCGIFCONF"},
      {SIOCGIFNETMASK, "-1 ioctl:SIOCGIFNETMASK"},
      {SIOCGIFBRDADDR, "-1 ioctl:SIOCGIFBRDADDR"},
      {SIOCSIFFLAGS, "-1 Socket::SetPromiscuous():ioctl(SIOCSIFFLAGS)"}};
  for (const auto& [request, text] : failures) {
    refused_request = request;
    EXPECT_EQ(request == SIOCSIFFLAGS ? outcome([&] { return sktSetPromiscuous(skt.get(), 1); })
                                      : ask("n8"),
              text + ": Operation not permitted\n");
  }
  refused_request = 0;
  EXPECT_EQ(ife_to_in_addr("n9"), htonl(0x0A000901));
  EXPECT_EQ(outcome([] { return ife_to_in_addr("none"); }), "0 ioctl: No such device\n");
  EXPECT_EQ(outcome([] { return ife_to_in_addr("sixteen or more.."); }),
            "0 Socket: name of more than 15 characters: sixteen or more..\n");
}

}  // namespace
}  // namespace ruvex
