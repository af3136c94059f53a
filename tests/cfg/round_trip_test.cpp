#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

#include "cfg/defaults.h"
#include "cfg/document_text.h"
#include "cfg/edit.h"
#include "cfg/xml_reader.h"
#include "cfg/xml_writer.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

std::string written(const yax_cfg& doc) {
  const temporary_file file;
  EXPECT_EQ(write_xml_cfg(&doc, file.path()), 0);
  EXPECT_EQ(xml_write_error, 0);
  return file.content();
}
yax_cfg_ptr read(std::string_view document) {
  const temporary_file file;
  return yax_cfg_ptr(read_xml_cfg(file.filled_with(document)));
}

TEST(RoundTrip, TheDefaultDocumentComesBackWhole) {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  const std::string bytes = written(*doc);
  const yax_cfg_ptr back = read(bytes);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(document_text(*back), document_text(*doc));
  EXPECT_EQ(written(*back), bytes);
}

// Documents with texts of any length and of all characters that leave the format intact.
class random_documents {
 public:
  yax_cfg_ptr next() {
    yax_cfg_ptr doc(make_record<yax_cfg>().release());
    fill(*doc, doc_attributes, in_attributes);
    fill(*doc, doc_elements, in_elements);
    for (int count = any(6); count > 0; --count) add_unit(*doc);
    return doc;
  }

 private:
  static constexpr std::string_view in_attributes = "aZ09 .-_/:;<>'\t\r\n\x01\x7f\x80\xff";
  static constexpr std::string_view in_elements = "aZ09 .-_/:;>'\"\t\r\n\x01\x7f\x80\xff";

