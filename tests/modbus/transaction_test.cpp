#include "ruvex/modbus/transaction.h"

#include <gtest/gtest.h>

#include "modbus/bytes.h"

namespace ruvex {
namespace {

mod_mex request(int addr, int fcn) {
  mod_mex mex = record(fcn, 1, 1, {1, 0}, 0);
  mex.addr = static_cast<std::uint8_t>(addr);
  return mex;
}

TEST(Transaction, MasterTriesTwice) {
  const std::string good = "01 03 02 00 2A 39 9B", asked = "01 03 00 00 00 01 84 0A|";
  const std::string busy = "01 83 02 C0 F1", corrupt = "01 03 02 00 2B 39 9B";
  const std::string success = "COM Retry: slave 1\nCOM Retry: success";
  const std::string failure = "COM Retry: slave 1\nCOM Retry: failure";
  const struct {
    int fcn;
    std::vector<std::string> answers;
    int result;
    std::string sent, log;
  } rows[] = {
      {3, {good}, 0, asked, ""},
      {3, {}, 17, asked + asked, failure},
      {3, {"01 03 02", ""}, 17, asked + asked, failure},
      {3, {busy, good}, 0, asked + asked, success},
      {3, {corrupt, good}, 0, asked + asked, success},
      {3, {busy, busy}, 2, asked + asked, failure},
      {3, {corrupt, corrupt}, 18, asked + asked, failure},
      {7, {good}, 1, "", ""},
      {3, {good}, 16, "", ""},  // nothing can be sent
  };
  for (const auto& row : rows) {
    scripted_line line(MOD_RTU, {});
    line.answers = row.answers;
    line.fails_to_send = row.result == 16;
    mod_mex mex = request(1, row.fcn);
    testing::internal::CaptureStdout();
    EXPECT_EQ(mod_masterTxRx(&line.ctx, &mex), row.result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.log) << row.result;
    EXPECT_EQ(line.sent, row.sent) << row.result;
    EXPECT_EQ(mex.fcn, row.fcn | (row.result == 0 ? 0 : 0x80));
    const int datum = row.result == 0 ? load_host<std::uint16_t>(mex.data) : mex.data[0];
    EXPECT_EQ(datum, row.result == 0 ? 42 : row.result);
    EXPECT_EQ(line.ctx.length < 0, row.result == 1 || row.result > 16) << row.result;
  }
}

TEST(Transaction, RetryRepeatsTheRecordAsItWas) {
  scripted_line line(MOD_TCP, {});
  line.answers = {"12 34 00 00 00 03 09 85 06", "12 34 00 00 00 06 09 05 00 00 FF 00"};
  mod_mex mex = request(9, 5);
  EXPECT_EQ(mod_masterTxRx(&line.ctx, &mex), 0);
  EXPECT_EQ(line.sent, "12 34 00 00 00 06 09 05 00 00 FF 00|12 34 00 00 00 06 09 05 00 00 FF 00|");
}

TEST(Transaction, ReadsNothingBeyondTheMessage) {
  scripted_line line(MOD_TCP, from_hex("00 07 00 00 00 05 09 03 04 00 01"));
  std::fill_n(line.ctx.buffer, mod_buffer_size, std::uint8_t{0x77});
  mod_mex mex = request(9, 3);
  EXPECT_EQ(mod_masterRx(&line.ctx, &mex, 0), -1);
  EXPECT_EQ(mex.data[0], MOD_ILLEGAL_DATA_VALUE);
}

TEST(Transaction, SlaveAnswersOrSaysWhyNot) {
  const struct {
    const char* received;
    int result, code;
    const char* sent;
  } rows[] = {
      {"01 05 00 AC FF 00 4C 1B", 0, 1, "01 05 00 AC FF 00 4C 1B|"},
      {"", -13, MOD_SLAVE_NO_FRAME, ""},
      {"01 05 00", -13, MOD_SLAVE_NO_FRAME, ""},
      {"01 05 00 AC FF 00 4C 1C", -1, MOD_SLAVE_CORRUPT, ""},
      {"01 08 00 00 00 00 E0 0B", -1, MOD_ILLEGAL_FUNCTION, "01 88 01 87 C0|"},
  };
  for (const auto& row : rows) {
    const byte_list received = from_hex(row.received);
    scripted_line line(MOD_RTU, received);
    mod_mex mex = request(0, 0);
    EXPECT_EQ(mod_slaveRx(&line.ctx, &mex, 0), row.result) << row.received;
    EXPECT_EQ(mex.data[0], row.code) << row.received;
    EXPECT_EQ(mex.fcn >= 0x80, row.result != 0) << row.received;
    const auto size = static_cast<std::int32_t>(received.size());
    EXPECT_TRUE(row.result != MOD_NO_REQUEST || line.ctx.length == size) << row.received;
    if (row.code >= MOD_SLAVE_CORRUPT) continue;
    EXPECT_EQ(mod_slaveTx(&line.ctx, &mex, 0), 0) << row.received;
    EXPECT_EQ(line.sent, row.sent) << row.received;
  }
  scripted_line line(MOD_RTU, {});  // an answer that is refused is an exception the second time
  mod_mex mex = request(1, 7);
  EXPECT_EQ(mod_slaveTx(&line.ctx, &mex, 0), -1);
  EXPECT_EQ(mod_slaveTx(&line.ctx, &mex, 0), 0);
  EXPECT_EQ(line.sent.substr(0, 8), "01 87 01");
}

TEST(Transaction, TellsWhatCouldNotBeSent) {
  const struct {
    std::int32_t (*call)(mod_ctx*, mod_mex*, std::uint32_t) noexcept;
    std::uint32_t flags;
    int result, code;
  } rows[] = {{mod_masterTx, 0, -1, 16},
              {mod_masterTx, MOD_SKIP_MEX, -1, 16},
              {mod_slaveTx, 0, -14, 14},
              {mod_slaveTx, MOD_SKIP_MEX, -14, 14}};
  for (const auto& [call, flags, result, code] : rows) {
    scripted_line line(MOD_ASCII, {});
    line.fails_to_send = flags == 0;
    line.ctx.length = 300;  // a message of the caller that no ASCII frame holds
    mod_mex mex = request(1, 6);
    EXPECT_EQ(call(&line.ctx, &mex, flags), result);
    EXPECT_EQ(mex.data[0], code);
    EXPECT_EQ(mex.fcn, 0x86);
    EXPECT_EQ(line.sent, "");
  }
}

TEST(Transaction, LeavesStepsOutAsTheFlagsSay) {
  scripted_line line(MOD_RTU, {});
  mod_mex mex = request(1, 3);
  EXPECT_EQ(mod_masterTx(&line.ctx, &mex, MOD_SKIP_TX), 0);
  const auto size = static_cast<std::size_t>(line.ctx.tx_length);
  EXPECT_EQ(to_hex({line.ctx.tx_buffer, size}), "01 03 00 00 00 01 84 0A");
  EXPECT_EQ(line.sent, "");
  EXPECT_EQ(mod_slaveTx(&line.ctx, &mex, MOD_SKIP_MEX | MOD_SKIP_FRAME), 0);
  EXPECT_EQ(line.sent, "01 03 00 00 00 01 84 0A|");

  for (const unsigned flags : {0U, 0U | MOD_SKIP_MEX, 0U | MOD_SKIP_FRAME}) {
    mod_rxReset(&line.ctx);
    for (const std::uint8_t byte : from_hex("01 03 02 00 2A 39 9B")) mod_rxChar(&line.ctx, byte);
    mex.count = 9;
    EXPECT_EQ(mod_masterRx(&line.ctx, &mex, flags | MOD_SKIP_RX), 0);
    EXPECT_EQ(line.ctx.length, flags == MOD_SKIP_FRAME ? 7 : 5) << flags;
    EXPECT_EQ(mex.count, flags == MOD_SKIP_MEX ? 9 : 1) << flags;
  }
}

}  // namespace
}  // namespace ruvex
