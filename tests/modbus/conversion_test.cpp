#include <gtest/gtest.h>

#include "modbus/bytes.h"
#include "ruvex/modbus/master.h"
#include "ruvex/modbus/slave.h"

namespace ruvex {
namespace {

constexpr mod_protocol protocols[] = {MOD_ASCII, MOD_RTU, MOD_DF1, MOD_TCP};

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
    {1, 20, 10, "", "1101 0013 000A", 10, "c 1011001110", "1101 02CD 01"},
    {2, 197, 22, "", "1102 00C4 0016", 22, "c 0011010111011011101011", "1102 03AC DB35"},
    {3, 108, 3, "", "1103 006B 0003", 3, "r 022B 0000 0064", "1103 0602 2B00 0000 64"},
    {4, 0, 32, "", "1104 FFFF 0020", 1, "r 000A", "1104 0200 0A"},
    {5, 173, 1, "b 01", "1105 00AC FF00", 1, "b 01", "1105 00AC FF00"},
    {5, 173, 1, "b 00", "1105 00AC 0000", 1, "b 00", "1105 00AC 0000"},
    {6, 2, 1, "r 0003", "1106 0001 0003", 1, "r 0003", "1106 0001 0003"},
    {15, 20, 8, "c 10110011", "110F 0013 0008 01CD", 8, "", "110F 0013 0008"},
    {16, 2, 2, "r 000A 0102", "1110 0001 0002 0400 0A01 02", 2, "", "1110 0001 0002"},
    {100, 5, 2, "", "1164 0004 0002", 3, "s ab,,c,", "1164 0004 0003 6162 0000 6300"},
    {101, 5, 2, "s ab,c,", "1165 0004 0002 6162 0063 00", 2, "", "1165 0004 0002"},
    {102, 5, 2, "r 0102 0304", "1166 0004 0002 0102 0304", 1, "s x,", "1166 0004 0001 7800"},
    {104, 5, 3, "b 01 00 03", "1168 0004 0003 0100 03", 2, "b FF 00", "1168 0000 0002 FF00"},
    {105, 11, 1, "w 00010203", "1169 000A 0001 0001 0203", 2, "w 04050607 FFFEFDFC",
     "1169 000B 0002 0405 0607 FFFE FDFC"},
    {105, 11, 0xFFFD, "b 01 02 03", "1169 000A FFFD 0102 03", 0xFFFF, "b 09", "1169 000B FFFF 09"},
    {106, 0x8002, 2, "w 00010203|r 0405 0607", "116A 8001 0001 0203 0405 0607", 2, "s a,b,",
     "116A 0261 0062 00"},
    {106, 0x8000, 0, "w 00010203", "116A 7FFF 0001 0203", 0, "", "116A 00"},
    {107, 2, 2, "w 00010203|r 0405|s a,|r 0607|s ,", "116B 0001 0001 0203 0405 6100 0607 00", 2, "",
     "116B 02"},
};

// The same message as the protocol has it.
byte_list on(std::uint8_t protocol, std::string_view hex) {
  byte_list message = from_hex(hex);
  if (protocol != MOD_TCP) return message;
  byte_list header = {0x12, 0x34, 0x01, 0x02, 0x00, static_cast<std::uint8_t>(message.size())};
  header.insert(header.end(), message.begin(), message.end());
  return header;
}

// All that an application sees, for one comparison; `len` is compared where it is received.
std::string seen(const mod_mex& mex) {
  const std::uint16_t head[] = {mex.tid, mex.pid, mex.addr, mex.fcn, mex.ref, mex.count};
  std::string text;
  for (const int number : head) text += std::to_string(number) + " ";
  text += to_hex(mex.data);
  return text.substr(0, text.find_last_not_of("A5 ") + 1);
}

// A record whose identifiers are those of a message received, which only TCP has.
mod_mex received(mod_mex mex, bool is_tcp) {
  if (!is_tcp) mex.tid = mex.pid = 0;
  return mex;
}

// No prefix of a message is read, or anything beyond its end, except the responses to what writes.
void expect_prefixes_refused(read_function how, std::uint8_t protocol, int count,
                             const byte_list& message) {
  for (auto end = message.begin(); end != message.end(); ++end) {
    mod_mex mex = record(0, 0, count);
    const std::int32_t result = read(how, protocol, mex, {message.begin(), end});
    const bool is_master = how == mod_masterBinToMex, is_unread = is_master && result == 0;
    EXPECT_TRUE(is_unread || result == (is_master ? -1 : -3)) << to_hex(message);
    mod_mex expected = record(0, 0, 0);
    if (!is_unread) expected.data[0] = MOD_ILLEGAL_DATA_VALUE;
    EXPECT_EQ(to_hex(mex.data), to_hex(expected.data));
  }
}

TEST(Conversion, BothSidesBuildAndReadEveryExchange) {
  for (const exchange& row : exchanges) {
    for (const mod_protocol protocol : protocols) {
      const byte_list request = on(protocol, row.request), response = on(protocol, row.response);
      const byte_list sent = data_of(row.sent), returned = data_of(row.returned);
      const bool is_tcp = protocol == MOD_TCP, is_single = row.fcn == 5 || row.fcn == 6;
      const byte_list coil = data_of(sent == byte_list{1} ? "r FF00" : "r 0000");
      const int count = row.fcn < 106 ? row.count : 9;  // beyond, the quantity is in ref
      mod_mex mex = record(row.fcn, row.ref, count, sent);
      EXPECT_EQ(built(mod_masterMexToBin, protocol, mex), request) << row.request;
      EXPECT_EQ(seen(mex), seen(record(row.fcn, row.ref, row.count, row.fcn == 5 ? coil : sent)));

      mex = received(record(0, 0, 0), false);
      EXPECT_EQ(read(mod_slaveBinToMex, protocol, mex, request), 0) << row.request;
      EXPECT_EQ(seen(mex), seen(received(record(row.fcn, row.ref, row.count, sent), is_tcp)));
      EXPECT_EQ(mex.len, is_tcp ? request.size() - 6 : 0);

      mex = record(row.fcn, row.ref, row.count_back, returned);
      EXPECT_EQ(built(mod_slaveMexToBin, protocol, mex), response) << row.response;

      mex = received(record(row.fcn, row.ref, row.count), false);
      EXPECT_EQ(read(mod_masterBinToMex, protocol, mex, response), 0) << row.response;
      const byte_list got = is_single ? byte_list() : returned;
      EXPECT_EQ(seen(mex), seen(received(record(row.fcn, row.ref, row.count_back, got), is_tcp)));

      expect_prefixes_refused(mod_slaveBinToMex, protocol, 0, request);
      expect_prefixes_refused(mod_masterBinToMex, protocol, row.count, response);
    }
  }
}

// Quantities beyond what a response carries, values that only one side takes for on, and the code
// that only slaves know.
TEST(Conversion, CodesWithAViewOfTheirOwn) {
  const struct {
    build_function build;
    int fcn, count;
    const char *data, *start;
    std::size_t size;
  } rows[] = {
      {mod_masterMexToBin, 5, 0, "b 02", "11 05 00 00 00 00", 6},
      {mod_slaveMexToBin, 5, 0, "b 02", "11 05 00 00 FF 00", 6},
      {mod_masterMexToBin, 15, 2, "b 00 02", "11 0F 00 00 00 02 01 02", 8},
      {mod_masterMexToBin, 16, 200, "r 0102", "11 10 00 00 00 C8 90 01 02", 407},
      {mod_slaveMexToBin, 1, 300, "b 01", "11 01 06", 3 + 38},
      {mod_slaveMexToBin, 106, 258, "", "11 6A 02", 3 + 258},
      {mod_slaveMexToBin, 108, 1, "r 0102", "11 6C 02 01 02", 5},
  };
  for (const auto& row : rows) {
    mod_mex mex = record(row.fcn, 1, row.count, data_of(row.data));
    if (row.fcn == 106) std::fill_n(mex.data, row.count, std::uint8_t{0});
    const byte_list message = built(row.build, MOD_RTU, mex);
    EXPECT_EQ(message.size(), row.size) << row.start;
    EXPECT_TRUE(to_hex(message).starts_with(row.start)) << to_hex(message);
  }
  mod_mex mex = record(108, 1, 7);
  EXPECT_EQ(read(mod_masterBinToMex, MOD_RTU, mex, from_hex("11 6C 02 01 02")), 0);
  EXPECT_EQ(seen(mex), seen(record(108, 1, 7)));
  EXPECT_EQ(read(mod_slaveBinToMex, MOD_RTU, mex, from_hex("11 6C 00 00 00 20")), 0);
  EXPECT_EQ(read(mod_slaveBinToMex, MOD_RTU, mex, from_hex("11 05 00 00 00 01")), 0);
  EXPECT_EQ(seen(mex), seen(record(5, 1, 1, {0})));
}

TEST(Conversion, RefusesWhatIsUnknownTooMuchOrNotWhole) {
  const struct {
    read_function read;
    const char* message;
    int result, code, count;
  } rows[] = {
      {mod_slaveBinToMex, "11 07", -1, 1, 9},
      {mod_slaveBinToMex, "11 6D 00 00 00 01", -1, 1, 9},
      {mod_slaveBinToMex, "11 03 00 6B 00 21", -2, 2, 33},
      {mod_slaveBinToMex, "11 6C 00 00 FF FF", -2, 2, 65535},
      {mod_slaveBinToMex, "11 10 00 01 00 21 42", -2, 2, 33},
      {mod_slaveBinToMex, "11 68 00 00 02 01", -7, 7, 513},
      {mod_slaveBinToMex, "11 0F 00 00 02 01 41", -3, 3, 513},
      {mod_slaveBinToMex, "11 69 00 00 00 81", -3, 3, 129},
      {mod_slaveBinToMex, "11 65 00 00 00 01 61 62", -3, 3, 1},
      {mod_slaveBinToMex, "11 6B 00 00 00 01 02 03 01", -3, 3, 1},
      {mod_slaveBinToMex, "11 06 00 00 01", -3, 3, 9},
      {mod_slaveBinToMex, "11 05 00 00 FF", -3, 3, 9},
      {mod_slaveBinToMex, "", -3, 3, 9},
      {mod_slaveBinToMex, "11 03 00 6B 00", -3, 3, 9},
      {mod_masterBinToMex, "11 83 02", -1, 2, 9},
      {mod_masterBinToMex, "11 68 00 00 02 01 01", -1, 7, 513},
      {mod_masterBinToMex, "11 83", -1, 3, 9},
      {mod_masterBinToMex, "11 6B", -1, 3, 0},
      {mod_masterBinToMex, "11 69 00 00 FF FE 01", -1, 3, 65534},
  };
  for (const auto& row : rows) {
    const byte_list message = from_hex(row.message), code = {static_cast<std::uint8_t>(row.code)};
    mod_mex mex = record(1, 1, 9);
    EXPECT_EQ(read(row.read, MOD_RTU, mex, message), row.result) << row.message;
    const int fcn = message.size() > 1 ? message[1] : 0;
    mod_mex refused = record(fcn | 0x80, mex.ref, row.count, code);
    if (message.empty()) refused.addr = 0;
    EXPECT_EQ(seen(mex), seen(refused)) << row.message;
    const byte_list exception = {0x12, 0x34, 1, 2, 0, 3, mex.addr, mex.fcn, code[0]};
    EXPECT_EQ(built(mod_slaveMexToBin, MOD_TCP, mex), exception) << row.message;
  }
}

// The bounds are the frame's and the data's.
TEST(Conversion, BuildsTheLongestMessageAndRefusesOneMore) {
  const struct {
    build_function build;
    mod_protocol protocol;
    int fcn, most;
  } rows[] = {
      {mod_masterMexToBin, MOD_ASCII, 104, 247}, {mod_masterMexToBin, MOD_RTU, 104, 504},
      {mod_masterMexToBin, MOD_DF1, 104, 502},   {mod_masterMexToBin, MOD_TCP, 104, 500},
      {mod_masterMexToBin, MOD_RTU, 15, 512},    {mod_masterMexToBin, MOD_TCP, 16, 249},
      {mod_slaveMexToBin, MOD_RTU, 105, 126},    {mod_slaveMexToBin, MOD_TCP, 3, 251},
      {mod_slaveMexToBin, MOD_ASCII, 1, 512},    {mod_slaveMexToBin, MOD_RTU, 104, 504},
  };
  for (const auto& [build, protocol, fcn, most] : rows) {
    mod_mex mex = record(fcn, 1, most);
    const byte_list message = built(build, protocol, mex);
    const auto received = unframed(protocol, framed(protocol, message));
    EXPECT_TRUE(!message.empty() && received == message) << fcn << " " << most;
    mex = record(fcn, 1, most + 1);
    EXPECT_TRUE(built(build, protocol, mex).empty()) << fcn;
    EXPECT_EQ(seen(mex), seen(record(fcn | 0x80, 1, most + 1, {MOD_ILLEGAL_DATA_VALUE})));
  }
}

}  // namespace
}  // namespace ruvex
