#include "ruvex/converter/mapping_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cinttypes>
#include <utility>

#include "ruvex/cfg/edit.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/rules.h"
#include "ruvex/mapping/unit_index.h"
#include "ruvex/util/log.h"
#include "signals.h"

namespace ruvex {

unit_cfg* modUnits = nullptr;
int csv_read_error = 0;

namespace {

// Logs why a line is refused; the first refusal ends the read.
class refusal_log final : public point_listener {
 public:
  explicit refusal_log(const std::int64_t& line_number) noexcept : line_number_(line_number) {}

  bool refused(csv_result reason, std::size_t field) noexcept override {
    if (reason == csv_field_too_long) {
      SysLogP(LOG_PRIORITY_ERR,
              "Line %" PRId64 ": field %zu is longer than 31 characters, exiting.", line_number_,
              field);
    } else if (reason == csv_too_many_channels) {
      SysLogP(LOG_PRIORITY_ERR, "Line %" PRId64 ": more than 32767 channels in one unit, exiting.",
              line_number_);
    } else if (reason == csv_illegal_reference) {
      SysLogP(LOG_PRIORITY_ERR, "%s", "Illegal Modbus reference, exiting.");
    } else {
      SysLogP(LOG_PRIORITY_ERR, "%s", "Out of memory, exiting.");
    }
    return false;
  }

  void description_cut() noexcept override {
    SysLogP(LOG_PRIORITY_NOTICE, "Line %" PRId64 ": description cut to 63 characters\n",
            line_number_);
  }

 private:
  const std::int64_t& line_number_;
};

csv_result log_bad_line(line_result reason, std::int64_t line_number) noexcept {
  if (reason == line_result::too_long) {
    SysLogP(LOG_PRIORITY_ERR, "Line %" PRId64 " is longer than 1023 characters, exiting.",
            line_number);
  } else {
    SysLogP(LOG_PRIORITY_ERR, "Line %" PRId64 " holds a NUL byte, exiting.", line_number);
  }
  return csv_bad_line;
}

csv_result read_lines(int descriptor) noexcept {
  unit_index units(modUnits);
  std::int64_t line_number = 1;
  refusal_log log(line_number);
  point_reader reader(units);
  line_reader lines(descriptor, max_mapping_line);
  for (;; ++line_number) {
    log_signals();
    std::string_view line;
    const line_result got = lines.next(line);
    if (got == line_result::end) {
      csv_read_error = lines.error();
      return csv_read;
    }
    if (got != line_result::line) return log_bad_line(got, line_number);
    const point_result point = reader.read(split_mapping_line(line), log);
    if (point.code != csv_read) return point.code;
  }
}

csv_result not_readable(csv_result result) noexcept {
  SysLogP(LOG_PRIORITY_ERR, "%s", "Unable to open csv file, exiting.");
  return result;
}

}  // namespace

void free_units() noexcept {
  del_unit_list(std::exchange(modUnits, nullptr));
}

int read_csv_file(const char* path) noexcept {
  free_units();
  csv_read_error = 0;
  struct stat status;
  if (::stat(path, &status) != 0) return not_readable(csv_not_examined);
  if (S_ISDIR(status.st_mode)) return not_readable(csv_not_opened);
  const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return not_readable(csv_not_opened);
  const csv_result result = read_lines(descriptor);
  ::close(descriptor);
  return result;
}

}  // namespace ruvex
