// The codec's numbers for what went wrong: codes, which stand in records, and results of functions.
#pragma once

#include <cstdint>

namespace ruvex {

// Codes of failures: those of the Modbus protocol (1 to 8, "MODBUS Application Protocol
// Specification V1.1b3", section 7), and the codec's own. One stands in `data` byte 0 of a record
// whose `fcn` has bit 7 set.
enum mod_code : std::uint8_t {
  MOD_NO_EXCEPTION = 0,
  MOD_ILLEGAL_FUNCTION = 1,
  MOD_ILLEGAL_DATA_ADDRESS = 2,
  MOD_ILLEGAL_DATA_VALUE = 3,
  MOD_NEGATIVE_ACKNOWLEDGE = 7,
  MOD_SLAVE_CORRUPT = 12,
  MOD_SLAVE_NO_FRAME = 13,
  MOD_SLAVE_NOT_SENT = 14,
  MOD_MASTER_NOT_SENT = 16,
  MOD_MASTER_NO_RESPONSE = 17,
  MOD_MASTER_CORRUPT = 18,
};

// Results of functions that have failed; what has not failed gives 0 or a length. A slave's results
// are the codes above with a minus.
enum mod_result : std::int32_t {
  MOD_FAILED = -1,           // nothing came, or it is refused; a record has the code
  MOD_TOO_MANY = -2,         // a slave does not serve that many coils, inputs or registers at once
  MOD_NOT_WHOLE = -3,        // a request ends before its payload, or that does not fit the data
  MOD_BLOCK_TOO_LONG = -7,   // a byte block (104) has more bytes than the data
  MOD_CORRUPT_FRAME = -12,   // no frame of the protocol, or its check is wrong
  MOD_NO_REQUEST = -13,      // the input ended before a request was complete
  MOD_RESPONSE_UNSENT = -14  // a response could not be sent
};

// The text of a code; "Unknown Error" for any that has none.
const char* mod_errStr(int code) noexcept;

}  // namespace ruvex
