// What the points read earlier, from a file of `ruvexctl poll --format=csv`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "poll_list.h"
#include "reading.h"

namespace ruvex {

// How far a value may be from the expected one.
struct poll_tolerance {
  double size = 0;
  bool is_share = false;  // of the expected value, in hundredths
};

// Reads "0.5" or "2%"; false, and nothing changes, for any other text.
bool parse_tolerance(std::string_view text, poll_tolerance& tolerance) noexcept;

class expectation {
 public:
  // Reads the file. False after a complaint.
  bool load(const char* path);

  // Makes each point that was read and has another value than was expected `differs`, and tells
  // each of them, and the points that one of the two lacks, with a message; `path` is the list's,
  // which `is_whole` where nothing was left out. A point is found by unit, reference and name; of
  // several that have all alike the first belongs to the first; so the first of several rounds
  // counts. What was not read then may be anything. True when all is as expected.
  bool compare(const char* path, std::span<const poll_row> rows, std::span<reading> readings,
               const poll_tolerance& tolerance, bool is_whole) const;

  // What each point was expected to be, by row: its value, or its raw words where it has none;
  // empty where nothing was.
  std::vector<std::string> texts_for(std::span<const poll_row> rows) const;

 private:
  struct entry {
    std::string key;
    std::string raw, value;
    std::size_t line;
    bool is_read;
  };
  static std::string key_of(std::string_view unit, std::string_view reference,
                            std::string_view name);

  // The entry of a point that is the `turn`th of its key, from 0; null when there is none.
  const entry* find(const std::string& key, std::size_t turn) const noexcept;

  // The entry of each row, or null.
  std::vector<const entry*> entries_for(std::span<const poll_row> rows) const;
  bool tell_unused(std::vector<const entry*> used) const;

  std::string path_;
  std::vector<entry> entries_;  // by key
};

}  // namespace ruvex
