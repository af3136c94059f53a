// Runs a fuzz target once over each file named on the command line.

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  for (int at = 1; at < argc; ++at) {
    std::ifstream file(argv[at], std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "cannot read %s\n", argv[at]);
      return 1;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::fprintf(stderr, "%s\n", argv[at]);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::fprintf(stderr, "replayed %d files\n", argc - 1);
  return argc > 1 ? 0 : 1;
}
