#include "ruvex/mapping/line_reader.h"

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

using outcome = std::vector<std::string>;

// In place of a line that is too long stands a mark, and before one that holds a NUL.
std::string marked(std::string_view line, bool is_too_long, bool has_nul) {
  return is_too_long ? "too long" : (has_nul ? "NUL " : "") + std::string(line);
}

template <class Lines>
outcome read_all(Lines&& lines) {
  outcome read;
  std::string_view line;
  for (line_result got; (got = lines.next(line)) != line_result::end;) {
    if (got == line_result::too_long) lines.skip_line();
    read.push_back(marked(line, got == line_result::too_long, got == line_result::holds_nul));
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

// Lines of all lengths, at all kinds of distances from the border of a block of 65536 bytes, and at
// the end one that is longest, or too long, with its newline or without.
TEST(LineReader, LinesAreThoseOfTheWholeContent) {
  for (unsigned round = 0; round < 60; ++round) {
    std::mt19937 random(round);
    std::string content;
    outcome expected;
    const auto add = [&](const std::string& line) {
      content += line;
      expected.push_back(marked(line, line.size() > limit, line.find('\0') != line.npos));
    };
    while (content.size() < round % 3 * 70000) {
      const std::size_t length = round % 2 == 0 ? limit : 1 + random() % limit;
      add(std::string(length - 1, static_cast<char>(random() % 10)) + '\n');
    }
    add(std::string(limit - 2 + random() % 3, 'x') +
        (round % 4 == 0 ? "" : std::string(random() % 4 * 50000, 'y') + '\n'));
    if (round % 4 != 0) add("b\n");
    EXPECT_TRUE(read_all(line_splitter(content, limit)) == expected) << round;
    for (const int piece : {509, 60000, 1000000}) {
      rest = content;
      EXPECT_TRUE(read_all(line_reader(piece, limit, read_piece)) == expected) << piece;
    }
  }
}

TEST(LineReader, AReadThatFailsIsTheEnd) {
  line_reader lines(-1, limit);
  EXPECT_TRUE(read_all(lines).empty());
  EXPECT_EQ(lines.error(), EBADF);
}

}  // namespace
}  // namespace ruvex