  int any(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

  template <class Record, class Rows>
  void fill(Record& record, const Rows& rows, std::string_view characters) {
    for (const auto& row : rows) {
      std::string text(random_() % row.view(record).capacity(), ' ');
      for (char& character : text) character = characters[random_() % characters.size()];
      EXPECT_TRUE(row.ref(record).assign(text));
    }
  }
  void add_unit(yax_cfg& doc) {
    unit_cfg* unit = add_unit_cfg(&doc, std::max(doc.unit_count - 1, 0), 0);
    for (int count = any(4); count > 0; --count) {
      chn_cfg* chn = add_chn_cfg(unit, std::max(unit->chn_count - 1, 0), 0, 0, 0);
      fill(*chn, chn_attributes, in_attributes);
      fill(*chn, chn_elements, in_elements);
    }
    fill(*unit, unit_attributes, in_attributes);
    constexpr const char* types[] = {"MODBUS", "MODBUS_TCP", "YAX_TYPE1", "VIRTUAL", "VIRTUAL", ""};
    constexpr const char* addresses[] = {"9", "09", "24"};
    EXPECT_TRUE(unit->type.assign(types[any(6)]) && unit->address.assign(addresses[any(3)]));
  }

  std::mt19937 random_{20260302};
};

// Settings written as empty elements come back as their defaults.
void fall_back(yax_cfg& doc) {
  yax_cfg defaults = {};
  init_yax_cfg(&defaults);
  EXPECT_TRUE(doc.cfg_version.assign(""));  // not written
  for (const auto& row : doc_elements) {
    if (row.view(doc).length() != 0) continue;
    EXPECT_TRUE(row.ref(doc).assign(row.view(defaults).view()));
  }
}

// What a document is after it was written and read.
yax_cfg_ptr expected_back(const yax_cfg& doc) {
  yax_cfg_ptr back(copy_yax_cfg(&doc));
  fall_back(*back);
  for (unit_cfg *unit = back->unit_list, *next = nullptr; unit != nullptr; unit = next) {
    next = unit->next;
    if (unit->type == "MODBUS" || unit->type == "MODBUS_TCP") {
      if (back->unit_list == unit) back->unit_list = next;
      --back->unit_count;
      del_unit_cfg(unit);
      continue;
    }
    EXPECT_TRUE(unit->instance.assign("") && unit->ip_address.assign(""));
    while (unit->type == "VIRTUAL" && unit->address == "9" && unit->chn_count > 1) {
      del_chn_cfg(unit, get_chn_ptr(unit, 1));
    }
  }
  return back;
}

TEST(RoundTrip, AnyDocumentComesBackButForWhatIsLeftOut) {
#ifdef __arm__
  constexpr int documents = 50;  // emulated, as a rule
#else
  constexpr int documents = 300;
#endif
  random_documents random;
  for (int count = 0; count < documents; ++count) {
    const yax_cfg_ptr doc = random.next();
    const yax_cfg_ptr back = read(written(*doc));
    ASSERT_NE(back, nullptr) << document_text(*doc);
    ASSERT_EQ(document_text(*back), document_text(*expected_back(*doc)));
    fall_back(*doc);
    ASSERT_EQ(written(*back), written(*doc));
  }
}

TEST(RoundTrip, APieceOfADocumentIsNone) {
  yax_cfg doc = {};
  unit_cfg unit = {};
  chn_cfg chn = {};
  doc.unit_list = &unit, doc.unit_count = 1;
  unit.chn_list = &chn, unit.chn_count = 1;
  init_yax_cfg(&doc);
  init_chn_cfg(&chn, 0, 12, 1);
  ASSERT_TRUE(unit.type.assign("VIRTUAL") && chn.name.assign("&lt;&#65;"));
  const std::string bytes = written(doc);
  const temporary_file file;
  file.filled_with(bytes);
  testing::internal::CaptureStderr();
  const std::size_t end = bytes.rfind('>');
  for (std::size_t length = bytes.size(); length > 0; --length) {
    ASSERT_EQ(::truncate(file.path(), static_cast<off_t>(length)), 0);
    const yax_cfg_ptr read(read_xml_cfg(file.path()));
    EXPECT_EQ(read == nullptr, length <= end) << length;
  }
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(static_cast<std::size_t>(std::count(printed.begin(), printed.end(), '\n')), end);
}

// A document with one setting alone, for every row of a table: the longest text comes back, and one
// that is longer is refused by the setting's name.
template <class Record, std::size_t Count, class Wrap, class Pick>
void expect_each_row(const std::array<field<Record>, Count>& rows, Wrap wrap, Pick pick) {
  yax_cfg defaults = {};
  init_yax_cfg(&defaults);
  for (const auto& row : rows) {
    const std::string name = tag_text(row.tag);
    const std::size_t longest = row.view(Record{}).capacity() - 1;
    const std::string text(longest, 'v');
    const yax_cfg_ptr doc = read(wrap(name, text));
    ASSERT_NE(doc, nullptr) << name;
    EXPECT_EQ(row.view(pick(*doc)).view(), text);
    const std::string stored = row.tag == tag("bac_cov_pct") ? "bac_cov_inc" : name;
    const std::string changes = changes_text(*doc);
    EXPECT_NE(changes.find(stored + "='" + text + "'"), std::string::npos) << changes;
    EXPECT_EQ(std::count(changes.begin(), changes.end(), '='), 1) << changes;

    testing::internal::CaptureStderr();
    EXPECT_EQ(read(wrap(name, text + "v")), nullptr) << name;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "XML PARSE ERROR \"value of " + name + " is longer than " + std::to_string(longest) +
                  " characters\" on line 1\r\n");
  }
}

TEST(RoundTrip, EverySettingOfEveryTableIsRead) {
  const auto attribute_of = [](const std::string& before, const std::string& after) {
    return [=](const std::string& name, const std::string& text) {
      return before + ' ' + name + "=\"" + text + "\"/>" + after;
    };
  };
  const auto element_in = [](const std::string& before, const std::string& after) {
    return [=](const std::string& name, const std::string& text) {
      return before + '<' + name + '>' + text + "</" + name + '>' + after;
    };
  };
  const auto document = [](const yax_cfg& doc) -> const yax_cfg& { return doc; };
  const auto unit = [](const yax_cfg& doc) -> const unit_cfg& { return *doc.unit_list; };
  const auto channel = [](const yax_cfg& doc) -> const chn_cfg& {
    return *doc.unit_list->chn_list;
  };
  const std::string in_unit = "<yax_cfg><unit_cfg>", unit_end = "</unit_cfg></yax_cfg>";
  expect_each_row(doc_attributes, attribute_of("<yax_cfg", ""), document);
  expect_each_row(doc_elements, element_in("<yax_cfg>", "</yax_cfg>"), document);
  expect_each_row(unit_attributes, attribute_of("<yax_cfg><unit_cfg", "</yax_cfg>"), unit);
  expect_each_row(chn_attributes, attribute_of(in_unit + "<chn_cfg", unit_end), channel);
  expect_each_row(chn_elements, element_in(in_unit + "<chn_cfg>", "</chn_cfg>" + unit_end),
                  channel);
}

}  // namespace
}  // namespace ruvex
