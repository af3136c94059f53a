// What the fields of a mapping line are called in messages.
#pragma once

#include <array>
#include <string_view>

#include "ruvex/mapping/rules.h"

namespace ruvex {

// By the field's number; the names of ruvex-mapping(5).
inline constexpr std::array<std::string_view, max_mapping_fields> field_names = {
    "label",
    "COV increment",
    "name",
    "unit",
    "reference",
    "data type",
    "object type",
    "instance",
    "units",
    "description",
    "bit number",
    "device scale low",
    "device scale high",
    "user scale low",
    "user scale high",
    "group enable",
    "restart",
};

static_assert(!field_names.back().empty());

}  // namespace ruvex
