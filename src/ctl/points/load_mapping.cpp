#include "load_mapping.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "command.h"
#include "report/examine_lines.h"
#include "report/findings.h"
#include "report/refusal_findings.h"
#include "ruvex/mapping/heap.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/rules.h"
#include "ruvex/mapping/unit_index.h"

namespace ruvex {
namespace {

// Bytes as a file that has no name. The line reader reads from a descriptor, and a pipe cannot be
// read again once its first bytes have told what it holds.
class unnamed_file {
 public:
  explicit unnamed_file(std::string_view bytes) noexcept
      : descriptor_(::memfd_create("ruvexctl", MFD_CLOEXEC)) {
    if (descriptor_ >= 0 && (!put(bytes) || ::lseek(descriptor_, 0, SEEK_SET) != 0)) close();
  }
  ~unnamed_file() { close(); }
  unnamed_file(const unnamed_file&) = delete;
  unnamed_file& operator=(const unnamed_file&) = delete;

  // Negative, with the reason in errno, when the file could not be made.
  int descriptor() const noexcept { return descriptor_; }

 private:
  bool put(std::string_view bytes) const noexcept {
    while (!bytes.empty()) {
      const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
      if (count < 0 && errno != EINTR) return false;
      if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }
  void close() noexcept {
    const int error = errno;
    if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
    errno = error;
  }

  int descriptor_;
};

// Reads the lines as the converter does and reports those that it refuses; false when there are
// such lines, or not all can be read.
bool read_lines(const char* path, int descriptor, unit_index& units) {
  finding_settings settings;
  settings.is_ignored[static_cast<std::size_t>(rule::description_cut)] = true;
  finding_report report(settings);
  std::vector<finding> list;
  refusal_findings refusals;
  point_reader reader(units);
  std::int64_t number = 0;
  const auto examine = [&](line_reader::result got, std::string_view text) {
    list.clear();
    line_findings findings(++number, text, list);
    if (add_refused_line(findings, got)) return true;
    const mapping_line line = split_mapping_line(text);
    refusals.begin(findings, line);
    reader.read(line, refusals);
    return true;
  };
  return examine_lines(path, descriptor, report, list, examine) && report.errors() == 0;
}

}  // namespace

yax_cfg_ptr load_mapping(const char* path, std::string content) {
  const unnamed_file file(content);
  if (file.descriptor() < 0) {
    complain("%s: %s", path, std::strerror(errno));
    return nullptr;
  }
  std::string().swap(content);  // the points need the room
  prepare_heap(path);
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) end_without_memory();
  unit_index units(doc->unit_list);
  const bool is_sound = read_lines(path, file.descriptor(), units);
  units.link_channels();  // what is linked is released with the document
  if (!is_sound) return nullptr;
  return doc;
}

}  // namespace ruvex
