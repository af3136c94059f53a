// ruvexctl check: everything in a mapping file that will not come out as it is meant.

#include <algorithm>
#include <climits>
#include <cstdio>
#include <optional>

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
#include "text/file_kind.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr choice<finding_format> finding_formats[] = {
    {"text", finding_format::text},
    {"json", finding_format::json},
};

constexpr choice<bool> hidings_of_warnings[] = {{"warning", false}, {"error", true}};

bool ignore_rules(finding_settings& settings, std::string_view names) {
  while (!names.empty()) {
    const std::size_t length = std::min(names.find(','), names.size());
    const rule_row* row = find_rule(names.substr(0, length));
    if (row == nullptr) return false;
    settings.is_ignored[static_cast<std::size_t>(row->id)] = true;
    names.remove_prefix(std::min(length + 1, names.size()));
  }
  return true;
}

constexpr option_row<finding_settings> check_options[] = {
    {"format", true,
     [](finding_settings& settings, std::string_view argument) {
       return choose(finding_formats, argument, settings.format);
     }},
    {"werror", false,
     [](finding_settings& settings, std::string_view) {
       return settings.warnings_are_errors = true;
     }},
    {"severity", true,
     [](finding_settings& settings, std::string_view argument) {
       return choose(hidings_of_warnings, argument, settings.is_hiding_warnings);
     }},
    {"ignore", true, ignore_rules},
    {"max-errors", true,
     [](finding_settings& settings, std::string_view argument) {
       return parse_number(argument, ULONG_MAX, settings.max_errors);
     }},
    {"quiet", false,
     [](finding_settings& settings, std::string_view) { return settings.is_quiet = true; }},
};

std::int64_t check_mapping(const char* path, std::string_view content, finding_report& report) {
  prepare_heap(path);
  mapping_check check;
  line_splitter lines(content, max_mapping_line);
  examine_lines(
      path, lines, report, check.findings(),
      [&check](line_result got, std::string_view text) { return check.check_line(got, text); });
  return check.points();
}

std::int64_t check_document(const char* path, std::string_view content, file_kind kind,
                            finding_report& report) {
  document_check check(content, kind);
  while (!report.is_full() && check.next()) {
    for (const finding& finding : check.findings()) report.add(path, finding);
  }
  report.flush();
  return check.points();
}

// False, after a complaint, when the file cannot be read.
bool check_file(const char* path, finding_report& report, std::int64_t& points) {
  const std::optional<std::string> content = read_content(path);
  if (!content) return false;
  const file_kind kind = kind_of(*content);
  if (const std::optional<finding> what = file_finding(kind, *content)) {
    report.add(path, *what);
  } else if (kind == file_kind::mapping) {
    points += check_mapping(path, *content, report);
  } else if (is_readable_xml(path, *content)) {
    points += check_document(path, *content, kind, report);
  } else {
    return false;
  }
  return true;
}

std::string counted(std::uint64_t count, std::string_view what) {
  return message(count, " ", what, count == 1 ? "" : "s");
}

void print_summary(const finding_report& report, std::size_t files, std::int64_t points) {
  const std::string summary =
      message(counted(files, "file"), ", ", counted(static_cast<std::uint64_t>(points), "point"),
              ": ", counted(report.errors(), "error"), ", ", counted(report.warnings(), "warning"),
              report.is_full() ? "; stopped there" : "");
  std::fprintf(stderr, "%s\n", summary.c_str());
}

int run_check(int argc, char** argv) {
  finding_settings settings;
  if (const auto status = read_options(check_command, argc, argv, check_options, settings))
    return *status;
  const std::span<char*> paths = operands(argc, argv);
  if (paths.empty()) return complain_of_use(check_command, "a file is needed");
  finding_report report(settings);
  bool all_read = true;
  std::size_t files = 0;
  std::int64_t points = 0;
  for (const char* path : paths) {
    if (report.is_full()) break;
    if (check_file(path, report, points)) {
      ++files;
    } else {
      all_read = false;
    }
  }
  const int write_error = report.finish();
  if (!settings.is_quiet && files != 0) print_summary(report, files, points);
  if (!all_read) return end_with(ctl_trouble, write_error);
  return end_with(report.errors() == 0 ? ctl_clean : ctl_findings, write_error);
}

}  // namespace

const command check_command = {
    "check", "[OPTION]... FILE...",
    R"(Report everything in mapping files that ruvex refuses, or that the controller
would have otherwise than it is meant. ruvex itself is silent about most of it.

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
texts and are not looked at: mend it and check again. A summary comes last.

Exit status: 0 no errors, 1 errors, 2 a file cannot be read.

Rules (see ruvexctl-check(1)):
)",
    run_check, rules_text};

}  // namespace ruvex
