#include "running_numbers.h"

#include "ruvex/cfg/tables.h"
#include "text/bounds.h"
#include "text/texts.h"

namespace ruvex {

void running_numbers::put(const column_list& columns, field_sources& sources, refusals& refused) {
  for (std::size_t source = 0; source < max_sources; ++source) {
    const std::optional<unsigned long>& first = columns.choice_of(source).first_number;
    if (!first) continue;
    const unsigned long number = *first + count_;
    texts_[source] = message(number);
    sources[source].text = texts_[source];
    if (source != field_instance || is_within(texts_[source], chk_bac_instance)) continue;
    refused.add(sources[source].place, "field 7 (instance) would be %lu; %ld is the largest",
                number, static_cast<long>(highest_of(chk_bac_instance)));
  }
  ++count_;
}

}  // namespace ruvex
