// The constant text of an element, prepared once for many records.
//
// Between two settings of an element stands text that is the same for every record: the end of one
// element, the line end, the indentation and the start of the next are one run. A layout holds
// these runs for one element at one indentation, and writing a record is then a walk over run,
// setting, run, setting. Without runs a converted point takes 3.3 times the instructions.
//
// Runs and settings are copied in pieces of a fixed size that may reach beyond their end, into
// bytes that the next piece overwrites: the length only says how far to move on, and no copy needs
// a loop. Copies of the exact length would take 17 % more.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "block_out.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/cfg/text.h"

namespace ruvex {

class text_run {
 public:
  text_run& operator+=(std::string_view characters) noexcept {
    const std::size_t count = std::min(characters.size(), capacity - size_);
    std::memcpy(chars_.data() + size_, characters.data(), count);
    size_ += count;
    return *this;
  }

  std::size_t size() const noexcept { return size_; }

  // Copies the run to `to`, where there is room for `piece` bytes or, if it is longer, all of it,
  // and returns the place after it. A layout whose runs are all short says so, and none of its
  // copies looks at a length, which saves 2 %.
  enum class length { any, short_ };
  template <length Known>
  char* copy_to(char* to) const noexcept {
    if (Known == length::short_ || size_ <= piece) {
      std::memcpy(to, chars_.data(), piece);
    } else {
      std::memcpy(to, chars_.data(), size_);
    }
    return to + size_;
  }

  static constexpr std::size_t piece = 48;  // holds any run at the usual indentations

 private:
  static constexpr std::size_t capacity = 192;  // holds any run at the deepest
  std::array<char, capacity> chars_ = {};
  std::size_t size_ = 0;
};

inline char* copy_to(char* to, text_view setting) noexcept {
  std::memcpy(to, setting.data(), setting.capacity());
  return to + setting.length();
}

// The deepest indentation that is written, in TABs.
inline constexpr unsigned deepest_level = 127;

// One TAB for each of `level` levels, up to the deepest indentation.
inline std::string_view tabs(unsigned level) noexcept {
  static constexpr auto characters = [] {
    std::array<char, deepest_level> tab_characters = {};
    tab_characters.fill('\t');
    return tab_characters;
  }();
  return {characters.data(), std::min(level, deepest_level)};
}

template <class Record>
inline constexpr std::array<field<Record>, 0> no_fields = {};

// An element's start tag with Attributes, and behind it a line for each of Elements.
template <class Record, const auto& Attributes, const auto& Elements>
class element_layout {
 public:
  // The element `tag_id` at `level`, its children one level deeper. Its end tag is included when
  // `with_end`; an element that has other children gets it later.
  element_layout(std::int32_t tag_id, unsigned level, bool with_end) noexcept {
    const std::string_view name = tag_text(tag_id);
    ((current() += tabs(level)) += "<") += name;
    add_attributes();
    current() += ">\r\n";
    add_elements(level + 1);
    if (with_end) (((current() += tabs(level)) += "</") += name) += ">\r\n";
    sum_bound();
  }

  // The children alone, at `level`.
  explicit element_layout(unsigned level) noexcept {
    static_assert(Attributes.size() == 0, "they belong to a start tag");
    add_elements(level);
    sum_bound();
  }

  void put(block_out& out, const Record& record) const noexcept {
    char* at = out.reserve(bound_);
    at = all_short_ ? copy_all<text_run::length::short_>(at, record)
                    : copy_all<text_run::length::any>(at, record);
    out.commit(at);
  }

 private:
  text_run& current() noexcept { return runs_[count_]; }

  void add_attributes() noexcept {
    for (const auto& attribute : Attributes) {
      ((current() += " ") += tag_text(attribute.tag)) += "=\"";
      ++count_;
      current() += "\"";
    }
  }

  void add_elements(unsigned level) noexcept {
    for (const auto& element : Elements) {
      (((current() += tabs(level)) += "<") += tag_text(element.tag)) += ">";
      ++count_;
      ((current() += "</") += tag_text(element.tag)) += ">\r\n";
    }
  }

  // The most that copying a record touches.
  void sum_bound() noexcept {
    const Record nothing = {};
    for (const text_run& run : runs_) {
      bound_ += std::max(run.size(), text_run::piece);
      if (run.size() > text_run::piece) all_short_ = false;
    }
    for (const auto& attribute : Attributes) bound_ += attribute.view(nothing).capacity();
    for (const auto& element : Elements) bound_ += element.view(nothing).capacity();
  }

  template <text_run::length Known>
  char* copy_all(char* at, const Record& record) const noexcept {
    const text_run* run = runs_.data();
    at = copy_fields<Known, Attributes>(at, run, record,
                                        std::make_index_sequence<Attributes.size()>());
    at = copy_fields<Known, Elements>(at, run, record, std::make_index_sequence<Elements.size()>());
    return run->copy_to<Known>(at);
  }

  // Unrolled, so that every setting is reached directly and its width is known.
  template <text_run::length Known, const auto& Rows, std::size_t... Row>
  static char* copy_fields(char* at, const text_run*& run, const Record& record,
                           std::index_sequence<Row...>) noexcept {
    ((at = copy_to(run++->template copy_to<Known>(at), Rows[Row].view(record))), ...);
    return at;
  }

  std::array<text_run, Attributes.size() + Elements.size() + 1> runs_;
  std::size_t count_ = 0;
  std::size_t bound_ = 0;
  bool all_short_ = true;
};

}  // namespace ruvex
