#include "ruvex/cfg/xml_writer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "cfg/document_text.h"
#include "ruvex/cfg/defaults.h"
#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/cfg/tables.h"
#include "ruvex/cfg/xml_reader.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

// The lines of a text of the writer's as they are `level` levels deeper.
std::string deeper(const std::string& text, unsigned level) {
  std::string result;
  for (std::size_t at = 0, next; at < text.size(); at = next) {
    next = std::min(text.find('\n', at), text.size() - 1) + 1;
    const std::size_t content = text.find_first_not_of('\t', at);
    result.append(std::min<std::size_t>(content - at + level, max_tabs), '\t');
    result.append(text, content, next - content);
  }
  return result;
}

// factory.xml has every default in it, a text with what is not escaped, and what of a document is
// written: no unit of the first two types, and of the unit 9 of virtual points no second channel.
TEST(XmlWriter, WritesTheFactoryDocument) {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  doc->gateway = "<&>\"'\x80";
  add_chn_cfg(get_unit_ptr(doc.get(), 2), 0, 1, chn_type::input_mcd_hreg, 1);
  unit_cfg* unit = nullptr;
  for (const auto& [type, address] : {std::pair("MODBUS", "5"),
                                      {"MODBUS_TCP", "6"},
                                      {"modbus", "7"},
                                      {"YAX_TYPE1", "9"},
                                      {"VIRTUAL", "09"}}) {
    unit = add_unit_cfg(doc.get(), doc->unit_count - 1, 0);
    ASSERT_TRUE(unit->type.assign(type) && unit->ip_address.assign("10.0.0.1") &&
                unit->address.assign(address));
    for (const int index : {1, 0}) add_chn_cfg(unit, 0, index, chn_type::input_mcd_hreg, index);
  }
  for (const auto& [type, index] :
       {std::pair(3, 3), {3, INT32_MAX}, {19, 0}, {10, 2}, {11, 0}, {20, 0}, {21, 4}}) {
    add_chn_cfg(unit, unit->chn_count - 1, index, type, index);
  }
  const temporary_file file;
  EXPECT_EQ(write_xml_cfg(doc.get(), file.path()), 0);
  EXPECT_EQ(file.content(), content_of(RUVEX_FACTORY));
  EXPECT_EQ(cur_tab, 2U);
}

// A document with a text of these characters in all that is written. Now and then a unit takes more
// than a block of the writer's; one has no channels.
yax_cfg_ptr random_document(std::mt19937& random, std::string_view characters) {
  const auto fill = [&](auto& record, const auto& rows) {
    for (const auto& row : rows) {
      if (row.use != field_use::written) continue;
      std::string text(1 + random() % (row.view(record).capacity() - 1), ' ');
      for (char& character : text) character = characters[random() % characters.size()];
      row.ref(record).assign(text);
    }
  };
  yax_cfg_ptr doc(make_default_yax_cfg());
  add_unit_cfg(doc.get(), 0, 0);
  for (unsigned more = random() % 9 == 0 ? 120 : 2; more > 0; --more) {
    add_chn_cfg(doc->unit_list, 0, 0, 0, 0);
  }
  fill(*doc, doc_attributes);
  fill(*doc, doc_elements);
  for (unit_cfg* unit = doc->unit_list; unit != nullptr; unit = unit->next) {
    fill(*unit, unit_attributes);
    for (chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      fill(*chn, chn_attributes);
      fill(*chn, chn_elements);
    }
  }
  return doc;
}

// At levels at which the prepared runs are short, at which they outgrow a piece, and beyond the
// deepest. Texts of every second document have line ends.
TEST(XmlWriter, WhatIsWrittenIsReadBackAtAnyLevel) {
  constexpr unsigned levels[] = {0, 1, 9, 10, 11, 12, 40, 124, 125, 126, 300};
  std::mt19937 random(20260302);
  const temporary_file file;
  for (int count = 0; count < 44; ++count) {
    const std::string_view characters = "aZ09 .-_/:;>'\t\x01\x7f\x80\xff\r\n";
    const yax_cfg_ptr doc = random_document(random, characters.substr(0, 17 + count % 2 * 2));
    ASSERT_EQ(write_xml_cfg(doc.get(), file.path()), 0);
    yax_cfg_ptr back(read_xml_cfg(file.path()));
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(document_text(*back), document_text(*doc));

    unit_cfg& first = *doc->unit_list;
    ASSERT_TRUE(first.type.assign("MODBUS_TCP") && first.ip_address.assign("10.0.0.9"));
    cur_tab = 0;
    ASSERT_EQ(write_xml_unit_cfg(&first, file.path()), 0);
    const std::string units = file.content(), whole = "<yax_cfg>" + units + "</yax_cfg>";
    back.reset(parse_xml_cfg(whole.data(), static_cast<int>(whole.size())));
    ASSERT_NE(back, nullptr);
    ASSERT_TRUE(document_text(*doc).ends_with(changes_text(*back)));
    const unsigned level = cur_tab = levels[count / 2 % 11];
    ASSERT_EQ(write_xml_unit_cfg(&first, file.path()), 0);
    EXPECT_EQ(cur_tab, level + 1);
    EXPECT_TRUE(count % 2 != 0 || file.content() == deeper(units, level)) << "level " << level;
  }
}

