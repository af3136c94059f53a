// A unit list as one line of text, for the tests of the converter.
#pragma once

#include <syslog.h>

#include <string>

#include "ruvex/cfg/records.h"
#include "support/temporary_file.h"

namespace ruvex {

// What is read wrongly on purpose is no news for the machine's log.
inline const int earlier_log_mask = ::setlogmask(LOG_MASK(LOG_DEBUG));

// The units in their order, as "1[40001 40003:8] 10.0.0.5/3[]": a mask other than "0" stands behind
// its reference, and the slash tells the TCP type. Wrong links and counts show as "!".
inline std::string list_text(const unit_cfg* head) {
  std::string text;
  const unit_cfg* previous_unit = nullptr;
  for (const unit_cfg* unit = head; unit != nullptr; previous_unit = unit, unit = unit->next) {
    if (unit != head) text += ' ';
    if (unit->prev != previous_unit) text += "!prev ";
    text.append(unit->ip_address.view()).append(unit->type == "MODBUS_TCP" ? "/" : "");
    text.append(unit->address.view()) += '[';
    int count = 0;
    const chn_cfg* previous = nullptr;
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; previous = chn, chn = chn->next) {
      if (count++ != 0) text += ' ';
      if (chn->prev != previous) text += "!prev ";
      text += chn->reg_num.view();
      if (chn->reg_mask != "0") text.append(":").append(chn->reg_mask.view());
    }
    text += count == unit->chn_count ? "]" : "!count]";
  }
  return text;
}

}  // namespace ruvex
