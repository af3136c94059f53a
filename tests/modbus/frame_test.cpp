#include "ruvex/modbus/frame.h"

#include <gtest/gtest.h>

#include <fstream>

#include "modbus/bytes.h"
#include "ruvex/modbus/request.h"

namespace ruvex {
namespace {

// Wherever the framing has a check, a frame with a wrong byte or bit is never taken for another
// message.
TEST(Frame, WrapsAMessageAndUnwrapsNoOther) {
  constexpr struct {
    mod_protocol protocol;
    const char *message, *frame;  // no message: the frame is none
  } rows[] = {
      {MOD_ASCII, "01", ":019F\r\n"},
      {MOD_ASCII, "11 03 00 6B 00 03", ":1103006B0003A0\r\n"},
      {MOD_ASCII, "", ":00\r\n"},
      {MOD_ASCII, "AB CD EF 09", ":ABCDEF0902\r\n"},
      {MOD_RTU, "", "FF FF"},
      {MOD_RTU, "01 83 02", "01 83 02 C0 F1"},
      {MOD_RTU, "01 03 02 00 2A", "01 03 02 00 2A 39 9B"},
      {MOD_RTU, "01 03 00 00 00 01", "01 03 00 00 00 01 84 0A"},
      {MOD_DF1, "", "10 02 10 03"},
      {MOD_DF1, "10", "10 02 10 10 10 03"},
      {MOD_DF1, "03 10 10 03 02 10", "10 02 03 10 10 10 10 03 02 10 10 10 03"},
      {MOD_TCP, "00 01 00 00 00 06 01 03 00 00 00 0A", "00 01 00 00 00 06 01 03 00 00 00 0A"},
      {MOD_ASCII, nullptr, "0A"},
      {MOD_ASCII, nullptr, ":\r\n"},
      {MOD_ASCII, nullptr, ":019F\r\n\n"},
      {MOD_ASCII, nullptr, ":017E\r\n"},  // a check over the bytes
      {MOD_RTU, nullptr, "01 7E 80 00"},
      {MOD_DF1, nullptr, "10 02 03"},
      {MOD_DF1, nullptr, "10 02 10 03 01"},
      {MOD_DF1, nullptr, "10 02 01 10 04 10 03"},
      {MOD_DF1, nullptr, "02 10 01 10 03"},
      {MOD_DF1, nullptr, "10 03 01 10 03"},
      {MOD_DF1, nullptr, "10 02 01 10 10 03"},
  };
  for (const auto& row : rows) {
    const byte_list frame = from_hex(row.frame);
    if (row.message == nullptr) {
      EXPECT_FALSE(unframed(row.protocol, frame)) << row.frame;
      continue;
    }
    const byte_list message = from_hex(row.message);
    EXPECT_EQ(framed(row.protocol, message), frame) << row.frame;
    if (frame.size() < 4) continue;  // 5 characters make an RTU frame
    EXPECT_EQ(unframed(row.protocol, frame), message) << row.frame;
    for (auto end = frame.begin(); end != frame.end(); ++end) {
      const auto got = unframed(row.protocol, {frame.begin(), end});
      EXPECT_TRUE(!got || row.protocol == MOD_TCP || row.protocol == MOD_ASCII) << row.frame;
    }
    for (std::size_t bit = 0; bit < 8 * frame.size(); ++bit) {
      byte_list flipped = frame;
      flipped[bit / 8] = static_cast<std::uint8_t>(flipped[bit / 8] ^ 1U << bit % 8);
      const auto got = unframed(row.protocol, flipped);
      const bool has_check = row.protocol == MOD_ASCII || row.protocol == MOD_RTU;
      EXPECT_TRUE(!has_check || !got || (row.protocol == MOD_ASCII && got == message))
          << row.frame << ", bit " << bit;
    }
  }
  for (const std::int32_t length : {-1, 1, 513}) {
    std::uint8_t byte = 1;
    EXPECT_EQ(mod_binToTx(4, length, &byte, nullptr), 0) << "an unknown protocol";
    EXPECT_EQ(mod_rxToBin(4, length, &byte, nullptr), 0);
    EXPECT_EQ(mod_rxToBin(MOD_TCP, length, &byte, &byte), length == 1 ? 1 : -12);
  }
}

TEST(Frame, FillsTheBufferAndNeverMore) {
  struct longest {
    mod_protocol protocol;
    std::uint8_t byte;
    std::int32_t size;
  };
  for (const auto& [protocol, byte, size] :
       {longest{MOD_ASCII, 1, 253}, longest{MOD_RTU, 1, 510}, longest{MOD_DF1, 1, 508},
        longest{MOD_DF1, 0x10, 254}, longest{MOD_TCP, 1, 512}}) {
    const byte_list message(static_cast<std::size_t>(size), byte), endless(600, byte);
    EXPECT_GE(framed(protocol, message).size(), 511U);
    EXPECT_EQ(unframed(protocol, framed(protocol, message)), message);
    byte_list output(mod_buffer_size, 0xEE);
    for (const std::int32_t length : {size + 1, 600, -1}) {
      EXPECT_EQ(mod_binToTx(protocol, length, endless.data(), output.data()), 0) << length;
    }
    EXPECT_EQ(output, byte_list(mod_buffer_size, 0xEE));
  }
}

TEST(Receive, EndsAFrameByItsProtocol) {
  constexpr std::int32_t silent = -1;  // the input ends before the frame
  const auto responses = mod_waitPacket, requests = mod_waitRequest;
  const struct {
    std::int32_t (*wait)(mod_ctx*) noexcept;
    std::uint8_t protocol;
    std::string bytes;
    std::int32_t length;
    std::size_t left, told_by = 2;  // bytes that tell a request's length
  } rows[] = {
      {responses, MOD_ASCII, ":019F\r\n:", 7, 1},
      {requests, MOD_ASCII, "0A 0A", 1, 1},
      {responses, MOD_RTU, "01 83 02 C0 F1 00", 5, 1},
      {responses, MOD_RTU, "01 FF 02 C0 F1 00", 5, 1},
      {responses, MOD_RTU, "01 05 00 00 FF 00 8C 3A 00", 8, 1},
      {responses, MOD_RTU, "01 06 03 04 05 06 07 08 00", 8, 1},
      {responses, MOD_RTU, "01 0F 03 04 05 06 07 08 00", 8, 1},
      {responses, MOD_RTU, "01 10 03 04 05 06 07 08 00", 8, 1},
      {responses, MOD_RTU, "01 01 00 04 05 06", 5, 1},
      {responses, MOD_RTU, "01 02 01 04 05 06 07", 6, 1},
      {responses, MOD_RTU, "01 03 04 04 05 06 07 08 09 00", 9, 1},
      {responses, MOD_RTU, "01 04 04 04 05 06 07 08 09", 9, 0},
      {responses, MOD_RTU, "01 64 03 04 05 06 07 08 09", 9, 0},
      {responses, MOD_RTU, "01 07", 2, 0},
      {requests, MOD_RTU, rtu("01 03 00 6B 00 03") + "01", 8, 1},
      {requests, MOD_RTU, rtu("01 01 00 00 00 01") + "01", 8, 1},
      {requests, MOD_RTU, rtu("01 06 00 00 00 01") + "01", 8, 1},
      {requests, MOD_RTU, rtu("01 10 00 00 00 01 02 00 01") + "01", 11, 1, 7},
      {requests, MOD_RTU, rtu("01 0F 00 00 00 01 00") + "00", 9, 1, 7},
      {requests, MOD_RTU, "01 83 00 00 00 01 00 00", 8, 0},
      {responses, MOD_TCP, "00 01 00 00 00 06 01 03 00 00 00 0A 00", 12, 1},
      {responses, MOD_TCP, "00 01 00 00 00 00 01 03", 7, 1},
      {requests, MOD_TCP, "00 01 00 00 80 00 01 03", 7, 1},        // below 0 as a 16-bit number
      {responses, MOD_TCP, "00 01 00 00 7F F9 01 03", silent, 0},  // MOD_LEN_OPEN, but not RTU's
      {responses, MOD_TCP, "00 01 00 00 FF FA 01 03", silent, 0},  // 0, which never ends
      {responses, MOD_DF1, "00 02 10 10 02 10 02 01 10 03 00", 5, 1},
      {requests, MOD_DF1, "00 10 00 10 02 01 10 03 00", 5, 1},
      {responses, MOD_DF1, "10 02 10 10 03 10 03 00", 7, 1},
      {responses, MOD_DF1, "10 02 10 10 10 03", 6, 0},
      {responses, MOD_DF1, "10 02 10 05 03 10 03", 7, 0},
      {responses, 4, "01 02 0A 10 03", silent, 0},
  };
  for (const auto& row : rows) {
    byte_list bytes = from_hex(row.bytes);
    scripted_line line(row.protocol, bytes);
    EXPECT_EQ(row.wait(&line.ctx), row.length) << row.bytes;
    EXPECT_EQ(line.incoming.size(), row.left) << row.bytes;
    bytes.resize(bytes.size() - row.left);
    const bool is_open = line.ctx.expected == MOD_LEN_OPEN;
    mod_rxReset(&line.ctx);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      const byte_list cut(bytes.begin(), bytes.begin() + size);
      scripted_line cut_line(row.protocol, cut);
      EXPECT_TRUE(is_open || row.wait(&cut_line.ctx) == -1) << row.bytes;
      if (row.wait == requests) {
        const std::int32_t told = mod_requestLength(cut.data(), static_cast<std::int32_t>(size));
        const std::int32_t length = is_open ? MOD_LEN_OPEN : row.length;
        EXPECT_TRUE(row.protocol != MOD_RTU || told == (size < row.told_by ? 0 : length)) << size;
      } else {
        const bool is_last = size + 1 == bytes.size() && row.length > 0 && !is_open;
        EXPECT_EQ(mod_rxChar(&line.ctx, bytes[size]), is_last ? row.length : 0) << row.bytes;
      }
    }
  }
  for (std::uint8_t fcn = 100; fcn <= 108; ++fcn) {  // the codec's own: open in both directions
    const byte_list start = {1, fcn};
    scripted_line line(MOD_RTU, start);
    EXPECT_EQ(mod_waitPacket(&line.ctx) + mod_requestLength(start.data(), 2), 2 + MOD_LEN_OPEN);
  }
}

TEST(Receive, FindsRequestsBetweenTheAnswersOfOthers) {
  std::ifstream file(RUVEX_REQUESTS);
  int rows = 0;
  for (std::string row; std::getline(file, row);) {
    const std::size_t end = row.find('>');
    if (row.starts_with('#') || end == std::string::npos) continue;
    const std::string expected = to_hex(from_hex(said(row.substr(end + 1))));
    scripted_line line(MOD_RTU, from_hex(said(row.substr(0, end))));
    const auto length = static_cast<std::size_t>(std::max(mod_waitRequest(&line.ctx), 0));
    EXPECT_EQ(to_hex({line.ctx.buffer, length}), expected) << row;
    ++rows;
  }
  EXPECT_GT(rows, 15);
  byte_list bytes(600, 0x55), own = from_hex(rtu("11 03 00 00 00 01"));
  bytes.insert(bytes.end(), own.begin(), own.end());
  scripted_line line(MOD_RTU, bytes);
  EXPECT_EQ(mod_waitRequest(&line.ctx), 8) << "after more noise than the buffer holds";
}

TEST(Receive, StoresNothingBeyondTheBuffer) {
  const std::vector<std::pair<std::uint8_t, const char*>> starts = {{MOD_ASCII, ""},
                                                                    {MOD_RTU, "01 64"},
                                                                    {MOD_DF1, "10 02"},
                                                                    {MOD_TCP, "00 01 00 00 01 FB"},
                                                                    {9, ""}};
  for (const auto& [protocol, start] : starts) {
    byte_list endless = from_hex(start);
    endless.resize(600, 0x41);
    scripted_line line(protocol, endless);
    EXPECT_EQ(mod_waitPacket(&line.ctx), -1) << start;
    EXPECT_EQ(line.ctx.length, 512);
    EXPECT_EQ(mod_rxChar(&line.ctx, 0x0A), 0);
  }
  byte_list full(512, 0x41);
  full.back() = 0x0A;
  scripted_line line(MOD_ASCII, full);
  EXPECT_EQ(mod_waitPacket(&line.ctx), 512);
}

TEST(ErrStr, HasTextsForFifteenCodes) {
  EXPECT_STREQ(mod_errStr(14), "Illegal Object Instance");
  for (const int code : {-1, 0, 15, 18, 255}) EXPECT_STREQ(mod_errStr(code), "Unknown Error");
}

}  // namespace
}  // namespace ruvex
