#include "ruvex/socket/socket.h"

#include <net/if.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/time.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/options.h"
#include "socket/socket_fixture.h"
#include "support/failing_allocations.h"

namespace ruvex {

// The request or option that the system refuses.
static unsigned long refused_request = 0;

extern "C" {
int real_setsockopt(int fd, int level, int option, const void* value,
                    socklen_t size) asm("__real_" RUVEX_SETSOCKOPT);
int wrap_setsockopt(int fd, int level, int option, const void* value,
                    socklen_t size) asm("__wrap_" RUVEX_SETSOCKOPT);
int wrap_setsockopt(int fd, int level, int option, const void* value, socklen_t size) {
  if (option == SO_BROADCAST && refused_request == SO_BROADCAST) return errno = EPERM, -1;
  return real_setsockopt(fd, level, option, value, size);
}
int real_ioctl(int fd, unsigned long request, void* argument) asm("__real_" RUVEX_IOCTL);
int wrap_ioctl(int fd, unsigned long request, void* argument) asm("__wrap_" RUVEX_IOCTL);
int wrap_ioctl(int fd, unsigned long request, void* argument) {
  if (request == refused_request) return errno = EPERM, -1;
  return real_ioctl(fd, request, argument);
}
}

namespace {

TEST_F(Sockets, AreMadeOrRefusedWithAReason) {
  const std::string none = "Socket::Init():Error:'m_sockaddr == 0'\n";
  const struct {
    int family, type;
    std::string text;
    int length, own, destination;
  } rows[] = {
      {AF_INET, SOCK_STREAM, "", 16, AF_INET, AF_INET},
      {AF_INET, SOCK_DGRAM, "", 16, AF_INET, AF_INET},
      {AF_LOCAL, SOCK_STREAM, "", 110, AF_LOCAL, AF_LOCAL},
      {AF_LOCAL, SOCK_DGRAM, "", 110, AF_LOCAL, AF_LOCAL},
      {5, SOCK_STREAM, "Socket::Init():Illegal family: 5\n" + none, 0, 0, 0},
      {AF_PACKET, SOCK_DGRAM, none, 0, 0, 0},
      {AF_INET, 9, "socket(): Socket type not supported\n", 0, 0, 0},
  };
  for (const auto& row : rows) {
    socket_ptr skt;
    EXPECT_EQ(printed([&] { skt.reset(sktNew(row.family, row.type)); }), row.text);
    ASSERT_EQ(skt != nullptr, row.text.empty()) << row.family << " " << row.type;
    if (skt == nullptr) continue;
    EXPECT_EQ(skt->m_valid, 1);
    EXPECT_EQ(::fcntl(skt->m_sock, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(skt->m_connected + skt->m_selected + skt->m_mode + skt->m_port, 0);
    EXPECT_EQ(skt->m_addrlen, row.length);
    for (const skt_address* own : {skt->m_sockaddr, skt->m_peeraddr, skt->m_fromaddr}) {
      EXPECT_EQ(own->any.sa_family, row.own);
    }
    EXPECT_EQ(skt->m_destaddr->any.sa_family, row.destination);
  }
  ife_info info;
  for (const auto& call : std::initializer_list<std::function<bool()>>{
           [] { return sktNew(AF_INET, SOCK_DGRAM) == nullptr; },
           [&] { return get_ife_info("lo", &info) == -1; },
           [] { return ife_to_in_addr("lo") == 0; }}) {
    const std::string text = printed([&] {
      const no_descriptors limit;
      EXPECT_TRUE(call());
    });
    EXPECT_EQ(text, "socket(): Too many open files\n");
  }
  sktClose(nullptr);
}

TEST_F(Sockets, AreNotMadeWithoutMemory) {
  for (const auto& make :
       {+[] { return sktNew(AF_LOCAL, SOCK_STREAM); }, +[] { return sktNew_PSEUDO(-1); }}) {
    socket_ptr skt;
    for (failing_call = 0; skt == nullptr; ++failing_call) {
      ASSERT_LT(failing_call, 9);
      calls = live_blocks = 0;
      failed = nullptr;
      const std::string text = printed([&] {
        watching = true;
        skt.reset(make());
        watching = false;
      });
      EXPECT_EQ(text, failing_call == 1 ? "Socket::Init():Error:'m_sockaddr == 0'\n" : "");
      EXPECT_EQ(skt == nullptr, failed != nullptr);
      EXPECT_EQ(live_blocks, skt == nullptr ? 0 : 5);
    }
    failing_call = never;
  }
}

TEST_F(Sockets, OptionsAreSet) {
  const socket_ptr tcp(sktNew(AF_INET, SOCK_STREAM)), udp(sktNew(AF_INET, SOCK_DGRAM));
  const auto option = [](const socket_ptr& skt, int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    ::getsockopt(skt->m_sock, level, name, &value, &size);
    return value != 0 ? 1 : 0;
  };
  for (const int on : {1, 0, 7, 0}) {
    EXPECT_EQ(sktSetNonblocking(tcp.get(), on) + sktReuse(tcp.get(), on) +
                  sktSetTcpNodelay(tcp.get(), on) + sktSetBcast(udp.get(), on),
              0);
    const int expected = on != 0 ? 1 : 0;
    EXPECT_EQ((::fcntl(tcp->m_sock, F_GETFL) & O_NONBLOCK) != 0, on != 0);
    EXPECT_EQ(option(tcp, SOL_SOCKET, SO_REUSEADDR), expected);
    EXPECT_EQ(option(tcp, IPPROTO_TCP, TCP_NODELAY), expected);
    EXPECT_EQ(option(udp, SOL_SOCKET, SO_BROADCAST), expected);
  }
}

TEST_F(Sockets, TimeoutsAreSetInMilliseconds) {
  const socket_ptr skt(sktNew(AF_INET, SOCK_STREAM));
  bool is_told = true;
  const auto timeout = [&](int name) {
    timeval time = {};
    socklen_t size = sizeof time;
    ::getsockopt(skt->m_sock, SOL_SOCKET, name, &time, &size);
    is_told &= size == sizeof time;
    return time.tv_sec * 1000000 + time.tv_usec;
  };
  timeout(SO_RCVTIMEO);
  if (!is_told) GTEST_SKIP() << "skipped: the emulator does not give time-outs back";
  EXPECT_EQ(sktSetTimeouts(skt.get(), 1500, 0), 0);
  EXPECT_EQ(timeout(SO_RCVTIMEO), 1500000);
  EXPECT_EQ(timeout(SO_SNDTIMEO), 0);
  EXPECT_EQ(sktSetTimeouts(skt.get(), 0, 2400), 0);
  EXPECT_EQ(sktSetTimeouts(skt.get(), 0, 0), 0);
  EXPECT_EQ(timeout(SO_RCVTIMEO), 1500000);
  EXPECT_EQ(timeout(SO_SNDTIMEO), 2400000);
}

TEST_F(Sockets, OptionsFailWithTheirLabel) {
  const socket_ptr tcp(sktNew(AF_INET, SOCK_STREAM)), udp(sktNew(AF_INET, SOCK_DGRAM));
  const socket_ptr closed(sktNew(AF_INET, SOCK_DGRAM));
  ::close(std::exchange(closed->m_sock, -1));
  const socket_ptr path(sktNew_PSEUDO(::open("/", O_PATH | O_CLOEXEC)));  // has flags, keeps them
  std::strcpy(closed->m_ife, "lo");
  std::strcpy(udp->m_ife, "no such one");
  const struct {
    int (*call)(Socket*, int);
    Socket* skt;
    int argument;
    std::string text;
  } rows[] = {
      {sktSetNonblocking, closed.get(), 1, "fcntl( F_GETFL ): Bad file descriptor\n"},
      {sktSetNonblocking, path.get(), 1, "fcntl( F_SETFL , O_NONBLOCK ): Bad file descriptor\n"},
      {sktSetBcast, tcp.get(), 1, "Socket::SetBcast():Operation attempted on TCP socket...\n"},
      {sktSetBcast, closed.get(), 1, "getsockopt( SO_BROADCAST ): Bad file descriptor\n"},
      {sktReuse, closed.get(), 1, "setsockopt( SO_REUSEADDR ): Bad file descriptor\n"},
      {[](Socket* skt, int ms) { return sktSetTimeouts(skt, ms, 5); }, tcp.get(), -1,
       "setsockopt( SO_RCVTIMEO ): Numerical argument out of domain\n"},
      {[](Socket* skt, int ms) { return sktSetTimeouts(skt, 5, ms); }, tcp.get(), -1,
       "setsockopt( SO_SNDTIMEO ): Numerical argument out of domain\n"},
      {sktSetPromiscuous, tcp.get(), 1, "Socket::SetPromiscuous():no interface specified"},
      {sktSetPromiscuous, udp.get(), 1,
       "Socket::SetPromiscuous():ioctl(SIOCGIFFLAGS): No such device\n"},
      {sktSetPromiscuous, closed.get(), 1,
       "Socket::SetPromiscuous():ioctl(SIOCGIFFLAGS): Bad file descriptor\n"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(printed([&] { EXPECT_EQ(row.call(row.skt, row.argument), -1); }), row.text);
  }
  refused_request = SO_BROADCAST;
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSetBcast(udp.get(), 1), -1); }),
            "setsockopt( SO_BROADCAST ): Operation not permitted\n");
  refused_request = 0;
  std::strcpy(udp->m_ife, "a name of sixteen");
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSetPromiscuous(udp.get(), 1), -1); }),
            "Socket: name of more than 15 characters: a name of sixteen\n");
}

