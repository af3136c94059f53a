#include "ruvex/cfg/tables.h"

#include <cstddef>
#include <string_view>

namespace ruvex {
namespace {

constexpr chk_row enumeration = {chk_kind_enum, nullptr};
constexpr chk_row end_row = {-1, nullptr};

}  // namespace

// clang-format off

constexpr chk_row
    chk_binary[]             = {{chk_kind_short, nullptr}, {chk_kind_short, "0"}, {chk_kind_short, "1"}, end_row},
    chk_norange_short[]      = {{chk_kind_short, nullptr}, end_row},
    chk_norange_long[]       = {{chk_kind_long, nullptr}, end_row},
    chk_norange_float[]      = {{chk_kind_float, nullptr}, end_row},
    chk_bac_ttl[]            = {{chk_kind_long, nullptr}, {chk_kind_long, "0"}, {chk_kind_long, "65535"}, end_row},
    chk_pulse_period_dev[]   = {{chk_kind_long, nullptr}, {chk_kind_long, "0"}, {chk_kind_long, "2147483647"}, end_row},
    chk_pulse_period_usr[]   = {{chk_kind_float, nullptr}, {chk_kind_float, "0"}, {chk_kind_float, "2147483"}, end_row},
    chk_temp_offset_dev[]    = {{chk_kind_short, nullptr}, {chk_kind_short, "-100"}, {chk_kind_short, "100"}, end_row},
    chk_temp_offset_usr[]    = {{chk_kind_float, nullptr}, {chk_kind_float, "-10"}, {chk_kind_float, "10"}, end_row},
    chk_range_pshort[]       = {{chk_kind_short, nullptr}, {chk_kind_short, "0"}, {chk_kind_short, "32767"}, end_row},
    chk_range_volts[]        = {{chk_kind_float, nullptr}, {chk_kind_float, "0"}, {chk_kind_float, "10"}, end_row},
    chk_range_mv[]           = {{chk_kind_short, nullptr}, {chk_kind_short, "0"}, {chk_kind_short, "10000"}, end_row},
    chk_range_ma[]           = {{chk_kind_float, nullptr}, {chk_kind_float, "0"}, {chk_kind_float, "20"}, end_row},
    chk_range_ma_100[]       = {{chk_kind_short, nullptr}, {chk_kind_short, "0"}, {chk_kind_short, "2000"}, end_row},
    chk_name_len[]           = {{chk_kind_length, nullptr}, {64, nullptr}, end_row},
    chk_param_len[]          = {{chk_kind_length, nullptr}, {32, nullptr}, end_row},
    chk_ip_address[]         = {{chk_kind_ip, nullptr}, {chk_kind_ip, nullptr}, end_row},
    chk_node_address[]       = {{chk_kind_short, nullptr}, {chk_kind_short, "1"}, {chk_kind_short, "247"}, end_row},
    chk_inp_filter[]         = {{chk_kind_short, nullptr}, {chk_kind_short, "0"}, {chk_kind_short, "12"}, end_row},
    chk_reg_num[]            = {{chk_kind_short, nullptr}, {chk_kind_short, "1"}, {chk_kind_short, "2"}, end_row},
    chk_bac_instance[]       = {{chk_kind_long, nullptr}, {chk_kind_long, "0"}, {chk_kind_long, "4194302"}, end_row},
    chk_bac_cov_inc[]        = {{chk_kind_float, nullptr}, {chk_kind_float, "0"}, {chk_kind_float, "16777215"}, end_row};

constexpr chk_row chk_sys_type[] = {
    enumeration, {0, "YAX_REMOTE"}, {1, "YAX_GATEWAY"}, {2, "YAX_SINGLE_BOARD"}, end_row};

constexpr chk_row chk_unit_type[] = {
    enumeration, {0, "MODBUS"}, {1, "YAX_TYPE1"}, {2, "VIRTUAL"}, {3, "MODBUS_TCP"}, end_row};

constexpr chk_row chk_boot_protocol[] = {
    enumeration, {0, "NONE"}, {1, "DHCP"}, end_row};

constexpr chk_row chk_hoa_switch[] = {
    enumeration, {0, "AUTO"}, {1, "OFF"}, {2, "HAND"}, end_row};

constexpr chk_row chk_baudrate[] = {
    enumeration, {0, "2400"}, {1, "4800"}, {2, "9600"}, {3, "19200"}, {4, "38400"}, {5, "57600"}, {6, "115200"}, {7, "230400"}, end_row};

constexpr chk_row chk_protocol[] = {
    enumeration, {0, "ASCII"}, {1, "RTU"}, {2, "DF1"}, end_row};

constexpr chk_row chk_parity[] = {
    enumeration, {0, "NONE"}, {1, "EVEN"}, {2, "ODD"}, end_row};

constexpr chk_row chk_temp_units[] = {
    enumeration, {0, "CELCIUS"}, {1, "FAHRENHEIT"}, end_row};

constexpr chk_row chk_endian_mode[] = {
    enumeration, {0, "LITTLE"}, {1, "BIG"}, end_row};

constexpr chk_row chk_reg_format[] = {
    enumeration, {0, "UNSIGNED"}, {1, "SIGNED"}, {2, "FLOAT"}, end_row};

constexpr chk_row chk_reg_fcn[] = {
    enumeration, {1, "1"}, {2, "2"}, {3, "3"}, {4, "4"}, {5, "5"}, {6, "6"}, {15, "15"}, {16, "16"}, end_row};

constexpr chk_row chk_progmode[] = {
    enumeration, {0, "ONLINE"}, {1, "OFFLINE"}, end_row};

constexpr chk_row chk_fcn[] = {
    enumeration, {0, "ADD"}, {1, "DELETE"}, {2, "MOVE_UP"}, {3, "MOVE_DN"}, {4, "COMMIT"}, end_row};

constexpr chk_row chk_chn_type[] = {
    enumeration,
    { 0, "INPUT_RAW"},       { 1, "INPUT_5A"},        { 2, "INPUT_5D"},
    { 3, "INPUT_10A"},       { 4, "INPUT_10D"},       { 5, "INPUT_20MA"},
    { 6, "INPUT_THM_10KT2"}, { 7, "INPUT_THM_10KT3"}, { 8, "INPUT_RES"},
    { 9, "INPUT_PULSE"},     {10, "INPUT_MCD_BIN"},   {11, "INPUT_MCD_IREG"},
    {12, "INPUT_MCD_HREG"},  {13, "OUTPUT_RAW"},      {14, "OUTPUT_5A"},
    {15, "OUTPUT_5D"},       {16, "OUTPUT_10A"},      {17, "OUTPUT_10D"},
    {18, "OUTPUT_20MA"},     {19, "OUTPUT_RLY"},      {20, "OUTPUT_MCD_BIN"},
    {21, "OUTPUT_MCD_HREG"},
    end_row,
};

constexpr chk_row chk_bac_type[] = {
    enumeration,
    { 0, "ANALOG_INPUT"},      { 1, "ANALOG_OUTPUT"},     { 2, "ANALOG_VALUE"},
    { 3, "BINARY_INPUT"},      { 4, "BINARY_OUTPUT"},     { 5, "BINARY_VALUE"},
    { 6, "CALENDAR"},          { 7, "COMMAND"},           { 8, "DEVICE"},
    { 9, "EVENT_ENROLLMENT"},  {10, "FILE_0"},            {11, "GROUP"},
    {12, "LOOP"},              {13, "MULTI_STATE_INPUT"}, {14, "MULTI_STATE_OUTPUT"},
    {15, "NOTIFICATIONCLASS"}, {16, "PROGRAM"},           {17, "SCHEDULE"},
    end_row,
};

constexpr chk_row chk_bac_units[] = {
    enumeration,
    {  0, "SQUARE_METERS"},                 {  1, "SQUARE_FEET"},
    {  2, "MILLIAMPERES"},                  {  3, "AMPERES"},
    {  4, "OHMS"},                          {  5, "VOLTS"},
    {  6, "KILOVOLTS"},                     {  7, "MEGAVOLTS"},
    {  8, "VOLT_AMPERES"},                  {  9, "KILOVOLT_AMPERES"},
    { 10, "MEGAVOLT_AMPERES"},              { 11, "VOLT_AMPERES_REACTIVE"},
    { 12, "KILOVOLT_AMPERES_REACTIVE"},     { 13, "MEGAVOLT_AMPERES_REACTIVE"},
    { 14, "DEGREES_PHASE"},                 { 15, "POWER_FACTOR"},
    { 16, "JOULES"},                        { 17, "KILOJOULES"},
    { 18, "WATT_HOURS"},                    { 19, "KILOWATT_HOURS"},
    { 20, "BTU"},                           { 21, "THERM"},
    { 22, "TON_HOR"},                       { 23, "JOULES_PER_KILOGRAM_DRY_AIR"},
    { 24, "BTU_PER_POUND_DRY_AIR"},         { 25, "CYCLES_PER_HOUR"},
    { 26, "CYCLES_PER_MINUTE"},             { 27, "HERTZ"},
    { 28, "GRAMS_WATER_PER_KG_DRY_AIR"},    { 29, "PERCENT_RELATIVE_HUMIDITY"},
    { 30, "MILLIMETER"},                    { 31, "METERS"},
    { 32, "INCH"},                          { 33, "FEET"},
    { 34, "WATTS_PER_SQUARE_FOOT"},         { 35, "WATTS_PER_SQUARE_METER"},
    { 36, "LUMEN"},                         { 37, "LUX"},
    { 38, "FOOT_CANDLES"},                  { 39, "KILOGRAMS"},
    { 40, "POUNDS_MASS"},                   { 41, "TONS"},
    { 42, "KILOGRAMS_PER_SECOND"},          { 43, "KILOGRAMS_PER_MINUTE"},
    { 44, "KILOGRAMS_PER_HOUR"},            { 45, "POUNDS_MASS_PER_MINUTE"},
    { 46, "POUNDS_MASS_PER_HOUR"},          { 47, "WATTS"},
    { 48, "KILOWATTS"},                     { 49, "MEGAWATTS"},
    { 50, "BTU_PER_HOUR"},                  { 51, "HORSEPOWER"},
    { 52, "TONS_REFRIGERATIONS"},           { 53, "PASCALS"},
    { 54, "KILOPASCAL"},                    { 55, "BAR"},
    { 56, "POUNDS_FORCE_PER_SQUARE_INCH"},  { 57, "CENTIMETERS_OF_WATER"},
    { 58, "INCHES_OF_WATER"},               { 59, "MILLIMETERS_OF_MERCURY"},
    { 60, "CENTIMETERS_OF_MERCURY"},        { 61, "INCHES_OF_MERCURY"},
    { 62, "DEGREES_CELCIUS"},               { 63, "DEGREES_KELVIN"},
    { 64, "DEGREES_FAHRENHEIT"},            { 65, "DEGREE_DAYS_CELCIUS"},
    { 66, "DEGREE_DAYS_FAHRENHEIT"},        { 67, "YEAR"},
    { 68, "MONTH"},                         { 69, "WEEK"},
    { 70, "DAY"},                           { 71, "HOUR"},
    { 72, "MINUTE"},                        { 73, "SECOND"},
    { 74, "METERS_PER_SECOND"},             { 75, "KILOMETERS_PER_HOUR"},
    { 76, "FEET_PER_SECOND"},               { 77, "FEET_PER_MINUTE"},
    { 78, "MILES_PER_HOUR"},                { 79, "CUBIC_FEET"},
    { 80, "CUBIC_METERS"},                  { 81, "IMPERIAL_GALLONS"},
    { 82, "LITERS"},                        { 83, "US_GALLONS"},
    { 84, "CUBIC_FEET_PER_MINUTE"},         { 85, "CUBIC_METERS_PER_SECOND"},
    { 86, "IMPERIAL_GALLONS_PER_MINUTE"},   { 87, "LITERS_PER_SECOND"},
    { 88, "LITERS_PER_MINUTE"},             { 89, "US_GALLONS_PER_MINUTE"},
    { 90, "DEGREES_ANGULAR"},               { 91, "DEGREES_CELSIUS_PER_HOUR"},
    { 92, "DEGREES_CELSIUS_PER_MINUTE"},    { 93, "DEGREES_FAHRENHEIT_PER_HOUR"},
    { 94, "DEGREES_FAHRENHEIT_PER_MINUTE"}, { 95, "NO_UNITS"},
    { 96, "PARTS_PER_MILLION"},             { 97, "PARTS_PER_BILLION"},
    { 98, "PERCENT"},                       { 99, "PERCENT_PER_SECOND"},
    {100, "PER_MINUTE"},                    {101, "PER_SECOND"},
    {102, "PSI_PER_DEGREE_FAHRENHEIT"},     {103, "RADIANS"},
    {104, "REVOLUTIONS_PER_MINUTE"},
    end_row,
};

// clang-format on

namespace {

// In a table of consecutive values, row 0 being the header, value v stands in row v + 1.
template <std::size_t Size>
constexpr bool counts_from_zero(const chk_row (&table)[Size]) {
  for (std::size_t row = 1; row + 1 < Size; ++row) {
    if (table[row].value != static_cast<std::int32_t>(row) - 1) return false;
  }
  return table[Size - 1].value == -1;
}

template <std::size_t Size>
constexpr bool has(const chk_row (&table)[Size], std::int32_t value, std::string_view text) {
  for (std::size_t row = 1; row + 1 < Size; ++row) {
    if (table[row].value == value) return table[row].text == text;
  }
  return false;
}

template <std::size_t Size>
constexpr std::size_t data_rows(const chk_row (&)[Size]) {
  return Size - 2;
}

static_assert(counts_from_zero(chk_chn_type) && data_rows(chk_chn_type) == 22);
static_assert(counts_from_zero(chk_bac_type) && data_rows(chk_bac_type) == 18);
static_assert(counts_from_zero(chk_bac_units) && data_rows(chk_bac_units) == 105);
static_assert(counts_from_zero(chk_unit_type) && counts_from_zero(chk_baudrate));
static_assert(has(chk_unit_type, unit_type::modbus, "MODBUS"));
static_assert(has(chk_unit_type, unit_type::yax_type1, "YAX_TYPE1"));
static_assert(has(chk_unit_type, unit_type::virtual_, "VIRTUAL"));
static_assert(has(chk_unit_type, unit_type::modbus_tcp, "MODBUS_TCP"));
static_assert(has(chk_chn_type, chn_type::input_10a, "INPUT_10A"));
static_assert(has(chk_chn_type, chn_type::input_mcd_bin, "INPUT_MCD_BIN"));
static_assert(has(chk_chn_type, chn_type::input_mcd_ireg, "INPUT_MCD_IREG"));
static_assert(has(chk_chn_type, chn_type::input_mcd_hreg, "INPUT_MCD_HREG"));
static_assert(has(chk_chn_type, chn_type::output_rly, "OUTPUT_RLY"));
static_assert(has(chk_chn_type, chn_type::output_mcd_bin, "OUTPUT_MCD_BIN"));
static_assert(has(chk_chn_type, chn_type::output_mcd_hreg, "OUTPUT_MCD_HREG"));
static_assert(has(chk_bac_type, bac_type::binary_output, "BINARY_OUTPUT"));
static_assert(has(chk_bac_units, bac_units::volts, "VOLTS"));
static_assert(has(chk_bac_units, bac_units::no_units, "NO_UNITS"));

}  // namespace

const char* enum_to_str(const chk_row* table, std::int32_t value) noexcept {
  for (const chk_row* row = table + 1; row->value != -1; ++row) {
    if (row->value == value) return row->text;
  }
  return nullptr;
}

std::int32_t str_to_enum(const chk_row* table, const char* text) noexcept {
  if (text == nullptr) return -1;
  const std::string_view wanted = text;
  for (const chk_row* row = table + 1; row->value != -1; ++row) {
    if (row->text != nullptr && row->text == wanted) return row->value;
  }
  return -1;
}

}  // namespace ruvex
