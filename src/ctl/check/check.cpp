// ruvexctl check: everything in a file of points that will not come out as it is meant.

#include <algorithm>
#include <climits>
#include <cstdio>
#include <optional>
#include <vector>

#include "command.h"
#include "document_check.h"
#include "input.h"
#include "mapping_check.h"
#include "report/examine_lines.h"
#include "report/file_findings.h"
#include "report/findings.h"
#include "ruvex/mapping/heap.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/rules.h"
#include "text/characters.h"
#include "text/file_kind.h"
#include "text/nearest.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr choice<finding_format> finding_formats[] = {
    {"text", finding_format::text},
    {"json", finding_format::json},
};

constexpr choice<bool> hidings_of_warnings[] = {{"warning", false}, {"error", true}};

struct check_settings : finding_settings {
  std::string_view unknown_rule;  // the first name to be ignored that is no rule's
};

bool ignore_rules(check_settings& settings, std::string_view names) {
  while (!names.empty()) {
    const std::string_view name = names.substr(0, names.find(','));
    const rule_row* const row = find_rule(name);
    if (row != nullptr) {
      settings.is_ignored[static_cast<std::size_t>(row->id)] = true;
    } else if (settings.unknown_rule.empty()) {
      if (name.empty()) return false;
      settings.unknown_rule = name;
    }
    names.remove_prefix(std::min(name.size() + 1, names.size()));
  }
  return true;
}

constexpr option_row<check_settings> check_options[] = {
    {"format", true,
     [](check_settings& settings, std::string_view argument) {
       return choose(finding_formats, argument, settings.format);
     }},
    {"werror", false,
     [](check_settings& settings, std::string_view) {
       return settings.warnings_are_errors = true;
     }},
    {"severity", true,
     [](check_settings& settings, std::string_view argument) {
       return choose(hidings_of_warnings, argument, settings.is_hiding_warnings);
     }},
    {"ignore", true, ignore_rules},
    {"max-errors", true,
     [](check_settings& settings, std::string_view argument) {
       return parse_number(argument, ULONG_MAX, settings.max_errors);
     }},
    {"quiet", false,
     [](check_settings& settings, std::string_view) { return settings.is_quiet = true; }},
};

// What has been learnt of the files of a run.
struct sums {
  std::size_t files = 0;  // read to their end, or to where the run stopped
  std::int64_t points = 0;
  std::size_t mappings = 0;
  const char* refused_path = nullptr;  // the first mapping with a line that ruvex refuses
  std::int64_t refused_line = 0;
};

void add_to(sums& sums, const char* path, const mapping_check& check) {
  ++sums.mappings;
  sums.points += check.points();
  if (check.refused_line() == 0 || sums.refused_path != nullptr) return;
  sums.refused_path = path;
  sums.refused_line = check.refused_line();
}

void check_mapping(const char* path, std::string_view content, finding_report& report, sums& sums) {
  prepare_heap(path);
  mapping_check check;
  line_splitter lines(content, max_mapping_line);
  examine_lines(path, lines, report, check.findings(),
                [&check](line_result got, std::string_view text) { check.check_line(got, text); });
  if (!report.is_full()) {
    check.finish();
    for (const finding& finding : check.findings()) report.add(path, finding);
    report.flush();
  }
  add_to(sums, path, check);
}

void check_document(const char* path, std::string_view content, file_kind kind,
                    finding_report& report, sums& sums) {
  document_check check(content, kind);
  while (!report.is_full() && check.next()) {
    for (const finding& finding : check.findings()) report.add(path, finding);
  }
  report.flush();
  sums.points += check.points();
}

// False, after a complaint, when the file cannot be read.
bool check_file(const char* path, finding_report& report, sums& sums) {
  const std::optional<std::string> content = read_content(path);
  if (!content) return false;
  const file_kind kind = kind_of(*content);
  if (const std::optional<finding> what = file_finding(kind, *content)) {
    report.add(path, *what);
  } else if (kind == file_kind::mapping) {
    check_mapping(path, *content, report, sums);
  } else if (is_readable_xml(path, *content)) {
    check_document(path, *content, kind, report, sums);
  } else {
    return false;
  }
  ++sums.files;
  return true;
}

