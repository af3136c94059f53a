// What may stand in the elements of a configuration, without the types of the records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "ruvex/cfg/fields.h"

namespace ruvex {

struct known_setting {
  std::string_view name;
  const chk_row* check;
  field_use use;
  std::uint64_t
      slot;  // a bit of its own among those of its record; two names of one setting share it
};

// The settings of a table; the first has the bit with this number.
template <class Record, const auto& Rows>
consteval auto settings_of(std::size_t first_bit) {
  const Record record = {};
  const auto member = [&record](const auto& row) { return row.view(record).view().data(); };
  std::array<known_setting, Rows.size()> settings = {};
  for (std::size_t row = 0; row < Rows.size(); ++row) {
    std::size_t first = 0;
    while (member(Rows[first]) != member(Rows[row])) ++first;
    settings[row] = {tag_text(Rows[row].tag), Rows[row].check, Rows[row].use,
                     std::uint64_t{1} << (first_bit + first)};
  }
  return settings;
}

inline constexpr auto doc_attribute_settings = settings_of<yax_cfg, doc_attributes>(0);
inline constexpr auto doc_element_settings =
    settings_of<yax_cfg, doc_elements>(doc_attributes.size());
inline constexpr auto unit_attribute_settings = settings_of<unit_cfg, unit_attributes>(0);
inline constexpr auto chn_attribute_settings = settings_of<chn_cfg, chn_attributes>(0);
inline constexpr auto chn_element_settings =
    settings_of<chn_cfg, chn_elements>(chn_attributes.size());

// An element that holds settings, and the records in it.
struct record_form {
  std::string_view name;
  std::span<const known_setting> attributes;
  std::span<const known_setting> elements;
  const record_form* child;  // null where it holds no records
};

inline constexpr record_form chn_form = {"chn_cfg", chn_attribute_settings, chn_element_settings,
                                         nullptr};
inline constexpr record_form unit_form = {"unit_cfg", unit_attribute_settings, {}, &chn_form};
inline constexpr record_form doc_form = {"yax_cfg", doc_attribute_settings, doc_element_settings,
                                         &unit_form};

// The setting with this name; null when there is none.
constexpr const known_setting* find_setting(std::span<const known_setting> settings,
                                            std::string_view name) noexcept {
  for (const known_setting& setting : settings) {
    if (setting.name == name) return &setting;
  }
  return nullptr;
}

}  // namespace ruvex