TEST_F(Sockets, DestinationsAreSet) {
  const socket_ptr udp(sktNew(AF_INET, SOCK_DGRAM)), local(sktNew(AF_LOCAL, SOCK_DGRAM));
  EXPECT_EQ(sktSetDest(udp.get(), "10.1.2.3", 70000), 0);
  EXPECT_EQ(udp->m_destaddr->inet.sin_addr.s_addr, htonl(0x0A010203));
  EXPECT_EQ(udp->m_destaddr->inet.sin_port, htons(4464));
  sktSetDest_PORT(udp.get(), 80);
  EXPECT_EQ(udp->m_destaddr->inet.sin_port, htons(80));
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSetDest(udp.get(), "no such host", 81), -1); }),
            "Unknown host no such host.\n");
  EXPECT_EQ(udp->m_destaddr->inet.sin_port, htons(81));
  const skt_address address = loopback();
  EXPECT_EQ(sktSetDest_ADDR(udp.get(), &address), 0);
  EXPECT_EQ(std::memcmp(udp->m_destaddr, &address, 16), 0);

  const std::string longest(107, 'n');
  EXPECT_EQ(sktSetDest(local.get(), longest.c_str(), 0), 0);
  EXPECT_EQ(sktSetDest(local.get(), "ab", 0), 0);
  EXPECT_EQ(std::string(local->m_destaddr->local.sun_path, 108),
            std::string("\0ab", 3) + std::string(105, '\0'));
  const std::string long_name = longest + 'n';
  const std::string refusal = "Socket: name of more than 107 characters: " + long_name + "\n";
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSetDest(local.get(), long_name.c_str(), 0), -1); }),
            refusal);
  EXPECT_EQ(local->m_destaddr->local.sun_path[1], 'a') << "as before";
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktConnectHost(local.get(), long_name.c_str(), 0, 9), -1); }),
            refusal);
  EXPECT_EQ(sktSetDest(local.get(), longest.c_str(), 0), 0);
  const socket_ptr other(sktNew(AF_LOCAL, SOCK_DGRAM));
  EXPECT_EQ(sktSetDest_ADDR(other.get(), local->m_destaddr), 0);
  EXPECT_EQ(std::memcmp(other->m_destaddr, local->m_destaddr, 110), 0);
}

