#include "foreign_texts.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

namespace ruvex {
namespace {

using enum text_kind;

struct foreign_text {
  text_kind kind;
  std::string_view theirs;  // as key_of() makes it
  std::string_view ours;    // empty: the controller has none
  std::string_view other;   // the same with the low word first
};

// Each row means exactly what it stands for: no prefix, time or sign is added or lost. What could
// be two things (tons, gallons, "int", "le") has no row.
constexpr foreign_text foreign_texts[] = {
    // clang-format off
    {data_type,   "bit",       "Bit16", {}},
    {data_type,   "bool",      "Bit16", {}},
    {data_type,   "boolean",   "Bit16", {}},
    {data_type,   "uint16",    "16 Bit Unsigned Integer", {}},
    {data_type,   "u16",       "16 Bit Unsigned Integer", {}},
    {data_type,   "unsigned16","16 Bit Unsigned Integer", {}},
    {data_type,   "word",      "16 Bit Unsigned Integer", {}},
    {data_type,   "int16",     "16 Bit Signed Integer", {}},
    {data_type,   "sint16",    "16 Bit Signed Integer", {}},
    {data_type,   "i16",       "16 Bit Signed Integer", {}},
    {data_type,   "s16",       "16 Bit Signed Integer", {}},
    {data_type,   "signed16",  "16 Bit Signed Integer", {}},
    {data_type,   "uint32",    "32 Bit Unsigned Integer HI/LO", "32 Bit Unsigned Integer LO/HI"},
    {data_type,   "u32",       "32 Bit Unsigned Integer HI/LO", "32 Bit Unsigned Integer LO/HI"},
    {data_type,   "unsigned32","32 Bit Unsigned Integer HI/LO", "32 Bit Unsigned Integer LO/HI"},
    {data_type,   "dword",     "32 Bit Unsigned Integer HI/LO", "32 Bit Unsigned Integer LO/HI"},
    {data_type,   "udint",     "32 Bit Unsigned Integer HI/LO", "32 Bit Unsigned Integer LO/HI"},
    {data_type,   "int32",     "32 Bit Signed Integer HI/LO",   "32 Bit Signed Integer LO/HI"},
    {data_type,   "sint32",    "32 Bit Signed Integer HI/LO",   "32 Bit Signed Integer LO/HI"},
    {data_type,   "i32",       "32 Bit Signed Integer HI/LO",   "32 Bit Signed Integer LO/HI"},
    {data_type,   "s32",       "32 Bit Signed Integer HI/LO",   "32 Bit Signed Integer LO/HI"},
    {data_type,   "signed32",  "32 Bit Signed Integer HI/LO",   "32 Bit Signed Integer LO/HI"},
    {data_type,   "dint",      "32 Bit Signed Integer HI/LO",   "32 Bit Signed Integer LO/HI"},
    {data_type,   "float",     "Floating Point HI/LO",          "Floating Point LO/HI"},
    {data_type,   "float32",   "Floating Point HI/LO",          "Floating Point LO/HI"},
    {data_type,   "f32",       "Floating Point HI/LO",          "Floating Point LO/HI"},
    {data_type,   "real",      "Floating Point HI/LO",          "Floating Point LO/HI"},
    {data_type,   "real32",    "Floating Point HI/LO",          "Floating Point LO/HI"},
    {data_type,   "32bitfloat","Floating Point HI/LO",          "Floating Point LO/HI"},
    {object_type, "ai",        "ANALOG_INPUT", {}},
    {object_type, "ao",        "ANALOG_OUTPUT", {}},
    {object_type, "av",        "ANALOG_VALUE", {}},
    {object_type, "bi",        "BINARY_INPUT", {}},
    {object_type, "bo",        "BINARY_OUTPUT", {}},
    {object_type, "bv",        "BINARY_VALUE", {}},
    {object_type, "mi",        "MULTI_STATE_INPUT", {}},
    {object_type, "msi",       "MULTI_STATE_INPUT", {}},
    {object_type, "mo",        "MULTI_STATE_OUTPUT", {}},
    {object_type, "mso",       "MULTI_STATE_OUTPUT", {}},
    {object_type, "mv",        {}, {}},
    {object_type, "msv",       {}, {}},
    {units,       "-",         "NO_UNITS", {}},
    {units,       "none",      "NO_UNITS", {}},
    {units,       "%",         "PERCENT", {}},
    {units,       "%rH",       "PERCENT_RELATIVE_HUMIDITY", {}},
    {units,       "%RH",       "PERCENT_RELATIVE_HUMIDITY", {}},
    {units,       "%r.H.",     "PERCENT_RELATIVE_HUMIDITY", {}},
    {units,       "PERCENT_RH","PERCENT_RELATIVE_HUMIDITY", {}},
    {units,       "ppm",       "PARTS_PER_MILLION", {}},
    {units,       "PPM",      "PARTS_PER_MILLION", {}},
    {units,       "ppb",       "PARTS_PER_BILLION", {}},
    {units,       "C",         "DEGREES_CELCIUS", {}},
    {units,       "degC",      "DEGREES_CELCIUS", {}},
    {units,       "DegC",      "DEGREES_CELCIUS", {}},
    {units,       "DEGC",     "DEGREES_CELCIUS", {}},
    {units,       "Celsius",   "DEGREES_CELCIUS", {}},
    {units,       "F",         "DEGREES_FAHRENHEIT", {}},
    {units,       "degF",      "DEGREES_FAHRENHEIT", {}},
    {units,       "DEGF",     "DEGREES_FAHRENHEIT", {}},
    {units,       "DegF",      "DEGREES_FAHRENHEIT", {}},
    {units,       "K",         "DEGREES_KELVIN", {}},
    {units,       "W",         "WATTS", {}},
    {units,       "kW",        "KILOWATTS", {}},
    {units,       "KW",       "KILOWATTS", {}},
    {units,       "MW",        "MEGAWATTS", {}},
    {units,       "mW",        {}, {}},
    {units,       "GW",        {}, {}},
    {units,       "Wh",        "WATT_HOURS", {}},
    {units,       "kWh",       "KILOWATT_HOURS", {}},
    {units,       "KWh",      "KILOWATT_HOURS", {}},
    {units,       "KWH",      "KILOWATT_HOURS", {}},
    {units,       "kwh",      "KILOWATT_HOURS", {}},
    {units,       "MWh",       {}, {}},
    {units,       "VA",        "VOLT_AMPERES", {}},
    {units,       "kVA",       "KILOVOLT_AMPERES", {}},
    {units,       "KVA",      "KILOVOLT_AMPERES", {}},
    {units,       "MVA",       "MEGAVOLT_AMPERES", {}},
    {units,       "var",       "VOLT_AMPERES_REACTIVE", {}},
    {units,       "kvar",      "KILOVOLT_AMPERES_REACTIVE", {}},
    {units,       "Mvar",      "MEGAVOLT_AMPERES_REACTIVE", {}},
    {units,       "kvarh",     {}, {}},
    {units,       "V",         "VOLTS", {}},
    {units,       "mV",        {}, {}},
    {units,       "kV",        "KILOVOLTS", {}},
    {units,       "MV",        "MEGAVOLTS", {}},
    {units,       "A",         "AMPERES", {}},
    {units,       "mA",        "MILLIAMPERES", {}},
    {units,       "kA",        {}, {}},
    {units,       "Ohm",       "OHMS", {}},
    {units,       "ohm",       "OHMS", {}},
    {units,       "kOhm",      {}, {}},
    {units,       "\xCE\xA9",  "OHMS", {}},
    {units,       "Hz",        "HERTZ", {}},
    {units,       "HZ",       "HERTZ", {}},
    {units,       "J",         "JOULES", {}},
    {units,       "kJ",        "KILOJOULES", {}},
    {units,       "MJ",        {}, {}},
    {units,       "Pa",        "PASCALS", {}},
    {units,       "hPa",       {}, {}},
    {units,       "kPa",       "KILOPASCAL", {}},
    {units,       "bar",       "BAR", {}},
    {units,       "mbar",      {}, {}},
    {units,       "psi",       "POUNDS_FORCE_PER_SQUARE_INCH", {}},
    {units,       "PSI",      "POUNDS_FORCE_PER_SQUARE_INCH", {}},
    {units,       "mmHg",      "MILLIMETERS_OF_MERCURY", {}},
    {units,       "inHg",      "INCHES_OF_MERCURY", {}},
    {units,       "mm",        "MILLIMETER", {}},
    {units,       "cm",        {}, {}},
    {units,       "m",         "METERS", {}},
    {units,       "m2",        "SQUARE_METERS", {}},
    {units,       "m3",        "CUBIC_METERS", {}},
    {units,       "l",         "LITERS", {}},
    {units,       "m3/h",      {}, {}},
    {units,       "m3/s",      "CUBIC_METERS_PER_SECOND", {}},
    {units,       "l/h",       {}, {}},
    {units,       "l/min",     "LITERS_PER_MINUTE", {}},
    {units,       "l/s",       "LITERS_PER_SECOND", {}},
    {units,       "cfm",       "CUBIC_FEET_PER_MINUTE", {}},
    {units,       "CFM",       "CUBIC_FEET_PER_MINUTE", {}},
    {units,       "m/s",       "METERS_PER_SECOND", {}},
    {units,       "km/h",      "KILOMETERS_PER_HOUR", {}},
    {units,       "kg",        "KILOGRAMS", {}},
    {units,       "kg/s",      "KILOGRAMS_PER_SECOND", {}},
    {units,       "kg/h",      "KILOGRAMS_PER_HOUR", {}},
    {units,       "lx",        "LUX", {}},
    {units,       "lm",        "LUMEN", {}},
    {units,       "rpm",       "REVOLUTIONS_PER_MINUTE", {}},
    {units,       "RPM",      "REVOLUTIONS_PER_MINUTE", {}},
    {units,       "1/min",     "PER_MINUTE", {}},
    {units,       "s",         "SECOND", {}},
    {units,       "ms",        {}, {}},
    {units,       "min",       "MINUTE", {}},
    {units,       "h",         "HOUR", {}},
    {units,       "d",         "DAY", {}},
    {units,       "W/m2",      "WATTS_PER_SQUARE_METER", {}},
    // clang-format on
};

struct sign_row {
  std::string_view sign, plain;
};

// The degree sign, the superscripts 2 and 3 and the ordinal that is taken for a degree sign, in
// UTF-8 and in Latin-1.
constexpr sign_row signs[] = {
    {"\xC2\xB0", ""}, {"\xC2\xBA", ""}, {"\xC2\xB2", "2"}, {"\xC2\xB3", "3"},
    {"\xB0", ""},     {"\xB2", "2"},    {"\xB3", "3"},     {" ", ""},
};

// How the table spells a text.
std::string key_of(text_kind kind, std::string_view text) {
  std::string key;
  while (!text.empty()) {
    const auto* const row = std::ranges::find_if(
        signs, [text](const sign_row& sign) { return text.starts_with(sign.sign); });
    const bool is_sign = row != std::end(signs);
    key += is_sign ? row->plain : text.substr(0, 1);
    text.remove_prefix(is_sign ? row->sign.size() : 1);
  }
  if (kind == units) return key;
  std::erase_if(key, [](char character) { return character == '_' || character == '-'; });
  for (char& letter : key) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return key;
}

const foreign_text* find_row(text_kind kind, std::string_view key) noexcept {
  const auto* const row = std::ranges::find_if(foreign_texts, [&](const foreign_text& text) {
    return text.kind == kind && text.theirs == key;
  });
  return row == std::end(foreign_texts) ? nullptr : row;
}

struct order_row {
  std::string_view end;
  bool is_high_first;
};

// The order of words, or of the four bytes A (the highest) to D.
constexpr order_row orders[] = {
    {"be", true}, {"abcd", true}, {"hi/lo", true}, {"cdab", false}, {"lo/hi", false},
};

std::optional<suggestion> find_ordered(std::string_view key) noexcept {
  for (const order_row& order : orders) {
    if (!key.ends_with(order.end)) continue;
    const foreign_text* row = find_row(data_type, key.substr(0, key.size() - order.end.size()));
    if (row == nullptr || row->other.empty()) continue;
    return suggestion{order.is_high_first ? row->ours : row->other, {}};
  }
  return std::nullopt;
}

}  // namespace

std::optional<suggestion> find_foreign_text(text_kind kind, std::string_view text) {
  constexpr std::size_t longest = 40;
  if (text.empty() || text.size() > longest) return std::nullopt;
  const std::string key = key_of(kind, text);
  const foreign_text* const row = find_row(kind, key);
  if (row != nullptr) return suggestion{row->ours, row->other, row->ours.empty()};
  return kind == data_type ? find_ordered(key) : std::nullopt;
}

}  // namespace ruvex
