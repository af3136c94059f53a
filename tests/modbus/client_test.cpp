#include "ruvex/modbus/client.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <thread>

#include "modbus/bytes.h"
#include "modbus/ends.h"
#include "ruvex/modbus/values.h"

namespace ruvex {
namespace {

// A device that answers each request with the next of its texts; "tid" in a text stands for the
// number of the request, "|" for a pause of 40 ms, and "end" for the end of the connection. An
// empty text is no answer.
class scripted_device {
 public:
  explicit scripted_device(std::vector<std::string> answers) : answers_(std::move(answers)) {
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_), 0);
    device_ = std::thread([this] { serve(); });
  }
  ~scripted_device() { finish(); }
  int line() const { return ends_[0]; }
  const std::string& finish() {  // what was asked, in hex, each request with a "|"
    ::shutdown(ends_[0], SHUT_RDWR);
    if (device_.joinable()) device_.join();
    return asked_;
  }

 private:
  void serve() {
    std::uint8_t request[mod_buffer_size];
    for (ssize_t got = 0; (got = ::read(ends_[1], request, sizeof request)) > 0;) {
      asked_ += to_hex({request, static_cast<std::size_t>(got)}) + "|";
      if (answers_.empty()) continue;
      std::string answer = answers_.front();
      answers_.erase(answers_.begin());
      for (std::size_t at; (at = answer.find("tid")) != std::string::npos;) {
        answer.replace(at, 3, to_hex({request, 2}));
      }
      std::istringstream parts(answer);
      for (std::string part; std::getline(parts, part, '|'); ::usleep(parts.eof() ? 0 : 40000)) {
        if (part == "end") ::shutdown(ends_[1], SHUT_RDWR);
        const byte_list bytes = from_hex(part == "end" ? "" : part);
        ::send(ends_[1], bytes.data(), bytes.size(), MSG_NOSIGNAL);
      }
    }
  }

  std::vector<std::string> answers_;
  std::string asked_;
  int ends_[2] = {-1, -1};
  std::thread device_;
};

mod_client client_of(const scripted_device& device, std::uint8_t protocol, int timeout_ms) {
  mod_line line;
  mod_lineInit(&line, device.line(), timeout_ms);
  mod_client client;
  mod_clientInit(&client, protocol, line);
  client.retries = 0;
  return client;
}

TEST(Client, TakesOnlyTheAnswerToItsQuestion) {
  const std::vector<std::string> names = {"ascii", "rtu", "df1", "tcp"};
  const char* const results[] = {"ok", "refused", "timeout", "", "corrupt", "stale", "closed"};
  std::ifstream file(RUVEX_ANSWERS);
  int rows = 0;
  for (std::string line, protocol, result, text; std::getline(file, line); text.clear()) {
    std::istringstream row(line);
    if (!(row >> protocol >> result) || protocol == "#") continue;
    std::getline(row >> std::ws, text);
    const bool is_long = result == "ok" || std::isdigit(result[0]) != 0;
    const auto spoken = std::find(names.begin(), names.end(), protocol) - names.begin();
    scripted_device device({said(text)});
    mod_client client = client_of(device, static_cast<std::uint8_t>(spoken), is_long ? 3000 : 150);
    std::uint16_t values[2] = {7, 7};
    const mod_outcome outcome = mod_readHoldingRegisters(&client, 17, 1, 2, values);
    const std::string name = results[static_cast<std::size_t>(outcome.status)];
    EXPECT_EQ(name.empty() ? std::to_string(outcome.code) : name, result) << line;
    EXPECT_EQ(outcome.requests, 1) << line;
    EXPECT_EQ(values[0], result == "ok" ? 42 : 7) << line;
    ++rows;
  }
  EXPECT_GT(rows, 30);
}

// Values that look like a refusal.
TEST(Client, LooksAtNothingInsideAnAnswer) {
  scripted_device device({rtu("11 03 06 11 83 02 C1 34 00")});
  mod_client client = client_of(device, MOD_RTU, 3000);
  std::uint16_t values[3] = {};
  EXPECT_EQ(mod_readHoldingRegisters(&client, 17, 1, 3, values).status, mod_status::ok);
  EXPECT_EQ(values[0], 0x1183);
}

