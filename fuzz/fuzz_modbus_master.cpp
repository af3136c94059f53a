// A response out of the input, read into a record: of the length that there is, and with what
// stands in the record beforehand. The first bytes are the protocol and the record's count.

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "require.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/master.h"

namespace ruvex {
namespace {

void read_response(std::uint8_t protocol, std::uint16_t count,
                   const std::vector<std::uint8_t>& message) {
  const auto mex = std::make_unique<mod_mex>();
  std::memset(mex->data, 0xA5, sizeof mex->data);
  mex->count = count;
  const std::int32_t result = mod_masterBinToMex(protocol, mex.get(), message.data(),
                                                 static_cast<std::int32_t>(message.size()));
  require(result == 0 || result == -1, "a result is 0 or -1");
  require((result == 0) == ((mex->fcn & 0x80) == 0), "a failure stands in the record");
  if (result == 0) return;
  for (std::size_t at = 1; at < sizeof mex->data; ++at) {
    require(mex->data[at] == 0xA5, "a refusal leaves the data alone");
  }
}

// The record that the input describes is asked for, and what is asked fits its frame.
void build_request(std::uint8_t protocol, const std::vector<std::uint8_t>& bytes) {
  const auto mex = std::make_unique<mod_mex>();
  if (bytes.size() < 6) return;
  std::memcpy(&mex->ref, &bytes[0], 2);
  std::memcpy(&mex->count, &bytes[2], 2);
  mex->addr = bytes[4];
  mex->fcn = bytes[5];
  std::memcpy(mex->data, bytes.data(), bytes.size() < 512 ? bytes.size() : 512);
  const std::unique_ptr<std::uint8_t[]> output(new std::uint8_t[mod_buffer_size]);
  const std::int32_t length = mod_masterMexToBin(protocol, mex.get(), output.get());
  require(length > 0 || (length == -1 && (mex->fcn & 0x80) != 0), "a refusal is marked");
  const std::unique_ptr<std::uint8_t[]> frame(new std::uint8_t[mod_buffer_size]);
  if (length < 0 || protocol > MOD_TCP) return;
  require(mod_binToTx(protocol, length, output.get(), frame.get()) > 0, "a request fits its frame");
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const auto protocol = static_cast<std::uint8_t>(data[0] % 5);
  const auto count = static_cast<std::uint16_t>(data[1] + 256 * data[2]);
  const std::vector<std::uint8_t> message(data + 3, data + size);
  ruvex::read_response(protocol, count, message);
  ruvex::build_request(protocol, message);
  return 0;
}
