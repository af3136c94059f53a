#include "poll_settings.h"

#include "ruvex/modbus/client.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr unsigned long longest_ms = 86400000;

constexpr choice<poll_format> poll_formats[] = {
    {"table", poll_format::table},
    {"csv", poll_format::csv},
    {"json", poll_format::json},
    {"html", poll_format::html},
};

// A number from `least` to `most` into `place`, of any integral type that holds them.
template <class Number>
bool take_number(std::string_view text, unsigned long least, unsigned long most, Number& place) {
  unsigned long number = 0;
  if (!parse_number(text, most, number) || number < least) return false;
  place = static_cast<Number>(number);
  return true;
}

bool is_port(std::string_view text) noexcept {
  return is_number_within(text, 1, 65535);
}

// HOST, HOST:PORT, [HOST]:PORT; an IPv6 address without brackets has no port.
bool take_place(std::string_view text, tcp_place& place) {
  place.service = "502";
  std::string_view behind;
  if (text.starts_with('[')) {
    const std::size_t end = text.find(']');
    if (end == std::string_view::npos) return false;
    behind = text.substr(end + 1);
    text = text.substr(1, end - 1);
  } else if (const std::size_t colon = text.find(':'); colon == text.rfind(':')) {
    behind = colon == std::string_view::npos ? "" : text.substr(colon);
    text = text.substr(0, colon);
  }
  place.host = text;
  if (behind.empty()) return !text.empty();
  place.service = behind.substr(1);
  return !text.empty() && behind.front() == ':' && is_port(place.service);
}

template <auto Member>
bool take_flag(poll_settings& settings, std::string_view) {
  return settings.*Member = true;
}

template <auto Member>
bool take_path(poll_settings& settings, std::string_view argument) {
  settings.*Member = argument.data();
  return !argument.empty();
}

constexpr option_row<poll_settings> poll_options[] = {
    {"serial", true,
     [](poll_settings& settings, std::string_view argument) {
       settings.transport.serial = argument;
       return !argument.empty();
     }},
    {"line", true,
     [](poll_settings& settings, std::string_view argument) {
       settings.has_format = true;
       return serParseFormat(argument.data(), settings.transport.format);
     }},
    {"port", true,
     [](poll_settings& settings, std::string_view argument) {
       settings.transport.service = argument;
       return is_port(argument);
     }},
    {"via", true,
     [](poll_settings& settings, std::string_view argument) {
       return take_place(argument, settings.transport.via);
     }},
    {"unit", true,
     [](poll_settings& settings, std::string_view argument) {
       settings.selection.units = argument;
       return !argument.empty();
     }},
    {"points", true,
     [](poll_settings& settings, std::string_view argument) {
       settings.selection.points = argument;
       return !argument.empty();
     }},
    {"timeout", true,
     [](poll_settings& settings, std::string_view argument) {
       return take_number(argument, 1, 600000, settings.transport.timeout_ms);
     }},
    {"retries", true,
     [](poll_settings& settings, std::string_view argument) {
       return take_number(argument, 0, 100, settings.transport.retries);
     }},
    {"delay", true,
     [](poll_settings& settings, std::string_view argument) {
       return take_number(argument, 0, longest_ms, settings.reader.delay_ms);
     }},
    {"block", true,
     [](poll_settings& settings, std::string_view argument) {
       return take_number(argument, 1, mod_most_registers_read, settings.reader.limits.registers);
     }},
    {"gap", true,
     [](poll_settings& settings, std::string_view argument) {
       return take_number(argument, 0, mod_most_registers_read, settings.reader.limits.gap);
     }},
    {"count", true,
     [](poll_settings& settings, std::string_view argument) {
       return parse_number(argument, 1000000000, settings.count);
     }},
    {"interval", true,
     [](poll_settings& settings, std::string_view argument) {
       return parse_number(argument, longest_ms, settings.interval_ms);
     }},
    {"expect", true, take_path<&poll_settings::expected>},
    {"tolerance", true,
     [](poll_settings& settings, std::string_view argument) {
       return parse_tolerance(argument, settings.tolerance);
     }},
    {"format", true,
     [](poll_settings& settings, std::string_view argument) {
       return choose(poll_formats, argument, settings.format);
     }},
    {"wide", false, take_flag<&poll_settings::is_wide>},
    {"output", true, take_path<&poll_settings::output>},
    {"plan", false, take_flag<&poll_settings::is_plan>},
    {"trace", false,
     [](poll_settings& settings, std::string_view) { return settings.reader.is_traced = true; }},
    {"force", false, take_flag<&poll_settings::is_forced>},
};

}  // namespace

std::optional<int> read_poll_settings(int argc, char** argv, poll_settings& settings) {
  if (const auto status = read_options(poll_command, argc, argv, poll_options, settings)) {
    return status;
  }
  const bool has_two_lines =
      !settings.transport.serial.empty() && !settings.transport.via.host.empty();
  if (has_two_lines) return complain_of_use(poll_command, "--serial and --via exclude each other");
  if (settings.format == poll_format::html && settings.count != 1) {
    return complain_of_use(poll_command, "--format=html is the record of one time");
  }
  if (operands(argc, argv).size() != 1) return complain_of_use(poll_command, "one file is needed");
  return std::nullopt;
}

}  // namespace ruvex
