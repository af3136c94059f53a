#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "tool/process.h"

namespace ruvex {
namespace {

using namespace std::string_literals;

struct Tidy : ToolTest {
  // What comes of an export that stands on standard input.
  outcome tidy(std::string_view content, std::vector<std::string> options = {}) const {
    write("in", content);
    options.insert(options.begin(), "tidy");
    options.push_back("-");
    return run(options, [in = path("in")] {
      ::dup2(::open(in.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    });
  }
};

using cells = std::vector<std::string>;

cells split(std::string_view text, char separator) {
  cells parts(1);
  for (const char character : text) {
    if (character == separator) {
      parts.emplace_back();
    } else {
      parts.back() += character;
    }
  }
  return parts;
}

// A text in Latin-1 in another encoding, in `width` bytes a character.
std::string utf8(std::string_view latin1) {
  std::string text;
  for (const unsigned char code : latin1) {
    if (code >= 0x80) text += static_cast<char>(0xC0 | code >> 6);
    text += static_cast<char>(code < 0x80 ? code : 0x80 | (code & 0x3F));
  }
  return text;
}
template <bool IsBig>
std::string utf16(std::string_view latin1) {
  std::string text;
  for (const char character : latin1) text += {IsBig ? '\0' : character, IsBig ? character : '\0'};
  return text;
}
std::string same(std::string_view latin1) {
  return std::string(latin1);
}

// The points of a strict mapping as a spreadsheet exports them: below a banner and a header, zeros
// as blank cells and, where the comma does not separate, as the decimal sign.
std::string exported(const std::string& mapping, char delimiter, const std::string& line_end,
                     bool is_quoted) {
  std::string text = "Plant room" + line_end + line_end + "Label" + delimiter + "Unit" + line_end;
  for (const std::string& line : split(mapping.substr(0, mapping.size() - 1), '\n')) {
    cells row = split(line, ',');
    for (std::size_t field = 9; field < row.size(); ++field) {
      if (row[field] == "0") row[field] = "  ";
    }
    const std::size_t point = row[1].find('.');
    if (delimiter != ',' && point != std::string::npos) row[1][point] = ',';
    for (std::string& cell : row) {
      text += (is_quoted ? '"' + cell + '"' : cell) + delimiter;
    }
    text += line_end;
  }
  return text;
}

TEST_F(Tidy, EveryStyleOfExportGivesTheSameMapping) {
  std::string mapping = content_of(RUVEX_EXAMPLES "/plant_room.csv");
  mapping.replace(mapping.find("Evaporator outlet"), 10, "\xB0\x43 out of");
  const struct {
    std::string name, mark;
    std::string (*encode)(std::string_view);
  } encodings[] = {
      {"UTF-8", "", utf8},
      {"UTF-8 with a mark", "\xEF\xBB\xBF", utf8},
      {"Latin-1", "", same},
      {"UTF-16LE", "", utf16<false>},
      {"UTF-16LE with a mark", "\xFF\xFE", utf16<false>},
      {"UTF-16BE", "", utf16<true>},
      {"UTF-16BE with a mark", "\xFE\xFF", utf16<true>},
  };
  const std::string line_ends[] = {"\n", "\r\n", "\r"};
  std::size_t style = 0;  // makes the line ends and the quoting vary
  for (const auto& [name, mark, encode] : encodings) {
    const std::string err = name == "Latin-1" ? "ruvexctl: -: taken as Latin-1\n" : "";
    for (const char delimiter : ",;\t|"s) {
      const std::string text = exported(mapping, delimiter, line_ends[style % 3], style % 5 < 2);
      EXPECT_EQ(tidy(mark + encode(text)),
                (outcome{0, utf8(mapping), err + "-:1-3: left out: header\n"}))
          << name << ", delimiter " << delimiter << ", style " << style;
      ++style;
    }
  }
}

const std::string defaults = ",16 Bit Unsigned Integer,ANALOG_INPUT,1,NO_UNITS,0,0,0,0,0,0,0,0\n";

TEST_F(Tidy, OnlyTheFormChanges) {
  const std::string plain = point_line();
  const std::string eighteen = plain.substr(0, plain.size() - 1) + ", \n";
  const struct {
    std::vector<std::string> options;
    std::string content, out, err;
  } cases[] = {
      // blank cells, and blanks around others
      {{}, ",,,1,40001\n", "-,0,Default Channel Name,1,40001" + defaults, ""},
      {{}, point_line({{2, "\xC2\xA0\t A  b \xC2\xA0"}}), point_line({{2, "A  b"}}), ""},
      {{}, eighteen, plain, ""},
      {{},
       point_line({{11, " "}, {12, ""}, {13, "10"}, {14, " "}}),
       point_line({{11, "0"}, {12, "1"}, {13, "10"}, {14, "1"}}),
       ""},
      {{}, point_line({{11, "0"}, {12, ""}, {13, " "}, {14, "0"}}), plain, ""},
      // quoted cells
      {{}, point_line({{0, "\" \"\"a\"\",\r\nb\""}}), point_line({{0, "a    b"}}), ""},
      {{},
       point_line({{0, "\",\"\"\""}, {2, "\"Zone\" "}}),
       point_line({{0, "-"}, {2, "Zone"}}),
       ""},
      {{"--delimiter=,"},
       point_line({{1, "\"+0,5\""}, {11, "\"-0,125\""}, {14, "\"1500,250\""}}),
       point_line({{1, "+0.5"}, {11, "-0.125"}, {14, "1500.250"}, {12, "0"}}),
       ""},
      {{}, "\xEF\xBB\xBF\"p\"" + plain.substr(1), plain, ""},
      // rows that are left out
      {{"--skip=2"}, "\"a\r\n\"\r" + plain, plain, ""},
      {{"--skip=0"}, point_line({{3, "AHU"}}) + plain, point_line({{3, "AHU"}}) + plain, ""},
      {{}, point_line({{3, "AHU"}}) + plain, plain, "-:1: left out: header\n"},
      {{},
       plain + ",,,\n\nBoiler,,, ,\xC2\xA0\n" + plain,
       plain + plain,
       "-:4: left out: no unit and no reference\n"},
      {{},
       point_line({{0, "\"a\rb\r\nc\""}}) + "Boiler\n",
       point_line({{0, "a b  c"}}),
       "-:4: left out: no unit and no reference\n"},
      // columns
      {{"--columns=2,-,3-5"}, "x,P,Q,7,30001,z\n", "P,0,Q,7,30001" + defaults, ""},
      {{"--columns=-,=2,1,=9/1,2"}, "P,30001,{}\n", "-,2,P,9/1,30001" + defaults, ""},
      {{"--columns=1-17"}, plain.substr(0, plain.size() - 1) + ",more\n", plain, ""},
      // delimiters and encodings
      {{}, "a;b;c;d;e,1,P,1,4\n", "a;b;c;d;e,1,P,1,4" + defaults, ""},
      {{},
       ",,,,,,,,,,x\n\n\n\n\n\n;;;;\n;;P;1;4\n;;Q;2;4\n",
       "-,0,P,1,4" + defaults + "-,0,Q,2,4" + defaults,
       "-:1: left out: header\n"},
      {{}, "a;b,c;d\n", "", "-:1: left out: header\n"},
      {{"--delimiter=semicolon", "--columns=2,3,1,1,1"}, "1;;3\n", "-,3,1,1,1" + defaults, ""},
      {{"--delimiter=:", "--columns=-,-,1,2,2"}, "a:40001\n", "-,0,a,40001,40001" + defaults, ""},
      {{"--encoding=latin1"}, point_line({{2, "\xC3"}}), point_line({{2, "\xC3\x83"}}), ""},
      {{"--encoding=utf-16", "--columns=-,-,1,2,2"},
       "\x3D\xD8\x00\xDE,\0001\0"s,
       "-,0,\xF0\x9F\x98\x80,1,1" + defaults,
       ""},
  };
  for (const auto& row : cases) {
    const int status = row.out.empty() ? 2 : 0;
    const outcome ended = tidy(row.content, row.options);
    const std::string trouble =
        "ruvexctl: -: no row has a unit and a reference with digits; see --delimiter and "
        "--columns\n";
    EXPECT_EQ(ended, (outcome{status, row.out, row.err + (row.out.empty() ? trouble : "")}))
        << testing::PrintToString(row.content);
  }
}

TEST_F(Tidy, WhatCannotBeToldIsRefusedWithoutOutput) {
  const auto cannot = [](std::string_view what) {
    return "-:1:5: error: field 2 (name) holds "s.append(what) +
           ", which a mapping file cannot hold\n";
  };
  const std::string plain = point_line();
  const std::string too_long = std::string(1023 - plain.size() + 6, 'n');
  const struct {
    std::vector<std::string> options;
    std::string content, err;
  } cases[] = {
      {{}, point_line({{2, "\"{\"\"a\"\":1}\""}}), cannot("a double quote")},
      {{}, point_line({{2, "\"a,b\""}}), cannot("a comma")},
      {{"--skip=1"},
       "x\r\n" + plain + point_line({{4, ""}}),
       "-:3:13: error: field 4 (reference) is blank\n"},
      {{}, point_line({{2, "\"a\rb\""}}), cannot("a line end")},
      {{}, point_line({{2, "a\0b"s}}), cannot("a NUL byte")},
      {{}, point_line({{2, "a\tb"}}), cannot("a control character")},
      {{}, point_line({{2, "a\xC2\x96"}}), cannot("a control character")},
      {{},
       plain + plain + point_line({{1, "\"1,500\""}, {12, "\"0,5,1\""}, {13, "\"a,5\""}}),
       "-:3:3: error: field 1 (COV increment) holds a comma, which a mapping file cannot hold\n"
       "-:3:77: error: field 12 (device scale high) holds a comma, which a mapping file cannot "
       "hold\n"
       "-:3:85: error: field 13 (user scale low) holds a comma, which a mapping file cannot "
       "hold\n"},
      {{},
       plain + point_line({{3, ""}, {4, ""}, {0, "\"a\n\" b"}}),
       "-:3:3: error: text behind a closing quote\n"},
      {{},
       plain + point_line({{3, " "}}) + point_line({{4, ""}}),
       "-:2:11: error: field 3 (unit) is blank\n-:3:13: error: field 4 (reference) is blank\n"},
      {{},
       plain + plain.substr(0, plain.size() - 1) + ",,x,\n",
       "-:2:81: error: 19 cells; choose 17 of them with --columns\n"},
      {{},
       point_line({{2, too_long}}),
       "-:1:1: error: the line would be longer than 1023 characters, its newline included\n"},
      {{}, plain + "a,\"b\n\n", "-:2:3: error: this quote is not closed\n"},
      {{},
       "p" + std::string(20000, ','),
       "-:1:16386: error: more cells than a row of a spreadsheet has\n"},
      {{},
       "a;b;c;1;4,0,0,0\n",
       "-:1:9: error: field 4 (reference) holds a comma, which a mapping file cannot hold\n"},
      {{"--columns=1-16,18"}, plain, "ruvexctl: -: no row has a column 18\n"},
      {{"--encoding=utf-8"},
       plain + "\r\r\na\xC3\xA9\xC3",
       "-:4:4: error: not UTF-8; see --encoding\n"},
      {{"--encoding=utf-8"}, "\xED\xA0\x80", "-:1:1: error: not UTF-8; see --encoding\n"},
      {{"--encoding=utf-16"},
       "a\0\n\0b\0\0\xD8"
       "c\0"s,
       "-:2:2: error: half a surrogate pair; see --encoding\n"},
      {{"--encoding=utf-16"},
       "\xFE\xFF\xDC\x00\xDC\x00"s,
       "-:1:1: error: half a surrogate pair; see --encoding\n"},
      {{},
       "\xFF\xFE"
       "a\0b"s,
       "-:1:2: error: half a character; see --encoding\n"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(tidy(row.content, row.options), (outcome{2, "", row.err}))
        << testing::PrintToString(row.content);
  }
  EXPECT_EQ(tidy(point_line({{2, too_long.substr(1)}})).status, 0);
}

TEST_F(Tidy, ArgumentsThatAreNoneAreRefused) {
  for (const std::string argument :
       {"delimiter=", "delimiter=\"", "delimiter=\n", "delimiter=ab", "delimiter=\xB0",
        "encoding=ascii", "skip=-1", "skip=", "columns=", "columns=0", "columns=3-2",
        "columns=1,,2", "columns=1-18", "columns=-,1-17", "columns=16385", "columns=1-",
        "columns=a"}) {
    const outcome ended = tidy(point_line(), {"--" + argument});
    EXPECT_EQ(ended.status, 2) << argument;
    EXPECT_TRUE(ended.err.starts_with("ruvexctl tidy: invalid argument '")) << ended.err;
  }
}

}  // namespace
}  // namespace ruvex
