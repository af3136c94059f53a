// Collects names once each, joins them, turns the bytes into Base64 and back, and logs the result.

#include <cstdio>
#include <cstring>

#include "ruvex/util/bar.h"
#include "ruvex/util/base64.h"
#include "ruvex/util/log.h"
#include "ruvex/util/sar.h"
#include "ruvex/util/str.h"

using namespace ruvex;

// The names with a blank after each; null when memory runs out.
static str_ptr join(const Sar& names) {
  str_ptr line(strNew());
  for (int i = 0; line != nullptr && i < names.count; ++i) {
    if (strAdd(line.get(), sarGet(&names, i)) < 0 || strAdd(line.get(), " ") < 0) line.reset();
  }
  return line;
}

static bar_ptr bytes_of(const Str& text) {
  bar_ptr bytes(barNewC(text.len));
  if (bytes == nullptr) return nullptr;
  if (text.len > 0) std::memcpy(bytes->data, text.text, static_cast<std::size_t>(text.len));
  bytes->len = text.len;
  return bytes;
}

int main() {
  const sar_ptr names(sarNew(0, true));
  if (names == nullptr) return 1;
  for (const char* name : {"boiler", "pump", "boiler", "valve"}) {
    const int index = sarAdd(names.get(), name);
    if (index < 0) return 1;
    std::printf("%s is %d\n", name, index);
  }

  const str_ptr line = join(*names);
  if (line == nullptr) return 1;
  const bar_ptr bytes = bytes_of(*line);
  if (bytes == nullptr) return 1;
  const base64_text_ptr text(barBase64encode(bytes.get()));
  if (text == nullptr) return 1;
  std::printf("%s\n", text.get());

  const bar_ptr back(base64decodeData(text.get()));
  if (back == nullptr) return 1;
  SysLog("%d bytes: %.*s\n", back->len, back->len, reinterpret_cast<const char*>(back->data));
  return 0;
}
