#include "ruvex/cfg/xml_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <string>
#include <string_view>

#include "ruvex/cfg/defaults.h"
#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/cfg/xml_reader.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

// The document, written the plain way: what the writer's prepared runs must come to.
std::string line(unsigned level, const std::string& content) {
  return std::string(std::min(level, max_tabs), '\t') + content + "\r\n";
}
template <class Record, class Rows>
std::string start(unsigned level, std::string tag, const Record& record, const Rows& rows,
                  bool is_tcp = false) {
  for (const auto& row : rows) {
    if (row.use == field_use::read_only || (row.use == field_use::tcp_only && !is_tcp)) continue;
    tag += std::string(" ").append(tag_text(row.tag)) + "=\"" +
           std::string(row.view(record).view()) + '"';
  }
  return line(level, "<" + tag + ">");
}
template <class Record, class Rows>
std::string elements(unsigned level, const Record& record, const Rows& rows) {
  std::string text;
  for (const auto& row : rows) {
    const std::string name = tag_text(row.tag), value(row.view(record).view());
    if (row.use == field_use::written)
      text += line(level, "<" + name + ">" + value + "</" + name + ">");
  }
  return text;
}
std::string unit_text(unsigned level, const unit_cfg& unit, int limit) {
  std::string text = start(level, "unit_cfg", unit, unit_attributes, unit.type == "MODBUS_TCP");
  for (const chn_cfg* chn = unit.chn_list; chn != nullptr && limit-- > 0; chn = chn->next) {
    text += start(level + 1, "chn_cfg", *chn, chn_attributes);
    text += elements(level + 2, *chn, chn_elements) + line(level + 1, "</chn_cfg>");
  }
  return text + line(level, "</unit_cfg>");
}
std::string whole_text(const yax_cfg& doc) {
  std::string text = "<?xml version=\"1.0\"?>\r\n" + start(1, "yax_cfg", doc, doc_attributes);
  text += elements(2, doc, doc_elements);
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    if (unit->type == "MODBUS" || unit->type == "MODBUS_TCP") continue;
    text +=
        unit_text(2, *unit, unit->type == "VIRTUAL" && unit->address == "9" ? 1 : max_list_count);
  }
  return text + "</yax_cfg>\r\n";
}

// A document with texts of these characters, none shorter than `shortest`. Now and then a unit
// takes more than a block of the writer's; one has no channels.
yax_cfg_ptr random_document(std::mt19937& random, std::string_view characters, unsigned shortest) {
  const auto fill = [&](auto& record, const auto& rows) {
    for (const auto& row : rows) {
      std::string text(shortest + random() % (row.view(record).capacity() - shortest), ' ');
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
  constexpr const char* types[] = {"MODBUS", "MODBUS_TCP", "YAX_TYPE1", "VIRTUAL", "modbus", ""};
  constexpr const char* addresses[] = {"9", "9", "09", "19"};
  for (unit_cfg* unit = doc->unit_list; unit != nullptr; unit = unit->next) {
    fill(*unit, unit_attributes);
    unit->type.ref().assign(types[random() % 6]);
    unit->address.ref().assign(addresses[random() % 4]);
    for (chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      fill(*chn, chn_attributes);
      fill(*chn, chn_elements);
    }
  }
  return doc;
}

// At levels at which the runs are short, at which they outgrow a piece, and beyond the deepest. Of
// every second document the texts leave the format intact, and it is read back.
TEST(XmlWriter, WritesAnyDocumentAsThePlainWayDoesAndItIsReadBack) {
  constexpr unsigned levels[] = {0, 1, 9, 10, 11, 12, 40, 124, 125, 126, 300};
  std::mt19937 random(20260302);
  const temporary_file file;
  for (int count = 0; count < 110; ++count) {
    const bool is_read = count % 2 != 0;
    const yax_cfg_ptr doc = is_read
                                ? random_document(random, "aZ09 .-_/:;>'\t\r\n\x01\x7f\x80\xff", 1)
                                : random_document(random, "aZ09 .-_/<&\"'\t\r\n\x80\xff", 0);
    const unsigned level = cur_tab = levels[count % 11];
    std::string units;
    for (const unit_cfg* unit = doc->unit_list; unit != nullptr; unit = unit->next) {
      units += unit_text(level + 1, *unit, max_list_count);
    }
    ASSERT_EQ(write_xml_unit_cfg(doc->unit_list, file.path()), 0);
    EXPECT_EQ(cur_tab, level + 1);
    ASSERT_EQ(file.content(), units) << "level " << level;
    ASSERT_EQ(write_xml_cfg(doc.get(), file.path()), 0);
    EXPECT_EQ(cur_tab, 2U);
    ASSERT_EQ(file.content(), whole_text(*doc));
    if (!is_read) continue;
    const yax_cfg_ptr back(read_xml_cfg(file.path()));
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(whole_text(*back), file.content());
  }
}

TEST(XmlWriter, TellsWhetherEveryByteArrived) {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  const struct {
    const char* path;
    int result, error;
  } cases[] = {{"/dev/full", 0, ENOSPC}, {"/nowhere/file.xml", 2, ENOENT}, {"/", 2, EISDIR}};
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
                is_line ? line(2, lines[mode - print_start]) : "");
      EXPECT_EQ(cur_tab, mode == print_reset ? 0U : 2U);
    }
  }
  EXPECT_EQ(printed([](std::FILE* to) { print_tag(to, 7, print_element, nullptr); }), "");
}

TEST(XmlWriter, PrintsTheDataOfAChannelAlone) {
  chn_cfg chn = {};
  init_chn_cfg(&chn, 0, 12, 1);
  for (const unsigned level : {0U, 3U, 60U, 127U, 128U}) {
    cur_tab = level;
    EXPECT_EQ(printed([&chn](std::FILE* to) { print_chn_data(to, &chn); }),
              elements(level, chn, chn_elements));
    char buffer[max_tabs + 1];
    EXPECT_EQ(tab_str(buffer), std::string(std::min(level, max_tabs), '\t'));
  }
}

}  // namespace
}  // namespace ruvex
