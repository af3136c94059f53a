// A client and a device that lies.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <random>
#include <thread>

#include "modbus/bytes.h"
#include "modbus/ends.h"
#include "ruvex/modbus/client.h"
#include "ruvex/modbus/slave.h"

namespace ruvex {
namespace {

// clang-format off
enum class lie {
  none, bytewise, twice, noise,  // these contain the right answer
  late, other_unit, other_function, other_length, other_number, changed, cut, closed, silent,
  count
};
// clang-format on

std::uint16_t value_of(int unit, int fcn, int ref) {
  return static_cast<std::uint16_t>(unit * 7919 + fcn * 613 + ref * 31);
}

// Devices 1 to 4 on one line. How the next request is answered is set from outside.
class lying_devices {
 public:
  explicit lying_devices(mod_protocol protocol) : protocol_(protocol), terminal_(true) {
    sigset_t signals;
    ::sigfillset(&signals);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // they are for the client
    device_ = std::thread([this] { is_tcp() ? serve_connections() : serve(terminal_.other); });
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  }
  ~lying_devices() {
    is_over_ = true;
    ::shutdown(server_.listener, SHUT_RDWR);
    EXPECT_EQ(::write(terminal_.own, "", 1), 1);
    device_.join();
  }
  void open(mod_line& line) {
    if (is_tcp())
      mod_lineInit(&line, mod_tcpOpen, &where_, 0);
    else
      mod_lineInit(&line, terminal_.own, 0);
  }

  std::atomic<lie> next = lie::none;
  std::atomic<bool> is_right_after = false;  // the right answer follows what is wrong
  std::atomic<int> answered = 0;             // requests; one that is answered late, before that

 private:
  bool is_tcp() const { return protocol_ == MOD_TCP; }

  void serve_connections() {
    for (int fd; !is_over_ && (fd = server_.accepted()) >= 0; ::close(fd)) serve(fd);
  }
  // Requests have one length here; several may have come at once.
  void serve(int fd) {
    byte_list request(is_tcp() ? 12 : 8);
    std::size_t have = 0;
    for (ssize_t got; (got = ::read(fd, &request[have], request.size() - have)) > 0 && !is_over_;) {
      have = (have + static_cast<std::size_t>(got)) % request.size();
      if (have == 0 && !answer(fd, request)) return;
    }
  }

  // The answer to a request, or to another one, with the values of another place.
  byte_list answer_to(const byte_list& request, lie told) const {
    mod_mex mex = {};
    EXPECT_EQ(read(mod_slaveBinToMex, protocol_, mex, request), 0);
    if (told == lie::other_unit) ++mex.addr;
    if (told == lie::other_function) mex.fcn ^= 3 ^ 4;
    if (told == lie::other_length) ++mex.count;
    if (told == lie::other_number) ++mex.tid;
    const int off = told < lie::other_unit ? 0 : 1000;
    for (int at = 0; at < mex.count; ++at) {
      store_host(mex.data + 2 * at, value_of(mex.addr, mex.fcn, mex.ref + at + off));
    }
    return framed(protocol_, built(mod_slaveMexToBin, protocol_, mex));
  }

  // False when the connection is to be closed.
  bool answer(int fd, const byte_list& frame) {
    const lie told = next.exchange(lie::none);
    const bool is_right_sent = is_right_after.exchange(false);
    const byte_list request = unframed(protocol_, frame).value();
    const byte_list right = answer_to(request, lie::none);
    byte_list bytes = told <= lie::other_number ? answer_to(request, told) : right;
    if (told == lie::late) ++answered, ::usleep(6000);
    if (told == lie::twice) bytes.insert(bytes.end(), right.begin(), right.end());
    if (told == lie::noise) bytes.insert(bytes.begin(), {0xFF, 0x11, 0x03, 0x00});
    if (told == lie::cut || told == lie::closed) bytes.resize(bytes.size() / 2);
    if (told == lie::silent) bytes.clear();
    if (told == lie::changed) {
      std::uint8_t& byte = bytes[random_() % (is_tcp() ? 9 : bytes.size())];
      byte = static_cast<std::uint8_t>(byte ^ 1U << random_() % 8);
    }
    if (is_right_sent) bytes.insert(bytes.end(), right.begin(), right.end());
    const std::size_t piece = told == lie::bytewise ? 1 : mod_buffer_size;
    bool is_sent = true;
    for (std::size_t at = 0; at < bytes.size() && is_sent; at += piece) {
      const std::size_t size = std::min(piece, bytes.size() - at);
      is_sent = ::write(fd, &bytes[at], size) == static_cast<ssize_t>(size);
      ::usleep(piece == 1 ? 50 : 0);
    }
    if (told != lie::late) ++answered;
    return is_sent && told != lie::closed;
  }

