#include "tally.h"

#include "report/place_message.h"
#include "text/texts.h"

namespace ruvex {

void tell(const char* path, const char* kind, const tally& done) {
  if (done.count == 0) return;
  const std::string text =
      message(done.what, "; ", done.count, done.count == 1 ? " place" : " places", " in all");
  print_message({path, done.place.line, done.place.line, done.place.column, kind, text});
}

}  // namespace ruvex
