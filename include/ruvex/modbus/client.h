// A master that takes a value only from the answer to its question.
//
//   mod_tcp_server plant = {"10.0.0.7", "502"};
//   mod_line line;
//   mod_lineInit(&line, mod_tcpOpen, &plant, 1000);
//   mod_client client;
//   mod_clientInit(&client, MOD_TCP, line);
//   std::uint16_t registers[2];
//   const mod_outcome outcome = mod_readHoldingRegisters(&client, 17, 108, 2, registers);
//   if (outcome.status == mod_status::ok) use(mod_getFloat(registers, mod_word_order::low_first));
//   else std::fprintf(stderr, "%s\n", mod_outcomeText(outcome));
//   mod_clientClose(&client);
//
// An exchange drops what has come for earlier ones, sends, and compares what comes back with what
// was asked: transaction, unit, function code, byte count, and what an answer repeats of a write.
// Anything else is not taken, and the wait goes on. On serial lines, where answers have no number,
// an answer that may still come for an earlier request of the same unit and function is waited for
// first. A connection is closed, and opened again by the next request, when nothing tells where the
// next frame begins, and after an exchange without an answer.
//
// A client and its line are used by one thread at a time. Nothing is printed or logged.
#pragma once

#include <cstdint>

#include "ruvex/modbus/client_record.h"
#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/context.h"
#include "ruvex/modbus/line.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// "no answer", or the text of an exception (mod_errStr).
const char* mod_outcomeText(const mod_outcome& outcome) noexcept;

// Beyond these an exchange is refused: more does not fit `data` or a frame.
inline constexpr std::uint16_t mod_most_coils = 512;
inline constexpr std::uint16_t mod_most_registers_read = 125;
inline constexpr std::uint16_t mod_most_registers_written = 123;

// Sets up a client over a line, which it copies and which is its own from then on. `protocol` is a
// mod_protocol; RTU over a connection works, too. One retry; `late_ms` is the time-out.
void mod_clientInit(mod_client* client, std::uint8_t protocol, const mod_line& line) noexcept;

// Closes the line, where it was the line that opened it. The next exchange opens it again.
void mod_clientClose(mod_client* client) noexcept;

// Sends the request of a record and receives its answer into it, for every function code of a
// master (message.h). With MOD_TCP `tid` becomes a new number. With a failure the record is the
// request again, with bit 7 of `fcn` set and a code in `data` byte 0, as mod_masterTxRx leaves it
// (codes.h).
//
// Refused are unknown function codes, quantities of 0 or beyond the bounds above, references beyond
// 65536, and reads from unit 0 of a serial line. A write to that unit is a broadcast: it is `ok`
// when it was sent, and the next request waits for 100 ms. An exception is not asked again.
mod_outcome mod_exchange(mod_client* client, mod_mex* mex) noexcept;

// The standard function codes. `ref` counts from 1 in each table: 108 is 40108, and 107 on the
// line. Bits are a byte each, 0 or 1; of those written any value but 0 is on. Registers are in the
// host's byte order. After a failure the caller's values are as they were.
mod_outcome mod_readCoils(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                          std::uint16_t count, std::uint8_t* bits) noexcept;
mod_outcome mod_readDiscreteInputs(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                                   std::uint16_t count, std::uint8_t* bits) noexcept;
mod_outcome mod_readHoldingRegisters(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                                     std::uint16_t count, std::uint16_t* registers) noexcept;
mod_outcome mod_readInputRegisters(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                                   std::uint16_t count, std::uint16_t* registers) noexcept;
mod_outcome mod_writeCoil(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                          bool on) noexcept;
mod_outcome mod_writeRegister(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                              std::uint16_t value) noexcept;
mod_outcome mod_writeCoils(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                           std::uint16_t count, const std::uint8_t* bits) noexcept;
mod_outcome mod_writeRegisters(mod_client* client, std::uint8_t unit, std::uint16_t ref,
                               std::uint16_t count, const std::uint16_t* registers) noexcept;

}  // namespace ruvex
