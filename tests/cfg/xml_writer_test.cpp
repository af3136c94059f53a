#include "cfg/xml_writer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "cfg/defaults.h"
#include "cfg/fields.h"

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
  std::string text() const { return text_.str(); }
  std::ostringstream text_;

 private:
  unsigned level_;
};

class XmlWriter : public testing::Test {
 protected:
  XmlWriter() { print_tag(nullptr, 0, print_reset, nullptr); }
  ~XmlWriter() override { ::unlink(path_.c_str()); }

  unit_cfg& add_unit(const char* type, const char* address) {
    unit_cfg& unit = units_.emplace_back();
    EXPECT_TRUE(unit.type.assign(type) && unit.address.assign(address));
    if (units_.size() > 1) (&unit)->prev = &units_[units_.size() - 2], unit.prev->next = &unit;
    return unit;
  }
  chn_cfg& add_channel(unit_cfg& unit) {
    chn_cfg& chn = channels_.emplace_back();
    chn_cfg** link = &unit.chn_list;
    while (*link != nullptr) link = &(*link)->next;
    *link = &chn;
    return chn;
  }
  template <class Record, class Rows>
  void fill(Record& record, const Rows& rows) {
    constexpr char characters[] = "abcXYZ019 .-_/<&\"'\t\x80\xff";
    for (const auto& row : rows) {
      std::string text(random_() % row.view(record).capacity(), ' ');
      for (char& character : text) character = characters[random_() % (sizeof characters - 1)];
      EXPECT_TRUE(row.ref(record).assign(text));
    }
  }
  std::string written() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  const char* path() const { return path_.c_str(); }
  const unit_cfg* units() const { return units_.empty() ? nullptr : &units_.front(); }

  std::deque<unit_cfg> units_;
  std::deque<chn_cfg> channels_;
  std::mt19937 random_{20260101};
  std::string path_ = testing::TempDir() + "xml_writer_" + std::to_string(::getpid()) + ".xml";
};

TEST_F(XmlWriter, WritesTheUnitFileByteForByte) {
  unit_cfg& unit = add_unit("MODBUS", "1");
  ASSERT_TRUE(unit.name.assign("Default Modbus Unit") && unit.poll_delay.assign("0"));
  init_chn_cfg(&add_channel(unit), 0, 12, 1);
  ASSERT_EQ(write_xml_unit_cfg(units(), path()), 0);
  EXPECT_EQ(written(),
            "\t<unit_cfg name=\"Default Modbus Unit\" type=\"MODBUS\" address=\"1\" "
            "poll_delay=\"0\">\r\n"
            "\t\t<chn_cfg name=\"Default Channel Name\" instance=\"1\">\r\n"
            "\t\t\t<chn_type>INPUT_MCD_HREG</chn_type>\r\n"
            "\t\t\t<bac_type>ANALOG_INPUT</bac_type>\r\n"
            "\t\t\t<bac_units>NO_UNITS</bac_units>\r\n"
            "\t\t\t<bac_cov_inc>0</bac_cov_inc>\r\n"
            "\t\t\t<bac_desc>Default channel description</bac_desc>\r\n"
            "\t\t\t<scl_dev_lo>0</scl_dev_lo>\r\n"
            "\t\t\t<scl_dev_hi>1</scl_dev_hi>\r\n"
            "\t\t\t<scl_usr_lo>0</scl_usr_lo>\r\n"
            "\t\t\t<scl_usr_hi>1</scl_usr_hi>\r\n"
            "\t\t\t<inp_filter>0</inp_filter>\r\n"
            "\t\t\t<inp_level_lo>0</inp_level_lo>\r\n"
            "\t\t\t<inp_level_hi>1</inp_level_hi>\r\n"
            "\t\t\t<pulse_period>1</pulse_period>\r\n"
            "\t\t\t<temp_offset>0</temp_offset>\r\n"
            "\t\t\t<temp_units>FAHRENHEIT</temp_units>\r\n"
            "\t\t\t<reg_group_en>0</reg_group_en>\r\n"
            "\t\t\t<reg_mask>0</reg_mask>\r\n"
            "\t\t\t<reg_restart>0</reg_restart>\r\n"
            "\t\t\t<reg_num>40001</reg_num>\r\n"
            "\t\t\t<reg_size>1</reg_size>\r\n"
            "\t\t\t<reg_endian>BIG</reg_endian>\r\n"
            "\t\t\t<reg_format>UNSIGNED</reg_format>\r\n"
            "\t\t\t<reg_fcn>6</reg_fcn>\r\n"
            "\t\t\t<initial_val>OFF</initial_val>\r\n"
            "\t\t\t<alarm_lo>OFF</alarm_lo>\r\n"
            "\t\t\t<alarm_hi>OFF</alarm_hi>\r\n"
            "\t\t\t<hoa_switch>AUTO</hoa_switch>\r\n"
            "\t\t\t<override_val>0</override_val>\r\n"
            "\t\t\t<limit_lo>0</limit_lo>\r\n"
            "\t\t\t<limit_hi>65535</limit_hi>\r\n"
            "\t\t\t<persistent>0</persistent>\r\n"
            "\t\t</chn_cfg>\r\n"
            "\t</unit_cfg>\r\n");
  EXPECT_EQ(cur_tab, 1U);
  EXPECT_EQ(xml_write_error, 0);
}

