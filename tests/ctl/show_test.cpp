#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tool/process.h"

namespace ruvex {
namespace {

using ShowTest = ToolTest;

std::string channel(const std::string& reference, const std::string& name = "n") {
  return "<chn_cfg name=\"" + name + "\"><reg_num>" + reference + "</reg_num></chn_cfg>";
}

std::string unit_file(const std::string& channels, const std::string& type = "MODBUS") {
  return "<unit_cfg type=\"" + type + "\" address=\"5\">" + channels + "</unit_cfg>";
}

std::string csv_rows(const std::string& out) {
  return out.substr(out.find('\n') + 1);
}

TEST_F(ShowTest, EveryFormatHoldsWhatTheControllerWillHave) {
  write("in.csv",
        "l,2,Pump,10.0.0.5/3,400017,Bit32 LO/HI,BINARY_INPUT,7,NO_UNITS,Say: hi,31\n"
        "l,1,A|B\\C\x1B,5,30010,16 Bit Signed Integer,ANALOG_INPUT,8,VOLTS,0,0,-4,9,-1,2,0,0\n");
  const struct {
    std::string format, printed;
  } cases[] = {
      {"table",
       "unit        reference  table             wire address  size  word order  format    "
       "channel type     write function  mask         scaling         object type   instance  "
       "units     COV increment  name\n"
       "10.0.0.5/3  400017     holding register  16            2     LITTLE      UNSIGNED  "
       "OUTPUT_MCD_HREG  16              -2147483648                  BINARY_INPUT  7         "
       "NO_UNITS  2              Pump\n"
       "5           30010      input register    9             1     BIG         SIGNED    "
       "INPUT_MCD_IREG   6               0            -4..9 -> -1..2  ANALOG_INPUT  8         "
       "VOLTS     1              A|B\\C?\n"},
      {"csv",
       "unit,reference,table,wire_address,size,word_order,format,channel_type,write_function,mask,"
       "device_scale_low,device_scale_high,user_scale_low,user_scale_high,object_type,instance,"
       "units,cov_increment,name,description\n"
       "10.0.0.5/3,400017,holding register,16,2,LITTLE,UNSIGNED,OUTPUT_MCD_HREG,16,-2147483648,"
       "0,1,0,1,BINARY_INPUT,7,NO_UNITS,2,Pump,Say: hi\n"
       "5,30010,input register,9,1,BIG,SIGNED,INPUT_MCD_IREG,6,0,-4,9,-1,2,ANALOG_INPUT,8,VOLTS,1,"
       "A|B\\C\x1B,Default channel description\n"},
      {"json",
       R"({"unit":"10.0.0.5/3","reference":"400017","table":"holding register","wire_address":16,)"
       R"("size":"2","word_order":"LITTLE","format":"UNSIGNED","channel_type":"OUTPUT_MCD_HREG",)"
       R"("write_function":"16","mask":"-2147483648","device_scale_low":"0",)"
       R"("device_scale_high":"1","user_scale_low":"0","user_scale_high":"1",)"
       R"("object_type":"BINARY_INPUT","instance":"7","units":"NO_UNITS","cov_increment":"2",)"
       R"("name":"Pump","description":"Say: hi"})"
       "\n"
       R"({"unit":"5","reference":"30010","table":"input register","wire_address":9,"size":"1",)"
       R"("word_order":"BIG","format":"SIGNED","channel_type":"INPUT_MCD_IREG",)"
       R"("write_function":"6","mask":"0","device_scale_low":"-4","device_scale_high":"9",)"
       R"("user_scale_low":"-1","user_scale_high":"2","object_type":"ANALOG_INPUT",)"
       R"("instance":"8","units":"VOLTS","cov_increment":"1","name":"A|B\\C\u001b",)"
       R"("description":"Default channel description"})"
       "\n"},
      {"markdown",
       "| unit | reference | table | wire address | size | word order | format | channel type | "
       "write function | mask | scaling | object type | instance | units | COV increment | name |\n"
       "| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- "
       "| --- |\n"
       "| 10.0.0.5/3 | 400017 | holding register | 16 | 2 | LITTLE | UNSIGNED | OUTPUT_MCD_HREG | "
       "16 | -2147483648 |  | BINARY_INPUT | 7 | NO_UNITS | 2 | Pump |\n"
       "| 5 | 30010 | input register | 9 | 1 | BIG | SIGNED | INPUT_MCD_IREG | 6 | 0 | "
       "-4..9 -> -1..2 | ANALOG_INPUT | 8 | VOLTS | 1 | A\\|B\\\\C? |\n"},
  };
  for (const auto& row : cases) {
    const outcome shown = run({"show", "--format=" + row.format, path("in.csv")});
    EXPECT_EQ(shown, (outcome{0, row.printed, ""})) << row.format;
  }
}

TEST_F(ShowTest, AFileIsWhatItsContentSays) {
  const std::string unit = unit_file(channel("40012"));
  const std::string doc = "<yax_cfg>" + unit + "</yax_cfg>";
  const std::string shown = "5,40012,holding register,11,,,,,,,,,,,,,,,n,\n";
  const std::string declaration = "<?xml version=\"1.0\"?>\r\n<!-- <yax_cfg> -->\n";
  const struct {
    std::string content, rows;
  } cases[] = {
      {"", ""},
      {"\r\n", ""},
      {unit, shown},
      {" \n" + unit + unit, shown + shown},
      {"\xEF\xBB\xBF" + declaration + unit, shown},
      {"\xEF\xBB\xBF" + declaration + doc, shown},
      {doc + "\n<!-- end --><?end?>\n", shown},
      {"<unit_cfg/>", ""},
      {"<yax_cfg><other><deep/></other></yax_cfg>", ""},
      {unit_file(channel("40012"), "VIRTUAL"), "VIRTUAL 5,40012,,,,,,,,,,,,,,,,,n,\n"},
      {unit_file(channel("40000")), "5,40000,holding register,,,,,,,,,,,,,,,,n,\n"},
      {unit_file(channel("465537")), "5,465537,holding register,,,,,,,,,,,,,,,,n,\n"},
      {unit_file(channel("20001")), "5,20001,,,,,,,,,,,,,,,,,n,\n"},
      {unit_file(channel("0001x", "a,&quot;b&quot;")),
       "5,0001x,coil,,,,,,,,,,,,,,,,\"a,\"\"b\"\"\",\n"},
  };
  for (const auto& row : cases) {
    write("in", row.content);
    const outcome shown_file = run({"show", "--format=csv", path("in")});
    EXPECT_EQ(shown_file.status, 0) << row.content << shown_file.err;
    EXPECT_EQ(csv_rows(shown_file.out), row.rows) << row.content;
    const int input = ::open(path("in").c_str(), O_RDONLY | O_CLOEXEC);
    const outcome piped =
        run({"show", "--format=csv", "-"}, [input] { ::dup2(input, STDIN_FILENO); });
    ::close(input);
    EXPECT_EQ(piped, shown_file) << row.content;
  }
}

TEST_F(ShowTest, WhatRuvexWouldNotHaveIsRefused) {
  const std::string file = path("in");
  const std::string bad = "ruvexctl: " + file + ": not readable as a configuration\n";
  const std::string behind = "ruvexctl: " + file + ": goes on behind its </yax_cfg>\n" + bad;
  const std::string unit = unit_file("");
  const std::string line = file + ":";
  const struct {
    std::string content, messages;
  } cases[] = {
      {unit + "</yax_cfg>" + unit, behind},
      {unit + "</yax_cfg>", behind},
      {"<yax_cfg></yax_cfg>" + unit, behind},
      {"<yax_cfg></yax_cfg><!-- open", behind},
      {"<unit_cfg", "XML PARSE ERROR \"no document tag found\" on line 1\r\n" + bad},
      {"<yax_cfg>", "XML PARSE ERROR \"unexpected end of xml data\" on line 1\r\n" + bad},
      {"<unit_cfg>\n<unit_cfg/>",
       "XML PARSE ERROR \"unit_cfg is not allowed in unit_cfg\" on line 2\r\n" + bad},
      {"l,1,n,5,20001\n\nl,1,n," + std::string(32, '1') + ",X\x1B\n",
       line +
           "1:9: error: field 4 (reference): \"20001\" is stored as \"20001\", which begins with "
           "none "
           "of 0 (coil), 1 (discrete input), 3 (input register) and 4 (holding register) "
           "[illegal-reference]\n" +
           line +
           "3:7: error: field 3 (unit): is longer than 31 characters, which ruvex refuses "
           "[field-too-long]\n" +
           line +
           "3:40: error: field 4 (reference): \"X\\x1B\" has no digit, which ruvex refuses "
           "[illegal-reference]\n"},
      {std::string(1024, 'x') + "\nab" + std::string(1, '\0') + "\n" + point_line(),
       line +
           "1:1024: error: the line is longer than 1023 characters, which ruvex refuses "
           "[line-too-long]\n" +
           line + "2:3: error: the line holds a NUL byte, which ruvex refuses [nul-byte]\n"},
  };
  for (const auto& row : cases) {
    write("in", row.content);
    EXPECT_EQ(run({"show", file}), (outcome{2, "", row.messages})) << row.content;
  }
}

TEST_F(ShowTest, PeopleSeeNoRegisterWhereThereIsNone) {
  write("in", unit_file(channel("40001"), "VIRTUAL"));
  const outcome shown = run({"show", "--format=markdown", path("in")});
  EXPECT_TRUE(
      shown.out.ends_with("| --- |\n| VIRTUAL 5 |  |  |  |  |  |  |  |  |  |  |  |  |  |  | n |\n"))
      << shown.out;
}

TEST_F(ShowTest, CharactersAreCountedAndNoneCommandsTheTerminal) {
  write("in",
        unit_file(channel("\xC3\xA4\xE2\x82\xAC") + channel("40001", "\xC2\x9B\x7F\x9B\xC3")));
  const outcome table = run({"show", path("in")});
  EXPECT_NE(table.out.find("\n5     \xC3\xA4\xE2\x82\xAC      "), std::string::npos) << table.out;
  EXPECT_TRUE(table.out.ends_with(" ????\n")) << table.out;
  const outcome json = run({"show", "--format=json", path("in")});
  EXPECT_NE(json.out.find("\"reference\":\"\xC3\xA4\xE2\x82\xAC\",\"table\":null,\"wire_address\":"
                          "null"),
            std::string::npos);
  EXPECT_NE(json.out.find("\"\\u009b\\u007f\\u009b\\u00c3\""), std::string::npos) << json.out;
}

}  // namespace
}  // namespace ruvex
