#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "command.h"
#include "complete_file.h"
#include "interruption.h"
#include "plan.h"
#include "points/load.h"
#include "points/point_findings.h"
#include "poll_progress.h"
#include "poll_report.h"
#include "poll_settings.h"
#include "readings_table.h"
#include "record_page.h"
#include "ruvex/cfg/tables.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr int status_interrupted = 130;

// The line of the document, where the command line has none. Its speeds are those that a port
// takes; 8 data bits, and as many stop bits as make a character of 11.
void take_line_of(const yax_cfg& doc, poll_settings& settings) {
  transport_settings& transport = settings.transport;
  const std::int32_t protocol = str_to_enum(chk_protocol, doc.protocol.c_str());
  if (protocol >= 0) transport.protocol = static_cast<std::uint8_t>(protocol);
  if (settings.has_format) return;
  ser_format& format = transport.format;
  if (str_to_enum(chk_baudrate, doc.baudrate.c_str()) >= 0) {
    format.baud = static_cast<std::int32_t>(decimal_prefix(doc.baudrate.view()));
  }
  if (doc.parity.empty()) return;
  format.parity = doc.parity.view().front();
  format.stop_bits = format.parity == 'N' ? 2 : 1;
}

class poll_run {
 public:
  poll_run(const char* path, const yax_cfg& doc, const poll_settings& settings,
           const device_list& devices, const point_lines& lines)
      : path_(path),
        doc_(doc),
        settings_(settings),
        devices_(devices),
        rows_(rows_of(devices, lines)),
        lines_(devices, settings.transport) {}

  // Polls as often as is wanted, and prints. Gives the status to end with.
  int run() {
    if (settings_.expected != nullptr && !expected_.load(settings_.expected)) return ctl_trouble;
    if (lines_.units().empty()) {
      return complain_of_use(poll_command, "no unit can be reached; see --serial and --via");
    }
    std::optional<complete_file> file;
    if (settings_.output != nullptr && !file.emplace(settings_.output, path_).is_open()) {
      return ctl_trouble;
    }
    if (!lines_.open_port()) return ctl_trouble;
    watch_for_interruption();
    output out(file ? file->descriptor() : STDOUT_FILENO);
    poll_rounds(out);
    const int error = out.finish();
    const int status = is_interrupted() ? status_interrupted : status_;
    if (file) return file->keep(error) ? status : ctl_trouble;
    return end_with(status, error);
  }

 private:
  struct poll_round {
    bool is_first;
    std::chrono::sys_seconds begun;
    std::vector<reading> readings;
    std::vector<unit_sum> sums;
  };

  // A round that the next one follows at once is printed while that one is under way.
  void poll_rounds(output& out) {
    using steady = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    steady::time_point next = steady::now();
    std::optional<poll_round> unprinted;
    const auto print_last = [&] {
      if (unprinted) print_round(*std::exchange(unprinted, std::nullopt), out);
    };
    for (unsigned long round = 0; settings_.count == 0 || round < settings_.count; ++round) {
      if (round != 0) {
        next = std::max(next + milliseconds(settings_.interval_ms), steady::now());
        if (next > steady::now() || settings_.reader.is_traced) print_last();
        wait_unless_interrupted(
            std::chrono::duration_cast<milliseconds>(next - steady::now()).count());
      }
      if (out.has_failed() || is_interrupted()) break;
      poll_round polled = poll_once(round == 0, print_last);
      print_last();  // a short round has left no time for it
      unprinted = std::move(polled);
    }
    print_last();
  }

  // Polls once, and calls `act` meanwhile where there is time.
  poll_round poll_once(bool is_first, const std::function<void()>& act) {
    const std::size_t places = rows_.empty() ? 0 : rows_.back().number + 1;
    poll_round round = {is_first, floor<std::chrono::seconds>(std::chrono::system_clock::now()),
                        std::vector<reading>(places), std::vector<unit_sum>(devices_.units.size())};
    poll_state state;
    poll_progress progress(state, rows_.size(), !settings_.reader.is_traced);
    lines_.poll(settings_.reader, round.readings, round.sums, state, [&] {
      act();
      progress.show();
    });
    return round;
  }

  void print_round(poll_round round, output& out) {
    if (settings_.expected != nullptr) compare(round.readings);
    const auto is_ok = [&](const poll_row& row) {
      return round.readings[row.number].status == read_status::ok;
    };
    if (!std::ranges::all_of(rows_, is_ok)) status_ = ctl_findings;
    const poll_result result = {path_, devices_, lines_.units(), rows_, round.readings, round.sums};
    if (settings_.format == poll_format::html) {
      print_page(result, round.begun, out);
    } else if (settings_.format == poll_format::table) {
      print_table(round.readings, round.is_first, out);
    } else {
      print_readings(settings_.format, rows_, round.readings, round.is_first, out);
    }
    out.flush();
    print_failures(result);
    print_hints(result);
    print_sums(result);
  }

  void print_page(const poll_result& result, std::chrono::sys_seconds begun, output& out) const {
    std::vector<std::string> expected;
    std::string path;
    if (settings_.expected != nullptr) {
      expected = expected_.texts_for(rows_);
      path = settings_.expected;
    }
    print_record({result, doc_, settings_.transport, begun, path, expected, is_interrupted()}, out);
  }

