// Receives and unframes the input under every framing; what is accepted is framed again and must
// come out as the same message. Everything happens in blocks of just the size allowed.

#include <cstdint>
#include <memory>
#include <vector>

#include "require.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/request.h"

namespace ruvex {
namespace {

using bytes = std::vector<std::uint8_t>;

struct input {
  const std::uint8_t* at;
  const std::uint8_t* end;
};

std::int32_t give_next(void* handle, void* buffer, std::int32_t) {
  auto& left = *static_cast<input*>(handle);
  if (left.at == left.end) return -1;
  *static_cast<std::uint8_t*>(buffer) = *left.at++;
  return 1;
}

void unframe(std::uint8_t protocol, const bytes& frame) {
  const std::unique_ptr<std::uint8_t[]> output(new std::uint8_t[mod_buffer_size]);
  const auto length = static_cast<std::int32_t>(frame.size());
  const std::int32_t count = mod_rxToBin(protocol, length, frame.data(), output.get());
  require(count <= length && count >= -12, "a message is no longer than its frame");
  bytes in_place = frame;
  require(mod_rxToBin(protocol, length, in_place.data(), in_place.data()) == count,
          "in place is the same");
  if (count < 0) return;
  const bytes message(output.get(), output.get() + count);
  require(bytes(in_place.begin(), in_place.begin() + count) == message, "in place is the same");
  bytes again(mod_buffer_size);
  const std::int32_t framed = mod_binToTx(protocol, count, message.data(), again.data());
  require(framed > 0 || count == 0, "what came in a frame fits into one");
  again.resize(static_cast<std::size_t>(framed));
  if (protocol != MOD_ASCII) return require(again == frame || framed == 0, "frames are unique");
  require(mod_rxToBin(protocol, framed, again.data(), again.data()) == count, "it is accepted");
  require(bytes(again.begin(), again.begin() + count) == message, "and is the same message");
}

void run(const std::uint8_t* data, std::size_t size) {
  const auto ctx = std::make_unique<mod_ctx>();
  for (std::uint8_t protocol = MOD_ASCII; protocol <= MOD_TCP + 1; ++protocol) {
    for (const auto wait : {mod_waitPacket, mod_waitRequest}) {
      input left = {data, data + size};
      mod_init(ctx.get(), protocol, &left, give_next, nullptr);
      while (left.at != left.end) {
        const std::int32_t length = wait(ctx.get());
        require(length >= -1 && length <= mod_buffer_size, "a frame is within the buffer");
        require(ctx->length >= 0 && ctx->length <= mod_buffer_size, "and so is what was received");
        if (length > 0) unframe(protocol, {ctx->buffer, ctx->buffer + length});
      }
    }
    if (size <= mod_buffer_size) unframe(protocol, {data, data + size});
  }
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ruvex::run(data, size);
  return 0;
}