TEST_F(Sockets, DottedTextsAreAddresses) {
  constexpr struct {
    const char* text;
    std::uint32_t address;
    const char* back;
  } rows[] = {{"192.168.10.20", 0xC0A80A14, "192.168.10.20"},
              {"10.1", 0x0A000001, "10.0.0.1"},
              {"0x7f.1", 0x7F000001, "127.0.0.1"},
              {"0.0.0.0", 0, "0.0.0.0"},
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
  bool made = own_network::run("ip addr add 127.0.0.1/8 dev lo");
  for (int number = 2; number <= 9; ++number) {  // lo is the first
    const std::string name = " n" + std::to_string(number);
    made = own_network::run("ip link add" + name + " type veth") &&
           own_network::run("ip addr add 10.0." + std::to_string(number) + ".1/24 broadcast + dev" +
                            name);
  }
  if (!made) GTEST_SKIP() << "skipped: no virtual interfaces can be made";
  ife_info info;
  const auto ask = [&](const char* name, int result, const std::string& text) {
    EXPECT_EQ(printed([&] { EXPECT_EQ(get_ife_info(name, &info), result) << name; }), text);
  };
  ask("n8", -1, "ioctl:SIOCGIFHWADDR: No such device\n");
  EXPECT_EQ(info.if_addr, string_to_in_addr("10.0.8.1"));
  ask("n9", 1, "");
  ask("", 1, "");
  ask("no such interface", 1, "");
  ASSERT_TRUE(own_network::run("ip link add eth0 address 02:11:22:33:44:55 type veth"));
  ask("n8", 0, "");
  EXPECT_EQ(info.if_addr, string_to_in_addr("10.0.8.1"));
  EXPECT_EQ(info.if_netmask, string_to_in_addr("255.255.255.0"));
  EXPECT_EQ(info.if_broadaddr, string_to_in_addr("10.0.8.255"));
  EXPECT_EQ(std::memcmp(info.if_hwaddr, "\x02\x11\x22\x33\x44\x55\0\0", 8), 0);
  const struct {
    unsigned long request;
    const char* text;
  } failures[] = {{SIOCGIFCONF, "ioctl:SIOCGIFCONF: Operation not permitted\n"},
                  {SIOCGIFNETMASK, "ioctl:SIOCGIFNETMASK: Operation not permitted\n"},
                  {SIOCGIFBRDADDR, "ioctl:SIOCGIFBRDADDR: Operation not permitted\n"}};
  for (const auto& [request, text] : failures) {
    refused_request = request;
    ask("n8", -1, text);
  }
  refused_request = 0;

  EXPECT_EQ(ife_to_in_addr("n9"), string_to_in_addr("10.0.9.1"));
  EXPECT_EQ(printed([] { EXPECT_EQ(ife_to_in_addr("none"), 0U); }), "ioctl: No such device\n");
  EXPECT_EQ(printed([] { EXPECT_EQ(ife_to_in_addr("sixteen or more.."), 0U); }),
            "Socket: name of more than 15 characters: sixteen or more..\n");

  const socket_ptr skt(sktNew(AF_INET, SOCK_DGRAM));
  std::strcpy(skt->m_ife, "n8");
  for (const bool on : {true, false}) {
    EXPECT_EQ(sktSetPromiscuous(skt.get(), on ? 1 : 0), 0);
    EXPECT_EQ(own_network::run("ip link show n8 | grep -q PROMISC"), on);
  }
  ASSERT_EQ(::seteuid(65534), 0);
  EXPECT_EQ(printed([&] { EXPECT_EQ(sktSetPromiscuous(skt.get(), 1), -1); }),
            "Socket::SetPromiscuous():ioctl(SIOCSIFFLAGS): Operation not permitted\n");
  ASSERT_EQ(::seteuid(0), 0);
}

}  // namespace
}  // namespace ruvex
