#include "ruvex/cfg/xml_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <sstream>
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
class plain_writer {
 public:
  explicit plain_writer(unsigned level) : level_(level) {}

  template <class Record, class Rows>
  void start(const char* name, const Record& record, const Rows& attributes, bool tcp) {
    text_ << std::string(std::min(level_++, max_tabs), '\t') << '<' << name;
    for (const auto& row : attributes) {
      if (row.use == field_use::read_only || (row.use == field_use::tcp_only && !tcp)) continue;
      text_ << ' ' << tag_text(row.tag) << "=\"" << row.view(record).view() << '"';
    }
    text_ << ">\r\n";
  }
  template <class Record, class Rows>
  void elements(const Record& record, const Rows& rows) {
    for (const auto& row : rows) {
      if (row.use != field_use::written) continue;
      const std::string name = tag_text(row.tag);
      text_ << std::string(std::min(level_, max_tabs), '\t') << '<' << name << '>'
            << row.view(record).view() << "</" << name << ">\r\n";
    }
  }
  void end(const char* name) {
    text_ << std::string(std::min(--level_, max_tabs), '\t') << "</" << name << ">\r\n";
  }
  void unit(const unit_cfg& unit, std::size_t limit) {
    start("unit_cfg", unit, unit_attributes, unit.type == "MODBUS_TCP");
    for (const chn_cfg* chn = unit.chn_list; chn != nullptr && limit-- > 0; chn = chn->next) {
      start("chn_cfg", *chn, chn_attributes, false);
      elements(*chn, chn_elements);
      end("chn_cfg");
    }
    end("unit_cfg");
  }
  void document(const yax_cfg& doc) {
    text_ << "<?xml version=\"1.0\"?>\r\n";
    start("yax_cfg", doc, doc_attributes, false);
    elements(doc, doc_elements);
    for (const unit_cfg* at = doc.unit_list; at != nullptr; at = at->next) {
      if (at->type == "MODBUS" || at->type == "MODBUS_TCP") continue;
      unit(*at, at->type == "VIRTUAL" && at->address == "9" ? 1 : max_list_count);
    }
    text_ << "</yax_cfg>\r\n";
  }
  std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
  unsigned level_;
};

// Documents of any shape, the same in every run. Their texts have any characters, or where they are
// to be read back, those that leave the format intact, and none is empty.
class random_documents {
 public:
  explicit random_documents(bool readable) : readable_(readable) {}

  yax_cfg_ptr next() {
    yax_cfg_ptr doc(make_record<yax_cfg>().release());
    fill(*doc, doc_attributes);
    fill(*doc, doc_elements);
    for (int count = any(6); count > 0; --count) add_unit(*doc);
    return doc;
  }

 private:
  int any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

  template <class Record, class Rows>
  void fill(Record& record, const Rows& rows) {
    const std::string_view characters =
        readable_ ? "aZ09 .-_/:;>'\t\r\n\x01\x7f\x80\xff" : "aZ09 .-_/<&\"'\t\r\n\x80\xff";
    for (const auto& row : rows) {
      const std::size_t shortest = readable_ ? 1 : 0;
      std::string text(shortest + random_() % (row.view(record).capacity() - shortest), ' ');
      for (char& character : text) character = characters[random_() % characters.size()];
      static_cast<void>(row.ref(record).assign(text));
    }
  }
  // Now and then a unit takes more than a block of the writer's.
  void add_unit(yax_cfg& doc) {
    unit_cfg* unit = add_unit_cfg(&doc, std::max(doc.unit_count - 1, 0), 0);
    for (int count = any(any(9) == 0 ? 120 : 4); count > 0; --count) {
      chn_cfg* chn = add_chn_cfg(unit, std::max(unit->chn_count - 1, 0), 0, 0, 0);
      fill(*chn, chn_attributes);
      fill(*chn, chn_elements);
    }
    fill(*unit, unit_attributes);
    constexpr const char* types[] = {"MODBUS",  "MODBUS_TCP", "YAX_TYPE1", "VIRTUAL",
                                     "VIRTUAL", "modbus",     ""};
    constexpr const char* addresses[] = {"9", "9", "09", "19"};
    static_cast<void>(unit->type.assign(types[any(7)]));
    static_cast<void>(unit->address.assign(addresses[any(4)]));
  }

