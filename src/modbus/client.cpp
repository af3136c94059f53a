#include "ruvex/modbus/client.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "answer.h"
#include "conversion.h"
#include "line_time.h"
#include "rtu.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/master.h"
#include "wait.h"

namespace ruvex {
namespace {

constexpr std::uint8_t broadcast_unit = 0;

bool is_serial(const mod_client& client) noexcept {
  return client.ctx.protocol != MOD_TCP;
}

// The time of an answer's frame; of the longest one where its length is open.
std::int64_t answer_ms(const mod_client& client, const wanted_answer& wanted) noexcept {
  constexpr std::int32_t most_overhead = 5;
  const std::int32_t digits = client.ctx.protocol == MOD_ASCII ? 2 : 1;
  return time_of(client,
                 wanted.length != 0 ? digits * wanted.length + most_overhead : mod_buffer_size);
}

// Waits for answers that are owed, and drops them.
void await_owed(mod_client& client) noexcept {
  auto& owed = client.owed;
  wanted_answer late = {0, 0, {owed.unit, owed.fcn}, 2, 0};
  std::uint8_t bytes[mod_buffer_size];
  mod_rxReset(&client.ctx);
  const auto count = [&](frame_finding found) {
    if ((found != frame_finding::answer && found != frame_finding::exception) || owed.is_mixed)
      return;
    --owed.count;
    mod_rxReset(&client.ctx);
  };
  for (std::int64_t now = now_ms(); owed.count > 0 && now < owed.until; now = now_ms()) {
    const std::int64_t gap = client.ctx.length > 0 ? now + gap_ms(client) : owed.until;
    const std::int32_t got = receive_some(client, bytes, std::min(gap, owed.until));
    if (got < 0 && client.line.is_closed) break;
    for (std::int32_t at = 0; at < got; ++at) count(take_byte(client.ctx, late, bytes[at]));
    if (got < 0) {
      count(take_silence(client.ctx, late));
      mod_rxReset(&client.ctx);
    }
  }
  owed.count = 0;
}

// Makes sure that no answer to an earlier question can be taken for the wanted one.
void settle(mod_client& client, const wanted_answer& wanted) noexcept {
  const auto& owed = client.owed;
  if (owed.count > 0 && (owed.is_mixed || wanted.is_of(owed.unit, owed.fcn))) await_owed(client);
}

// A request has gone out, and its answer may come up to `until`.
void owe(mod_client& client, const wanted_answer& wanted, std::int64_t until) noexcept {
  auto& owed = client.owed;
  const bool is_new = owed.count == 0 || owed.until < now_ms();
  if (is_new) owed = {wanted.head[0], wanted.head[1], false, 0, until};
  owed.is_mixed = owed.is_mixed || !wanted.is_of(owed.unit, owed.fcn);
  ++owed.count;
  owed.until = std::max(owed.until, until);
}

// The answer to that request has come. Of several requests of one kind it may be the answer to any,
// so the others are still owed up to the last moment of all. Other kinds are owed as before.
void pay(mod_client& client, const decltype(mod_client::owed)& before) noexcept {
  auto& owed = client.owed;
  --owed.count;
  if (owed.is_mixed && !before.is_mixed) owed = before;
}

// Unit, function and byte count; what an answer repeats of a write makes its head longer.
constexpr std::uint8_t read_head_size = 3;

class answer_reception {
 public:
  answer_reception(mod_client& client, const wanted_answer& wanted) noexcept
      : client_(client),
        wanted_(wanted),
        first_(now_ms() + time_of(client, client.ctx.tx_length) + client.line.timeout_ms),
        whole_(first_ + answer_ms(client, wanted)) {
    mod_rxReset(&client.ctx);
  }

  // When an answer may begin at the latest.
  std::int64_t first() const noexcept { return first_; }

  // Whether something came that has the length of the answer, and is damaged.
  bool is_damaged() const noexcept { return is_damaged_; }