// Levels at which the runs are short, at which they outgrow a piece, and beyond the deepest.
TEST_F(XmlWriter, WritesAnyTextAtAnyLevelAsThePlainWayDoes) {
  for (const char* type : {"MODBUS", "MODBUS_TCP", "VIRTUAL", "unknown"}) {
    unit_cfg& unit = add_unit(type, "9");
    fill(unit, std::array{unit_attributes[0], unit_attributes[2], unit_attributes[3]});
    for (int count = 0; count < 60; ++count) {
      chn_cfg& chn = add_channel(unit);
      fill(chn, chn_attributes);
      fill(chn, chn_elements);
    }
  }
  add_unit("MODBUS", "7");
  for (const unsigned level : {0U, 1U, 9U, 10U, 11U, 12U, 40U, 124U, 125U, 126U, 300U}) {
    cur_tab = level;
    ASSERT_EQ(write_xml_unit_cfg(units(), path()), 0);
    EXPECT_EQ(cur_tab, level + 1);
    plain_writer plain(level + 1);
    for (const unit_cfg& unit : units_) plain.unit(unit, 1000);
    EXPECT_EQ(written(), plain.text()) << "level " << level;
  }
}

TEST_F(XmlWriter, LeavesOutOfADocumentWhatTheControllerDoesNotServe) {
  yax_cfg doc = {};
  fill(doc, doc_attributes);
  fill(doc, doc_elements);
  const struct {
    const char* type;
    const char* address;
    std::size_t shown;  // channels; 99: the whole unit is left out
  } cases[] = {{"YAX_TYPE1", "1", 3}, {"MODBUS", "2", 99},   {"MODBUS_TCP", "3", 99},
               {"VIRTUAL", "8", 3},   {"VIRTUAL", "9", 1},   {"VIRTUAL", "09", 3},
               {"VIRTUAL", "19", 3},  {"YAX_TYPE1", "9", 3}, {"modbus", "4", 3}};
  plain_writer plain(1);
  plain.text_ << "<?xml version=\"1.0\"?>\r\n";
  plain.start("yax_cfg", doc, doc_attributes, false);
  plain.elements(doc, doc_elements);
  for (const auto& row : cases) {
    unit_cfg& unit = add_unit(row.type, row.address);
    for (int count = 0; count < 3; ++count) fill(add_channel(unit), chn_elements);
    if (row.shown != 99) plain.unit(unit, row.shown);
  }
  plain.text_ << "</yax_cfg>\r\n";
  doc.unit_list = &units_.front();
  cur_tab = 77;
  ASSERT_EQ(write_xml_cfg(&doc, path()), 0);
  EXPECT_EQ(written(), plain.text());
  EXPECT_EQ(cur_tab, 2U);
}

TEST_F(XmlWriter, AnEmptyListGivesAnEmptyFileEvenOverALongerOne) {
  std::ofstream(path()) << "earlier content";
  EXPECT_EQ(write_xml_unit_cfg(nullptr, path()), 0);
  struct stat status;
  ASSERT_EQ(::stat(path(), &status), 0);
  EXPECT_EQ(status.st_size, 0);
}

TEST_F(XmlWriter, TellsWhetherEveryByteArrived) {
  unit_cfg& unit = add_unit("MODBUS", "1");
  for (int count = 0; count < 200; ++count) add_channel(unit);
  yax_cfg doc = {};
  EXPECT_EQ(write_xml_unit_cfg(units(), "/dev/full"), 0);
  EXPECT_EQ(xml_write_error, ENOSPC);
  EXPECT_EQ(write_xml_cfg(&doc, "/dev/full"), 0);
  EXPECT_EQ(xml_write_error, ENOSPC);
  cur_tab = 5;
  EXPECT_EQ(write_xml_unit_cfg(units(), "/nowhere/file.xml"), 2);
  EXPECT_EQ(xml_write_error, ENOENT);
  EXPECT_EQ(write_xml_cfg(&doc, "/"), 2);
  EXPECT_EQ(xml_write_error, EISDIR);
  EXPECT_EQ(cur_tab, 5U);
  EXPECT_EQ(write_xml_unit_cfg(units(), path()), 0);
  EXPECT_EQ(xml_write_error, 0);
}

TEST_F(XmlWriter, PrintsSingleTags) {
  const struct {
    std::int32_t tag;
    int mode;
    const char* text;
    const char* line;
  } cases[] = {
      {36, print_start, nullptr, "\t\t<unit_cfg>\r\n"},
      {36, print_end, "ignored", "\t\t</unit_cfg>\r\n"},
      {72, print_element, "1", "\t\t<persistent>1</persistent>\r\n"},
      {7, print_element, "", "\t\t<bac_rpm></bac_rpm>\r\n"},
      {7, print_element, nullptr, ""},
      {7, 4, "1", ""},
      {7, -1, "1", ""},
      {73, print_start, nullptr, ""},
      {-1, print_start, nullptr, ""},
  };
  for (const auto& row : cases) {
    cur_tab = 2;
    std::FILE* stream = std::fopen(path(), "wb");
    print_tag(stream, row.tag, row.mode, row.text);
    std::fclose(stream);
    EXPECT_EQ(written(), row.line) << row.tag << " mode " << row.mode;
  }
  print_tag(nullptr, 0, print_reset, nullptr);
  EXPECT_EQ(cur_tab, 0U);
}

TEST_F(XmlWriter, PrintsTheDataOfAChannelAlone) {
  chn_cfg chn = {};
  fill(chn, chn_elements);
  for (const unsigned level : {0U, 3U, 60U, 127U, 128U}) {
    cur_tab = level;
    std::FILE* stream = std::fopen(path(), "wb");
    print_chn_data(stream, &chn);
    std::fclose(stream);
    plain_writer plain(level);
    plain.elements(chn, chn_elements);
    EXPECT_EQ(written(), plain.text()) << "level " << level;
  }
  char buffer[max_tabs + 1];
  for (const unsigned level : {0U, 4U, 127U, 128U}) {
    cur_tab = level;
    EXPECT_EQ(tab_str(buffer), std::string(std::min(level, max_tabs), '\t'));
  }
}

}  // namespace
}  // namespace ruvex