  std::mt19937 random_{20260302};
  bool readable_;
};

// At levels at which the runs are short, at which they outgrow a piece, and beyond the deepest.
TEST(XmlWriter, WritesAnyDocumentAsThePlainWayDoesAndItIsReadBack) {
  constexpr unsigned levels[] = {0, 1, 9, 10, 11, 12, 40, 124, 125, 126, 300};
  random_documents any(false), readable(true);
  const temporary_file file;
  for (int count = 0; count < 110; ++count) {
    const yax_cfg_ptr doc = count % 2 == 0 ? any.next() : readable.next();
    const unsigned level = cur_tab = levels[count % 11];
    ASSERT_EQ(write_xml_unit_cfg(doc->unit_list, file.path()), 0);
    EXPECT_EQ(cur_tab, level + 1);
    plain_writer units(level + 1), whole(1);
    for (const unit_cfg* unit = doc->unit_list; unit != nullptr; unit = unit->next) {
      units.unit(*unit, max_list_count);
    }
    ASSERT_EQ(file.content(), units.text()) << "level " << level;
    ASSERT_EQ(write_xml_cfg(doc.get(), file.path()), 0);
    EXPECT_EQ(cur_tab, 2U);
    whole.document(*doc);
    ASSERT_EQ(file.content(), whole.text());
    if (count % 2 == 0) continue;
    const yax_cfg_ptr back(read_xml_cfg(file.path()));
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(write_xml_cfg(back.get(), file.path()), 0);
    ASSERT_EQ(file.content(), whole.text());
  }
}

TEST(XmlWriter, TellsWhetherEveryByteArrived) {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  EXPECT_EQ(write_xml_unit_cfg(doc->unit_list, "/dev/full"), 0);
  EXPECT_EQ(xml_write_error, ENOSPC);
  EXPECT_EQ(write_xml_cfg(doc.get(), "/dev/full"), 0);
  EXPECT_EQ(xml_write_error, ENOSPC);
  cur_tab = 5;
  EXPECT_EQ(write_xml_unit_cfg(doc->unit_list, "/nowhere/file.xml"), 2);
  EXPECT_EQ(xml_write_error, ENOENT);
  EXPECT_EQ(write_xml_cfg(doc.get(), "/"), 2);
  EXPECT_EQ(xml_write_error, EISDIR);
  EXPECT_EQ(cur_tab, 5U);
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
  for (int id = -1; id <= static_cast<int>(tag_count); ++id) {
    const std::string name = id >= 0 && id < static_cast<int>(tag_count) ? tag_text(id) : "";
    const std::string lines[] = {
        "", "", "<" + name + ">", "</" + name + ">", "<" + name + ">text</" + name + ">", ""};
    for (int mode = -1; mode <= 4; ++mode) {
      cur_tab = 2;
      const bool is_line = !name.empty() && mode >= print_start && mode <= print_element;
      EXPECT_EQ(printed([&](std::FILE* to) { print_tag(to, id, mode, "text"); }),
                is_line ? "\t\t" + lines[mode + 1] + "\r\n" : "");
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
    plain_writer plain(level);
    plain.elements(chn, chn_elements);
    EXPECT_EQ(printed([&chn](std::FILE* to) { print_chn_data(to, &chn); }), plain.text());
    char buffer[max_tabs + 1];
    EXPECT_EQ(tab_str(buffer), std::string(std::min(level, max_tabs), '\t'));
  }
}

}  // namespace
}  // namespace ruvex
