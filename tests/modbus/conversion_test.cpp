#include <gtest/gtest.h>

#include <array>
#include <random>

#include "modbus/bytes.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/master.h"
#include "ruvex/modbus/slave.h"

namespace ruvex {
namespace {

constexpr mod_protocol protocols[] = {MOD_ASCII, MOD_RTU, MOD_DF1, MOD_TCP};

mod_mex record(int fcn, int ref, int count, const byte_list& data = {}) {
  mod_mex mex = {};
  mex.tid = 0x1234, mex.pid = 0x0102, mex.addr = 0x11;
  mex.fcn = static_cast<std::uint8_t>(fcn);
  mex.ref = static_cast<std::uint16_t>(ref);
  mex.count = static_cast<std::uint16_t>(count);
  std::fill_n(mex.data, mod_data_size, std::uint8_t{0xA5});
  set_data(mex, data);
  return mex;
}

// A request and its response on both sides. What stands in the records is the data of data_of,
// `count` first; what stands in the messages is hex.
struct exchange {
  int fcn, ref, count;
  const char* sent;
  const char* request;
  int count_back;
  const char* returned;
  const char* response;
};

constexpr exchange exchanges[] = {
    {1, 20, 10, "", "11 01 00 13 00 0A", 10, "b 01 00 01 01 00 00 01 01 01 00", "11 01 02 CD 01"},
    {1, 1, 0, "", "11 01 00 00 00 00", 0, "", "11 01 00"},
    {2, 197, 22, "", "11 02 00 C4 00 16", 22,
     "b 00 00 01 01 00 01 00 01 01 01 00 01 01 00 01 01 01 00 01 00 01 01", "11 02 03 AC DB 35"},
    {3, 108, 3, "", "11 03 00 6B 00 03", 3, "r 022B 0000 0064", "11 03 06 02 2B 00 00 00 64"},
    {3, 1, 32, "", "11 03 00 00 00 20", 1, "r 1234", "11 03 02 12 34"},
    {4, 0, 1, "", "11 04 FF FF 00 01", 1, "r 000A", "11 04 02 00 0A"},
    {5, 173, 1, "b 01", "11 05 00 AC FF 00", 1, "b 01", "11 05 00 AC FF 00"},
    {5, 173, 1, "b 00", "11 05 00 AC 00 00", 1, "b 00", "11 05 00 AC 00 00"},
    {6, 2, 1, "r 0003", "11 06 00 01 00 03", 1, "r 0003", "11 06 00 01 00 03"},
    {15, 20, 10, "b 01 00 01 01 00 00 01 01 01 00", "11 0F 00 13 00 0A 02 CD 01", 10, "",
     "11 0F 00 13 00 0A"},
    {16, 2, 2, "r 000A 0102", "11 10 00 01 00 02 04 00 0A 01 02", 2, "", "11 10 00 01 00 02"},
    {100, 5, 2, "", "11 64 00 04 00 02", 3, "s ab,,c,", "11 64 00 04 00 03 61 62 00 00 63 00"},
    {101, 5, 2, "s ab,c,", "11 65 00 04 00 02 61 62 00 63 00", 2, "", "11 65 00 04 00 02"},
    {102, 5, 2, "r 0102 0304", "11 66 00 04 00 02 01 02 03 04", 1, "s x,",
     "11 66 00 04 00 01 78 00"},
    {104, 5, 3, "b 01 00 03", "11 68 00 04 00 03 01 00 03", 2, "b FF 00",
     "11 68 00 00 00 02 FF 00"},
    {105, 11, 1, "w 00010203", "11 69 00 0A 00 01 00 01 02 03", 2, "w 04050607 FFFEFDFC",
     "11 69 00 0B 00 02 04 05 06 07 FF FE FD FC"},
    {105, 11, 0xFFFD, "b 01 02 03", "11 69 00 0A FF FD 01 02 03", 0xFFFF, "b 09",
     "11 69 00 0B FF FF 09"},
    {106, 0x8002, 2, "w 00010203|r 0405 0607", "11 6A 80 01 00 01 02 03 04 05 06 07", 2, "s a,b,",
     "11 6A 02 61 00 62 00"},
    {106, 0x8000, 0, "w 00010203", "11 6A 7F FF 00 01 02 03", 0, "", "11 6A 00"},
    {107, 2, 2, "w 00010203|r 0405|s a,|r 0607|s ,", "11 6B 00 01 00 01 02 03 04 05 61 00 06 07 00",
     2, "", "11 6B 02"},
};

// The same message as the protocol has it.
byte_list on(std::uint8_t protocol, std::string_view hex) {
  byte_list message = from_hex(hex);
  if (protocol != MOD_TCP) return message;
  byte_list header = {0x12, 0x34, 0x01, 0x02, 0x00, static_cast<std::uint8_t>(message.size())};
  header.insert(header.end(), message.begin(), message.end());
  return header;
}

byte_list data_in(const mod_mex& mex, const byte_list& expected) {
  return {mex.data, mex.data + expected.size()};
}

// That the data hold these bytes and, behind them, what they held before.
void expect_data(const mod_mex& mex, const byte_list& expected, const char* what) {
  EXPECT_EQ(data_in(mex, expected), expected) << what;
  const std::uint8_t* const rest = mex.data + expected.size();
  EXPECT_TRUE(std::all_of(rest, mex.data + mod_data_size, [](int byte) { return byte == 0xA5; }))
      << what;
}

TEST(Conversion, MasterBuildsRequestsAndReadsResponses) {
  for (const exchange& row : exchanges) {
    for (const mod_protocol protocol : protocols) {
      const byte_list sent = data_of(row.sent), returned = data_of(row.returned);
      mod_mex mex = record(row.fcn, row.ref, row.count, sent);
      const message_room room;
      const std::int32_t length = mod_masterMexToBin(protocol, &mex, room.data());
      EXPECT_EQ(to_hex(room.first(length)), to_hex(on(protocol, row.request)));
      EXPECT_EQ(mex.count, row.count) << row.request;
      if (row.fcn != 5) expect_data(mex, sent, row.request);

      mex = record(row.fcn, row.ref, row.count);
      mex.tid = 0;
      const exact_bytes response(on(protocol, row.response));
      EXPECT_EQ(mod_masterBinToMex(protocol, &mex, response.data(), response.size()), 0);
      const bool is_read = row.fcn != 5 && row.fcn != 6;
      EXPECT_EQ(mex.count, row.count_back) << row.response;
      expect_data(mex, is_read ? returned : byte_list(), row.response);
      EXPECT_EQ(mex.tid, protocol == MOD_TCP ? 0x1234 : 0);
    }
  }
}

TEST(Conversion, SlaveReadsRequestsAndBuildsResponses) {
  for (const exchange& row : exchanges) {
    for (const mod_protocol protocol : protocols) {
      const byte_list sent = data_of(row.sent);
      mod_mex mex = record(0, 0, 0);
      mex.tid = mex.pid = mex.addr = 0;
      const exact_bytes request(on(protocol, row.request));
      ASSERT_EQ(mod_slaveBinToMex(protocol, &mex, request.data(), request.size()), 0)
          << row.request;
      EXPECT_EQ(mex.addr, 0x11);
      EXPECT_EQ(mex.fcn, row.fcn);
      EXPECT_EQ(mex.ref, row.ref) << row.request;
      EXPECT_EQ(mex.count, row.count) << row.request;
      expect_data(mex, sent, row.request);
      if (protocol == MOD_TCP) {
        EXPECT_EQ(mex.len, request.size() - 6);
      }

      mex.count = static_cast<std::uint16_t>(row.count_back);
      set_data(mex, data_of(row.returned));
      const message_room room;
      const std::int32_t length = mod_slaveMexToBin(protocol, &mex, room.data());
      EXPECT_EQ(to_hex(room.first(length)), to_hex(on(protocol, row.response)));
    }
  }
}

TEST(Conversion, CodesWithAViewOfTheirOwn) {
  const message_room room;
  mod_mex mex = record(5, 1, 0, {2});  // only 1 is on in a request; in a response anything is
  ASSERT_EQ(mod_masterMexToBin(MOD_RTU, &mex, room.data()), 6);
  EXPECT_EQ(to_hex(room.first(6)), "11 05 00 00 00 00");
  EXPECT_EQ(load_host<std::uint16_t>(mex.data), 0);
  mex = record(5, 1, 0, {1});
  mod_masterMexToBin(MOD_RTU, &mex, room.data());
  EXPECT_EQ(load_host<std::uint16_t>(mex.data), 0xFF00);
  mex = record(5, 1, 0, {2});
  ASSERT_EQ(mod_slaveMexToBin(MOD_RTU, &mex, room.data()), 6);
  EXPECT_EQ(to_hex(room.first(6)), "11 05 00 00 FF 00");
  ASSERT_EQ(mod_slaveBinToMex(MOD_RTU, &mex, from_hex("11 05 00 AC 00 01").data(), 6), 0);
  EXPECT_EQ(mex.data[0], 0);

  mex = record(15, 1, 2, {0, 2});
  ASSERT_EQ(mod_masterMexToBin(MOD_RTU, &mex, room.data()), 8);
  EXPECT_EQ(room.data()[7], 0b10);
  mex = record(16, 1, 200);  // byte counts are modulo 256
  ASSERT_EQ(mod_masterMexToBin(MOD_RTU, &mex, room.data()), 407);
  EXPECT_EQ(room.data()[6], 144);
  mex = record(1, 1, 300);
  ASSERT_EQ(mod_slaveMexToBin(MOD_RTU, &mex, room.data()), 3 + 38);
  EXPECT_EQ(room.data()[2], 6);
  mex = record(106, 0x8003, 9, byte_list(10, 0));
  ASSERT_EQ(mod_masterMexToBin(MOD_RTU, &mex, room.data()), 14);
  EXPECT_EQ(mex.count, 3);

  ASSERT_EQ(mod_slaveBinToMex(MOD_RTU, &mex, from_hex("11 6C 00 00 00 20").data(), 6), 0);
  set_data(mex, data_of("r 0102"));  // 108: a slave's alone
  mex.count = 1;
  ASSERT_EQ(mod_slaveMexToBin(MOD_RTU, &mex, room.data()), 5);
  EXPECT_EQ(to_hex(room.first(5)), "11 6C 02 01 02");
  mex = record(108, 1, 7);
  EXPECT_EQ(mod_masterBinToMex(MOD_RTU, &mex, room.data(), 5), 0);
  EXPECT_EQ(mex.count, 7);
  expect_data(mex, {}, "a master does not read 108");
}

struct refusal {
  const char* message;
  int result, code, count;
};

TEST(Conversion, SlaveRefusesRequests) {
  constexpr refusal rows[] = {
      {"11 07", -1, 1, 9},
      {"11 83 00 00 00 01", -1, 1, 9},
      {"11 00 00 00", -1, 1, 9},
      {"11 6D 00 00 00 01", -1, 1, 9},
      {"11 03 00 6B 00 21", -2, 2, 33},
      {"11 6C 00 00 FF FF", -2, 2, 65535},
      {"11 10 00 01 00 21 42", -2, 2, 33},
      {"11 68 00 00 02 01", -7, 7, 513},
      {"11 0F 00 00 02 01 41", -3, 3, 513},
      {"11 69 00 00 00 81", -3, 3, 129},
      {"11 65 00 00 00 01 61 62", -3, 3, 1},
      {"11 6B 00 00 00 01 02 03 01", -3, 3, 1},
      {"11", -3, 3, 9},
      {"", -3, 3, 9},
      {"11 03 00", -3, 3, 9},
      {"11 03 00 6B 00", -3, 3, 9},
  };
  for (const auto& [message, result, code, count] : rows) {
    mod_mex mex = record(0, 0, 9);
    const exact_bytes block(from_hex(message));
    EXPECT_EQ(mod_slaveBinToMex(MOD_RTU, &mex, block.data(), block.size()), result) << message;
    EXPECT_EQ(mex.count, count) << message;
    EXPECT_NE(mex.fcn & 0x80, 0) << message;
    expect_data(mex, {static_cast<std::uint8_t>(code)}, message);
    const message_room room;
    ASSERT_EQ(mod_slaveMexToBin(MOD_TCP, &mex, room.data()), 9) << message;
    EXPECT_EQ(to_hex(room.data() + 4, 2), "00 03");
    EXPECT_EQ(room.data()[8], code) << message;
  }
}

TEST(Conversion, MasterRefusesResponses) {
  constexpr refusal rows[] = {
      {"11 83 02", -1, 2, 9},
      {"11 FF 00", -1, 0, 9},
      {"11 68 00 00 02 01 01", -1, 7, 513},
      {"11 83", -1, 3, 9},
      {"11", -1, 3, 9},
      {"11 01 01 FF", -1, 3, 9},
      {"11 03 04 00 01 00", -1, 3, 2},
      {"11 64 00 00 00 02 61 00 62", -1, 3, 2},
      {"11 69 00 00 FF FE 01", -1, 3, 65534},
      {"11 6A 01 61", -1, 3, 1},
  };
  for (const auto& [message, result, code, count] : rows) {
    mod_mex mex = record(1, 1, 9);
    const exact_bytes block(from_hex(message));
    EXPECT_EQ(mod_masterBinToMex(MOD_RTU, &mex, block.data(), block.size()), result) << message;
    EXPECT_EQ(mex.count, count) << message;
    EXPECT_NE(mex.fcn & 0x80, 0) << message;
    expect_data(mex, {static_cast<std::uint8_t>(code)}, message);
  }
}

TEST(Conversion, NoPrefixOfAMessageIsReadBeyondItsEnd) {
  for (const exchange& row : exchanges) {
    for (const mod_protocol protocol : protocols) {
      const byte_list request = on(protocol, row.request), response = on(protocol, row.response);
      for (auto end = request.begin(); end != request.end(); ++end) {
        const exact_bytes block({request.begin(), end});
        mod_mex mex = record(0, 0, 0);
        EXPECT_EQ(mod_slaveBinToMex(protocol, &mex, block.data(), block.size()), -3);
        expect_data(mex, {MOD_ILLEGAL_DATA_VALUE}, row.request);
      }
      for (auto end = response.begin(); end != response.end(); ++end) {
        const exact_bytes block({response.begin(), end});
        mod_mex mex = record(0, 0, row.count);
        const bool is_read = mod_masterBinToMex(protocol, &mex, block.data(), block.size()) == 0;
        expect_data(mex, is_read ? byte_list() : byte_list{MOD_ILLEGAL_DATA_VALUE}, row.response);
      }
    }
  }
}

// What a message of any record must be: refused with a code, or whole within a frame.
bool is_sound(std::uint8_t protocol, std::int32_t length, const mod_mex& before, const mod_mex& mex,
              const message_room& room) {
  if (length < 0) {
    EXPECT_TRUE(mex.data[0] == MOD_ILLEGAL_FUNCTION || mex.data[0] == MOD_ILLEGAL_DATA_VALUE);
    EXPECT_EQ(mex.fcn, before.fcn | 0x80);
    EXPECT_TRUE(std::equal(mex.data + 2, mex.data + mod_data_size, before.data + 2));
    return false;
  }
  const message_room frame;
  const std::int32_t framed = mod_binToTx(protocol, length, room.data(), frame.data());
  EXPECT_GT(framed, 0);
  EXPECT_EQ(mod_rxToBin(protocol, framed, frame.data(), frame.data()), length);
  EXPECT_EQ(frame.first(length), room.first(length));
  return true;
}

// Every function code and framing, quantities about every bound, data with and without ends of
// strings and with bytes that frames double; and what one side builds, the other takes.
TEST(Conversion, AnyRecordIsRefusedOrFitsAndIsUnderstood) {
  constexpr int counts[] = {0,   1,   8,   31,  32,  33,  100, 127, 128,  129,   240,   246,
                            253, 254, 255, 256, 257, 505, 512, 513, 4096, 32767, 32768, 65024};
  std::mt19937 random(20260519);
  for (int fcn = 0; fcn < 256; ++fcn) {
    for (const int count : counts) {
      for (const mod_protocol protocol : protocols) {
        mod_mex request = record(fcn, count, count);
        const unsigned values = std::array{1U, 3U, 256U}[random() % 3];
        for (std::uint8_t& byte : request.data) {
          byte = static_cast<std::uint8_t>(values == 1 ? 0x10 : random() % values);
        }
        const mod_mex before = request;
        const message_room room;
        std::int32_t length = mod_masterMexToBin(protocol, &request, room.data());
        if (!is_sound(protocol, length, before, request, room)) continue;
        mod_mex served = before;
        const exact_bytes exact(room.first(length));
        const std::int32_t result =
            mod_slaveBinToMex(protocol, &served, exact.data(), exact.size());
        EXPECT_TRUE(result == 0 || result == -2 || result == -7) << fcn << " " << count;
        if (result == 0) {
          EXPECT_EQ(served.count, fcn == 5 || fcn == 6 ? 1 : request.count);
        }
        length = mod_slaveMexToBin(protocol, &served, room.data());
        if (length < 0) length = mod_slaveMexToBin(protocol, &served, room.data());
        const exact_bytes response(room.first(length));
        const bool is_exception = (served.fcn & 0x80) != 0;
        EXPECT_EQ(mod_masterBinToMex(protocol, &request, response.data(), response.size()),
                  is_exception ? -1 : 0)
            << fcn << " " << count;
        if (is_exception) {
          EXPECT_EQ(request.data[0], served.data[0]);
        }
      }
    }
  }
}

// A slave's record may hold anything, too.
TEST(Conversion, AnyResponseIsRefusedOrFits) {
  std::mt19937 random(20260521);
  for (int round = 0; round < 40000; ++round) {
    mod_mex mex = record(static_cast<int>(random() % 110), 1, 0);
    mex.count = static_cast<std::uint16_t>(random() >> random() % 32);
    const auto pattern = random() % 4;
    for (std::uint8_t& byte : mex.data) {
      byte = static_cast<std::uint8_t>(pattern == 0 ? 0x10 : pattern == 1 ? 0xFF : random() % 5);
    }
    const std::uint8_t protocol = protocols[random() % 4];
    const mod_mex before = mex;
    const message_room room;
    is_sound(protocol, mod_slaveMexToBin(protocol, &mex, room.data()), before, mex, room);
  }
}

}  // namespace
}  // namespace ruvex
