#include <string>

#include "tool/process.h"

namespace ruvex {
namespace {

const std::string example = RUVEX_EXAMPLES "/plant_room";

class DiffTest : public ToolTest {
 protected:
  outcome diff(const std::string& a, const std::string& b) const {
    write("a", a);
    write("b", b);
    return run({"diff", path("a"), path("b")});
  }
};

std::string line(const std::string& unit, const std::string& reference, const std::string& name,
                 const std::string& rest = "16 Bit Signed Integer,ANALOG_INPUT,1,VOLTS,0,0") {
  return "l,1," + name + "," + unit + "," + reference + "," + rest + "\n";
}

TEST_F(DiffTest, AMappingIsTheSameAsWhatItConvertsTo) {
  const outcome same = {0, "", ""};
  EXPECT_EQ(run({"diff", example + ".csv", example + ".xml"}), same);
  write("doc", "<yax_cfg name=\"x\">" + content_of(example + ".xml") + "</yax_cfg>");
  EXPECT_EQ(run({"diff", path("doc"), example + ".csv"}), same);
}

TEST_F(DiffTest, DifferencesAreToldByUnitAndRegister) {
  const std::string first = line("5", "40001", "A");
  const std::string second = line("5", "40002", "B");
  const std::string bit = "Bit16,BINARY_INPUT,1,NO_UNITS,0,";
  const std::string unit5 = "<unit_cfg type=\"MODBUS\" address=\"5\" ";
  const struct {
    std::string a, b, printed;
  } cases[] = {
      {first + second, second + first, ""},
      {first, line("5", "X40001", "A"), ""},
      {first + second, second, "- 5 40001 \"A\"\n0 points added, 1 removed, 0 changed\n"},
      {second, first + line("5", "30010", "C", bit + "3") + second,
       "+ 5 30010 mask 8 \"C\"\n+ 5 40001 \"A\"\n2 points added, 0 removed, 0 changed\n"},
      {line("5", "30010", "C", bit + "3"), line("5", "30010", "C", bit + "4"),
       "- 5 30010 mask 8 \"C\"\n+ 5 30010 mask 16 \"C\"\n1 point added, 1 removed, 0 changed\n"},
      {first + first, first + line("5", "40001", "Z", "Bit16,ANALOG_INPUT,1,AMPERES,0,99"),
       "~ 5 40001 \"A\": name \"A\" -> \"Z\"\n"
       "~ 5 40001 \"A\": bac_units \"VOLTS\" -> \"AMPERES\"\n"
       "~ 5 40001 \"A\": reg_format \"SIGNED\" -> \"UNSIGNED\"\n"
       "0 points added, 0 removed, 1 changed\n"},
      {first, line("5", "40001", "Z"),
       "~ 5 40001 \"A\": name \"A\" -> \"Z\"\n0 points added, 0 removed, 1 changed\n"},
      {first, line("10.0.0.5/5", "40001", "A"),
       "- unit 5\n+ unit 10.0.0.5/5\n- 5 40001 \"A\"\n+ 10.0.0.5/5 40001 \"A\"\n"
       "1 point added, 1 removed, 0 changed\n"},
      {line("03", "40001", "A"), line("3", "40001", "A"),
       "~ unit 03: address \"03\" -> \"3\"\n0 points added, 0 removed, 0 changed\n"},
      {line("/5", "40001", "A"), first,
       "~ unit /5: name \"Default Modbus/TCP CSV Unit Name\" -> \"Default Modbus CSV Unit Name\"\n"
       "~ unit /5: type \"MODBUS_TCP\" -> \"MODBUS\"\n0 points added, 0 removed, 0 changed\n"},
      {unit5 + "poll_delay=\"0\" instance=\"1\"/>", unit5 + "poll_delay=\"10\" instance=\"2\"/>",
       "~ unit 5: poll_delay \"0\" -> \"10\"\n0 points added, 0 removed, 0 changed\n"},
      {unit5 + "/>", "<unit_cfg type=\"VIRTUAL\" address=\"5\"/>",
       "- unit 5\n+ unit VIRTUAL 5\n0 points added, 0 removed, 0 changed\n"},
      {unit5 + "/><unit_cfg type=\"MODBUS\" address=\"4\"/>",
       "<unit_cfg type=\"MODBUS\" address=\"4\"/>" + unit5 + "/>", ""},
      {unit5 + "/>", "<yax_cfg><baudrate>1</baudrate>" + unit5 + "/></yax_cfg>", ""},
      {"<yax_cfg name=\"&#27;\"><baudrate>9600</baudrate></yax_cfg>",
       "<yax_cfg name=\"b\"><baudrate>19200</baudrate></yax_cfg>",
       "~ document: name \"\\u001b\" -> \"b\"\n~ document: baudrate \"9600\" -> \"19200\"\n"
       "0 points added, 0 removed, 0 changed\n"},
  };
  for (const auto& row : cases) {
    const int status = row.printed.empty() ? 0 : 1;
    EXPECT_EQ(diff(row.a, row.b), (outcome{status, row.printed, ""})) << row.a << row.b;
    EXPECT_EQ(run({"diff", "--quiet", path("a"), path("b")}), (outcome{status, "", ""})) << row.a;
  }
}

TEST_F(DiffTest, WhatCannotBeComparedIsTrouble) {
  EXPECT_EQ(diff("<yax_cfg>", line("5", "40001", "A")).status, 2);
  EXPECT_EQ(diff(line("5", "40001", "A"), line("5", "20001", "A")).out, "");
  EXPECT_TRUE(run({"diff", "-", "-"})
                  .err.starts_with("ruvexctl diff: standard input can be read once\nTry"));
}

}  // namespace
}  // namespace ruvex
