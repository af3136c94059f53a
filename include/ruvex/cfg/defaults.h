// The defaults of channels, and their making.
#pragma once

#include <cstdint>

#include "ruvex/cfg/records.h"

namespace ruvex {

// Fills a channel with the defaults of its type. `chn` is zero-filled beforehand; its links and the
// settings that the type has no default for stay as they are.
//
//   index     the channel's number within its unit, from 0; only the default register reference
//             follows from it
//   chn_type  a value of chk_chn_type. The 0 to 10 volt input, the relay output and the five
//             register-mapped types get all their settings; any other value, in the table or not,
//             gives a name and an instance alone
//   instance  becomes the instance text, with its sign
void init_chn_cfg(chn_cfg* chn, std::int32_t index, std::int32_t chn_type,
                  std::int32_t instance) noexcept;

// Makes a channel as init_chn_cfg does and links it into `unit` after the channel at position
// `pos`, counted from 0 (0 too in an empty list, where it becomes the head; a negative `pos` counts
// as 0 in a list that is not empty). So a new channel never becomes the head of a list that has
// one.
//
// Returns the channel, which the unit owns. Null, and the unit stays as it was, when memory has run
// out, when the list has no position `pos`, and when the unit holds 32767 channels already.
chn_cfg* add_chn_cfg(unit_cfg* unit, std::int32_t pos, std::int32_t index, std::int32_t chn_type,
                     std::int32_t instance) noexcept;

}  // namespace ruvex
