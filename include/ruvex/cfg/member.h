// Functions that pick one setting out of a record, for the tables that name settings.
#pragma once

#include "ruvex/cfg/text.h"

namespace ruvex {

template <class Record>
using setting_ref = text_ref (*)(Record&);
template <class Record>
using setting_view = text_view (*)(const Record&);

// ref_of<&chn_cfg::name> is a setting_ref<chn_cfg>, view_of<&chn_cfg::name> a
// setting_view<chn_cfg>.
template <auto Member, class Record>
constexpr text_ref ref_of(Record& record) noexcept {
  return (record.*Member).ref();
}
template <auto Member, class Record>
constexpr text_view view_of(const Record& record) noexcept {
  return (record.*Member).look();
}

}  // namespace ruvex
