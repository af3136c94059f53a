#include "converter/line_reader.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"

namespace ruvex {
namespace {

constexpr std::size_t limit = 1023;

struct outcome {
  std::vector<std::string> lines;
  line_reader::result end;

  bool operator==(const outcome&) const = default;
};

outcome read_all(int descriptor) {
  line_reader reader(descriptor, limit);
  outcome read;
  std::string_view line;
  while ((read.end = reader.next(line)) == line_reader::result::line) read.lines.emplace_back(line);
  EXPECT_EQ(reader.next(line), read.end) << "the end is final";
  ::close(descriptor);
  return read;
}

// Reads that give the content in pieces of exactly this size.
outcome read_in_pieces(const std::string& content, std::size_t piece) {
  int ends[2];
  EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
  std::thread writer([&] {
    for (std::size_t at = 0; at < content.size(); at += piece) {
      const std::size_t length = std::min(piece, content.size() - at);
      if (::send(ends[1], content.data() + at, length, MSG_NOSIGNAL) < 0) break;
    }
    ::close(ends[1]);
  });
  const outcome read = read_all(ends[0]);
  writer.join();
  return read;
}

// The same over the whole content at once.
outcome split(const std::string& content) {
  outcome read = {{}, line_reader::result::end};
  for (std::size_t at = 0; at < content.size(); at += read.lines.back().size()) {
    const std::size_t newline = std::min(content.find('\n', at), content.size() - 1);
    if (newline + 1 - at > limit) return {read.lines, line_reader::result::too_long};
    read.lines.push_back(content.substr(at, newline + 1 - at));
  }
  return read;
}

// Lines of all lengths, at all kinds of distances from the border of a block of 65536 bytes, and at
// the end one that is longest, or too long, with its newline or without.
TEST(LineReader, LinesAreThoseOfTheWholeContent) {
  for (unsigned round = 0; round < 60; ++round) {
    std::mt19937 random(round);
    std::string content;
    while (content.size() < round % 3 * 70000) {
      const std::size_t length = round % 2 == 0 ? limit : 1 + random() % limit;
      content += std::string(length - 1, static_cast<char>(random() % 10)) + '\n';
    }
    content += std::string(limit - 2 + random() % 3, 'x');
    if (random() % 2 == 0) content += "\nb\n";
    for (const std::size_t piece : {509U, 4096U, 60000U}) {
      EXPECT_TRUE(read_in_pieces(content, piece) == split(content)) << round << " by " << piece;
    }
  }
  EXPECT_TRUE(read_in_pieces(std::string(200000, 'x'), 1) == split(std::string(limit + 1, 'x')));
}

TEST(LineReader, AnUnreadableDescriptorIsTheEnd) {
  const int failing = ::open("/proc/self/mem", O_RDONLY);  // nothing is mapped at its start
  for (const int descriptor : {-1, ::open("/", O_RDONLY), failing}) {
    EXPECT_TRUE(read_all(descriptor) == split("")) << descriptor;
  }
}

}  // namespace
}  // namespace ruvex
