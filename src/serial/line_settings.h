// What a line can be set to: the speeds, and the parts of a character format.
#pragma once

#include <termios.h>

#include <cstdint>

#include "ruvex/serial/format.h"

namespace ruvex {

// Each takes the rates of those after it as well.
enum class rate_user : std::uint8_t { path, number, change };

struct rate {
  std::int32_t baud;
  speed_t code;
  rate_user last_user;
};

// Null when the user does not take this rate.
const rate* find_rate(std::int32_t baud, rate_user user) noexcept;

// A part of a format.
struct line_setting {
  const char* name;  // for people
  bool has_letter;   // its value is a character, not a number
  bool is_kept_by_pseudo_terminals;
  std::int32_t (*value_in)(const ser_format& format);
  bool (*is_possible_in)(const ser_format& format);
  tcflag_t (*bits_in)(const termios& tio);
};

// The first setting that is none of those listed in ser_format; null when there is none.
const line_setting* find_impossible(const ser_format& format) noexcept;

// The first setting in which a line differs from what was asked for; null when there is none.
const line_setting* find_difference(const termios& wanted, const termios& line,
                                    bool is_pseudo_terminal) noexcept;

// The value of a setting as it is shown to people.
struct value_text {
  char text[12];
};
value_text show_value(const line_setting& setting, const ser_format& format) noexcept;

// Raw settings for a format without anything impossible; without a time-out.
termios make_settings(const ser_format& format) noexcept;

}  // namespace ruvex
