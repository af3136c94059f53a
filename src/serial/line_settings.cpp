#include "line_settings.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace ruvex {
namespace {

// clang-format off
constexpr rate rates[] = {
    {   300, B300,    rate_user::path},
    {   600, B600,    rate_user::path},
    {  1200, B1200,   rate_user::path},
    {  1800, B1800,   rate_user::path},
    {  2400, B2400,   rate_user::number},
    {  4800, B4800,   rate_user::number},
    {  9600, B9600,   rate_user::change},
    { 19200, B19200,  rate_user::change},
    { 38400, B38400,  rate_user::change},
    { 57600, B57600,  rate_user::change},
    {115200, B115200, rate_user::change},
    {230400, B230400, rate_user::path},
    {460800, B460800, rate_user::path},
    {500000, B500000, rate_user::path},
    {576000, B576000, rate_user::path},
    {921600, B921600, rate_user::path},
};
// clang-format on

constexpr line_setting settings[] = {
    {"baud rate", false, true, [](const ser_format& format) { return format.baud; },
     [](const ser_format& format) { return find_rate(format.baud, rate_user::path) != nullptr; },
     [](const termios& tio) -> tcflag_t { return cfgetospeed(&tio); }},
    {"data bits", false, false, [](const ser_format& format) { return format.data_bits; },
     [](const ser_format& format) { return format.data_bits == 7 || format.data_bits == 8; },
     [](const termios& tio) -> tcflag_t { return tio.c_cflag & CSIZE; }},
    {"parity", true, false,
     [](const ser_format& format) -> std::int32_t {
       return static_cast<unsigned char>(format.parity);
     },
     [](const ser_format& format) {
       return format.parity == 'N' || format.parity == 'E' || format.parity == 'O';
     },
     [](const termios& tio) -> tcflag_t { return tio.c_cflag & (PARENB | PARODD); }},
    {"stop bits", false, true, [](const ser_format& format) { return format.stop_bits; },
     [](const ser_format& format) { return format.stop_bits == 1 || format.stop_bits == 2; },
     [](const termios& tio) -> tcflag_t { return tio.c_cflag & CSTOPB; }},
};

const line_setting* or_null(const line_setting* found) {
  return found == std::end(settings) ? nullptr : found;
}

}  // namespace

const rate* find_rate(std::int32_t baud, rate_user user) noexcept {
  const rate* found = std::ranges::find(rates, baud, &rate::baud);
  return found == std::end(rates) || found->last_user < user ? nullptr : found;
}

const line_setting* find_impossible(const ser_format& format) noexcept {
  return or_null(std::ranges::find_if(
      settings, [&](const line_setting& setting) { return !setting.is_possible_in(format); }));
}

const line_setting* find_difference(const termios& wanted, const termios& line,
                                    bool is_pseudo_terminal) noexcept {
  return or_null(std::ranges::find_if(settings, [&](const line_setting& setting) {
    if (is_pseudo_terminal && !setting.is_kept_by_pseudo_terminals) return false;
    return setting.bits_in(wanted) != setting.bits_in(line);
  }));
}

value_text show_value(const line_setting& setting, const ser_format& format) noexcept {
  value_text shown;
  const std::int32_t value = setting.value_in(format);
  const bool is_printable = value > ' ' && value <= '~';
  const char* form = !setting.has_letter ? "%d" : is_printable ? "%c" : "0x%02X";
  std::snprintf(shown.text, sizeof shown.text, form, value);
  return shown;
}

termios make_settings(const ser_format& format) noexcept {
  // What is not named here stays zero: no line editing, no echo, no output processing.
  termios tio = {};
  const speed_t code = find_rate(format.baud, rate_user::path)->code;
  cfsetispeed(&tio, code);
  cfsetospeed(&tio, code);
  tio.c_cflag |= CREAD | CLOCAL | (format.data_bits == 7 ? CS7 : CS8);
  if (format.stop_bits == 2) tio.c_cflag |= CSTOPB;
  if (format.parity != 'N') tio.c_cflag |= PARENB;
  if (format.parity == 'O') tio.c_cflag |= PARODD;
  // With IGNPAR a byte of wrong parity would vanish; ISTRIP would take the eighth bit.
  tio.c_iflag = format.parity == 'N' ? IGNPAR : INPCK;
  return tio;
}

}  // namespace ruvex
