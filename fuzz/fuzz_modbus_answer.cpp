// A request and what a line says out of the input. An answer is taken only where the line says it
// whole, with the head and the length that the request asks for; a slave's request only where its
// frame stands in what has come.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "answer.h"
#include "require.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/master.h"
#include "ruvex/modbus/request.h"

namespace ruvex {
namespace {

using bytes = std::vector<std::uint8_t>;

bytes said_until(const bytes& said, std::size_t end) {
  return {said.data(), said.data() + end};
}

// The frame of the message that a context holds is a part of what was said.
void require_said(const mod_ctx& ctx, std::int32_t length, const bytes& said) {
  bytes frame(mod_buffer_size);
  const std::int32_t size = mod_binToTx(ctx.protocol, length, ctx.buffer, frame.data());
  require(size > 0, "a message that was taken has a frame");
  // The digits of ASCII may be small or no digits at all: its check is over the characters.
  if (ctx.protocol == MOD_ASCII) return;
  const auto found = std::search(said.begin(), said.end(), frame.begin(), frame.begin() + size);
  require(found != said.end(), "what is taken was said");
}

void require_wanted(const mod_ctx& ctx, const wanted_answer& wanted, bool is_exception) {
  const std::uint8_t* message = ctx.buffer;
  std::int32_t length = ctx.length;
  if (ctx.protocol == MOD_TCP) {
    require(message[0] == wanted.tid >> 8 && message[1] == (wanted.tid & 0xFF), "the transaction");
    message += 6, length -= 6;
  }
  require(message[0] == wanted.head[0], "the unit");
  if (is_exception) {
    require(length == 3 && message[1] == (wanted.head[1] | 0x80), "an exception");
    return;
  }
  require(std::memcmp(message, wanted.head, wanted.head_size) == 0, "the head");
  require(wanted.length == 0 || length == wanted.length, "the length");
}

void search_answer(std::uint8_t protocol, const mod_mex& request, const bytes& said) {
  mod_mex mex = request;
  const auto ctx = std::make_unique<mod_ctx>();
  mod_init(ctx.get(), protocol, nullptr, nullptr, nullptr);
  if (mod_masterMexToBin(protocol, &mex, ctx->buffer) < 0) return;
  const wanted_answer wanted = answer_to(protocol, mex, ctx->buffer);
  mod_rxReset(ctx.get());
  for (std::size_t at = 0; at <= said.size(); ++at) {
    const bool is_end = at == said.size();
    const frame_finding found =
        is_end ? take_silence(*ctx, wanted) : take_byte(*ctx, wanted, said[at]);
    require(ctx->length >= 0 && ctx->length <= mod_buffer_size, "within the buffer");
    if (found == frame_finding::out_of_step) {
      return require(protocol == MOD_TCP, "only connections");
    }
    if (found != frame_finding::answer && found != frame_finding::exception) continue;
    require_wanted(*ctx, wanted, found == frame_finding::exception);
    return require_said(*ctx, ctx->length, said_until(said, is_end ? at : at + 1));
  }
}

struct input {
  const bytes& said;
  std::size_t next = 0;
};

std::int32_t give_next(void* handle, void* buffer, std::int32_t) {
  auto& left = *static_cast<input*>(handle);
  if (left.next == left.said.size()) return -1;
  *static_cast<std::uint8_t*>(buffer) = left.said[left.next++];
  return 1;
}

void search_requests(const bytes& said) {
  const auto ctx = std::make_unique<mod_ctx>();
  input left = {said};
  mod_init(ctx.get(), MOD_RTU, &left, give_next, nullptr);
  while (left.next < said.size()) {
    const std::int32_t length = mod_waitRequest(ctx.get());
    require(length >= -1 && length <= mod_buffer_size, "a request is within the buffer");
    if (length < 0) continue;
    const std::int32_t count = mod_rxToBin(MOD_RTU, length, ctx->buffer, ctx->buffer);
    if (count >= 0) require_said(*ctx, count, said_until(said, left.next));
    require(count >= 0 || left.next == said.size(), "what is corrupt ends with the input");
  }
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t described = 8;
  if (size < described) return 0;
  auto mex = std::make_unique<ruvex::mod_mex>();
  mex->tid = data[1];
  mex->addr = data[2];
  mex->fcn = data[3];
  mex->ref = data[4];
  mex->count = static_cast<std::uint16_t>(data[5] + 256 * (data[6] & 0x80));
  mex->data[0] = data[7];
  const std::vector<std::uint8_t> said(data + described, data + size);
  ruvex::search_answer(data[0] % 4, *mex, said);
  ruvex::search_requests(said);
  return 0;
}