TEST(XmlWriter, TellsWhetherEveryByteArrived) {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  const std::string too_long(5000, 'x');
  const struct {
    const char* path;
    int result, error;
  } cases[] = {{"/dev/full", 0, ENOSPC},
               {"/nowhere/file.xml", 2, ENOENT},
               {"/", 2, EISDIR},
               {"", 2, ENOENT},
               {too_long.c_str(), 2, ENAMETOOLONG}};
  for (const auto& row : cases) {
    cur_tab = 5;
    EXPECT_EQ(write_xml_unit_cfg(doc->unit_list, row.path), row.result) << row.path;
    EXPECT_EQ(cur_tab, row.result == 0 ? 6U : 5U) << row.path;
    EXPECT_EQ(xml_write_error, row.error) << row.path;
    EXPECT_EQ(write_xml_cfg(doc.get(), row.path), row.result) << row.path;
  }
  const temporary_file file;
  EXPECT_EQ(write_xml_unit_cfg(nullptr, file.filled_with("earlier content")), 0);
  EXPECT_EQ(xml_write_error, 0);
  EXPECT_EQ(file.content(), "");
}

// A folder with an earlier file and a link to it, of a user who has no rights but his own.
class EarlierFile : public testing::Test {
 protected:
  EarlierFile() {
    const bool is_root = ::getuid() == 0;
    if ((is_root && ::seteuid(65534) != 0) || ::mkdtemp(folder_.data()) == nullptr) {
      throw std::runtime_error("no folder of another user");
    }
    path_ = folder_ + "/file.xml";
    std::ofstream(path_) << "earlier content";
    ::chmod(path_.c_str(), 0646);
    std::filesystem::create_symlink("file.xml", folder_ + "/link");
    std::signal(SIGXFSZ, SIG_IGN);
  }
  ~EarlierFile() override {
    ::chmod(folder_.c_str(), 0700);
    std::filesystem::remove_all(folder_);
    EXPECT_EQ(::seteuid(::getuid()), 0);
  }
  // Writes a document where a file may have `limit` bytes; the result, the error, what is in the
  // file then, and how many files are in the folder.
  std::string write(const std::string& path, rlim_t limit = RLIM_INFINITY) const {
    const rlimit limited = {limit, RLIM_INFINITY}, unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limited);
    const int result = write_xml_cfg(yax_cfg_ptr(make_default_yax_cfg()).get(), path.c_str());
    ::setrlimit(RLIMIT_FSIZE, &unlimited);
    const std::string content = content_of(path_);
    const bool is_whole = content.ends_with("</yax_cfg>\r\n") && content.size() > 5000;
    const std::filesystem::directory_iterator files(folder_);
    return std::to_string(result) + " " + std::strerror(xml_write_error) + ": " +
           (is_whole ? "whole" : content) + ", " + std::to_string(std::distance(files, {}));
  }
  mode_t mode() const {
    struct stat status = {};
    return ::lstat(path_.c_str(), &status) == 0 ? status.st_mode : 0;
  }

  std::string folder_ = testing::TempDir() + "ruvex_test_XXXXXX", path_;
  const std::string whole = std::string("0 ") + std::strerror(0) + ": whole, 2";
};

TEST_F(EarlierFile, IsReplacedWholeOrNotAtAll) {
  for (const std::string& path : {path_, folder_ + "/link"}) {
    EXPECT_EQ(write(path, 5000), "0 File too large: earlier content, 2");
    EXPECT_EQ(write(path), whole) << path;
    EXPECT_EQ(mode(), S_IFREG | 0646U) << path;
    std::ofstream(path_) << "earlier content";
  }
}

TEST_F(EarlierFile, IsWrittenWhereItStandsWhenItsFolderTakesNoNewOne) {
  ::chmod(folder_.c_str(), 0555);
  EXPECT_EQ(write(path_), whole);
  EXPECT_EQ(write(path_, 5000), "0 File too large: , 2") << "no part of a document stays";
}

TEST_F(EarlierFile, StaysWhenItMayNotBeWritten) {
  ::chmod(path_.c_str(), 0444);
  EXPECT_EQ(write(path_), "2 Permission denied: earlier content, 2");
}

// What `print` leaves in a stream.
template <class Print>
std::string printed(Print print) {
  const temporary_file file;
  std::FILE* stream = std::fopen(file.path(), "wb");
  print(stream);
  std::fclose(stream);
  return file.content();
}

TEST(XmlWriter, PrintsSingleTags) {
  const std::string lines[] = {"<persistent>", "</persistent>", "<persistent>text</persistent>"};
  for (const int id : {-1, 72, static_cast<int>(tag_count)}) {
    for (int mode = -1; mode <= 4; ++mode) {
      cur_tab = 2;
      const bool is_line = id == 72 && mode >= print_start && mode <= print_element;
      EXPECT_EQ(printed([&](std::FILE* to) { print_tag(to, id, mode, "text"); }),
                is_line ? "\t\t" + lines[mode - print_start] + "\r\n" : "");
      EXPECT_EQ(cur_tab, mode == print_reset ? 0U : 2U);
    }
  }
  EXPECT_EQ(printed([](std::FILE* to) { print_tag(to, 7, print_element, nullptr); }), "");
}

TEST(XmlWriter, PrintsTheDataOfAChannelAlone) {
  chn_cfg chn = {};
  init_chn_cfg(&chn, 0, 12, 1);
  cur_tab = 0;
  const auto print = [&chn](std::FILE* to) { print_chn_data(to, &chn); };
  const std::string data = printed(print);
  EXPECT_NE(content_of(RUVEX_FACTORY).find("\">\r\n" + deeper(data, 4)), std::string::npos) << data;
  for (const unsigned level : {3U, 60U, 127U, 128U}) {
    cur_tab = level;
    EXPECT_EQ(printed(print), deeper(data, level));
    char buffer[max_tabs + 1];
    EXPECT_EQ(tab_str(buffer), std::string(std::min(level, max_tabs), '\t'));
  }
}

}  // namespace
}  // namespace ruvex
