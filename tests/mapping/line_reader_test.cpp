#include "ruvex/mapping/line_reader.h"

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

// The lines of a content; in place of one that is too long, or that holds a NUL, stands a mark.
using outcome = std::vector<std::string>;

outcome read_all(int descriptor) {
  line_reader reader(descriptor, limit);
  outcome read;
  std::string_view line;
  line_reader::result got;
  while ((got = reader.next(line)) != line_reader::result::end) {
    if (got == line_reader::result::too_long) {
      reader.skip_line();
      read.emplace_back("too long");
    } else {
      read.push_back((got == line_reader::result::holds_nul ? "NUL " : "") + std::string(line));
    }
  }
  EXPECT_EQ(reader.next(line), line_reader::result::end) << "the end is final";
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
  outcome read;
  for (std::size_t at = 0, behind = 0; at < content.size(); at = behind) {
    behind = std::min(content.find('\n', at), content.size() - 1) + 1;
    const std::string line = content.substr(at, behind - at);
    const bool has_nul = line.find('\0') != std::string::npos;
    read.push_back(line.size() > limit ? "too long" : (has_nul ? "NUL " : "") + line);
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
    if (random() % 2 == 0) content += std::string(random() % 200000, 'y') + "\nb\n";
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
