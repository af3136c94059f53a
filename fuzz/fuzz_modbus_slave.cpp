// A request out of the input, read, answered, and the answer read by a master. The first byte is
// the protocol.

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "require.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/master.h"
#include "ruvex/modbus/slave.h"

namespace ruvex {
namespace {

// The answer, which a master understands as it is meant.
void answer(std::uint8_t protocol, mod_mex& mex) {
  const std::unique_ptr<std::uint8_t[]> output(new std::uint8_t[mod_buffer_size]);
  std::int32_t length = mod_slaveMexToBin(protocol, &mex, output.get());
  if (length < 0) {
    require((mex.fcn & 0x80) != 0, "a refusal is marked");
    length = mod_slaveMexToBin(protocol, &mex, output.get());
  }
  require(length > 0, "an exception can be sent");
  std::vector<std::uint8_t> frame(mod_buffer_size);
  const std::int32_t framed = mod_binToTx(protocol, length, output.get(), frame.data());
  require(framed > 0 || protocol > MOD_TCP, "an answer fits its frame");
  const std::vector<std::uint8_t> exact(output.get(), output.get() + length);
  const auto master = std::make_unique<mod_mex>(mex);
  const std::int32_t result = mod_masterBinToMex(protocol, master.get(), exact.data(), length);
  require(result == ((mex.fcn & 0x80) != 0 ? -1 : 0), "a master understands it");
  require(master->fcn == mex.fcn && master->addr == mex.addr, "as it is meant");
}

void run(std::uint8_t protocol, const std::vector<std::uint8_t>& message) {
  const auto mex = std::make_unique<mod_mex>();
  std::memset(mex->data, 0, sizeof mex->data);
  const std::int32_t result = mod_slaveBinToMex(protocol, mex.get(), message.data(),
                                                static_cast<std::int32_t>(message.size()));
  require(result == 0 || result == -1 || result == -2 || result == -3 || result == -7,
          "a result is one of those named");
  require(result == 0 || mex->data[0] == -result, "a refusal has its code");
  require((result == 0) == ((mex->fcn & 0x80) == 0), "and is marked");
  answer(protocol, *mex);
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  ruvex::run(static_cast<std::uint8_t>(data[0] % 5), {data + 1, data + size});
  return 0;
}