  const mod_protocol protocol_;
  std::atomic<bool> is_over_ = false;
  std::minstd_rand random_{7};
  loopback_server server_;
  mod_tcp_server where_ = {"127.0.0.1", server_.port};
  two_ends terminal_;
  std::thread device_;
};

class Lies : public testing::TestWithParam<mod_protocol> {};
INSTANTIATE_TEST_SUITE_P(Lines, Lies, testing::Values(MOD_TCP, MOD_RTU),
                         [](const auto& line) { return line.param == MOD_TCP ? "tcp" : "rtu"; });

TEST_P(Lies, AreNotBelievedAndTheNextRightAnswerIs) {
  const bool is_tcp = GetParam() == MOD_TCP;
  ::signal(SIGPIPE, SIG_IGN);  // a device may answer when its client has given up
  lying_devices devices(GetParam());
  mod_line line;
  devices.open(line);
  mod_client client;
  mod_clientInit(&client, GetParam(), line);
  const std::unique_ptr<mod_client, void (*)(mod_client*)> closing(
      &client, [](mod_client* open) { mod_clientClose(open); });
  const signal_rain rain;
  std::minstd_rand random(11);
  std::uint8_t unit = 1, fcn = 3;
  int believed = 0, asked = 0;
  for (int turn = 0; turn < 5500; ++turn) {
    const lie told = random() % 8 != 0 || client.owed.count > 0
                         ? lie::none
                         : static_cast<lie>(random() % static_cast<unsigned>(lie::count));
    if (client.owed.count ==
        0) {  // what is owed is asked again, which is where it could be believed
      unit = static_cast<std::uint8_t>(1 + random() % 4);
      fcn = random() % 2 == 0 ? 3 : 4;
    }
    const int ref = 1 + static_cast<int>(random() % 3000),
              count = 1 + static_cast<int>(random() % 30);
    if ((told == lie::closed || told == lie::noise) && is_tcp != (told == lie::closed)) continue;
    if (told == lie::other_number && !is_tcp) continue;
    const bool is_wrong = told >= lie::other_unit && told <= lie::other_number;
    const bool is_right_after = is_wrong && random() % 2 == 0;
    const bool is_right = told <= lie::noise || is_right_after || told == lie::closed;
    client.retries = is_right ? 1 : 0;  // what comes late from before may spoil the first attempt
    client.line.timeout_ms = is_right ? 20000 : 3;
    client.late_ms = told == lie::late ? 20000 : 0;
    devices.is_right_after = is_right_after;
    devices.next = told;
    mod_mex mex = record(fcn, ref, count, {}, 0);
    mex.addr = unit;
    const mod_outcome outcome = mod_exchange(&client, &mex);
    if (is_right) {
      ASSERT_EQ(outcome.status, mod_status::ok) << turn << " " << static_cast<int>(told);
    }
    for (int at = 0; outcome.status == mod_status::ok && at < count; ++at) {
      ASSERT_EQ(load_host<std::uint16_t>(mex.data + 2 * at), value_of(unit, fcn, ref + at))
          << turn << " " << static_cast<int>(told);
    }
    asked += outcome.requests;
    while (devices.answered < asked) ::usleep(50);
    believed += outcome.status == mod_status::ok ? 1 : 0;
    if (told == lie::twice && !is_tcp) ::usleep(3000);  // the second one is there before the next
  }
  EXPECT_GT(believed, 4500);
}

}  // namespace
}  // namespace ruvex
