// The documents of the W3C conformance suite, where scripts/install-conformance has put them.
//
// This parser takes liberties that XML does not allow, and refuses forms that it does. Each
// document on which it and expat are of different minds, leaving aside those with a DOCTYPE, is
// listed in conformance_differences.txt with what each said and why.
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "gtest/gtest.h"
#include "support/temporary_file.h"
#include "xml/events_beside_expat.h"

namespace ruvex {
namespace {

namespace fs = std::filesystem;

// Path within the suite to bytes.
std::map<std::string, std::string> files() {
  std::map<std::string, std::string> found;
  if (!fs::is_directory(RUVEX_CONFORMANCE)) return found;
  for (const auto& entry : fs::recursive_directory_iterator(RUVEX_CONFORMANCE)) {
    if (!entry.is_regular_file()) continue;
    found[entry.path().lexically_relative(RUVEX_CONFORMANCE).generic_string()] =
        content_of(entry.path());
  }
  return found;
}

std::string verdict(int error) {
  return error == 0 ? "accepts" : "refuses " + std::to_string(error);
}

// The lines of the list, without their reasons.
std::map<std::string, std::string> listed_differences() {
  std::map<std::string, std::string> listed;
  std::ifstream list(RUVEX_DIFFERENCES);
  for (std::string line; std::getline(list, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string path, verdicts, reason;
    std::getline(fields >> std::ws, path, '|');
    std::getline(fields, verdicts, '|');
    std::getline(fields, reason);
    EXPECT_GT(reason.size(), 10U) << "no reason in: " << line;
    EXPECT_TRUE(listed.emplace(path, verdicts).second) << "twice: " << path;
  }
  return listed;
}

TEST(Conformance, DiffersFromExpatOnlyAsListed) {
  const auto all = files();
  if (all.empty()) GTEST_SKIP() << "the suite is not installed (scripts/install-conformance)";
  EXPECT_GT(all.size(), 3000U);
  auto listed = listed_differences();
  int compared = 0;
  for (const auto& [path, bytes] : all) {
    if (!path.ends_with(".xml") || bytes.find("<!DOCTYPE") != bytes.npos) continue;
    ++compared;
    const int ours = parse_commonly(bytes).error;
    const int theirs = parse_with_expat(bytes).error;
    const bool differ = (ours == 0) != (theirs == 0);
    const std::string said = differ ? verdict(ours) + ", expat " + verdict(theirs) : "";
    const auto line = listed.extract(path);
    EXPECT_EQ(said, line.empty() ? "" : line.mapped()) << path;
    EXPECT_EQ(differ_from_expat(bytes), "") << path;
  }
  for (const auto& [path, verdicts] : listed) ADD_FAILURE() << "not compared: " << path;
  EXPECT_GT(compared, 100);
}

}  // namespace
}  // namespace ruvex