TEST(Client, RefusesBeforeItSends) {
  const struct {
    mod_protocol protocol;
    int unit, fcn, ref, count, code;
  } rows[] = {
      {MOD_RTU, 17, 7, 1, 1, MOD_ILLEGAL_FUNCTION},
      {MOD_RTU, 17, 131, 1, 1, MOD_ILLEGAL_FUNCTION},
      {MOD_TCP, 17, 108, 1, 1, MOD_ILLEGAL_FUNCTION},
      {MOD_TCP, 17, 1, 1, 513, MOD_ILLEGAL_DATA_VALUE},
      {MOD_RTU, 17, 2, 1, 0, MOD_ILLEGAL_DATA_VALUE},
      {MOD_RTU, 17, 3, 1, 126, MOD_ILLEGAL_DATA_VALUE},
      {MOD_TCP, 17, 4, 1, 65535, MOD_ILLEGAL_DATA_VALUE},
      {MOD_RTU, 17, 15, 1, 513, MOD_ILLEGAL_DATA_VALUE},
      {MOD_RTU, 17, 16, 1, 124, MOD_ILLEGAL_DATA_VALUE},
      {MOD_RTU, 17, 3, 65535, 3, MOD_ILLEGAL_DATA_ADDRESS},
      {MOD_RTU, 17, 1, 0, 2, MOD_ILLEGAL_DATA_ADDRESS},
      {MOD_RTU, 0, 3, 1, 1, MOD_ILLEGAL_DATA_ADDRESS},
  };
  for (const auto& row : rows) {
    scripted_device device({});
    mod_client client = client_of(device, row.protocol, 5000);
    const mod_mex request = record(row.fcn, row.ref, row.count, {1}, 0);
    mod_mex mex = request;
    mex.addr = static_cast<std::uint8_t>(row.unit);
    const mod_outcome outcome = mod_exchange(&client, &mex);
    EXPECT_EQ(outcome.status, mod_status::refused) << row.fcn << " " << row.count;
    EXPECT_EQ(outcome.code, row.code) << row.fcn << " " << row.count;
    EXPECT_EQ(mod_outcomeText(outcome), mod_errStr(row.code));
    EXPECT_EQ(mex.fcn, row.fcn | 0x80);
    EXPECT_EQ(mex.data[0], row.code);
    EXPECT_EQ(mex.data[1], 0xA5);
    EXPECT_EQ(device.finish(), "");
  }
}

TEST(Client, TakesNoAnswerToAnotherRequest) {
  const struct {
    int fcn, count;
    const char *data, *asked, *answered;
  } rows[] = {
      {1, 9, "c 101100111", "11 01 00 14 00 09", "11 01 02 CD 01"},
      {2, 9, "c 101100111", "11 02 00 14 00 09", "11 02 02 CD 01"},
      {3, 2, "r 0001 8002", "11 03 00 14 00 02", "11 03 04 00 01 80 02"},
      {4, 2, "r 0001 8002", "11 04 00 14 00 02", "11 04 04 00 01 80 02"},
      {5, 1, "b 01", "11 05 00 14 FF 00", "11 05 00 14 FF 00"},
      {5, 1, "b 00", "11 05 00 14 00 00", "11 05 00 14 00 00"},
      {6, 1, "r 002A", "11 06 00 14 00 2A", "11 06 00 14 00 2A"},
      {15, 9, "c 101100111", "11 0F 00 14 00 09 02 CD 01", "11 0F 00 14 00 09"},
      {16, 2, "r 0001 8002", "11 10 00 14 00 02 04 00 01 80 02", "11 10 00 14 00 02"},
      {100, 2, "s a,bc,", "11 64 00 14 00 02", "11 64 00 14 00 02 61 00 62 63 00"},
      {104, 2, "b 01 02", "11 68 00 14 00 02 01 02", "11 68 00 00 00 02 01 02"},
  };
  for (const auto& row : rows) {
    for (const auto& other : rows) {
      scripted_device device({rtu(other.answered)});
      mod_client client = client_of(device, MOD_RTU, &row == &other ? 3000 : 15);
      const byte_list data = data_of(row.data);
      mod_mex mex = record(row.fcn, 21, row.count, row.fcn == 100 ? byte_list() : data, 0);
      const bool is_right = mod_exchange(&client, &mex).status == mod_status::ok;
      EXPECT_EQ(is_right, &row == &other) << row.asked << " " << other.answered;
      EXPECT_EQ(device.finish(), rtu(row.asked) + "|");
      const bool is_read = row.fcn < 5 || row.fcn > 99;
      EXPECT_TRUE(!is_right || !is_read || std::equal(data.begin(), data.end(), mex.data));
    }
  }
}

