#include "serve_options.h"

#include <string_view>

#include "text/texts.h"

namespace ruvex {
namespace {

// ADDRESS:PORT, or [ADDRESS]:PORT with an IPv6 address.
bool take_listen(serve_settings& settings, std::string_view argument) {
  const std::size_t colon = argument.rfind(':');
  unsigned long port = 0;
  if (colon == std::string_view::npos) return false;
  if (!parse_number(argument.substr(colon + 1), 65535, port)) return false;
  std::string_view address = argument.substr(0, colon);
  const bool has_brackets = address.starts_with('[') && address.ends_with(']');
  if (has_brackets) address = address.substr(1, address.size() - 2);
  const bool has_colons = address.find(':') != std::string_view::npos;
  settings.address = address;
  settings.port = static_cast<int>(port);
  settings.is_told_to_listen = true;
  return !address.empty() && has_colons == has_brackets;
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
       settings.most_clients = most;
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
     [](serve_settings& settings, std::string_view) { return settings.ends_after_client = true; }},
};

}  // namespace

std::optional<int> read_serve_options(int argc, char** argv, serve_settings& settings) {
  return read_options(serve_command, argc, argv, serve_options, settings);
}

void take_line_of(const yax_cfg& doc, serve_settings& settings) {
  constexpr choice<char> parities[] = {{"NONE", 'N'}, {"EVEN", 'E'}, {"ODD", 'O'}};
  const bool is_rtu = doc.protocol.empty() || doc.protocol == "RTU";
  if (!is_rtu && !settings.serial.empty()) {
    complain("the document has %s on its line; what is served is RTU", doc.protocol.c_str());
  }
  char parity = 0;
  if (settings.has_line || !choose(parities, doc.parity.view(), parity)) return;
  std::string text = message(doc.baudrate.view(), ",8");
  text += parity;
  text += '1';
  serParseFormat(text.c_str(), settings.line);
}

}  // namespace ruvex
