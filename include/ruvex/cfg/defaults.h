// The defaults of channels.
#pragma once

#include <cstdint>

#include "ruvex/cfg/records.h"

namespace ruvex {

// Fills a channel with the defaults of its type. The caller passes a zero-filled record: the links,
// and the settings that have no default, are not changed.
//
//   index     the channel's number within its unit, from 0. The default register reference depends
//             on it, nothing else does
//   chn_type  a value of chk_chn_type. The 0 to 10 volt input, the relay output and the five
//             register-mapped types get all their settings. Any other value, whether the table has
//             it or not, gives only a name and an instance
//   instance  becomes the instance text, with a minus sign where it is negative
void init_chn_cfg(chn_cfg* chn, std::int32_t index, std::int32_t chn_type,
                  std::int32_t instance) noexcept;

// Makes a channel, fills it as init_chn_cfg does and links it into the list of `unit`.
//
//   pos  the position, from 0, of the channel that the new one follows. In an empty list `pos` is 0
//        and the new channel becomes the head. In any other list a negative `pos` counts as 0, so
//        the head stays the head
//
// Returns the channel, which the unit owns. Returns null, and the unit is not changed, when memory
// has run out, when the list has no position `pos`, or when it holds 32767 channels.
chn_cfg* add_chn_cfg(unit_cfg* unit, std::int32_t pos, std::int32_t index, std::int32_t chn_type,
                     std::int32_t instance) noexcept;

}  // namespace ruvex
