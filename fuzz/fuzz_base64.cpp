// The input as bytes is encoded and decoded again; the input as a text is decoded and compared with
// a decoder that takes one character after the other.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "require.h"
#include "ruvex/util/base64.h"

namespace ruvex {
namespace {

constexpr std::size_t most = INT16_MAX;

struct decoded {
  std::vector<std::uint8_t> data;
  int len;
};

decoded decode_slowly(const std::string& text) {
  decoded result = {std::vector<std::uint8_t>(text.size() / 4 * 3), 0};
  std::vector<std::size_t> group;
  const auto store = [&] {  // the group; true when it has room
    group.resize(4);
    const std::size_t bits = group[0] << 18 | group[1] << 12 | group[2] << 6 | group[3];
    if (static_cast<std::size_t>(result.len) + 3 > result.data.size()) return false;
    for (int at = 0; at < 3; ++at) {
      result.data[static_cast<std::size_t>(result.len + at)] =
          static_cast<std::uint8_t>(bits >> (16 - 8 * at));
    }
    group.clear();
    return true;
  };
  for (const char character : text) {
    const auto reduced = static_cast<char>(character & 0x7f);
    const int collected = static_cast<int>(group.size());
    if (reduced == '=') {
      if (collected > 1 && store()) result.len += collected - 1;
      return result;
    }
    const char* const found = std::strchr(enc64, reduced);
    if (found == nullptr || *found == '\0') continue;
    group.push_back(static_cast<std::size_t>(found - enc64));
    if (group.size() < 4) continue;
    require(store(), "a whole group has room");
    result.len += 3;
  }
  return result;
}

void decode(const std::string& text) {
  const base64_text_ptr block(::strdup(text.c_str()));  // of just its size
  const bar_ptr bar(base64decodeData(block.get()));
  const decoded expected = decode_slowly(text);
  if (bar == nullptr) return require(expected.data.size() > most, "a Bar that is too large");
  const std::vector<std::uint8_t> data(bar->data, bar->data + bar->size);
  require(data == expected.data && bar->len == expected.len, "both decode the same");
}

void encode(const std::uint8_t* data, std::size_t size) {
  const bar_ptr bar(barNewC(static_cast<std::int32_t>(size)));
  if (size > 0) std::memcpy(bar->data, data, size);
  bar->len = static_cast<std::int16_t>(size);
  const base64_text_ptr text(barBase64encode(bar.get()));
  require(std::strlen(text.get()) == (size + 2) / 3 * 4, "the text is as long as it must be");
  require(std::strspn(text.get(), enc64) + 2 >= (size + 2) / 3 * 4, "and all of the alphabet");
  const bar_ptr again(base64decodeData(text.get()));
  if (again == nullptr) return require(size > most / 3 * 3, "a Bar that is too large");
  require(again->len == bar->len, "as many bytes come back");
  require(size == 0 || std::memcmp(again->data, data, size) == 0, "and the same");
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size <= ruvex::most) ruvex::encode(data, size);
  const std::string text(reinterpret_cast<const char*>(data), size);
  ruvex::decode(text.c_str());
  return 0;
}
