#include "ruvex/modbus/transaction.h"

#include <gtest/gtest.h>

#include "modbus/bytes.h"
#include "ruvex/modbus/frame.h"

namespace ruvex {
namespace {

// A line that gives what the script says and notes what is sent. Each string is what comes until
// the line falls silent.
class scripted_line {
 public:
  scripted_line(std::uint8_t protocol, std::vector<std::string> script)
      : script_(std::move(script)) {
    for (const std::string& part : script_) incoming_.push_back(from_hex(part));
    mod_init(&ctx_, protocol, this, receive, send);
  }
  mod_ctx* ctx() { return &ctx_; }
  std::string sent() const { return sent_; }
  bool fails_to_send = false;

 private:
  static std::int32_t receive(void* handle, void* buffer, std::int32_t) {
    auto& self = *static_cast<scripted_line*>(handle);
    if (self.incoming_.empty()) return -1;
    byte_list& part = self.incoming_.front();
    if (part.empty()) {
      self.incoming_.erase(self.incoming_.begin());
      return -1;
    }
    *static_cast<std::uint8_t*>(buffer) = part.front();
    part.erase(part.begin());
    if (part.empty() && (self.ctx_.protocol != MOD_RTU || self.ctx_.expected != MOD_LEN_OPEN)) {
      self.incoming_.erase(self.incoming_.begin());
    }
    return 1;
  }
  static std::int32_t send(void* handle, const void* buffer, std::int32_t length) {
    auto& self = *static_cast<scripted_line*>(handle);
    if (self.fails_to_send) return -1;
    self.sent_ += to_hex(static_cast<const std::uint8_t*>(buffer), length) + "|";
    return length;
  }