  void print_table(std::span<const reading> readings, bool is_first, output& out) const {
    const std::size_t room = settings_.is_wide ? 0 : out.terminal_width();
    const std::size_t left_out = print_readings_table(rows_, readings, room, out);
    if (left_out == 0 || !is_first) return;
    out.flush();
    complain("columns that do not fit are left out: %zu; see --wide", left_out);
  }

  void compare(std::vector<reading>& readings) {
    const poll_selection& selection = settings_.selection;
    const bool is_whole = selection.units.empty() && selection.points.empty();
    const bool is_same = expected_.compare(path_, rows_, readings, settings_.tolerance, is_whole);
    if (!is_same) status_ = ctl_findings;
  }

  const char* path_;
  const yax_cfg& doc_;
  const poll_settings& settings_;
  const device_list& devices_;
  const std::vector<poll_row> rows_;
  poll_lines lines_;
  expectation expected_;
  int status_ = ctl_clean;
};

int plan_or_poll(const char* path, const yax_cfg& doc, const poll_settings& settings,
                 const device_list& devices, const point_lines& lines) {
  if (!settings.is_plan) return poll_run(path, doc, settings, devices, lines).run();
  output out;
  print_plan(devices, settings.reader.limits, settings.transport, out);
  return end_with(ctl_clean, out.finish());
}

bool has_errors(const char* path, const file_source& source) {
  const std::size_t errors = point_findings(source).count(severity::error);
  if (errors == 0) return false;
  complain("%s: check finds %zu %s; see ruvexctl check, or --force", path, errors,
           errors == 1 ? "error" : "errors");
  return true;
}

int run_poll(int argc, char** argv) {
  poll_settings settings;
  if (const auto status = read_poll_settings(argc, argv, settings)) return *status;
  const char* const path = operands(argc, argv)[0];
  file_source source;
  const std::optional<loaded_file> loaded = load_file(path, &source);
  if (!loaded || (!settings.is_forced && has_errors(path, source))) return ctl_trouble;
  device_list devices = devices_of(*loaded->doc);
  if (const auto unused = select_points(devices, settings.selection)) {
    return complain_of_use(poll_command, message("there is no unit '", *unused, "'"));
  }
  if (devices.units.empty() && devices.placeless.empty()) {
    return complain_of_use(poll_command, "there is no point to poll");
  }
  take_line_of(*loaded->doc, settings);
  return plan_or_poll(path, *loaded->doc, settings, devices, source.lines);
}

}  // namespace

const command poll_command = {
    "poll", "[OPTION]... FILE",
    R"(Read every point of FILE from its device and print a row a point, with the raw
registers and the value behind word order, format, mask and scaling. FILE is a
mapping file, a unit file or a configuration document. Nothing is ever written
to a device: only function codes 1 to 4 are sent.

The lines:
      --serial=PATH    serial port of the units without an IP address; without
                       it or --via they are not asked
      --line=SETTINGS  its speed and character format; 19200,8E1 unless it or
                       the document tells
      --via=HOST[:PORT]
                       ask the units without an IP address through a Modbus/TCP
                       gateway
      --port=N         TCP port of the units with an IP address (502)
      --timeout=MS     wait so long for an answer or a connection (1000)
      --retries=N      ask so often again where no right answer comes (1)
      --delay=MS       pause between the requests to a unit (0)

The points:
      --unit=LIST      only these units, separated by commas: 5, 10.0.0.5/3,
                       10.0.0.5 (all there), 5-9 (on the serial line)
      --points=GLOB    only points whose name matches ("AHU*Temp*")
      --block=N        registers of a request, 1 to 125 (32); 16 times as many
                       bits, at most 512
      --gap=N          registers without a point that may be read along (0)
      --count=N        poll so often (1); 0: until Ctrl-C
      --interval=MS    from the start of one time to the next (1000)
      --force          poll although check finds errors in FILE

The output:
      --format=FORMAT  table (the default), csv, json (one object a line) or
                       html, the record of a commissioning to be signed
      --wide           all columns in full on a terminal, too
      --output=FILE    write to FILE, which appears whole or not at all
      --expect=FILE    compare with the output of an earlier --format=csv
      --tolerance=N    how far a number may be off; N% of the expected one
      --plan           print the requests and their time on the serial line,
                       and send nothing
      --trace          print each request and its answer on standard error
      --help           print this help
      --version        print the version

The units of the serial line are asked one after the other; each host has a
connection of its own, and all are asked at the same time. A unit that does not
answer to one request and its retries is not asked for more. Where a device
refuses a request, its points are asked for in halves until those that it
refuses are known.

On a terminal the table fits its width: unit, reference and name come first,
long texts end with an ellipsis, and the columns that do not fit are left out.

csv and json have the keys time, line (of a mapping file), unit, reference,
wire_address, function, status, raw, value, units, name, ms. The status is ok,
timeout, exception, corrupt, stale, closed, skipped (not asked for), or differs
(from --expect). There is a value after ok and differs only.

Standard error has a message for each point that was not read, hints at what
may be the cause, and sums. A FILE that is "-" is standard input. The exit
status is 0 when each point was read and is as expected, 1 when one was not or
is not, 2 in case of trouble, 130 after Ctrl-C.
)",
    run_poll};

}  // namespace ruvex
