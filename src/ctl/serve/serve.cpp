// ruvexctl serve: the devices of a list, answered for before they are there.

#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bus/devices.h"
#include "command.h"
#include "faults.h"
#include "input.h"
#include "journal.h"
#include "listening.h"
#include "points/load.h"
#include "register_image.h"
#include "responder.h"
#include "rtu_slave.h"
#include "serve_options.h"
#include "summary.h"
#include "tcp_server.h"
#include "text/texts.h"
#include "values.h"

namespace ruvex {
namespace {

sigset_t ending_signals() noexcept {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

// A descriptor that can be read once the program is to end. The threads that are started later
// leave the signals to it, too.
int signals_of_end() noexcept {
  const sigset_t signals = ending_signals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

// The signals that have come are taken. A further one ends the program at once: what it still has
// to say may have no reader.
void restore_signals(int signals_fd) noexcept {
  signalfd_siginfo taken = {};
  while (::read(signals_fd, &taken, sizeof taken) > 0) continue;
  const sigset_t signals = ending_signals();
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// False after a complaint.
bool plant_faults(const serve_settings& settings, register_image& image, planted_faults& faults) {
  for (const wanted_fault& wanted : settings.faults) {
    if (faults.plant(wanted, image)) continue;
    const std::string reference =
        wanted.reference.empty() ? "" : message(" with the reference ", wanted.reference);
    complain("--fault: there is no point of unit %s%s", std::string(wanted.unit).c_str(),
             reference.c_str());
    return false;
  }
  return true;
}

void tell_of_units(const register_image& image) {
  if (image.left_out != 0) {
    complain("units without an address that can be asked are left out: %zu", image.left_out);
  }
  if (image.crowded != 0) {
    complain("unit numbers that stand for several units: %zu; see --units-by", image.crowded);
  }
}

// False after a complaint, or a message for each value that cannot be put.
bool fill_image(const serve_settings& settings, register_image& image) {
  begin_pattern(image);
  if (settings.values == nullptr) return true;
  const std::optional<std::string> values = read_content(settings.values);
  return values && put_values(settings.values, *values, image);
}

// As many clients as there may be descriptors for, beside the listeners.
std::size_t clients_with_room(std::size_t wanted, std::size_t listeners) {
  constexpr rlim_t others = 64;
  struct rlimit limit = {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return wanted;
  const rlim_t needed = wanted + listeners + others;
  if (limit.rlim_cur < needed) {
    limit.rlim_cur = std::min(limit.rlim_max, needed);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    ::getrlimit(RLIMIT_NOFILE, &limit);
  }
  if (limit.rlim_cur >= needed) return wanted;
  const rlim_t taken = listeners + others;
  const rlim_t most = limit.rlim_cur > taken ? limit.rlim_cur - taken : 1;
  complain("the system gives descriptors for %ju clients only", std::uintmax_t{most});
  return static_cast<std::size_t>(most);
}

// False after a complaint, and so where there is nothing to listen on.
bool listen_for(const serve_settings& settings, const register_image& image, tcp_server& server,
                journal& told) {
  bool is_listening = false;
  for (const auto& [host, where] : image.stations) {
    const bool is_line = settings.grouping == unit_grouping::address && host.empty();
    if (is_line) {
      if (settings.serial.empty()) complain("the units of the serial line need --serial");
      continue;
    }
    const std::string address = host.empty() ? settings.address : std::string(host);
    const int port = server.listen(address, settings.port, where);
    if (port < 0) return false;
    told.tell_listening(place_text(address, port));
    is_listening = true;
  }
  if (!is_listening && settings.serial.empty()) complain("no unit has an IP address");
  return is_listening || !settings.serial.empty();
}

int serve_list(const serve_settings& settings, const served_list& list,
               const planted_faults& faults) {
  const int stop = signals_of_end();
  journal told(settings.format, settings.traces);
  responder answers(settings.rules, settings.pattern, faults, told);
  const std::size_t most = clients_with_room(settings.most_clients, list.image.stations.size());
  tcp_server server(answers, told, {most, settings.ends_after_client});
  const bool has_serial = !settings.serial.empty();
  const bool listens =
      !has_serial || settings.is_told_to_listen || settings.grouping == unit_grouping::address;
  if (listens && !listen_for(settings, list.image, server, told)) return ctl_trouble;
  rtu_slave line;
  if (has_serial) {
    if (!line.open(settings.serial, settings.line)) return ctl_trouble;
    told.tell_listening(line.name());
    line.start(list.image.stations[""], answers);
  }
  server.run(stop);
  const bool is_whole = line.end();
  restore_signals(stop);
  if (!is_whole) complain("%s: the line has gone", line.name().c_str());
  output& out = told.end();
  print_summary(list, answers.tally(), server.clients(), settings.format, out);
  return end_with(is_whole ? ctl_clean : ctl_trouble, out.finish());
}

int run_serve(int argc, char** argv) {
  serve_settings settings;
  if (const auto status = read_serve_options(argc, argv, settings)) {
    return *status;
  }
  const auto files = operands(argc, argv);
  if (files.size() != 1) return complain_of_use(serve_command, "one file is needed");
  const auto is_input = [](const char* path) { return path == std::string_view("-"); };
  if (settings.values != nullptr && is_input(settings.values) && is_input(files[0])) {
    return complain_of_use(serve_command, "standard input cannot be two files");
  }
  file_source source;
  const std::optional<loaded_file> loaded = load_file(files[0], &source);
  if (!loaded) return ctl_trouble;
  const device_list devices = devices_of(*loaded->doc);
  register_image image = image_of(devices, settings.grouping);
  if (loaded->is_whole_document) take_line_of(*loaded->doc, settings);
  planted_faults faults;
  if (!plant_faults(settings, image, faults) || !fill_image(settings, image)) return ctl_trouble;
  tell_of_units(image);
  return serve_list(settings, {files[0], source, image, devices.placeless.size()}, faults);
}

}  // namespace

const command serve_command = {
    "serve", "[OPTION]... FILE",
    R"(Answer for the devices of FILE over Modbus, before the devices are there. FILE
is a mapping file, a unit file that ruvex has written from one, or a whole
configuration document. Every register that a point of it has can be read; any
other one is exception 2, and a unit that is not there exception 11.

      --listen=ADDRESS:PORT  Modbus/TCP here; 127.0.0.1:1502 unless told. An
                             IPv6 address stands in brackets. Port 0 is any
                             that is free. The line "listening on
                             ADDRESS:PORT" says which.
      --serial=PATH          Modbus RTU on a serial line; no Modbus/TCP then,
                             unless --listen is given. "pty" makes a
                             pseudo-terminal and says its path.
      --line=FORMAT          speed and format of the line, 19200,8E1 unless
                             told, or those of a whole document
      --units-by=WHAT        unit (the default): all by their numbers, whatever
                             their IP addresses; address: each IP address of
                             FILE is listened on, at the port of --listen
      --values=FILE          values, in CSV: those that poll has read, or rows
                             of unit, reference and value; "-": standard input
      --pattern=PATTERN      of points without a value: const (the default),
                             count, a step a second, or sine, once a minute
      --writes=WAY           refuse (the default), with exception 1; or accept,
                             each point and its new value on standard output
      --zero                 registers without a point are read as 0
      --fault=PLACE=FAULT    PLACE is UNIT or UNIT:REFERENCE; FAULT is silent,
                             delay:MS, exception:N, stale (the answer to
                             another question) or swap (the words of a value).
                             May be given more than once.
      --max-clients=N        1000 unless told; further ones are turned away
      --once                 end when the first client has gone
      --trace                each request on standard error, not only those
                             that are refused, once each
      --format=FORMAT        of standard output: text (the default) or json, an
                             object a line
      --help                 print this help
      --version              print the version

SIGINT and SIGTERM end the serving. Then the points that no master has read
are printed, with their lines in FILE, and how many requests and clients there
were. A pattern moves a point within the user range of its scaling; without one
it is 0 to 100, of a bit 0 and 1.

The exit status is 0, or 2 in case of trouble. The manual is ruvexctl-serve(1).
)",
    run_serve};

}  // namespace ruvex