// A request that has the form of its answer, as an adapter hands it on.
TEST(Client, DoesNotTakeItsOwnRequestForAnAnswer) {
  const std::string own = rtu("11 01 03 01 00 11"), right = " " + rtu("11 01 03 FF 00 01");
  for (const std::string& answer : {right, std::string()}) {
    scripted_device device({own + answer});
    mod_client client = client_of(device, MOD_RTU, answer.empty() ? 15 : 3000);
    std::uint8_t bits[17] = {};
    const mod_outcome outcome = mod_readCoils(&client, 17, 770, 17, bits);
    EXPECT_EQ(outcome.status, answer.empty() ? mod_status::stale : mod_status::ok);
    EXPECT_EQ(std::count(bits, bits + 17, 1), answer.empty() ? 0 : 9);
    device.finish();
  }
}

// On a serial line an answer has no number: it is told from others by its time alone.
TEST(Client, IsNeverOneAnswerBehind) {
  using enum mod_status;
  const auto answer = [](int value) { return rtu("11 03 02 00 0" + std::to_string(value)); };
  const auto spoil = [](std::string frame) { return frame.replace(frame.size() - 5, 5, "00 00"); };
  struct row {
    const char* what;
    std::vector<std::string> answers;
    int retries, right_ms;  // the time-out where the answer comes; otherwise it is short
    std::vector<std::pair<mod_status, int>> reads;
  };
  const std::string one = answer(1), two = answer(2), three = answer(3);
  const std::pair<mod_status, int> lost = {timeout, 0}, spoilt = {corrupt, 0};
  const std::pair<mod_status, int> has_one = {ok, 1}, has_two = {ok, 2}, has_three = {ok, 3};
  const row rows[] = {
      {"it is late", {"|" + one, two, three}, 0, 3000, {lost, has_two, has_three}},
      {"it comes twice", {one + one, two, three}, 0, 3000, {has_one, has_two, has_three}},
      {"late once", {std::string(9, '|') + one, "|" + one, two}, 1, 250, {has_one, has_two}},
      {"late each time", {"||" + one, "|" + one, two, three}, 1, 3000, {lost, has_two, has_three}},
      {"a late refusal", {"|" + rtu("11 83 02"), two, three}, 0, 3000, {lost, has_two, has_three}},
      {"damaged, then right", {spoil(one) + "|" + one, two}, 0, 3000, {has_one, has_two}},
      {"damaged", {spoil(one), two}, 0, 3000, {spoilt, has_two}},
      {"in pieces", {"11 03|02 00 01|" + one.substr(15), two}, 0, 3000, {spoilt, has_two}},
  };
  for (const auto& row : rows) {
    scripted_device device(row.answers);
    mod_client client = client_of(device, MOD_RTU, 0);
    client.retries = static_cast<std::uint8_t>(row.retries);
    client.late_ms = 1000;  // it is over as soon as the answers have come
    for (const auto& [status, value] : row.reads) {
      client.line.timeout_ms = status == ok ? row.right_ms : 25;
      std::uint16_t got = 0;
      const mod_outcome outcome = mod_readHoldingRegisters(&client, 17, 1, 1, &got);
      EXPECT_EQ(outcome.status, status) << row.what << ": " << mod_outcomeText(outcome);
      EXPECT_EQ(got, value) << row.what;
    }
  }
}

