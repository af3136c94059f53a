// What has been asked for, and what has not, when the serving ends.
#pragma once

#include <cstdint>

#include "journal.h"
#include "output.h"
#include "points/load.h"
#include "register_image.h"
#include "responder.h"

namespace ruvex {

struct served_list {
  const char* path;
  const file_source& source;
  register_image& image;
  std::size_t placeless;  // points without a register
};

// Prints the sums, and every point of which a register was never read, in the order of the list.
void print_summary(const served_list& list, const request_tally& tally, std::uint64_t clients,
                   serve_format format, output& out);

}  // namespace ruvex