std::string counted(std::uint64_t count, std::string_view what) {
  return message(count, " ", what, count == 1 ? "" : "s");
}

// What ruvex would do with the mappings, where enough has been read to tell.
std::string verdict(const finding_report& report, const sums& sums, bool are_several) {
  if (sums.refused_path != nullptr) {
    const std::string line = message("; ruvex would stop at line ", sums.refused_line);
    return are_several ? message(line, " of ", sums.refused_path) : line;
  }
  if (report.is_full()) return "; stopped there";
  if (sums.mappings != sums.files) return {};
  return are_several ? "; ruvex would take each file" : "; ruvex would take the file";
}

void print_summary(const finding_report& report, const sums& sums, bool are_several) {
  std::string summary;
  append_visible(
      summary, message(counted(sums.files, "file"), ", ",
                       counted(static_cast<std::uint64_t>(sums.points), "point"), ": ",
                       counted(report.errors(), "error"), ", ",
                       counted(report.warnings(), "warning"), verdict(report, sums, are_several)));
  std::fprintf(stderr, "%s\n", summary.c_str());
}

int complain_of_rule(std::string_view name) {
  std::vector<std::string_view> names;
  for (std::size_t id = 0; id < rule_count; ++id)
    names.push_back(row_of(static_cast<rule>(id)).name);
  const std::string_view meant = nearest(name, names);
  const std::string advice = meant.empty() ? "" : message("; did you mean '", meant, "'?");
  return complain_of_use(check_command, message("no rule has the name '", name, "'", advice));
}

int run_check(int argc, char** argv) {
  check_settings settings;
  if (const auto status = read_options(check_command, argc, argv, check_options, settings))
    return *status;
  const std::span<char*> paths = operands(argc, argv);
  if (!settings.unknown_rule.empty()) return complain_of_rule(settings.unknown_rule);
  if (paths.empty()) return complain_of_use(check_command, "a file is needed");
  finding_report report(settings);
  bool all_read = true;
  sums sums;
  for (const char* path : paths) {
    if (report.is_full()) break;
    all_read = check_file(path, report, sums) && all_read;
  }
  const int write_error = report.finish();
  if (!settings.is_quiet && sums.files != 0) print_summary(report, sums, paths.size() > 1);
  if (!all_read) return end_with(ctl_trouble, write_error);
  return end_with(report.errors() == 0 ? ctl_clean : ctl_findings, write_error);
}

}  // namespace

const command check_command = {
    "check", "[OPTION]... FILE...",
    R"(Report everything in mapping files that ruvex refuses, or that the controller
would have otherwise than it is meant. ruvex itself is silent about most of it.
In unit files and configuration documents, report the values that no setting
may have, and what the reader ignores.

      --format=text|json  findings as FILE:LINE:COLUMN: error|warning: text
                          [rule] on standard error (text, the default), or as
                          one JSON object a line on standard output
      --werror            report warnings as errors
      --severity=error    leave out warnings (--severity=warning, the default,
                          does not)
      --ignore=RULE,...   leave out what these rules find
      --max-errors=N      stop after N errors (0, the default: never)
      --quiet             print no findings and no summary; the exit status tells
      --help              print this help
      --version           print the version

A FILE that is "-" is standard input. Lines and columns count from 1, columns
in bytes. Behind an empty or divided cell the fields of a line are other cells'
texts and are not looked at: mend it and check again. What is wrong with a file
as a whole is told once, at the end, with the number of lines. The last line is
a summary: whether ruvex would take the file, or at which line it would stop.
No suggestion changes the value of a point.

Exit status: 0 no errors, 1 errors, 2 a file cannot be read.

Rules (see ruvexctl-check(1)):
)",
    run_check, rules_text};

}  // namespace ruvex