TEST(Client, RepeatsAsItIsTold) {
  using enum mod_status;
  const std::string good = "tid 00 00 00 05 11 03 02 00 2A", refusal = "tid 00 00 00 03 11 83 06";
  const struct {
    std::vector<std::string> answers;
    int retries;
    mod_status status;
    int requests, code;  // the code in the record
  } rows[] = {
      {{"", "", good}, 2, ok, 3, 0},
      {{"", "", good}, 1, timeout, 2, MOD_MASTER_NO_RESPONSE},
      {{refusal, good}, 2, exception, 1, 6},
      {{"77 77 00 00 00 05 11 03 02 00 2A", good}, 1, ok, 2, 0},
      {{"00 01 02 03 04 05", good}, 0, corrupt, 1, MOD_MASTER_CORRUPT},
      {{"00 01 02 03 04 05", good}, 1, closed, 1, MOD_MASTER_NOT_SENT},  // nobody can open it again
      {{"end", good}, 1, closed, 1, MOD_MASTER_NOT_SENT},
  };
  for (const auto& row : rows) {
    scripted_device device(row.answers);
    mod_client client = client_of(device, MOD_TCP, 200);
    client.retries = static_cast<std::uint8_t>(row.retries);
    mod_mex mex = record(3, 1, 1, {}, 0);
    const mod_outcome outcome = mod_exchange(&client, &mex);
    EXPECT_EQ(outcome.status, row.status) << row.answers[0];
    EXPECT_EQ(outcome.requests, row.requests) << row.answers[0];
    EXPECT_EQ(client.corrupt_answers, row.answers[0].starts_with("00 01 02") ? 1 : 0);
    EXPECT_EQ(mex.fcn, row.status == ok ? 3 : 0x83);
    EXPECT_EQ(row.status == ok ? 0 : mex.data[0], row.code) << row.answers[0];
    EXPECT_EQ(mex.data[2], 0xA5);
    const std::string asked = "00 01 00 00 00 06 11 03 00 00 00 01|";  // one number a question
    EXPECT_EQ(device.finish().substr(0, 2 * asked.size()),
              row.requests > 1 ? asked + asked : asked);
  }
}

// Nobody answers a broadcast, and the next request waits until the devices are ready. A unit that
// is silent does not delay the others.
TEST(Client, WaitsNoLongerThanItHasTo) {
  const std::string value_42 = rtu("11 03 02 00 2A");
  scripted_device device({"", "", value_42, value_42});
  mod_client client = client_of(device, MOD_RTU, 20);
  EXPECT_EQ(client.late_ms, 20) << "as long as the time-out, unless set";
  client.late_ms = 60000;
  std::uint16_t value = 0;
  EXPECT_EQ(mod_readHoldingRegisters(&client, 18, 1, 1, &value).status, mod_status::timeout);
  client.line.timeout_ms = 3000;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(mod_writeRegister(&client, 0, 5, 7).status, mod_status::ok);
  for (int read = 0; read < 2; ++read) {
    EXPECT_EQ(mod_readHoldingRegisters(&client, 17, 1, 1, &value).status, mod_status::ok);
  }
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(taken >= std::chrono::milliseconds(95) && taken < std::chrono::seconds(30));
}

// A slow line is waited out for as long as an answer takes, however short the time-out, also while
// the late answer is coming.
TEST(Client, GivesALateAnswerTheTimeThatItTakesOnTheLine) {
  scripted_device device({std::string(10, '|') + "12|03|02|00|2A"});
  mod_client client = client_of(device, MOD_RTU, 20);
  client.line.baud = 300;
  std::uint16_t value = 0;
  EXPECT_EQ(mod_readHoldingRegisters(&client, 18, 1, 1, &value).status, mod_status::timeout);
  const auto failed = std::chrono::steady_clock::now();
  EXPECT_EQ(mod_writeCoil(&client, 0, 1, true).status, mod_status::ok);
  EXPECT_GE(std::chrono::steady_clock::now() - failed, std::chrono::milliseconds(7 * 11000 / 300));
}

TEST(Client, LeavesAConnectionThatIsDead) {
  loopback_server server;
  mod_tcp_server where = {"127.0.0.1", server.port};
  mod_line line;
  mod_lineInit(&line, mod_tcpOpen, &where, 30);
  mod_client client;
  mod_clientInit(&client, MOD_TCP, line);
  for (int turn = 0; turn < 2; ++turn) {
    EXPECT_EQ(mod_writeRegister(&client, 17, 5, 7).status, mod_status::timeout);
    EXPECT_EQ(client.line.fd, -1);
    std::uint8_t asked[64];  // twice over the same connection, which ends then
    EXPECT_EQ(::recv(server.accepted(), asked, sizeof asked, 0), 24);
  }
}

}  // namespace
}  // namespace ruvex
