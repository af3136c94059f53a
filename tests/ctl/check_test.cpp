#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tool/process.h"

namespace ruvex {
namespace {

using CheckTest = ToolTest;
using fields = std::map<std::size_t, std::string>;

// A point line that is sound but for what is given.
std::string point(fields given = {}) {
  given.try_emplace(8, "NO_UNITS");
  return point_line(given);
}

// The same, which has nothing in common with point().
std::string other(fields given = {}) {
  for (const auto& [field, text] : fields{{2, "Other"}, {4, "40101"}, {7, "2"}}) {
    given.try_emplace(field, text);
  }
  return point(given);
}

std::string bit(fields given) {
  given.try_emplace(5, "Bit16");
  return point(given);
}

std::string other_bit(fields given) {
  given.insert({{4, "40001"}, {5, "Bit16"}, {6, "BINARY_OUTPUT"}, {10, "1"}});
  return other(given);
}

std::string register_bit(fields given) {
  given.insert({{4, "40001"}, {6, "BINARY_OUTPUT"}});
  return bit(given);
}

std::string wide(fields given) {
  given.try_emplace(5, "Floating Point HI/LO");
  return point(given);
}

std::string scaled(const std::string& low, const std::string& high, const std::string& user_low,
                   const std::string& user_high) {
  return point({{11, low}, {12, high}, {13, user_low}, {14, user_high}});
}

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// "LINE:COLUMN RULE" of every finding in this file.
std::string summary_of(const std::string& messages, const std::string& file) {
  const std::string form = "^" + file + ":([0-9]+:[0-9]+): (error|warning): .*( \\[.*\\])$";
  std::string found;
  for (const auto& groups : matches(messages, form.c_str())) {
    found += (found.empty() ? "" : "; ") + groups[0] + groups[2];
  }
  return found;
}

const std::string nul(1, '\0');
const std::string long_text(60, 'x');
const std::string longest = std::string(1023 - point().size(), '-') + point();
const std::string quoted = point({{2, "\"Po;nt\""}});
const std::string until_field_13 =
    "p,0,Point,1,40001,16 Bit Signed Integer,ANALOG_INPUT,1,NO_UNITS,No words,0,0,100,";
const std::string without_instance =
    "p,0,Point,1,40001,16 Bit Signed Integer,ANALOG_INPUT,^NO_UNITS,No words,0,0,0,0,0,0,0\n";

std::string unit_element(const std::string& address) {
  return "<unit_cfg type='MODBUS' address='" + address + "' poll_delay='0'/>";
}

struct rule_case {
  std::string rule;
  std::string good;
  std::string bad;  // "^", which is not in the file, stands before the place of the finding
};
const rule_case rule_cases[] = {
    // clang-format off
    {"utf-16", "\xFF\xFE" + point(), "^\xFF\xFE" + std::string("7\0,\0", 4) + "\n" + point({{8, "V"}})},
    {"byte-order-mark", point() + "\xEF\xBB\xBF" + other(), "^\xEF\xBB\xBF" + point()},
    {"nul-byte", point(), point({{0, "-^" + nul}})},
    {"line-too-long", longest, "-" + longest.substr(0, 1022) + "^0\n" + other()},
    {"carriage-return", point({{16, "0\r"}}), point({{16, "0^\r0"}})},
    {"wrong-separator", "a|b;c\t\n", "^a;b;c;d;e,5;f\ng;h\n1,2,3,4,2;5\n"},
    {"missing-column", point({{4, "X40001"}}), without_instance + without_instance.substr(0, 53) + without_instance.substr(54)},
    {"one-field", ",,\"\r\n,,,\n", "^Title,,,\n"},
    {"few-fields", point(), "^1,2,3,4,40001,6,7,8,9,10\n1,2,3,4,40001,Bit16,7,8,9,10\n"},
    {"extra-cells", point({{16, "0  "}}), point({{16, "0 ,^note"}})},
    {"empty-cell", point({{9, " "}}), point({{9, "^"}, {11, "0.5"}}) + other({{9, ""}})},
    {"empty-end", point(), point({{16, "0,^,"}})},
    {"split-cell", quoted, point({{2, "^\"Zone, 1\""}})},
    {"split-cell", quoted, point({{9, "^3\" pipe"}})},
    {"split-cell", quoted, point({{9, "^\"\"\"A\"\" phase\""}})},
    {"split-cell", quoted, "p,0,Point,1,40001,16 Bit Signed Integer,ANALOG_INPUT,1,NO_UNITS,^\"First\nsecond\",0,0,0,0,0,0,0\n"},
    {"split-cell", quoted, point({{9, "^\"A\" B"}})},
    {"header-line", point({{4, "X40001"}}), "^" + point({{3, "Unit"}, {4, "Register"}, {8, "Units"}})},
    {"spreadsheet-error", point({{2, "Pump #3"}, {9, "1e+5"}}), point({{4, "^#REF!"}})},
    {"spreadsheet-error", point({{0, "##"}}), point({{0, "^####"}})},
    {"spreadsheet-error", point({{9, "#5"}}), point({{3, "^#N/A"}})},
    {"spreadsheet-error", scaled("0", "1E4", "0", "1"), scaled("0", "^1.00E+04", "0", "1")},
    {"tab", point({{0, "a\tb"}}), point({{2, "A^\tB"}})},
    {"leading-blank", point({{9, "No  words"}}), point({{9, "^ No words"}})},
    {"field-too-long", point({{16, std::string(31, '1')}}), point({{16, "^" + std::string(32, '1')}})},
    {"name-cut", point({{2, long_text}}), point({{2, "^" + long_text + "m12"}})},
    {"description-cut", point({{9, long_text + "123"}}), point({{9, "^" + long_text + "1234"}})},
    {"empty-name", point(), point({{2, "^ "}})},
    {"illegal-reference", point({{4, "30001"}}), point({{4, "^20001"}})},
    {"illegal-reference", point({{4, "X30001"}}), point({{4, "^ 40001"}})},
    {"reference-text", point(), point({{4, "^0x9C41"}})},
    {"reference-text", point(), point({{4, "^40001-40002"}})},
    {"reference-text", point(), point({{4, "^4000lX"}})},
    {"reference-range", point({{4, "49999"}}), point({{4, "^40000"}})},
    {"reference-range", point({{4, "465536"}}), point({{4, "^465537"}})},
    {"reference-range", point({{4, "400001"}}), point({{4, "^4000001"}})},
    {"table-end", point({{4, "465536"}}), wide({{4, "^465536"}})},
    {"table-end", wide({{4, "365535"}}), wide({{4, "^365536"}})},
    {"reference-digits", point() + other({{3, "2"}, {4, "400101"}}), point() + other({{4, "^400101"}})},
    {"reference-digits", point(), point({{4, "^400201"}}) + other() + other({{2, "Third"}, {4, "40102"}, {7, "3"}})},
    {"coil-by-accident", bit({{4, "X00017"}, {6, "BINARY_INPUT"}}), bit({{4, "^17"}, {6, "BINARY_INPUT"}})},
    {"coil-by-accident", bit({{4, "100017"}, {6, "BINARY_INPUT"}}), bit({{4, "^10017"}, {6, "BINARY_INPUT"}})},
    {"coil-by-accident", point({{4, "1"}, {6, "BINARY_INPUT"}}), wide({{4, "^1"}, {6, "BINARY_INPUT"}})},
    {"coil-by-accident", point({{4, "10001"}, {6, "BINARY_INPUT"}}), point({{4, "^9"}, {8, "VOLTS"}, {6, "BINARY_INPUT"}})},
    {"coil-by-accident", point(), point({{4, "^9"}, {6, "BINARY_INPUT"}, {12, "10"}, {14, "1"}})},
    {"coil-by-accident", point(), point({{4, "^100"}})},
    {"unknown-data-type", point(), point({{5, "^16 bit signed integer"}})},
    {"bit-number", register_bit({{10, "15"}}), register_bit({{10, "^16"}})},
    {"bit-number", register_bit({{5, "Bit32 LO/HI"}, {10, "31"}}), register_bit({{5, "Bit32 LO/HI"}, {10, "^32"}})},
    {"bit-number", register_bit({}), register_bit({{10, "^x"}})},
    {"bit-unused", point(), point({{10, "^3"}})},
    {"bit-units", register_bit({}), register_bit({{8, "^VOLTS"}})},
    {"bit-scaling", register_bit({}), register_bit({{11, "^0"}, {12, "10"}, {14, "1"}})},
    {"unknown-object-type", point(), point({{4, "30001"}, {6, "^Analog Input"}})},
    {"no-point-object", point(), point({{6, "^SCHEDULE"}})},
    {"object-class", bit({{4, "X10001"}, {6, "BINARY_INPUT"}}), bit({{4, "X10001"}, {6, "^ANALOG_INPUT"}})},
    {"object-class", bit({{4, "30001"}, {6, "BINARY_INPUT"}}), bit({{4, "30001"}, {6, "^BINARY_OUTPUT"}})},
    {"object-class", register_bit({}), bit({{6, "^BINARY_INPUT"}})},
    {"object-class", register_bit({}), register_bit({{6, "^ANALOG_OUTPUT"}})},
    {"object-class", register_bit({}), wide({{6, "^BINARY_OUTPUT"}})},
    {"object-class", bit({{4, "X00001"}, {6, "BINARY_INPUT"}}), bit({{4, "X00001"}, {6, "^ANALOG_INPUT"}})},
    {"silent-output", point({{4, "30001"}, {6, "ANALOG_VALUE"}}), point({{6, "^ANALOG_VALUE"}})},
    {"silent-output", register_bit({}), register_bit({{6, "^BINARY_VALUE"}})},
    {"unknown-units", point({{8, "VOLTS"}}), point({{8, "^Volts"}})},
    {"instance", point({{7, "4194302"}}), point({{7, "^4194303"}})},
    {"instance", point({{7, "0"}}), point({{7, "^1a"}})},
    {"repeated-instance", point() + other(), point() + other({{7, "^01"}})},
    {"repeated-instance", point() + other({{6, "ANALOG_VALUE"}, {7, "1"}}), point() + "\n" + other({{7, "^1"}})},
    {"repeated-name", point() + other(), point() + other({{2, "^Point"}})},
    {"cov-increment", point({{1, "0.5"}}), point({{1, "^-1"}})},
    {"cov-increment", point({{1, "16777215"}}), point({{1, "^1.5 K"}})},
    {"unit-address", point({{3, "247"}}), point({{3, "^248"}})},
    {"unit-address", point({{3, "10.0.0.5/1"}}), point({{3, "10.0.0.5/^"}})},
    {"unit-address", point(), point({{3, "^10.0.0.5"}})},
    {"ip-address", point({{3, "10.0.0.255/1"}}), point({{3, "^10.0.0.256/1"}})},
    {"ip-address", point(), point({{3, "^/1"}})},
    {"ip-address", point({{3, "223.255.255.255/1"}}), point({{3, "^224.0.0.1/1"}})},
    {"ip-address", point({{3, "0.0.0.1/1"}}), point({{3, "^0.0.0.0/1"}})},
    {"ip-address", point({{3, "240.0.0.1/1"}}), point({{3, "^255.255.255.255/1"}})},
    {"repeated-register", point() + other({{3, "2"}, {4, "40001"}}), point() + other({{4, "^X40001"}})},
    {"repeated-register", register_bit({}) + other_bit({}), register_bit({{10, "1"}}) + other_bit({{4, "^40001"}})},
    {"overlapping-registers", wide({}) + other({{4, "40003"}}), wide({}) + other({{4, "^40002"}})},
    {"overlapping-registers", point() + other({{4, "40002"}}),
     point({{4, "40002"}}) + wide({{2, "Other"}, {4, "^40001"}, {7, "2"}})},
    {"scaling-incomplete", scaled("0", "0", "0", "0"), until_field_13 + "^0"},
    {"scaling-number", scaled("0", "1.5e3", "-4", "20"), scaled("0", "^100%", "0", "1")},
    {"scaling-equal", scaled("0", "100", "0", "10"), scaled("0", "100", "^0", "0.0")},
    {"scaling-turned", scaled("100", "0", "10", "0"), scaled("0", "100", "^10", "0")},
    {"group-enable", point({{15, "1"}}), point({{15, "^yes"}})},
    {"restart", point({{16, "1"}}), point({{16, "^2"}})},
    {"xml-character", point({{2, "]]>"}, {0, "&"}}), point({{2, "A ^& B"}})},
    {"xml-character", point({{9, "a > b"}}), point({{9, "a ^< b"}})},
    {"xml-character", point({{9, "a]] >"}}), point({{9, "a^]]>"}})},
    {"xml-character", point({{9, "a\x7F"}}), point({{9, "a^\x01"}})},
    {"xml-character", point(), point({{9, "^\xEF\xBF\xBE"}})},
    {"not-utf-8", point(), point({{9, "20 ^\xB0" "C"}})},
    {"not-utf-8", point(), point({{9, "^\xED\xA0\x80"}}) + other({{2, "\xB0"}})},
    {"non-ascii", point({{0, "\xC2\xB0"}}), point({{9, "20 ^\xC2\xB0" "C"}})},
    {"workbook", "PK" + point(), "^PK\3\4"},
    {"compressed", "\x1F" + point(), "^\x1F\x8B\x08"},
    {"other-xml", "<yax_cfg/>", "^\n<units/>"},
    {"empty-file", "\n", "^"},
    {"xml", "<yax_cfg/>", "^<yax_cfg>"},
    {"xml-value", "<yax_cfg><parity>ODD</parity></yax_cfg>", "<yax_cfg>^<parity>odd</parity></yax_cfg>"},
    {"xml-ignored", "<yax_cfg>\n</yax_cfg>", "<yax_cfg>^text</yax_cfg>"},
    {"repeated-unit", unit_element("1") + unit_element("2"), unit_element("1") + "^" + unit_element("1")},
    // clang-format on
};

TEST_F(CheckTest, EveryRuleFindsWhatIsWrongWhereItIsAndNothingElse) {
  std::vector<std::string> arguments = {"check"};
  std::vector<std::string> places;
  for (const rule_case& row : rule_cases) {
    const std::size_t at = row.bad.find('^');
    const std::string before = row.bad.substr(0, at), number = std::to_string(places.size());
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    places.push_back(std::to_string(line) + ":" + std::to_string(at - before.rfind('\n')));
    write("good" + number, row.good);
    write("bad" + number, before + row.bad.substr(at + 1));
    for (const char* kind : {"good", "bad"}) arguments.push_back(path(kind + number));
  }
  const std::string messages = run(arguments).err;
  for (std::size_t at = 0; at < places.size(); ++at) {
    const auto& [rule, good, bad] = rule_cases[at];
    const std::string name = " [" + rule + "]", number = std::to_string(at);
    EXPECT_FALSE(holds(summary_of(messages, path("good" + number)), name)) << good;
    EXPECT_EQ(summary_of(messages, path("bad" + number)), places[at] + name) << bad;
  }
}

// The names and severities that stand in a text.
std::set<std::string> rules_in(const std::string& text, const char* form) {
  std::set<std::string> rules;
  for (const auto& groups : matches(text, form)) rules.insert(groups[0] + " " + groups[1]);
  return rules;
}

std::set<std::string> missing(std::set<std::string> wanted, const std::set<std::string>& given) {
  for (const std::string& rule : given) wanted.erase(rule);
  return wanted;
}

TEST_F(CheckTest, EveryRuleIsTestedAndToldInTheManual) {
  const std::set<std::string> none;
  std::set<std::string> tested = {"too-many-channels"};
  for (const rule_case& row : rule_cases) tested.insert(row.rule);
  const auto told = rules_in(run({"check", "--help"}).out, "^  ([a-z0-9-]+) +(error|warning)  ");
  const auto described = rules_in(content_of(RUVEX_DOCS "/ruvexctl-check.1"),
                                  "^\\.It Sy ([a-z0-9-]+) Pq (error|warning)$");
  std::set<std::string> names;
  for (const std::string& rule : told) names.insert(rule.substr(0, rule.find(' ')));
  EXPECT_EQ(missing(told, described), none) << "in --help, and not so in ruvexctl-check(1)";
  EXPECT_EQ(missing(described, told), none) << "in ruvexctl-check(1), and not so in --help";
  EXPECT_EQ(missing(names, tested), none) << "in --help, but in no row of rule_cases";
  EXPECT_EQ(missing(tested, names), none) << "in rule_cases, but not in --help";
}

TEST_F(CheckTest, AUnitWithTooManyPointsIsFoundAndTheRestIsRead) {
  std::string mapping;
  for (int number = 0; number < 32769; ++number) mapping += point();
  write("many.csv", mapping + point({{3, "2"}, {8, "V"}}));
  const outcome many = run(
      {"check", "--ignore=repeated-name,repeated-instance,repeated-register", path("many.csv")});
  EXPECT_EQ(summary_of(many.err, path("many.csv")),
            "32768:11 [too-many-channels]; 32769:11 [too-many-channels]; 32770:56 [unknown-units]");
  EXPECT_TRUE(many.err.ends_with(
      "\n1 file, 32768 points: 3 errors, 0 warnings; ruvex would stop at line 32768\n"))
      << many.err;
}

std::string taken(int errors) {
  return "1 file, 2 points: " + std::to_string(errors) +
         " errors, 0 warnings; ruvex would take the file\n";
}

constexpr const char* units_text =
    R"(field 8 (units): "DEGREES_CELSIUS" is no BACnet engineering unit; did you mean )"
    R"("DEGREES_CELCIUS"?)";

TEST_F(CheckTest, OptionsChooseWhatIsPrinted) {
  write("a.csv", point({{8, "DEGREES_CELSIUS"}, {10, "1"}}) + point());
  const std::string a = path("a.csv");
  const std::string units = a + ":1:56: error: " + units_text + " [unknown-units]\n";
  const std::string instance =
      a + ":2:54: error: field 7 (instance): ANALOG_INPUT 1 is in line 1 too [repeated-instance]\n";
  const std::string ignored = "--ignore=bit-unused,repeated-name,repeated-register";
  const struct {
    std::vector<std::string> options;
    int status;
    std::string messages;
  } cases[] = {
      {{ignored}, 1, units + instance + taken(2)},
      {{ignored, "--max-errors=1"},
       1,
       units + "1 file, 1 point: 1 error, 0 warnings; stopped there\n"},
      {{ignored + ",unknown-units,repeated-instance"}, 0, taken(0)},
      {{"--ignore=unknown-units,repeated-instance", "--quiet"}, 0, ""},
      {{"--ignore=unknown-units,repeated-instance", "--quiet", "--werror"}, 1, ""},
      {{"--severity=error"}, 1, units + instance + taken(2)},
      {{"--quiet"}, 1, ""},
      {{"--quiet", ignored + ",unknown-units,repeated-instance"}, 0, ""},
  };
  for (const auto& row : cases) {
    std::vector<std::string> arguments = row.options;
    arguments.insert(arguments.begin(), "check");
    arguments.push_back(a);
    EXPECT_EQ(run(arguments), (outcome{row.status, "", row.messages})) << row.messages;
  }
  const outcome strict = run({"check", "--werror", "--severity=error", a});
  EXPECT_TRUE(holds(strict.err, a + ":1:81: error: field 10 (bit number): ")) << strict.err;
  EXPECT_TRUE(strict.err.ends_with("5 errors, 0 warnings; ruvex would take the file\n"))
      << strict.err;
}

TEST_F(CheckTest, JsonIsOneObjectALine) {
  write("a.csv", point({{2, "A \xB0"}}) + "Title\n");
  const auto from_file = [this] {
    ::dup2(::open(path("a.csv").c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  };
  const outcome json = run({"check", "--format=json", "-"}, from_file);
  EXPECT_EQ(json.out,
            R"({"file":"-","line":2,"column":1,"severity":"error","rule":"one-field","field":null,)"
            R"("field_name":null,"text":"the line has one field and adds nothing"})"
            "\n"
            R"({"file":"-","line":1,"column":7,"severity":"error","rule":"not-utf-8","field":2,)"
            R"("field_name":"name","text":"bytes that are no UTF-8 text break the XML"})"
            "\n");
  EXPECT_EQ(json.err, "1 file, 1 point: 2 errors, 0 warnings; ruvex would take the file\n");
  write("none.csv", point());
  EXPECT_EQ(run({"check", "--", path("none.csv"), path("missing.csv"), path("a.csv")}).status, 2);
}

TEST_F(CheckTest, ATerminalGetsColoursButNoCommandsOfTheFile) {
  write("a.csv", point({{8, "\033[2J\xC2\x9B"}}));
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
  const int line = ::open(::ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
  const auto on_terminal = [line] {
    ::setenv("TERM", "xterm", 1);
    ::unsetenv("NO_COLOR");
    ::dup2(line, STDERR_FILENO);
  };
  EXPECT_EQ(run({"check", path("a.csv")}, on_terminal).status, 1);
  std::string shown(4096, '\0');
  shown.resize(static_cast<std::size_t>(::read(terminal, shown.data(), shown.size())));
  EXPECT_TRUE(holds(shown, "\033[1;31merror: \033[0mfield 8 (units): \"\\x1B[2J\\xC2\\x9B\""))
      << shown;
  EXPECT_FALSE(holds(shown, "\033[2J")) << shown;
  ::close(line);
  ::close(terminal);
}

}  // namespace
}  // namespace ruvex
