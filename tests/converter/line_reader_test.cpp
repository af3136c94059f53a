#include "converter/line_reader.h"

#include <fcntl.h>
#include <sys/mman.h>
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

// A descriptor whose reads give the content in pieces of exactly `piece` bytes; 0 is a file.
class source {
 public:
  source(const std::string& content, std::size_t piece) {
    if (piece == 0) {
      descriptor_ = ::memfd_create("content", 0);
      EXPECT_EQ(::pwrite(descriptor_, content.data(), content.size(), 0),
                static_cast<ssize_t>(content.size()));
      return;
    }
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    descriptor_ = ends[0];
    writer_ = std::thread([&content, piece, end = ends[1]] {
      for (std::size_t at = 0; at < content.size(); at += piece) {
        const std::size_t length = std::min(piece, content.size() - at);
        if (::send(end, content.data() + at, length, MSG_NOSIGNAL) < 0) break;
      }
      ::close(end);
    });
  }
  ~source() {
    ::close(descriptor_);
    if (writer_.joinable()) writer_.join();
  }
  source(const source&) = delete;
  source& operator=(const source&) = delete;

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
  std::thread writer_;
};

struct outcome {
  std::vector<std::string> lines;
  line_reader::result end;
};

outcome read_all(int descriptor) {
  line_reader reader(descriptor, limit);
  outcome read;
  std::string_view line;
  while ((read.end = reader.next(line)) == line_reader::result::line) read.lines.emplace_back(line);
  EXPECT_EQ(reader.next(line), read.end) << "the end is not final";
  return read;
}

std::string line_of(std::size_t length) {
  return std::string(length - 1, 'x') + '\n';
}

TEST(LineReader, EndsAtTheEndOrAtALineThatIsTooLong) {
  using enum line_reader::result;
  using lines = std::vector<std::string>;
  const std::string longest = line_of(limit), unended(limit, 'x');
  const struct {
    std::string content;
    lines read;
    line_reader::result result;
  } cases[] = {
      {"", {}, end},
      {"\n\n", {"\n", "\n"}, end},
      {"a\nbc", {"a\n", "bc"}, end},
      {{"a\r\0\r\n\0", 6}, {{"a\r\0\r\n", 5}, {"\0", 1}}, end},
      {"a\n" + longest + "b\n", {"a\n", longest, "b\n"}, end},
      {"a\n" + longest, {"a\n", longest}, end},
      {"a\n" + unended, {"a\n", unended}, end},
      {"a\n" + line_of(limit + 1) + "b\n", {"a\n"}, too_long},
      {"a\n" + unended + "x", {"a\n"}, too_long},
      {std::string(200000, 'x'), {}, too_long},
  };
  for (const auto& row : cases) {
    for (const std::size_t piece : {0U, 1U, 1000U}) {
      const source content(row.content, piece);
      const outcome got = read_all(content.descriptor());
      EXPECT_EQ(got.lines, row.read) << row.content.size() << " by " << piece;
      EXPECT_EQ(got.end, row.result) << row.content.size() << " by " << piece;
    }
  }
}

// The lines begin at all kinds of distances from the border of a block of 65536 bytes.
TEST(LineReader, LinesAcrossBlockBordersAreWhole) {
  for (std::size_t first = 1; first <= limit; first = first < 4 ? first + 1 : first * 2 - 1) {
    std::vector<std::string> lines = {line_of(first)};
    std::string content = lines.front();
    std::mt19937 random(static_cast<unsigned>(first));
    while (content.size() < 3 * 65536) {
      std::string line = line_of(content.size() < 65536 ? limit : 2 + random() % (limit - 1));
      line.front() = static_cast<char>('a' + random() % 26);
      content += lines.emplace_back(line);
    }
    for (const std::size_t piece : {0U, 509U, 4096U}) {
      const source file(content, piece);
      EXPECT_EQ(read_all(file.descriptor()).lines, lines) << first << " by " << piece;
    }
  }
}

TEST(LineReader, AnUnreadableDescriptorIsTheEnd) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const int directory = ::open("/", O_RDONLY);
  const int failing = ::open("/proc/self/mem", O_RDONLY);  // nothing is mapped at its start
  for (const int descriptor : {-1, ends[1], directory, failing}) {
    const outcome read = read_all(descriptor);
    EXPECT_TRUE(read.lines.empty() && read.end == line_reader::result::end) << descriptor;
  }
  for (const int descriptor : {ends[0], ends[1], directory, failing}) ::close(descriptor);
}

}  // namespace
}  // namespace ruvex
