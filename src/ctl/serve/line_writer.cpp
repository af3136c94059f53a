#include "line_writer.h"

#include <utility>

namespace ruvex {
namespace {

// Some ten thousand lines: more than a reader leaves lying that has not stopped.
constexpr std::size_t most_waiting = std::size_t{1} << 20;

}  // namespace

line_writer::line_writer(int descriptor, dropped_text tell_dropped)
    : tell_dropped_(tell_dropped), out_(descriptor), thread_([this] { run(); }) {}

line_writer::~line_writer() {
  end();
}

// Once a line has been dropped, so are the next ones until what waits is taken: the order is kept.
void line_writer::put(std::string_view line) {
  {
    const std::lock_guard lock(mutex_);
    if (dropped_ != 0 || waiting_.size() + line.size() > most_waiting) {
      ++dropped_;
      return;
    }
    waiting_ += line;
  }
  changed_.notify_one();
}

output& line_writer::end() {
  {
    const std::lock_guard lock(mutex_);
    is_over_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
  return out_;
}

// False when there will be no more.
bool line_writer::take(std::string& lines) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return is_over_ || !waiting_.empty(); });
  lines = std::exchange(waiting_, {});
  const std::uint64_t dropped = std::exchange(dropped_, 0);
  if (dropped != 0) lines += tell_dropped_(dropped);
  return !lines.empty();
}

void line_writer::run() {
  for (std::string lines; take(lines);) {
    out_.put(lines);
    out_.flush();
  }
}

}  // namespace ruvex
