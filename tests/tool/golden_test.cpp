#include <filesystem>

#include "tool/process.h"

namespace ruvex {
namespace {

namespace fs = std::filesystem;

using GoldenTest = ToolTest;

// NAME.csv converts to NAME.xml, or to nothing where that is missing; NAME.out holds what is
// printed and a last line with the exit status.
TEST_F(GoldenTest, EveryMappingConvertsAsRecorded) {
  for (const fs::path& file : fs::directory_iterator(RUVEX_GOLDEN)) {
    SCOPED_TRACE(file.filename());
    fs::path csv = file;
    csv.replace_extension(".csv");
    EXPECT_TRUE(fs::exists(csv)) << "belongs to no case";
    if (file != csv) continue;
    const outcome ended = convert(content_of(csv));
    EXPECT_EQ(ended.out + "status " + std::to_string(ended.status) + "\n",
              content_of(fs::path(file).replace_extension(".out")));
    EXPECT_EQ(ended.err, "");
    const fs::path xml = fs::path(file).replace_extension(".xml");
    EXPECT_EQ(exists("out.xml"), fs::exists(xml));
    EXPECT_EQ(read("out.xml"), content_of(xml));
  }
}

}  // namespace
}  // namespace ruvex
