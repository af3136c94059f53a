// A unit file or a configuration document, examined beside what the library's reader makes of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document_parts.h"
#include "document_repeats.h"
#include "document_settings.h"
#include "report/rules.h"
#include "ruvex/cfg/edit.h"
#include "text/file_kind.h"

namespace ruvex {

// Finds what the reader refuses, which is one finding; otherwise what it ignores, what is not in
// its check table, and what is there twice.
class document_check {
 public:
  // `content`, of this kind, is not empty, has at most 2^31 - 1 bytes and outlives the object.
  document_check(std::string_view content, file_kind kind);
  document_check(const document_check&) = delete;
  document_check& operator=(const document_check&) = delete;

  // Examines on until something has been found. False at the end of the file. The findings are
  // those of a setting, a unit or a channel, by place, and are valid until the next call.
  bool next();
  const std::vector<finding>& findings() const noexcept { return list_; }

  // Whether the findings are those of a channel: the last one so far.
  bool is_of_channel() const noexcept { return is_of_channel_; }

  // The channels so far.
  std::int64_t points() const noexcept { return points_; }

 private:
  struct open_record {
    const record_form* form;
    text_place place;
    std::uint64_t seen = 0;    // the slots of the settings that it has had so far
    std::uint64_t filled = 0;  // of those with a text
    bool is_checked = false;   // of a unit: as a whole, before its channels
  };
  struct open_setting {
    const known_setting* row = nullptr;  // null: none is open
    text_place place = {};
    std::string text = {};
    std::size_t runs = 0;  // of text
  };

  void add(rule id, const text_place& place, std::string text);
  bool is_complete() const noexcept;
  bool read();
  void step();
  void take(const document_part& part);
  void take_in_setting(const document_part& part);
  void take_in_record(const document_part& part);
  void start_element(const document_part& part);
  void start_record(const record_form& form, const text_place& place);
  void ignore_element(const document_part& part);
  void take_attribute(const document_part& part);
  void keep_place(const known_setting& setting, const text_place& place);
  void check_value(const known_setting& setting, const text_place& place, std::string_view text);
  void end_setting();
  void check_empty_setting();
  void end_record();
  void check_unit();
  void check_channel(const open_record& record);
  void check_missing(const open_record& record);
  void check_rest();

  const std::string_view xml_;
  const bool is_marked_;
  const bool is_whole_;
  std::vector<finding> list_;
  bool is_read_ = false;
  bool goes_on_ = false;
  yax_cfg_ptr doc_;  // what the reader has made of the file
  const unit_cfg* unit_ = nullptr;
  const chn_cfg* chn_ = nullptr;
  document_parts parts_;
  std::vector<open_record> records_;
  open_setting setting_;
  std::size_t unknown_depth_ = 0;  // of open elements that are ignored
  channel_places places_ = {};
  document_repeats repeats_;
  std::int64_t points_ = 0;
  bool is_of_channel_ = false;
};

}  // namespace ruvex
