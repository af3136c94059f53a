// What stands at the other end of the wire, for bench/compare: plain programs over libmodbus, and a
// load for servers of any library.
//
//   wire_peers read BLOCKS COUNT              reads the blocks of a file so often, one after the
//                                             other; a line of it is "host port unit function
//                                             address count", the function 3 or 4
//   wire_peers print BLOCKS COUNT             the same, and prints a row a register
//   wire_peers slave                          serves registers; prints its address
//   wire_peers load PORT CLIENTS ANSWERS      prints the seconds until so many clients have got so
//                                             many answers, each with one request at a time
//   wire_peers line BAUD                      is a slave behind a pseudo-terminal whose answers
//   take
//                                             as long as on a serial line; prints its path

#include <arpa/inet.h>
#include <fcntl.h>
#include <modbus/modbus.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using steady = std::chrono::steady_clock;

[[noreturn]] void fail(const char* step) {
  std::perror(step);
  std::exit(1);
}

struct block {
  const char* name;  // of the host
  modbus_t* host;
  int unit, function, address, count;
};

// The blocks name hosts of `hosts`.
std::vector<block> blocks_of(const char* path, std::map<std::string, modbus_t*>& hosts) {
  std::ifstream file(path);
  std::vector<block> blocks;
  std::string name;
  int port = 0;
  block next = {};
  while (file >> name >> port >> next.unit >> next.function >> next.address >> next.count) {
    const auto found = hosts.try_emplace(name).first;
    next.name = found->first.c_str();
    if (found->second == nullptr) {
      found->second = modbus_new_tcp(next.name, port);
      if (modbus_connect(found->second) != 0) fail("modbus_connect");
    }
    next.host = found->second;
    blocks.push_back(next);
  }
  return blocks;
}

using block_words = std::array<std::uint16_t, MODBUS_MAX_READ_REGISTERS>;

bool read_block(const block& block, block_words& words) {
  modbus_set_slave(block.host, block.unit);
  const auto read = block.function == 3 ? modbus_read_registers : modbus_read_input_registers;
  return read(block.host, block.address, block.count, words.data()) == block.count;
}

template <bool IsPrinted>
int run_read(std::span<char*> arguments) {
  std::map<std::string, modbus_t*> hosts;
  const std::vector<block> blocks = blocks_of(arguments[0], hosts);
  block_words words;
  for (long left = std::atol(arguments[1]); left > 0; --left) {
    for (const block& block : blocks) {
      if (!read_block(block, words)) fail("a block");
      for (int at = 0; IsPrinted && at < block.count; ++at) {
        std::printf("%s/%d,%d,%d,%u\n", block.name, block.unit, block.function, block.address + at,
                    static_cast<unsigned>(words[static_cast<std::size_t>(at)]));
      }
    }
  }
  return 0;
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

// The slave as the manual of libmodbus has it: select(), and what is there is answered.
int run_slave(std::span<char*>) {
  modbus_t* const context = modbus_new_tcp("127.0.0.1", 0);
  modbus_mapping_t* const tables = modbus_mapping_new(0, 0, 65536, 65536);
  const int listener = modbus_tcp_listen(context, 1024);
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  if (::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) fail("listen");
  std::printf("listening on 127.0.0.1:%d\n", ntohs(address.sin_port));
  std::fflush(stdout);
  fd_set known;
  FD_ZERO(&known);
  FD_SET(listener, &known);
  std::uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
  for (int highest = listener;;) {
    fd_set ready = known;
    if (::select(highest + 1, &ready, nullptr, nullptr, nullptr) < 0) fail("select");
    for (int fd = 0; fd <= highest; ++fd) {
      if (!FD_ISSET(fd, &ready)) continue;
      if (fd == listener) {
        const int client = ::accept(listener, nullptr, nullptr);
        const int on = 1;
        ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        FD_SET(client, &known);
        if (client > highest) highest = client;
        continue;
      }
      modbus_set_socket(context, fd);
      const int length = modbus_receive(context, query);
      if (length > 0) {
        modbus_reply(context, query, length, tables);
      } else if (length < 0) {
        ::close(fd);
        FD_CLR(fd, &known);
      }
    }
  }
}

constexpr std::uint8_t load_registers = 10;
constexpr std::size_t load_answer = 9 + 2 * load_registers;

struct load_client {
  int fd = -1;
  std::size_t got = 0;  // of the answer
};

// Reads ten holding registers of unit 1 from address 0.
void ask(const load_client& client) {
  constexpr std::uint8_t request[] = {0, 1, 0, 0, 0, 6, 1, 3, 0, 0, 0, load_registers};
  if (::send(client.fd, request, sizeof request, 0) != sizeof request) fail("send");
}

std::vector<load_client> connect_clients(std::uint16_t port, std::size_t count, int epoll) {
  std::vector<load_client> clients(count);
  const sockaddr_in address = loopback(port);
  for (std::size_t at = 0; at < count; ++at) {
    const int fd = clients[at].fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      fail("connect");
    }
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.u64 = at;
    ::epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
  }
  return clients;
}

