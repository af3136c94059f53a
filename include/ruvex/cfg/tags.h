// The names of the configuration document: its elements and attributes.
//
// The tag table is constant and kept in two views, by id for writing and by text for reading. The
// comparators state the two orders.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvex {

struct tag_row {
  std::int32_t id;
  const char* text;  // null in the end row
};

// Every tag, in id order, and an end row (-1, null): tag `id` stands in row `id`.
// clang-format off
inline constexpr auto tag_str = std::to_array<tag_row>({
    { 0, "yax_cfg"},        { 1, "cfg_version"},    { 2, "name"},           { 3, "instance"},
    { 4, "bac_udp_port"},   { 5, "bac_bbmd_ip"},    { 6, "bac_ttl"},        { 7, "bac_rpm"},
    { 8, "boot_protocol"},  { 9, "ip_addr"},        {10, "netmask"},        {11, "gateway"},
    {12, "dns1"},           {13, "dns2"},           {14, "timezone"},       {15, "ntp_enable"},
    {16, "ntp_server"},     {17, "ntp_refresh"},    {18, "dst_enable"},     {19, "dst_on_mon"},
    {20, "dst_on_dom"},     {21, "dst_on_hr"},      {22, "dst_off_mon"},    {23, "dst_off_dom"},
    {24, "dst_off_hr"},     {25, "ofl_poll_delay"}, {26, "yax_poll_delay"}, {27, "mcd_poll_delay"},
    {28, "sys_read_delay"}, {29, "sys_read_max"},   {30, "type"},           {31, "baudrate"},
    {32, "protocol"},       {33, "parity"},         {34, "timeout"},        {35, "ifgap"},
    {36, "unit_cfg"},       {37, "poll_delay"},     {38, "ip_address"},     {39, "address"},
    {40, "chn_cfg"},        {41, "chn_type"},       {42, "bac_type"},       {43, "bac_units"},
    {44, "bac_cov_pct"},    {45, "bac_cov_inc"},    {46, "bac_desc"},       {47, "scl_dev_lo"},
    {48, "scl_dev_hi"},     {49, "scl_usr_lo"},     {50, "scl_usr_hi"},     {51, "inp_filter"},
    {52, "inp_level_lo"},   {53, "inp_level_hi"},   {54, "pulse_period"},   {55, "temp_offset"},
    {56, "temp_units"},     {57, "reg_group_en"},   {58, "reg_mask"},       {59, "reg_restart"},
    {60, "reg_num"},        {61, "reg_size"},       {62, "reg_endian"},     {63, "reg_format"},
    {64, "reg_fcn"},        {65, "initial_val"},    {66, "alarm_lo"},       {67, "alarm_hi"},
    {68, "hoa_switch"},     {69, "override_val"},   {70, "limit_lo"},       {71, "limit_hi"},
    {72, "persistent"},
    {-1, nullptr},
});
// clang-format on

inline constexpr std::size_t tag_count = tag_str.size() - 1;

// The text of the tag `id`, which is one of the ids.
constexpr const char* tag_text(std::int32_t id) noexcept {
  return tag_str[static_cast<std::size_t>(id)].text;
}

// Orders rows by id: -1, 0 or 1.
constexpr int tag_idx_sort(const tag_row& a, const tag_row& b) noexcept {
  return a.id < b.id ? -1 : a.id > b.id ? 1 : 0;
}

static_assert(tag_idx_sort({1, nullptr}, {2, nullptr}) == -1 &&
              tag_idx_sort({2, nullptr}, {-1, nullptr}) == 1 &&
              tag_idx_sort({5, nullptr}, {5, nullptr}) == 0);

// Orders rows by their texts, byte for byte: negative, 0 or positive.
constexpr int tag_str_sort(const tag_row& a, const tag_row& b) noexcept {
  return std::string_view(a.text).compare(b.text);
}

// Compares a name that is looked for with a row's text in the same way.
constexpr int tag_str_find(std::string_view name, const tag_row& row) noexcept {
  return name.compare(row.text);
}

// The tags in the order of their texts, without an end row.
inline constexpr std::array<tag_row, tag_count> tag_str_by_text = [] {
  std::array<tag_row, tag_count> rows = {};
  std::copy_n(tag_str.begin(), tag_count, rows.begin());
  std::sort(rows.begin(), rows.end(),
            [](const tag_row& a, const tag_row& b) { return tag_str_sort(a, b) < 0; });
  return rows;
}();

// The id of the tag with exactly this text; -1 when there is none.
constexpr std::int32_t find_tag(std::string_view name) noexcept {
  const auto* row = std::partition_point(
      tag_str_by_text.data(), tag_str_by_text.data() + tag_count,
      [name](const tag_row& candidate) { return tag_str_find(name, candidate) > 0; });
  const bool found = row != tag_str_by_text.data() + tag_count && tag_str_find(name, *row) == 0;
  return found ? row->id : -1;
}

void no_such_tag();  // never defined: a call of it cannot be evaluated at compile time

// The id of a tag that the code itself names; a text that is no tag does not compile.
consteval std::int32_t tag(std::string_view name) {
  const std::int32_t id = find_tag(name);
  if (id < 0) no_such_tag();
  return id;
}

static_assert([] {
  for (std::size_t row = 0; row < tag_count; ++row) {
    if (tag_str[row].id != static_cast<std::int32_t>(row)) return false;
    if (find_tag(tag_str[row].text) != tag_str[row].id) return false;
  }
  return tag_str[tag_count].id == -1 && tag_str[tag_count].text == nullptr;
}());
static_assert(find_tag("") == -1 && find_tag("Name") == -1 && find_tag("zone") == -1);

}  // namespace ruvex
