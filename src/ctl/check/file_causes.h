// What is wrong with a file as a whole, gathered from its lines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "report/rules.h"

namespace ruvex {

class file_causes {
 public:
  // Takes those about the file out of the findings of a line.
  void take_from(std::vector<finding>& line);

  // Appends them to `list`: each where it was found first, with the number of lines that have it.
  void finish(std::vector<finding>& list);

 private:
  struct counted {
    finding first;
    std::int64_t last_line;
    std::int64_t lines;
  };

  void count(finding&& found);

  std::vector<counted> found_;  // one for each cause: a few
};

// Appends how many lines have it to the text of a finding.
void append_lines(std::string& text, std::int64_t lines);

}  // namespace ruvex
