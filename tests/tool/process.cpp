#include "tool/process.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <regex.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace ruvex {
namespace {

constexpr std::string_view last_lines = "terminate_app() enteredRUVEX exiting\r\n";

int checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

std::string read_all(int descriptor) {
  return content_of("/proc/self/fd/" + std::to_string(descriptor));
}

std::string with_fixed_stamp(const std::string& out) {
  constexpr const char* stamp =
      "^ruvex : Rev 1\\.0\\.6 : "
      "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) ( [1-9]|[12][0-9]|3[01]) [0-9]{4} : "
      "([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]$";
  const std::string first = out.substr(0, banner.size());
  if (!first.ends_with('\n') || matches(first, stamp).empty()) return out;
  return std::string(banner) + out.substr(banner.size());
}

std::vector<std::string> with_emulator(const std::vector<std::string>& command) {
  std::vector<std::string> words;
  std::istringstream emulator(RUVEX_EMULATOR);
  for (std::string word; std::getline(emulator, word, '|');) words.push_back(word);
  words.insert(words.end(), command.begin(), command.end());
  return words;
}

[[noreturn]] void become(std::vector<std::string> words, const preparation& prepare) {
  if (prepare) prepare();
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  ::execvp(arguments[0], arguments.data());
  ::_exit(not_started);
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const outcome& ended) {
  return stream << "status " << ended.status << ", out " << testing::PrintToString(ended.out)
                << ", err " << testing::PrintToString(ended.err);
}

std::vector<std::vector<std::string>> matches(const std::string& text, const char* pattern) {
  regex_t compiled;
  EXPECT_EQ(::regcomp(&compiled, pattern, REG_EXTENDED | REG_NEWLINE), 0) << pattern;
  std::vector<std::vector<std::string>> found;
  std::array<regmatch_t, 8> groups;
  const char* at = text.c_str();
  for (int flags = 0; ::regexec(&compiled, at, groups.size(), groups.data(), flags) == 0;) {
    found.emplace_back();
    for (std::size_t group = 1; group <= compiled.re_nsub; ++group) {
      found.back().emplace_back(at + groups[group].rm_so, at + groups[group].rm_eo);
    }
    at += groups[0].rm_eo;
    flags = REG_NOTBOL;
  }
  ::regfree(&compiled);
  return found;
}

outcome success(std::string_view printed) {
  return {0, std::string(banner).append(printed).append(last_lines), ""};
}

outcome failed_run(std::string_view printed) {
  return {1, success(printed).out, ""};
}

outcome failed_read(int code, std::string_view message) {
  return failed_run(std::string(message) + "Unable to open/parse modbus mapping fileError " +
                    std::to_string(code) +
                    "\nConvert CSV : FATAL ERROR : Unable to read csv file, exiting...");
}

void obey_permissions() {
  for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
    const bool dropped = ::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) == 0;
    if (!dropped && ::geteuid() == 0) ::_exit(not_started);
  }
}

process::process(const std::vector<std::string>& command, const preparation& prepare)
    : out_(checked(::memfd_create("out", MFD_CLOEXEC), "memfd_create")),
      err_(checked(::memfd_create("err", MFD_CLOEXEC), "memfd_create")) {
  const std::vector<std::string> words = with_emulator(command);
  std::fflush(nullptr);
  id_ = checked(::fork(), "fork");
  if (id_ != 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // nothing is left behind by a test that is killed
  ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  ::dup2(out_, STDOUT_FILENO);
  ::dup2(err_, STDERR_FILENO);
  // That the counters of an earlier build are replaced is no message of the program.
  ::setenv("GCOV_ERROR_FILE", "/dev/null", 0);
  if (command.empty()) {
    prepare();
    std::fflush(stdout);
    ::_exit(0);
  }
  become(words, prepare);
}

process::~process() {
  if (!ended_ && ::kill(id_, SIGKILL) == 0) wait();
  ::close(out_);
  ::close(err_);
}

outcome process::wait() {
  if (!ended_) ended_ = checked(::waitpid(id_, &wait_status_, 0), "waitpid") == id_;
  const int status = WIFEXITED(wait_status_) ? WEXITSTATUS(wait_status_) : -WTERMSIG(wait_status_);
  return {status, with_fixed_stamp(read_all(out_)), read_all(err_)};
}

std::string point_line(const std::map<std::size_t, std::string>& given) {
  std::istringstream usual(
      "p,0,Point,1,40001,16 Bit Signed Integer,ANALOG_INPUT,1,0,No words,0,0,0,0,0,0,0");
  std::array<std::string, 17> fields;
  for (std::string& field : fields) std::getline(usual, field, ',');
  for (const auto& [number, text] : given) fields.at(number) = text;
  std::string line;
  for (const std::string& field : fields) line += field + ',';
  line.back() = '\n';
  return line;
}

std::string many_points(int count) {
  std::string mapping;
  for (int point = 0; point < count; ++point) {
    mapping += point_line({{3, std::to_string(1 + point / 100)}, {7, std::to_string(point)}});
  }
  return mapping;
}

ToolTest::ToolTest() {
  std::string pattern = (std::filesystem::temp_directory_path() / "ruvex-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
  folder_ = pattern;
}

ToolTest::~ToolTest() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void ToolTest::write(std::string_view name, std::string_view content) const {
  std::ofstream(path(name), std::ios::binary) << content;
}

std::filesystem::file_type ToolTest::type(std::string_view name) const {
  std::error_code ignored;
  const auto type = std::filesystem::symlink_status(path(name), ignored).type();
  return type == std::filesystem::file_type::none ? std::filesystem::file_type::not_found : type;
}

bool ToolTest::exists(std::string_view name) const {
  return type(name) != std::filesystem::file_type::not_found;
}

void ToolTest::make_fifo(std::string_view name) const {
  checked(::mkfifo(path(name).c_str(), 0600), "mkfifo");
}

outcome ToolTest::run(std::vector<std::string> arguments, const preparation& prepare) {
  arguments.insert(arguments.begin(), RUVEX_PROGRAM);
  return process(arguments, prepare).wait();
}

outcome ToolTest::convert(std::string_view mapping, const preparation& prepare) const {
  write("in.csv", mapping);
  write("out.xml", "earlier output");
  return run({path("in.csv"), path("out.xml")}, prepare);
}

}  // namespace ruvex
