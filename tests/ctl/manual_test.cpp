// The manual and the help beside the tables that the programs go by.
#include <regex>
#include <string>

#include "gtest/gtest.h"
#include "ruvex/mapping/columns.h"
#include "ruvex/mapping/rules.h"
#include "tool/process.h"

namespace ruvex {
namespace {

using ManualTest = ToolTest;

// What a pattern finds in a text, each as it is written with `form`.
std::string rows_in(const std::string& text, const char* pattern, const char* form) {
  return std::regex_replace(text, std::regex(pattern, std::regex::multiline), form,
                            std::regex_constants::format_no_copy);
}

TEST_F(ManualTest, ColumnsAndDataTypesAreThoseOfTheTables) {
  std::string columns, types;
  for (const mapping_column& column : mapping_columns) {
    columns += std::to_string(column.field) + " " + column.name.data() + "\n";
  }
  for (const modbus_type_row* row = modbus_type; row->data_type.data() != nullptr; ++row) {
    types.append(row->data_type).append(" ").append(row->reg_size.view()).append(" ");
    types.append(row->reg_endian.view()).append(" ").append(row->reg_format.view()).append("\n");
  }
  const std::string manual = content_of(RUVEX_DOCS "/ruvex-mapping.5");
  EXPECT_EQ(rows_in(manual, "^\\.It (\\d+), (.+)$", "$1 $2\n"), columns);
  EXPECT_EQ(rows_in(manual, "^\\.It (.+) Ta (\\d) Ta ([A-Z]+) Ta ([A-Z]+)$", "$1 $2 $3 $4\n"),
            types);
  const std::string help = run({"tidy", "--help"}).out;
  const std::string told = std::regex_replace(help.substr(help.find("The fields are:")),
                                              std::regex("(\\w+) scale low, (\\d+) high"),
                                              "$1 scale low, $2 $1 scale high");
  EXPECT_EQ(rows_in(told, "\\s(\\d+) ([A-Za-z ]+)[,.]", "$1 $2\n"), columns);
}

}  // namespace
}  // namespace ruvex