// True when the answer is whole.
bool take_answer(load_client& client) {
  std::uint8_t answer[load_answer];
  const ssize_t got = ::recv(client.fd, answer, load_answer - client.got, 0);
  if (got <= 0) fail("recv");
  if (client.got == 0 && got > 7 && answer[7] != 3) fail("an answer");
  client.got += static_cast<std::size_t>(got);
  if (client.got < load_answer) return false;
  client.got = 0;
  return true;
}

int run_load(std::span<char*> arguments) {
  const int epoll = ::epoll_create1(0);
  const auto port = static_cast<std::uint16_t>(std::atoi(arguments[0]));
  const auto count = static_cast<std::size_t>(std::atol(arguments[1]));
  std::vector<load_client> clients = connect_clients(port, count, epoll);
  const auto start = steady::now();
  for (const load_client& client : clients) ask(client);
  std::array<epoll_event, 128> events;
  for (long left = std::atol(arguments[2]); left > 0;) {
    const int ready = ::epoll_wait(epoll, events.data(), events.size(), -1);
    for (int at = 0; at < ready; ++at) {
      load_client& client = clients[events[static_cast<std::size_t>(at)].data.u64];
      if (!take_answer(client)) continue;
      --left;
      ask(client);
    }
  }
  std::printf("%.6f\n", std::chrono::duration<double>(steady::now() - start).count());
  return 0;
}

// A master at the speed of the line, whose own bytes are there at once: its request ends after as
// many characters of 11 bits, a silence of 3.5 stands before the answer, and the answer comes whole
// when its last character would.
int run_line(std::span<char*> arguments) {
  const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) fail("posix_openpt");
  const char* const path = ::ptsname(master);
  const int held = ::open(path, O_RDWR | O_NOCTTY);  // so that the line outlives those who open it
  termios raw = {};
  ::tcgetattr(held, &raw);
  ::cfmakeraw(&raw);
  ::tcsetattr(held, TCSANOW, &raw);
  std::printf("listening on %s\n", path);
  std::fflush(stdout);
  const int baud = std::atoi(arguments[0]);
  const std::chrono::duration<double> character(11.0 / baud);
  modbus_t* const context = modbus_new_rtu(path, baud, 'E', 8, 1);
  modbus_mapping_t* const tables = modbus_mapping_new(0, 0, 65536, 0);
  modbus_set_slave(context, 1);
  modbus_set_socket(context, master);
  std::uint8_t query[MODBUS_RTU_MAX_ADU_LENGTH];
  while (true) {
    const int length = modbus_receive(context, query);
    const auto arrived = steady::now();
    if (length < 8) continue;
    const int answer = 5 + 2 * (query[4] << 8 | query[5]);
    const auto taken = (length + 3.5 + answer) * character;
    std::this_thread::sleep_until(arrived + std::chrono::duration_cast<steady::duration>(taken));
    modbus_reply(context, query, length, tables);
  }
}

struct job {
  std::string_view name;
  std::size_t arguments;
  int (*run)(std::span<char*> arguments);
};
constexpr job jobs[] = {{"read", 2, run_read<false>},
                        {"print", 2, run_read<true>},
                        {"slave", 0, run_slave},
                        {"load", 3, run_load},
                        {"line", 1, run_line}};

}  // namespace

int main(int argc, char** argv) {
  const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
  for (const job& job : jobs) {
    const bool is_meant = argc >= 2 && job.name == arguments[1];
    if (is_meant && arguments.size() == job.arguments + 2) return job.run(arguments.subspan(2));
  }
  std::fputs("wire_peers: see the head of its source\n", stderr);
  return 1;
}
