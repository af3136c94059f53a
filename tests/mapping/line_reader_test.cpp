#include "ruvex/mapping/line_reader.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace ruvex {
namespace {

constexpr std::size_t limit = 1023;

// The lines of a content; in place of one that is too long, or that holds a NUL, stands a mark.
using outcome = std::vector<std::string>;

template <class Lines>
outcome read_all(Lines&& lines) {
  outcome read;
  std::string_view line;
  line_result got;
  while ((got = lines.next(line)) != line_result::end) {
    if (got == line_result::too_long) {
      lines.skip_line();
      read.emplace_back("too long");
    } else {
      read.push_back((got == line_result::holds_nul ? "NUL " : "") + std::string(line));
    }
  }
  EXPECT_EQ(lines.next(line), line_result::end) << "the end is final";
  return read;
}

// Reads that give the rest of the content in pieces of `piece` bytes, each after an interruption.
std::string_view rest;
bool is_interrupted;
ssize_t read_piece(int piece, void* to, std::size_t room) {
  is_interrupted = !is_interrupted;
  if (is_interrupted) return errno = EINTR, -1;
  const std::size_t count = std::min({static_cast<std::size_t>(piece), room, rest.size()});
  std::memcpy(to, rest.data(), count);
  rest.remove_prefix(count);
  return static_cast<ssize_t>(count);
}

outcome read_in_pieces(const std::string& content, int piece) {
  rest = content;
  return read_all(line_reader(piece, limit, read_piece));
}

// The same, found plainly.
outcome split(const std::string& content) {
  outcome read;
  for (std::size_t at = 0, end = 0; at < content.size(); at = end) {
    end = std::min(content.find('\n', at), content.size() - 1) + 1;
    const std::string line = content.substr(at, end - at);
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
    EXPECT_TRUE(read_all(line_splitter(content, limit)) == split(content)) << round;
    for (const int piece : {509, 60000, 1000000}) {
      EXPECT_TRUE(read_in_pieces(content, piece) == split(content)) << round << " by " << piece;
    }
  }
}

TEST(LineReader, AnUnreadableDescriptorIsTheEnd) {
  const int failing =
      ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);  // nothing is mapped at its start
  const int folder = ::open("/", O_RDONLY | O_CLOEXEC);
  for (const auto& [descriptor, error] : {std::pair(-1, EBADF), {folder, EISDIR}, {failing, EIO}}) {
    line_reader lines(descriptor, limit);
    EXPECT_TRUE(read_all(lines).empty()) << error;
    EXPECT_EQ(lines.error(), error);
  }
}

}  // namespace
}  // namespace ruvex