  // With `ok` and `exception` the message stands in the context. What is there after the last
  // moment is still looked at, since this program may have slept.
  mod_status run() noexcept {
    std::uint8_t bytes[mod_buffer_size];
    for (bool is_last = false; !is_last;) {
      is_last = now_ms() > whole_;
      const std::int32_t got = receive_some(client_, bytes, deadline());
      if (got < 0 && client_.line.is_closed) return mod_status::closed;
      const frame_finding found = got < 0 || is_last ? take_last(bytes, got) : take(bytes, got);
      if (found == frame_finding::answer) return mod_status::ok;
      if (found == frame_finding::exception) return mod_status::exception;
      if (found == frame_finding::out_of_step) return mod_status::corrupt;
      is_last = is_last || (got < 0 && now_ms() >= first_);
    }
    return seen_;
  }

 private:
  // The whole time is waited for the right answer, whatever comes: it may still come, and then has
  // not to be met by the next request. Only a frame of open length ends with a gap.
  std::int64_t deadline() const noexcept {
    if (client_.ctx.length == 0) return first_;
    const bool may_end = client_.ctx.protocol == MOD_RTU && wanted_.length == 0;
    return may_end ? std::min(whole_, now_ms() + gap_ms(client_)) : whole_;
  }

  // An adapter may hand on what it sends. A request for 17 to 24 bits from an address of 768 to
  // 1023 has the form of its answer.
  bool is_own_request() const noexcept {
    const mod_ctx& ctx = client_.ctx;
    return ctx.protocol == MOD_RTU && wanted_.head_size == read_head_size &&
           ctx.length + rtu_crc_size == ctx.tx_length &&
           std::equal(ctx.buffer, ctx.buffer + ctx.length, ctx.tx_buffer);
  }

  frame_finding note(frame_finding found) noexcept {
    if (found == frame_finding::answer && is_own_request()) {
      mod_rxReset(&client_.ctx);
      found = frame_finding::stale;
    }
    if (found == frame_finding::stale) seen_ = mod_status::stale;
    if (found == frame_finding::corrupt) seen_ = mod_status::corrupt;
    return found;
  }

  frame_finding take(const std::uint8_t* bytes, std::int32_t count) noexcept {
    for (std::int32_t at = 0; at < count; ++at) {
      const frame_finding found = note(take_byte(client_.ctx, wanted_, bytes[at]));
      if (found != frame_finding::nothing && found != frame_finding::stale &&
          found != frame_finding::corrupt) {
        return found;
      }
    }
    return frame_finding::nothing;
  }

  // What comes before a gap or at the end of the time.
  frame_finding take_last(const std::uint8_t* bytes, std::int32_t count) noexcept {
    frame_finding found = take(bytes, count);
    if (found != frame_finding::nothing) return found;
    const bool has_length =
        wanted_.length != 0 && client_.ctx.length == wanted_.length + rtu_crc_size;
    found = note(take_silence(client_.ctx, wanted_));
    is_damaged_ = is_damaged_ || (found == frame_finding::corrupt && has_length);
    if (found != frame_finding::answer) mod_rxReset(&client_.ctx);
    return found;
  }

