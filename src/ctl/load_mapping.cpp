#include "ctl/load_mapping.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "converter/line_reader.h"
#include "converter/mapping_rules.h"
#include "converter/point_reader.h"
#include "converter/unit_index.h"
#include "ctl/command.h"
#include "ctl/field_names.h"
#include "ctl/printable.h"
#include "ctl/refusals.h"

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

// Tells every refusal and has the reading go on, so that the user sees them all.
class mapping_load final : public point_listener {
 public:
  mapping_load(const char* path, yax_cfg& doc) noexcept
      : path_(path), refused_(path), units_(doc.unit_list), reader_(units_) {}

  // Whether every line was read and none refused.
  bool read(int descriptor) noexcept {
    line_reader lines(descriptor, max_mapping_line);
    for (place_.line = 1; read_line(lines); ++place_.line) continue;
    units_.link_channels();  // also after a failure: what is linked is released with the document
    if (lines.error() != 0) complain("%s: %s", path_, std::strerror(lines.error()));
    return lines.error() == 0 && refused_.count() == 0;
  }

  bool refused(csv_result reason, std::size_t field) noexcept override {
    const std::string_view text = line_.fields[field];
    if (reason != csv_no_memory) place_.column = column_of(text.data());
    switch (reason) {
      case csv_field_too_long:
        refused_.add(place_, "field %zu (%s) is longer than 31 characters", field,
                     field_names[field].data());
        break;
      case csv_illegal_reference:
        refuse_reference(text);
        break;
      case csv_too_many_channels:
        refused_.add(place_, "more than %d channels in one unit", int{max_list_count});
        break;
      default:
        refused_.add(place_, "out of memory");
    }
    return true;
  }

  void description_cut() noexcept override {}

 private:
  // False when there are no more lines.
  bool read_line(line_reader& lines) noexcept {
    switch (lines.next(text_)) {
      case line_reader::result::end:
        return false;
      case line_reader::result::too_long:
        place_.column = max_mapping_line + 1;
        refused_.add(place_, "line is longer than %zu characters", max_mapping_line);
        lines.skip_line();
        return true;
      case line_reader::result::holds_nul:
        place_.column = text_.find('\0') + 1;
        refused_.add(place_, "line holds a NUL byte");
        return true;
      case line_reader::result::line:
        break;
    }
    line_ = split_mapping_line(text_);
    place_.column = 1;
    return reader_.read(line_, *this).code != csv_no_memory;
  }

  std::size_t column_of(const char* at) const noexcept {
    return static_cast<std::size_t>(at - text_.data()) + 1;
  }

  void refuse_reference(std::string_view text) {
    std::string shown;
    append_printable(shown, text);
    refused_.add(place_,
                 "reference \"%s\" is none of a coil (0), discrete input (1), input register (3) "
                 "or holding register (4)",
                 shown.c_str());
  }

  const char* path_;
  refusals refused_;
  unit_index units_;
  point_reader reader_;
  text_place place_ = {};
  std::string_view text_;
  mapping_line line_ = {};
};

}  // namespace

yax_cfg_ptr load_mapping(const char* path, std::string content) {
  const unnamed_file file(content);
  if (file.descriptor() < 0) {
    complain("%s: %s", path, std::strerror(errno));
    return nullptr;
  }
  std::string().swap(content);  // the points need the room
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) {
    complain("out of memory");
  } else if (!mapping_load(path, *doc).read(file.descriptor())) {
    return nullptr;
  }
  return doc;
}

}  // namespace ruvex
