// The findings of a run: which of them count, how they are printed, how many there were.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "output.h"
#include "rules.h"

namespace ruvex {

enum class finding_format { text, json };

struct finding_settings {
  finding_format format = finding_format::text;
  bool warnings_are_errors = false;
  bool is_hiding_warnings = false;
  bool is_quiet = false;         // nothing is printed
  unsigned long max_errors = 0;  // the run ends after so many; 0: never
  std::array<bool, rule_count> is_ignored = {};
};

// Text goes to standard error, JSON (one object a line) to standard output.
class finding_report {
 public:
  explicit finding_report(const finding_settings& settings) noexcept;
  // Counts and prints a finding in `file`, unless its rule is ignored or its severity hidden.
  void add(std::string_view file, const finding& finding);

  // Whether a finding of this rule would be printed.
  bool prints(rule id) const noexcept { return !settings_.is_quiet && counts(id); }

  // Whether so much has been found that the run is to end.
  bool is_full() const noexcept;

  // Prints what has been held back.
  void flush() noexcept { out_.flush(); }

  // The same at the end of the run. Gives the errno of the first write to standard output that
  // failed; 0 when none has.
  int finish() noexcept;

  std::uint64_t errors() const noexcept { return errors_; }
  std::uint64_t warnings() const noexcept { return warnings_; }

 private:
  severity level_of(rule id) const noexcept;
  bool counts(rule id) const noexcept;
  void append_text(std::string_view file, const finding& finding, severity level);
  void append_json_object(std::string_view file, const finding& finding, severity level);

  const finding_settings& settings_;
  const bool is_terminal_;
  const bool is_coloured_;
  output out_;
  std::string printed_;  // the finding that is printed
  std::uint64_t errors_ = 0;
  std::uint64_t warnings_ = 0;
};

}  // namespace ruvex
