#include "ruvex/modbus/transaction.h"

#include "conversion.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/master.h"
#include "ruvex/modbus/slave.h"
#include "ruvex/util/log.h"

namespace ruvex {
namespace {

using build_message = std::int32_t (*)(std::uint8_t, mod_mex*, std::uint8_t*) noexcept;
using read_message = std::int32_t (*)(std::uint8_t, mod_mex*, const std::uint8_t*,
                                      std::int32_t) noexcept;

struct failure {
  std::uint8_t code;
  std::int32_t result;
};

struct reception {
  read_message read;
  failure no_frame;
  failure corrupt;
  // Whether `length` tells how much of a frame came that has not become complete. After a master's
  // reception it is negative: what came is no response.
  bool keeps_length;
};

constexpr reception master_reception = {mod_masterBinToMex,
                                        {MOD_MASTER_NO_RESPONSE, MOD_FAILED},
                                        {MOD_MASTER_CORRUPT, MOD_FAILED},
                                        false};
constexpr reception slave_reception = {
    mod_slaveBinToMex, {MOD_SLAVE_NO_FRAME, MOD_NO_REQUEST}, {MOD_SLAVE_CORRUPT, MOD_FAILED}, true};

std::int32_t fail(mod_mex& mex, const failure& what) noexcept {
  return refuse(mex, what.code, what.result);
}

std::int32_t transmit(mod_ctx& ctx, mod_mex& mex, std::uint32_t flags, build_message build,
                      const failure& not_sent) noexcept {
  if ((flags & MOD_SKIP_MEX) == 0) {
    const std::int32_t length = build(ctx.protocol, &mex, ctx.buffer);
    ctx.length = length;
    if (length < 0) return MOD_FAILED;
  }
  if ((flags & MOD_SKIP_FRAME) == 0) {
    ctx.tx_length = mod_binToTx(ctx.protocol, ctx.length, ctx.buffer, ctx.tx_buffer);
    // A message of the caller's own, which no conversion has measured, may fit no frame.
    if (ctx.tx_length == 0 && ctx.length != 0) return fail(mex, not_sent);
  }
  if ((flags & MOD_SKIP_TX) != 0) return 0;
  const bool is_sent = ctx.send_fn(ctx.handle, ctx.tx_buffer, ctx.tx_length) != -1;
  return is_sent ? 0 : fail(mex, not_sent);
}

std::int32_t receive(mod_ctx& ctx, mod_mex& mex, std::uint32_t flags,
                     const reception& how) noexcept {
  if ((flags & MOD_SKIP_RX) == 0 && mod_waitPacket(&ctx) < 0) {
    if (!how.keeps_length) ctx.length = MOD_FAILED;
    return fail(mex, how.no_frame);
  }
  if ((flags & MOD_SKIP_FRAME) == 0) {
    ctx.length = mod_rxToBin(ctx.protocol, ctx.length, ctx.buffer, ctx.buffer);
    if (ctx.length < 0) return fail(mex, how.corrupt);
  }
  if ((flags & MOD_SKIP_MEX) != 0) return 0;
  return how.read(ctx.protocol, &mex, ctx.buffer, ctx.length);
}

}  // namespace

std::int32_t mod_masterTx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept {
  return transmit(*ctx, *mex, flags, mod_masterMexToBin, {MOD_MASTER_NOT_SENT, MOD_FAILED});
}

std::int32_t mod_masterRx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept {
  return receive(*ctx, *mex, flags, master_reception);
}

std::int32_t mod_masterTxRx(mod_ctx* ctx, mod_mex* mex) noexcept {
  const mod_mex request = *mex;  // building it and reading a response both write to the record
  // What cannot be built or sent fails the second time, too; a line that is down is the
  // transport's.
  if (mod_masterTx(ctx, mex, 0) != 0) return mex->data[0];
  if (mod_masterRx(ctx, mex, 0) == 0) return 0;
  // No pause: who got no answer has waited for the time-out, and who got one need not wait.
  *mex = request;
  SysLog("COM Retry: slave %d\n", mex->addr);
  if (mod_masterTx(ctx, mex, 0) != 0) return mex->data[0];
  if (mod_masterRx(ctx, mex, 0) == 0) {
    SysLog("COM Retry: success");
    return 0;
  }
  SysLog("COM Retry: failure");
  return mex->data[0];
}

std::int32_t mod_slaveRx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept {
  return receive(*ctx, *mex, flags, slave_reception);
}

std::int32_t mod_slaveTx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept {
  return transmit(*ctx, *mex, flags, mod_slaveMexToBin, {MOD_SLAVE_NOT_SENT, MOD_RESPONSE_UNSENT});
}

}  // namespace ruvex
