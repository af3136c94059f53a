// Modbus references as people write them: what they come to, and what was probably meant.
#pragma once

#include "report/line_findings.h"

namespace ruvex {

// Reports on the reference of a point line, whose class is a legal one.
void check_reference(line_findings& findings, const checked_point& point);

// Reports an object type that does not fit the class of the register.
void check_object_class(line_findings& findings, const checked_point& point);

}  // namespace ruvex
