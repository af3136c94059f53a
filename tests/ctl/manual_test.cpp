// The manual and the help beside the tables that the programs go by.
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "ruvex/mapping/columns.h"
#include "ruvex/mapping/rules.h"
#include "tool/process.h"

namespace ruvex {
namespace {

using ManualTest = ToolTest;

using rows = std::vector<std::vector<std::string>>;

TEST_F(ManualTest, ColumnsAndDataTypesAreThoseOfTheTables) {
  rows columns, types;
  for (const mapping_column& column : mapping_columns) {
    columns.push_back({std::to_string(column.field), std::string(column.name)});
  }
  for (const modbus_type_row* row = modbus_type; row->data_type.data() != nullptr; ++row) {
    types.push_back({std::string(row->data_type), std::string(row->reg_size.view()),
                     std::string(row->reg_endian.view()), std::string(row->reg_format.view())});
  }
  const std::string manual = content_of(RUVEX_DOCS "/ruvex-mapping.5");
  EXPECT_EQ(matches(manual, "^\\.It ([0-9]+), (.+)$"), columns);
  EXPECT_EQ(matches(manual, "^\\.It (.+) Ta ([0-9]) Ta ([A-Z]+) Ta ([A-Z]+)$"), types);
  const std::string help = run({"tidy", "--help"}).out;
  columns[field_scl_dev_hi][1] = columns[field_scl_usr_hi][1] = "high";  // of the one before
  const std::size_t from = help.find("The fields are:");
  EXPECT_EQ(matches(help.substr(from, help.find("See ", from) - from), "([0-9]+) ([A-Za-z ]+)[,.]"),
            columns);
}

}  // namespace
}  // namespace ruvex