  mod_client& client_;
  const wanted_answer& wanted_;
  const std::int64_t first_, whole_;
  mod_status seen_ = mod_status::timeout;
  bool is_damaged_ = false;
};

bool is_broadcast(const mod_client& client, const wanted_answer& wanted) noexcept {
  return is_serial(client) && wanted.head[0] == broadcast_unit;
}

// What an attempt has come to. A line that could not be opened is not tried again.
struct attempt_end {
  mod_status status;
  bool is_sent;
  bool is_open;
};

// Sends the frame in `tx_buffer` and receives its answer.
attempt_end ask(mod_client& client, const wanted_answer& wanted) noexcept {
  const bool has_numbers = !is_serial(client);
  mod_line& line = client.line;
  if (!has_numbers) await_silence(client);
  if (line.fd >= 0) mod_lineDrop(&line);  // tells, too, whether the peer has gone meanwhile
  if (mod_lineOpen(&line) != 0) return {mod_status::closed, false, false};
  if (mod_lineSend(&line, client.ctx.tx_buffer, client.ctx.tx_length) < 0) {
    const mod_status status = line.is_closed ? mod_status::closed : mod_status::timeout;
    if (has_numbers) mod_lineClose(&line);  // a part of the request may have gone
    return {status, false, true};
  }
  if (is_broadcast(client, wanted)) {
    be_quiet(client, now_ms() + time_of(client, client.ctx.tx_length) + turnaround_ms);
    return {mod_status::ok, true, true};
  }
  answer_reception reception(client, wanted);
  const auto owed_before = client.owed;
  if (!has_numbers) owe(client, wanted, reception.first() + client.late_ms);
  const mod_status status = reception.run();
  const bool is_answered = status == mod_status::ok || status == mod_status::exception;
  if (!has_numbers) {
    // Where nothing else is owed, what was damaged was the answer.
    const bool has_come = is_answered || (reception.is_damaged() && client.owed.count == 1);
    if (has_come) pay(client, owed_before);
    if (!is_answered) be_quiet(client, now_ms() + answer_ms(client, wanted));
  } else if (status == mod_status::corrupt || status == mod_status::closed) {
    mod_lineClose(&line);
  }
  return {status, true, true};
}

// One attempt. Its answer has been read into the record when it is `ok`. A repeated request may be
// answered by what comes late for the first one: the question is the same.
attempt_end attempt(mod_client& client, mod_mex& mex, bool is_repeated) noexcept {
  mod_ctx& ctx = client.ctx;
  ctx.length = mod_masterMexToBin(ctx.protocol, &mex, ctx.buffer);
  if (ctx.length < 0) return {mod_status::refused, false, false};
  const wanted_answer wanted = answer_to(ctx.protocol, mex, ctx.buffer);
  ctx.tx_length = mod_binToTx(ctx.protocol, ctx.length, ctx.buffer, ctx.tx_buffer);
  if (is_serial(client) && !is_repeated) settle(client, wanted);
  attempt_end end = ask(client, wanted);
  const bool is_message = end.status == mod_status::ok || end.status == mod_status::exception;
  if (is_message && !is_broadcast(client, wanted)) {
    const std::int32_t read = mod_masterBinToMex(ctx.protocol, &mex, ctx.buffer, ctx.length);
    if (read != 0 && end.status == mod_status::ok) end.status = mod_status::corrupt;
  }
  return end;
}

// What is refused before it becomes a message.
mod_code refusal_of(const mod_client& client, const mod_mex& mex) noexcept {
  constexpr struct {
    std::uint8_t fcn;
    std::uint16_t most;
    bool is_read;
  } bounds[] = {
      {1, mod_most_coils, true},          {2, mod_most_coils, true},
      {3, mod_most_registers_read, true}, {4, mod_most_registers_read, true},
      {15, mod_most_coils, false},        {16, mod_most_registers_written, false},
  };
  if (client.ctx.protocol > MOD_TCP) return MOD_ILLEGAL_FUNCTION;
  for (const auto& row : bounds) {
    if (row.fcn != mex.fcn) continue;
    const int first = static_cast<std::uint16_t>(mex.ref - 1);
    const bool is_of_nobody = row.is_read && is_serial(client) && mex.addr == broadcast_unit;
    if (mex.count == 0 || mex.count > row.most) return MOD_ILLEGAL_DATA_VALUE;
    if (first + mex.count > 0x10000 || is_of_nobody) return MOD_ILLEGAL_DATA_ADDRESS;
  }
  return MOD_NO_EXCEPTION;
}

struct status_row {
  const char* text;   // null: that of the code
  std::uint8_t code;  // in the record; 0: that of the outcome
};

constexpr status_row status_rows[] = {
    {"no failure", 0},                                            // ok
    {nullptr, 0},                                                 // refused
    {"no answer", MOD_MASTER_NO_RESPONSE},                        // timeout
    {nullptr, 0},                                                 // exception
    {"corrupt answer", MOD_MASTER_CORRUPT},                       // corrupt
    {"only answers to other questions", MOD_MASTER_NO_RESPONSE},  // stale
    {"no connection", MOD_MASTER_NOT_SENT},                       // closed
};

const status_row& row_of(mod_status status) noexcept {
  return status_rows[static_cast<std::size_t>(status)];
}

// Makes the record the request again, and marks it.
mod_outcome fail(mod_mex& mex, const mod_mex& request, mod_outcome outcome) noexcept {
  const std::uint8_t own = row_of(outcome.status).code;
  mex = request;
  refuse(mex, own != 0 ? own : outcome.code);
  return outcome;
}

mod_mex question(std::uint8_t unit, std::uint8_t fcn, std::uint16_t ref,
                 std::uint16_t count) noexcept {
  mod_mex mex = {};
  mex.addr = unit;
  mex.fcn = fcn;
  mex.ref = ref;
  mex.count = count;
  return mex;
}

template <std::uint8_t Fcn, class Item>
mod_outcome read_items(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                       std::uint16_t count, Item* items) noexcept {
  mod_mex mex = question(unit, Fcn, ref, count);
  const mod_outcome outcome = mod_exchange(client, &mex);
  if (outcome.status == mod_status::ok) std::memcpy(items, mex.data, count * sizeof(Item));
  return outcome;
}

template <std::uint8_t Fcn, class Item>
mod_outcome write_items(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                        std::uint16_t count, const Item* items) noexcept {
  mod_mex mex = question(unit, Fcn, ref, count);
  // What is too much is refused by the exchange, which knows how much that is.
  if (count * sizeof(Item) <= sizeof mex.data) std::memcpy(mex.data, items, count * sizeof(Item));
  return mod_exchange(client, &mex);
}

}  // namespace

const char* mod_outcomeText(const mod_outcome& outcome) noexcept {
  const char* const text = row_of(outcome.status).text;
  return text != nullptr ? text : mod_errStr(outcome.code);
}

void mod_clientInit(mod_client* client, std::uint8_t protocol, const mod_line& line) noexcept {
  *client = {};
  client->line = line;
  client->retries = 1;
  client->late_ms = line.timeout_ms;
  mod_init(&client->ctx, protocol, nullptr, nullptr, nullptr);
}

void mod_clientClose(mod_client* client) noexcept {
  mod_lineClose(&client->line);
}

mod_outcome mod_exchange(mod_client* client, mod_mex* mex) noexcept {
  if (!is_serial(*client)) mex->tid = ++client->last_tid;
  const mod_mex request = *mex;
  mod_outcome outcome = {mod_status::refused, refusal_of(*client, request), 0};
  if (outcome.code != MOD_NO_EXCEPTION) return fail(*mex, request, outcome);
  for (int left = client->retries; left >= 0; --left) {
    *mex = request;
    const attempt_end end = attempt(*client, *mex, left < client->retries);
    outcome.status = end.status;
    if (end.is_sent) ++outcome.requests;
    if (end.status == mod_status::corrupt) ++client->corrupt_answers;
    if (end.status == mod_status::ok) return outcome;
    const bool is_told = end.status == mod_status::refused || end.status == mod_status::exception;
    outcome.code = is_told ? mex->data[0] : std::uint8_t{MOD_NO_EXCEPTION};
    if (is_told || !end.is_open) break;
  }
  // A connection that is dead without a word would be found out by the system after minutes.
  const bool is_dead = outcome.status == mod_status::timeout && !is_serial(*client);
  if (is_dead && client->line.open_fn != nullptr) mod_lineClose(&client->line);
  return fail(*mex, request, outcome);
}

mod_outcome mod_readCoils(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                          std::uint16_t count, std::uint8_t* bits) noexcept {
  return read_items<1>(client, unit, ref, count, bits);
}

mod_outcome mod_readDiscreteInputs(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                                   std::uint16_t count, std::uint8_t* bits) noexcept {
  return read_items<2>(client, unit, ref, count, bits);
}

mod_outcome mod_readHoldingRegisters(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                                     std::uint16_t count, std::uint16_t* registers) noexcept {
  return read_items<3>(client, unit, ref, count, registers);
}

mod_outcome mod_readInputRegisters(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                                   std::uint16_t count, std::uint16_t* registers) noexcept {
  return read_items<4>(client, unit, ref, count, registers);
}

mod_outcome mod_writeCoil(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                          bool on) noexcept {
  const std::uint8_t bit = on ? 1 : 0;
  return write_items<5>(client, unit, ref, 1, &bit);
}

mod_outcome mod_writeRegister(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                              std::uint16_t value) noexcept {
  return write_items<6>(client, unit, ref, 1, &value);
}

mod_outcome mod_writeCoils(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                           std::uint16_t count, const std::uint8_t* bits) noexcept {
  return write_items<15>(client, unit, ref, count, bits);
}

mod_outcome mod_writeRegisters(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                               std::uint16_t count, const std::uint16_t* registers) noexcept {
  return write_items<16>(client, unit, ref, count, registers);
}

}  // namespace ruvex
