// ruvexctl serve: the devices of a list, answered for before they are there.

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <string>
#include <string_view>

#include "bus/devices.h"
#include "command.h"
#include "output.h"
#include "points/load.h"
#include "register_image.h"
#include "responder.h"
#include "tcp_server.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct serve_settings {
  std::string address = "127.0.0.1";
  int port = 1502;
  answer_rules rules;
  tcp_settings tcp;
};

bool take_listen(serve_settings& settings, std::string_view argument) {
  const std::size_t colon = argument.rfind(':');
  unsigned long port = 0;
  if (colon == std::string_view::npos) return false;
  if (!parse_number(argument.substr(colon + 1), 65535, port)) return false;
  settings.address = argument.substr(0, colon);
  settings.port = static_cast<int>(port);
  return !settings.address.empty();
}

constexpr choice<bool> ways_with_writes[] = {{"refuse", false}, {"accept", true}};

constexpr option_row<serve_settings> serve_options[] = {
    {"listen", true, take_listen},
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
  register_image image = image_of(devices, unit_grouping::number);
  const int stop = signals_of_end();
  responder answers(settings.rules);
  tcp_server server(answers, settings.tcp);
  const int port = server.listen(settings.address, settings.port, image.stations[""]);
  if (port < 0) return ctl_trouble;
  output out;
  out.put(message("listening on ", settings.address, ":", port, "\n"));
  out.flush();
  server.run(stop);
  out.put(message("requests: ", answers.tally().requests, ", refused: ", answers.tally().refused,
                  ", clients: ", server.clients(), "\n"));
  return end_with(ctl_clean, out.finish());
}

}  // namespace

const command serve_command = {"serve", "[OPTION]... FILE",
                               R"(Answer for the devices of FILE over Modbus.
)",
                               run_serve};

}  // namespace ruvex
