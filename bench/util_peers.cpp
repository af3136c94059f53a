// Base64 beside OpenSSL, for bench/compare: a line for each of COUNT samples, with the seconds that
// a block of 24 KB takes OpenSSL and then ruvex, goes to standard output. The two take turns block
// by block, and a sample holds the median of each. Of ruvex, the allocation is part of the time.
//
//   util_peers encode|decode COUNT

#include <openssl/evp.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ruvex/util/base64.h"

namespace {

using namespace ruvex;

constexpr std::int32_t bytes_of_block = 24570;  // a multiple of 3
constexpr int characters_of_block = bytes_of_block / 3 * 4;
constexpr int blocks_of_sample = 301;

// A job and its result: bytes with their count.
struct job {
  bar_ptr bytes{barNewC(bytes_of_block)};
  base64_text_ptr text;
  std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(characters_of_block + 1);

  bool encode_theirs() {
    return EVP_EncodeBlock(buffer.data(), bytes->data, bytes_of_block) == characters_of_block;
  }
  bool encode_ours() {
    text.reset(barBase64encode(bytes.get()));
    return text != nullptr;
  }
  bool decode_theirs() {
    const auto* const from = reinterpret_cast<const std::uint8_t*>(text.get());
    return EVP_DecodeBlock(buffer.data(), from, characters_of_block) == bytes_of_block;
  }
  bool decode_ours() {
    const bar_ptr decoded(base64decodeData(text.get()));
    return decoded != nullptr && decoded->len == bytes_of_block;
  }
};

using call = bool (job::*)();

double seconds(job& of, call make) {
  const auto start = std::chrono::steady_clock::now();
  if (!(of.*make)()) std::abort();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double>& times) {
  const auto middle = times.begin() + blocks_of_sample / 2;
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

void sample(job& of, call theirs, call ours) {
  std::vector<double> times[2];
  for (int block = 0; block < blocks_of_sample; ++block) {
    times[0].push_back(seconds(of, theirs));
    times[1].push_back(seconds(of, ours));
  }
  std::printf("%.9f %.9f\n", median(times[0]), median(times[1]));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 1;
  job of;
  for (std::uint32_t at = 0; at < bytes_of_block; ++at) {
    of.bytes->data[at] = static_cast<std::uint8_t>(at * 2654435761U >> 24);
  }
  of.bytes->len = bytes_of_block;
  if (!of.encode_ours() || !of.encode_theirs()) return 1;
  if (std::memcmp(of.text.get(), of.buffer.data(), characters_of_block + 1) != 0) return 1;
  const bool encodes = std::strcmp(argv[1], "encode") == 0;
  for (int count = std::atoi(argv[2]); count > 0; --count) {
    if (encodes) sample(of, &job::encode_theirs, &job::encode_ours);
    if (!encodes) sample(of, &job::decode_theirs, &job::decode_ours);
  }
  return 0;
}