  std::vector<std::string> script_;
  std::vector<byte_list> incoming_;
  std::string sent_;
  mod_ctx ctx_ = {};
};

mod_mex request(int addr, int fcn, int ref, int count) {
  mod_mex mex = {};
  mex.addr = static_cast<std::uint8_t>(addr);
  mex.fcn = static_cast<std::uint8_t>(fcn);
  mex.ref = static_cast<std::uint16_t>(ref);
  mex.count = static_cast<std::uint16_t>(count);
  return mex;
}

TEST(Transaction, MasterTriesTwice) {
  const std::string good = "01 03 02 00 2A 39 9B", asked = "01 03 00 00 00 01 84 0A|";
  const std::string busy = "01 83 02 C0 F1", corrupt = "01 03 02 00 2B 39 9B";
  const std::string retry = "COM Retry: slave 1\n";
  const struct {
    const char* what;
    int fcn;
    std::vector<std::string> script;
    int result;
    std::string sent, log;
  } rows[] = {
      {"answered", 3, {good}, 0, asked, ""},
      {"silent", 3, {}, 17, asked + asked, retry + "COM Retry: failure"},
      {"half an answer", 3, {"01 03 02", ""}, 17, asked + asked, retry + "COM Retry: failure"},
      {"refused, then answered", 3, {busy, good}, 0, asked + asked, retry + "COM Retry: success"},
      {"corrupt, then answered",
       3,
       {corrupt, good},
       0,
       asked + asked,
       retry + "COM Retry: success"},
      {"refused", 3, {busy, busy}, 2, asked + asked, retry + "COM Retry: failure"},
      {"corrupt", 3, {corrupt, corrupt}, 18, asked + asked, retry + "COM Retry: failure"},
      {"an unknown function", 7, {good}, 1, "", ""},
  };
  for (const auto& row : rows) {
    scripted_line line(MOD_RTU, row.script);
    mod_mex mex = request(1, row.fcn, 1, 1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(mod_masterTxRx(line.ctx(), &mex), row.result) << row.what;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.log) << row.what;
    EXPECT_EQ(line.sent(), row.sent) << row.what;
    EXPECT_EQ((mex.fcn & 0x80) != 0, row.result != 0) << row.what;
    if (row.result == 0) {
      EXPECT_EQ(mex.count, 1) << row.what;
      EXPECT_EQ(load_host<std::uint16_t>(mex.data), 42) << row.what;
    } else {
      EXPECT_EQ(mex.data[0], row.result) << row.what;
      EXPECT_EQ(line.ctx()->length < 0, row.result != MOD_ILLEGAL_DATA_ADDRESS) << row.what;
    }
  }
}

TEST(Transaction, RetryRepeatsTheRecordAsItWas) {
  scripted_line line(MOD_TCP,
                     {"00 07 00 00 00 03 09 85 06", "00 07 00 00 00 06 09 05 00 00 FF 00"});
  mod_mex mex = request(9, 5, 1, 0);
  mex.tid = 7, mex.data[0] = 1;
  testing::internal::CaptureStdout();
  EXPECT_EQ(mod_masterTxRx(line.ctx(), &mex), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "COM Retry: slave 9\nCOM Retry: success");
  const std::string asked = "00 07 00 00 00 06 09 05 00 00 FF 00|";
  EXPECT_EQ(line.sent(), asked + asked);
}

TEST(Transaction, ReadsNothingBehindTheMessage) {
  scripted_line line(MOD_TCP, {"00 07 00 00 00 05 09 03 04 00 01"});
  std::fill_n(line.ctx()->buffer, mod_buffer_size, std::uint8_t{0x77});
  mod_mex mex = request(9, 3, 1, 2);
  EXPECT_EQ(mod_masterRx(line.ctx(), &mex, 0), -1);
  EXPECT_EQ(mex.data[0], MOD_ILLEGAL_DATA_VALUE);
}

TEST(Transaction, SlaveAnswersOrSaysWhyNot) {
  const struct {
    const char *what, *received;
    int result, code;
    std::string sent;
  } rows[] = {
      {"a response of its own kind", "01 05 00 AC FF 00 4C 1B", 0, 1, "01 05 00 AC FF 00 4C 1B|"},
      {"silence", "", -13, 13, ""},
      {"half a request", "01 05 00", -13, 13, ""},
      {"a wrong check", "01 05 00 AC FF 00 4C 1C", -1, 12, ""},
      {"an unknown function", "01 08 00 00 00 00 E0 0B", -1, 1, "01 88 01 87 C0|"},
  };
  for (const auto& row : rows) {
    scripted_line line(MOD_RTU, {row.received});
    mod_mex mex = request(0, 0, 0, 0);
    EXPECT_EQ(mod_slaveRx(line.ctx(), &mex, 0), row.result) << row.what;
    EXPECT_EQ(mex.data[0], row.code) << row.what;
    EXPECT_EQ((mex.fcn & 0x80) != 0, row.result != 0) << row.what;
    if (row.code == MOD_SLAVE_NO_FRAME) {
      EXPECT_EQ(line.ctx()->length, static_cast<int>(from_hex(row.received).size())) << row.what;
    }
    if (row.code > 11) continue;
    EXPECT_EQ(mod_slaveTx(line.ctx(), &mex, 0), 0) << row.what;
    EXPECT_EQ(line.sent(), row.sent) << row.what;
  }
}

TEST(Transaction, SlaveAnswersAnUnknownFunctionWithItsSecondCall) {
  scripted_line line(MOD_RTU, {});
  mod_mex mex = request(1, 7, 1, 1);
  EXPECT_EQ(mod_slaveTx(line.ctx(), &mex, 0), -1);
  EXPECT_EQ(line.sent(), "");
  EXPECT_EQ(mod_slaveTx(line.ctx(), &mex, 0), 0);
  EXPECT_EQ(line.sent().substr(0, 8), "01 87 01");
}

TEST(Transaction, TellsWhatCouldNotBeSent) {
  const struct {
    std::int32_t (*call)(mod_ctx*, mod_mex*, std::uint32_t) noexcept;
    int result, code;
  } rows[] = {{mod_masterTx, -1, 16}, {mod_slaveTx, -14, 14}};
  for (const auto& [call, result, code] : rows) {
    scripted_line line(MOD_ASCII, {});
    line.fails_to_send = true;
    mod_mex mex = request(1, 6, 1, 1);
    EXPECT_EQ(call(line.ctx(), &mex, 0), result);
    EXPECT_EQ(mex.data[0], code);
    EXPECT_EQ(mex.fcn, 0x86);
    line.fails_to_send = false;
    line.ctx()->length = 300;  // a message of the caller that no ASCII frame holds
    mex = request(1, 6, 1, 1);
    EXPECT_EQ(call(line.ctx(), &mex, MOD_SKIP_MEX), result);
    EXPECT_EQ(mex.data[0], code);
    EXPECT_EQ(line.sent(), "");
  }
  scripted_line line(MOD_RTU, {});
  line.fails_to_send = true;
  mod_mex mex = request(1, 3, 1, 1);
  EXPECT_EQ(mod_masterTxRx(line.ctx(), &mex), 16);
}

TEST(Transaction, LeavesStepsOutAsTheFlagsSay) {
  scripted_line line(MOD_RTU, {});
  mod_ctx* const ctx = line.ctx();
  mod_mex mex = request(1, 3, 1, 1);
  EXPECT_EQ(mod_masterTx(ctx, &mex, MOD_SKIP_TX), 0);
  EXPECT_EQ(to_hex(ctx->tx_buffer, ctx->tx_length), "01 03 00 00 00 01 84 0A");
  EXPECT_EQ(line.sent(), "");
  EXPECT_EQ(mod_slaveTx(ctx, &mex, MOD_SKIP_MEX | MOD_SKIP_FRAME), 0);
  EXPECT_EQ(line.sent(), "01 03 00 00 00 01 84 0A|");

  for (const std::uint32_t flags :
       {MOD_SKIP_RX | 0U, MOD_SKIP_RX | MOD_SKIP_MEX, MOD_SKIP_RX | MOD_SKIP_FRAME}) {
    mod_rxReset(ctx);
    for (const std::uint8_t byte : from_hex("01 03 02 00 2A 39 9B")) mod_rxChar(ctx, byte);
    mex = request(1, 3, 1, 9);
    EXPECT_EQ(mod_masterRx(ctx, &mex, flags), 0);
    EXPECT_EQ(ctx->length, (flags & MOD_SKIP_FRAME) != 0 ? 7 : 5) << flags;
    EXPECT_EQ(mex.count, (flags & MOD_SKIP_MEX) != 0 ? 9 : 1) << flags;
  }
}

}  // namespace
}  // namespace ruvex
