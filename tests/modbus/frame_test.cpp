#include "ruvex/modbus/frame.h"

#include <gtest/gtest.h>

#include <memory>

#include "crc16.h"
#include "modbus/bytes.h"
#include "ruvex/modbus/request.h"

namespace ruvex {
namespace {

std::string ascii(std::string_view digits) {
  return to_hex(byte_list(digits.begin(), digits.end()));
}

std::int32_t give_next(void* handle, void* buffer, std::int32_t length) {
  auto& left = *static_cast<byte_list*>(handle);
  EXPECT_EQ(length, 1);
  if (left.empty()) return -1;
  *static_cast<std::uint8_t*>(buffer) = left.front();
  left.erase(left.begin());
  return 1;
}

// A context that receives these bytes and then nothing more.
class line {
 public:
  line(std::uint8_t protocol, byte_list bytes) : left_(std::move(bytes)), ctx_(new mod_ctx) {
    mod_init(ctx_.get(), protocol, &left_, give_next, nullptr);
  }
  mod_ctx* get() const { return ctx_.get(); }
  mod_ctx* operator->() const { return ctx_.get(); }
  std::size_t left() const { return left_.size(); }

 private:
  byte_list left_;
  std::unique_ptr<mod_ctx> ctx_;
};

struct framed {
  mod_protocol protocol;
  std::string message, frame;
};

const std::vector<framed>& frames() {
  static const std::vector<framed> rows = {
      {MOD_ASCII, "01", ascii(":019F\r\n")},
      {MOD_ASCII, "11 03 00 6B 00 03", ascii(":1103006B0003A0\r\n")},
      {MOD_ASCII, "", ascii(":00\r\n")},
      {MOD_ASCII, "AB CD EF 09", ascii(":ABCDEF0902\r\n")},
      {MOD_RTU, "", "FF FF"},
      {MOD_RTU, "01 83 02", "01 83 02 C0 F1"},
      {MOD_RTU, "01 03 02 00 2A", "01 03 02 00 2A 39 9B"},
      {MOD_RTU, "01 03 00 00 00 01", "01 03 00 00 00 01 84 0A"},
      {MOD_DF1, "", "10 02 10 03"},
      {MOD_DF1, "10", "10 02 10 10 10 03"},
      {MOD_DF1, "03 10 10 03 02 10", "10 02 03 10 10 10 10 03 02 10 10 10 03"},
      {MOD_TCP, "00 01 00 00 00 06 01 03 00 00 00 0A", "00 01 00 00 00 06 01 03 00 00 00 0A"},
  };
  return rows;
}

bool is_whole_frame(const framed& row) {
  return row.protocol != MOD_RTU || row.message.size() > 6;  // 5 characters at least
}

byte_list unframe(std::uint8_t protocol, const byte_list& frame, std::int32_t& result) {
  const exact_bytes block(frame);
  result = mod_rxToBin(protocol, block.size(), block.data(), block.data());
  return {block.data(), block.data() + std::max(result, 0)};
}

TEST(Frame, WrapsAMessageAndUnwrapsItAgain) {
  for (const framed& row : frames()) {
    const byte_list message = from_hex(row.message);
    const message_room room;
    const exact_bytes block(message);
    const std::int32_t length = mod_binToTx(row.protocol, block.size(), block.data(), room.data());
    EXPECT_EQ(to_hex(room.first(length)), row.frame);
    if (!is_whole_frame(row)) continue;
    std::int32_t result = 0;
    EXPECT_EQ(unframe(row.protocol, from_hex(row.frame), result), message) << row.frame;
    EXPECT_EQ(result, static_cast<std::int32_t>(message.size())) << row.frame;
    EXPECT_EQ(mod_rxToBin(row.protocol, length, room.data(), message_room().data()), result);
  }
  std::uint8_t byte = 1;
  EXPECT_EQ(mod_binToTx(4, 1, &byte, nullptr), 0) << "an unknown protocol";
  EXPECT_EQ(mod_rxToBin(4, 1, &byte, nullptr), 0);
}

TEST(Frame, RefusesWhatIsNoFrame) {
  constexpr struct {
    mod_protocol protocol;
    std::string_view frame;
  } rows[] = {
      {MOD_ASCII, "0A"},
      {MOD_ASCII, "3A 0D 0A"},
      {MOD_ASCII, "3A 30 31 39 46 0D 0A 0A"},
      {MOD_ASCII, "3A 30 31 37 45 0D 0A"},  // a check over the bytes
      {MOD_RTU, ""},
      {MOD_RTU, "FF FF"},
      {MOD_RTU, "01 7E 80 00"},
      {MOD_RTU, "01 83 02 F1 C0"},
      {MOD_DF1, ""},
      {MOD_DF1, "10"},
      {MOD_DF1, "10 02"},
      {MOD_DF1, "10 02 03"},
      {MOD_DF1, "10 02 01 10"},
      {MOD_DF1, "10 02 10 03 01"},
      {MOD_DF1, "10 02 01 10 04 10 03"},
      {MOD_DF1, "02 10 01 10 03"},
      {MOD_DF1, "10 02 01 10 10 03"},
  };
  for (const auto& [protocol, frame] : rows) {
    std::int32_t result = 0;
    unframe(protocol, from_hex(frame), result);
    EXPECT_EQ(result, -12) << frame;
  }
  for (const mod_protocol protocol : {MOD_ASCII, MOD_RTU, MOD_DF1, MOD_TCP}) {
    for (const std::int32_t length : {-1, 513}) {
      EXPECT_EQ(mod_rxToBin(protocol, length, nullptr, nullptr), -12);
    }
  }
}

// Wherever the framing has a check, a frame with a wrong byte or bit is never taken for another
// message.
TEST(Frame, AcceptsNoOtherMessage) {
  for (const framed& row : frames()) {
    if (!is_whole_frame(row)) continue;
    const byte_list frame = from_hex(row.frame);
    const byte_list message = from_hex(row.message);
    const bool is_received_whole =  // and no request
        mod_waitPacket(line(row.protocol, frame).get()) == static_cast<std::int32_t>(frame.size());
    for (std::size_t length = 0; length < frame.size(); ++length) {
      std::int32_t result = 0;
      unframe(row.protocol, {frame.begin(), frame.begin() + static_cast<long>(length)}, result);
      if (row.protocol == MOD_RTU || row.protocol == MOD_DF1) {
        EXPECT_EQ(result, -12) << length;
      }
      if (!is_received_whole) continue;
      line cut(row.protocol, {frame.begin(), frame.begin() + static_cast<long>(length)});
      EXPECT_EQ(mod_waitPacket(cut.get()), -1) << row.frame << ", " << length;
      EXPECT_EQ(cut->length, static_cast<std::int32_t>(length));
    }
    for (std::size_t bit = 0; bit < 8 * frame.size(); ++bit) {
      byte_list flipped = frame;
      flipped[bit / 8] = static_cast<std::uint8_t>(flipped[bit / 8] ^ 1U << bit % 8);
      std::int32_t result = 0;
      const byte_list got = unframe(row.protocol, flipped, result);
      const bool has_check = row.protocol == MOD_ASCII || row.protocol == MOD_RTU;
      if (has_check && result != -12) {
        EXPECT_EQ(got, message) << row.frame << ", bit " << bit;
      }
      if (row.protocol == MOD_RTU) {
        EXPECT_EQ(result, -12) << row.frame << ", bit " << bit;
      }
    }
  }
}

TEST(Frame, FillsTheBufferAndNeverMore) {
  constexpr struct {
    mod_protocol protocol;
    std::uint8_t byte;
    std::int32_t longest;
  } rows[] = {{MOD_ASCII, 1, 253},
              {MOD_RTU, 1, 510},
              {MOD_DF1, 1, 508},
              {MOD_DF1, 0x10, 254},
              {MOD_TCP, 1, 512}};
  for (const auto& [protocol, byte, longest] : rows) {
    const exact_bytes message(byte_list(600, byte));
    const message_room room;
    const std::int32_t framed = mod_binToTx(protocol, longest, message.data(), room.data());
    EXPECT_GE(framed, 511);
    EXPECT_EQ(mod_rxToBin(protocol, framed, room.data(), room.data()), longest);
    const message_room unwritten;
    for (const std::int32_t length : {longest + 1, 600, -1}) {
      EXPECT_EQ(mod_binToTx(protocol, length, message.data(), unwritten.data()), 0) << length;
      EXPECT_EQ(unwritten.first(512), byte_list(512, 0xEE));
    }
  }
}

TEST(Receive, EndsAFrameByItsProtocol) {
  constexpr std::int32_t silent = -1;  // the frame ends with the input
  const struct {
    mod_protocol protocol;
    std::string bytes;
    std::int32_t length;  // or what the receipt of all of it gives
    std::size_t left;
  } rows[] = {
      {MOD_ASCII, ascii(":019F\r\n:"), 7, 1},
      {MOD_ASCII, "0A 0A", 1, 1},
      {MOD_RTU, "01 83 02 C0 F1 00", 5, 1},
      {MOD_RTU, "01 FF 02 C0 F1 00", 5, 1},
      {MOD_RTU, "01 05 00 00 FF 00 8C 3A 00", 8, 1},
      {MOD_RTU, "01 06 03 04 05 06 07 08 00", 8, 1},
      {MOD_RTU, "01 0F 03 04 05 06 07 08 00", 8, 1},
      {MOD_RTU, "01 10 03 04 05 06 07 08 00", 8, 1},
      {MOD_RTU, "01 01 00 04 05 06", 5, 1},
      {MOD_RTU, "01 02 01 04 05 06 07", 6, 1},
      {MOD_RTU, "01 03 04 04 05 06 07 08 09 00", 9, 1},
      {MOD_RTU, "01 04 04 04 05 06 07 08 09", 9, 0},
      {MOD_RTU, "01 64 03 04 05 06 07 08 09", 9, 0},
      {MOD_RTU, "01 07", 2, 0},
      {MOD_RTU, "01", silent, 0},
      {MOD_RTU, "01 03", silent, 0},
      {MOD_TCP, "00 01 00 00 00 06 01 03 00 00 00 0A 00", 12, 1},
      {MOD_TCP, "00 01 00 00 00 00 01 03", 7, 1},
      {MOD_TCP, "00 01 00 00 00 01 01 03", 7, 1},
      {MOD_TCP, "00 01 00 00 80 00 01 03", 7, 1},       // below 0 as a 16-bit number
      {MOD_TCP, "00 01 00 00 7F F9 01 03", silent, 0},  // MOD_LEN_OPEN, but not RTU's
      {MOD_TCP, "00 01 00 00 FF FA 01 03", silent, 0},  // 0, which never ends
      {MOD_DF1, "00 02 10 10 02 10 02 01 10 03 00", 5, 1},
      {MOD_DF1, "00 02 10 10 02 10 02 01 10", silent, 0},
      {MOD_DF1, "00 10 00 10 02 01 10 03 00", 5, 1},
      {MOD_DF1, "10 02 10 10 03 10 03 00", 7, 1},
      {MOD_DF1, "10 02 10 10 10 03", 6, 0},
      {MOD_DF1, "10 02 10 05 03 10 03", 7, 0},
      {static_cast<mod_protocol>(4), "01 02 0A 10 03", silent, 0},
  };
  for (const auto& [protocol, bytes, length, left] : rows) {
    line in(protocol, from_hex(bytes));
    EXPECT_EQ(mod_waitPacket(in.get()), length) << bytes;
    EXPECT_EQ(in.left(), left) << bytes;
    mod_rxReset(in.get());
    std::int32_t fed = 0;
    for (const std::uint8_t byte : from_hex(bytes)) {
      if (fed == 0) fed = mod_rxChar(in.get(), byte);
    }
    const bool is_open = protocol == MOD_RTU && in->expected == MOD_LEN_OPEN;
    EXPECT_EQ(fed, length < 0 || is_open ? 0 : length) << bytes;
  }
}

TEST(Receive, StoresNothingBeyondTheBuffer) {
  const struct {
    std::uint8_t protocol;
    const char* start;
  } rows[] = {{MOD_ASCII, ""},
              {MOD_RTU, "01 64"},
              {MOD_DF1, "10 02"},
              {MOD_TCP, "00 01 00 00 01 FB"},
              {9, ""}};
  for (const auto& [protocol, start] : rows) {
    byte_list endless = from_hex(start);
    endless.resize(600, 0x41);
    line in(protocol, endless);
    EXPECT_EQ(mod_waitPacket(in.get()), -1) << start;
    EXPECT_EQ(in->length, 512);
    EXPECT_EQ(mod_rxChar(in.get(), 0x0A), 0);
    EXPECT_EQ(mod_waitRequest(line(protocol, endless).get()), -1);
  }
  byte_list full(512, 0x41);
  full.back() = 0x0A;
  EXPECT_EQ(mod_waitPacket(line(MOD_ASCII, full).get()), 512);
}

TEST(Receive, DelimitsTheRequestsOfForeignMasters) {
  const struct {
    std::string bytes;
    std::int32_t length;
    std::size_t left;
  } rows[] = {
      {"01 03 00 6B 00 03 76 87 01", 8, 1},
      {"01 01 00 00 00 01 00 00 01", 8, 1},
      {"01 06 00 00 00 01 00 00 01", 8, 1},
      {"01 10 00 00 00 01 02 00 01 00 00 01", 11, 1},
      {"01 0F 00 00 00 01 01 00 00 00 01", 10, 1},
      {"01 0F 00 00 00 01 00 00 00 00", 9, 1},
      {"01 64 00 00 00 01 00 00", 8, 0},
      {"01 10 00 00 00 01", -1, 0},
      {"01 03 00", -1, 0},
      {"01", -1, 0},
      {"", -1, 0},
  };
  for (const auto& [bytes, length, left] : rows) {
    line in(MOD_RTU, from_hex(bytes));
    EXPECT_EQ(mod_waitRequest(in.get()), length) << bytes;
    EXPECT_EQ(in.left(), left) << bytes;
    const byte_list sent = from_hex(bytes);
    const exact_bytes begun({sent.begin(), sent.begin() + std::min<long>(6, in->length)});
    const std::int32_t told = mod_requestLength(begun.data(), begun.size());
    EXPECT_TRUE(told == 0 || told == length || told == MOD_LEN_OPEN || length < 0) << bytes;
  }
  EXPECT_EQ(mod_waitRequest(line(MOD_ASCII, from_hex("0A 0A")).get()), 1);
}

TEST(ErrStr, HasTextsForFifteenCodes) {
  constexpr struct {
    int code;
    const char* text;
  } rows[] = {
      {0, "Unknown Error"},        {1, "Illegal Function"},         {9, "Receive Packet Corrupt"},
      {13, "Data Transmit Error"}, {14, "Illegal Object Instance"}, {15, "Unknown Error"},
      {18, "Unknown Error"},       {255, "Unknown Error"},          {-1, "Unknown Error"}};
  for (const auto& [code, text] : rows) EXPECT_STREQ(mod_errStr(code), text) << code;
}

}  // namespace
}  // namespace ruvex
