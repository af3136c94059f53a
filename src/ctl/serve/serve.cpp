// ruvexctl serve: the devices of a list, answered for before they are there.

#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bus/devices.h"
#include "command.h"
#include "faults.h"
#include "input.h"
#include "journal.h"
#include "points/load.h"
#include "register_image.h"
#include "responder.h"
#include "rtu_slave.h"
#include "ruvex/serial/format.h"
#include "summary.h"
#include "tcp_server.h"
#include "text/texts.h"
#include "values.h"

namespace ruvex {
namespace {

struct serve_settings {
  std::string address = "127.0.0.1";
  int port = 1502;
  bool is_told_to_listen = false;
  std::string serial;  // path of a line, or "pty"; empty: none
  ser_format line;
  bool has_line = false;  // it was given
  answer_rules rules;
  tcp_settings tcp;
  unit_grouping grouping = unit_grouping::number;
  const char* values = nullptr;
  value_pattern pattern = value_pattern::constant;
  std::vector<wanted_fault> faults;
  serve_format format = serve_format::text;
  bool traces = false;
};

bool take_listen(serve_settings& settings, std::string_view argument) {
  const std::size_t colon = argument.rfind(':');
  unsigned long port = 0;
  if (colon == std::string_view::npos) return false;
  if (!parse_number(argument.substr(colon + 1), 65535, port)) return false;
  settings.address = argument.substr(0, colon);
  settings.port = static_cast<int>(port);
  settings.is_told_to_listen = true;
  return !settings.address.empty();
}

constexpr choice<bool> ways_with_writes[] = {{"refuse", false}, {"accept", true}};

constexpr choice<unit_grouping> groupings[] = {{"unit", unit_grouping::number},
                                               {"address", unit_grouping::address}};

constexpr choice<value_pattern> value_patterns[] = {{"const", value_pattern::constant},
                                                    {"count", value_pattern::count},
                                                    {"sine", value_pattern::sine}};

constexpr choice<serve_format> serve_formats[] = {{"text", serve_format::text},
                                                  {"json", serve_format::json}};

bool take_fault(serve_settings& settings, std::string_view argument) {
  const std::optional<wanted_fault> fault = parse_fault(argument);
  if (fault) settings.faults.push_back(*fault);
  return fault.has_value();
}

constexpr option_row<serve_settings> serve_options[] = {
    {"listen", true, take_listen},
    {"serial", true,
     [](serve_settings& settings, std::string_view argument) {
       settings.serial = argument;
       return !argument.empty();
     }},
    {"line", true,
     [](serve_settings& settings, std::string_view argument) {
       return settings.has_line = serParseFormat(argument.data(), settings.line);
     }},
    {"units-by", true,
     [](serve_settings& settings, std::string_view argument) {
       return choose(groupings, argument, settings.grouping);
     }},
    {"values", true,
     [](serve_settings& settings, std::string_view argument) {
       settings.values = argument.data();  // of argv, so it ends with a NUL
       return !argument.empty();
     }},
    {"pattern", true,
     [](serve_settings& settings, std::string_view argument) {
       return choose(value_patterns, argument, settings.pattern);
     }},
    {"writes", true,
     [](serve_settings& settings, std::string_view argument) {
       return choose(ways_with_writes, argument, settings.rules.takes_writes);
     }},
    {"zero", false,
     [](serve_settings& settings, std::string_view) {
       return settings.rules.unmapped_is_zero = true;
     }},
    {"max-clients", true,
     [](serve_settings& settings, std::string_view argument) {
       unsigned long most = 0;
       const bool is_number = parse_number(argument, 100000, most) && most > 0;
       settings.tcp.most_clients = most;
       return is_number;
     }},
    {"fault", true, take_fault},
    {"format", true,
     [](serve_settings& settings, std::string_view argument) {
       return choose(serve_formats, argument, settings.format);
     }},
    {"trace", false,
     [](serve_settings& settings, std::string_view) { return settings.traces = true; }},
    {"once", false,
     [](serve_settings& settings, std::string_view) {
       return settings.tcp.ends_after_client = true;
     }},
};

// A descriptor that can be read once the program is to end. The threads that are started later
// leave the signals to it, too.
int signals_of_end() noexcept {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return ::signalfd(-1, &signals, SFD_CLOEXEC);
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

// The document's own speed and parity, unless a line was given.
void take_line_of(const yax_cfg& doc, serve_settings& settings) {
  constexpr choice<char> parities[] = {{"NONE", 'N'}, {"EVEN", 'E'}, {"ODD", 'O'}};
  char parity = 0;
  if (settings.has_line || !choose(parities, doc.parity.view(), parity)) return;
  std::string text = message(doc.baudrate.view(), ",8");
  text += parity;
  text += '1';
  serParseFormat(text.c_str(), settings.line);
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

// False after a complaint.
bool listen_for(const serve_settings& settings, const register_image& image, tcp_server& server,
                journal& told) {
  for (const auto& [host, where] : image.stations) {
    const bool is_line = settings.grouping == unit_grouping::address && host.empty();
    if (is_line) {
      if (settings.serial.empty()) complain("the units of the serial line need --serial");
      continue;
    }
    const std::string address = host.empty() ? settings.address : std::string(host);
    const int port = server.listen(address, settings.port, where);
    if (port < 0) return false;
    told.tell_listening(message(address, ":", port));
  }
  return true;
}

// A serial line, served by a thread of its own: it may have to wait inside a frame.
class line_thread {
 public:
  ~line_thread() { end(); }

  // False after a message.
  bool start(const serve_settings& settings, const station& where, responder& answers,
             journal& told) {
    if (!slave_.open(settings.serial, settings.line)) return false;
    told.tell_listening(slave_.name());
    stop_ = ::eventfd(0, EFD_CLOEXEC);
    thread_ = std::thread([this, &where, &answers] {
      if (slave_.run(answers, where, stop_)) return;
      has_gone_ = true;
      ::kill(::getpid(), SIGTERM);  // as if a user had ended the program
    });
    return true;
  }

  // False when the line has gone.
  bool end() {
    if (!thread_.joinable()) return !has_gone_;
    const std::uint64_t once = 1;
    [[maybe_unused]] const ssize_t written = ::write(stop_, &once, sizeof once);
    thread_.join();
    ::close(stop_);
    return !has_gone_;
  }

 private:
  rtu_slave slave_;
  int stop_ = -1;
  std::thread thread_;
  bool has_gone_ = false;  // to be read after the end
};

int serve_list(const serve_settings& settings, const served_list& list,
               const planted_faults& faults) {
  const int stop = signals_of_end();
  journal told(settings.format, settings.traces);
  responder answers(settings.rules, settings.pattern, faults, told);
  tcp_settings tcp = settings.tcp;
  tcp.most_clients = clients_with_room(tcp.most_clients, list.image.stations.size());
  tcp_server server(answers, tcp);
  const bool has_serial = !settings.serial.empty();
  const bool listens =
      !has_serial || settings.is_told_to_listen || settings.grouping == unit_grouping::address;
  if (listens && !listen_for(settings, list.image, server, told)) return ctl_trouble;
  line_thread line;
  if (has_serial && !line.start(settings, list.image.stations[""], answers, told)) {
    return ctl_trouble;
  }
  server.run(stop);
  const int status = line.end() ? ctl_clean : ctl_trouble;
  print_summary(list, answers.tally(), server.clients(), told);
  return end_with(status, told.out().finish());
}

int run_serve(int argc, char** argv) {
  serve_settings settings;
  if (const auto status = read_options(serve_command, argc, argv, serve_options, settings)) {
    return *status;
  }
  const auto files = operands(argc, argv);
  if (files.size() != 1) return complain_of_use(serve_command, "one file is needed");
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

const command serve_command = {"serve", "[OPTION]... FILE",
                               R"(Answer for the devices of FILE over Modbus.
)",
                               run_serve};

}  // namespace ruvex
