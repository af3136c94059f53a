#include "ruvex/cfg/xml_reader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <string_view>
#include <thread>

#include "cfg/document_text.h"
#include "ruvex/cfg/xml_writer.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

using namespace std::string_literals;

struct read_result {
  yax_cfg_ptr doc;
  std::string printed;
};

read_result read_file(const char* path) {
  testing::internal::CaptureStderr();
  const int before = ::dup(STDIN_FILENO);
  ::close(before);
  read_result result = {yax_cfg_ptr(read_xml_cfg(path)), {}};
  const int after = ::dup(STDIN_FILENO);
  ::close(after);
  EXPECT_EQ(after, before) << "no file stays open";
  result.printed = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(result.doc == nullptr || result.printed.empty()) << result.printed;
  return result;
}
read_result read(std::string_view document) {
  const temporary_file file;
  return read_file(file.filled_with(document));
}

// What is printed about a refusal.
std::string error_line(const std::string& reason, int line) {
  return "XML PARSE ERROR \"" + reason + "\" on line " + std::to_string(line) + "\r\n";
}

// A document of these elements; one with them in a unit; and one with them in a channel.
std::string doc(const std::string& elements) {
  return "<yax_cfg>" + elements + "</yax_cfg>";
}
std::string unit(const std::string& elements) {
  return doc("<unit_cfg>" + elements + "</unit_cfg>");
}
std::string chn(const std::string& elements) {
  return unit("<chn_cfg>" + elements + "</chn_cfg>");
}

TEST(ReadXmlCfg, TakesWhatADocumentGives) {
  std::string all_elements;
  for (const auto& row : written_chn_elements) (all_elements += '<') += tag_text(row.tag) + "/>"s;
  const struct {
    std::string document;
    const char* changes;  // from the default document
  } cases[] = {
      // clang-format off
      // The document element.
      {"<?xml version=\"1.0\"?>\r\n<!-- <unit_cfg> --><!DOCTYPE a [<!ELEMENT a ANY>]><yax_cfg></yax_cfg>", ""},
      {"<setup name='a' ip_addr='b'>text<x>1<y><z/></y></x></setup>", ""},
      // Attributes, and what is none of the element.
      {"<yax_cfg name='n' instance='' type='t' address='9' ip_addr='x' NAME='x' zone='x'/>", "name='n' instance=''"},
      {"<yax_cfg name='first' name='a&amp;b&lt;&gt;&quot;&apos;&#65;&#x42;>\t\r\n'/>", "name='a&b<>\"'AB>\t\r\n'"},
      {doc("<unit_cfg address='a' bac_ttl='x'/><ip_addr name='x' ip_addr='x'>1</ip_addr><x name='x'/>"), "ip_addr='1'{address='a'}"},
      {unit("<chn_cfg instance='5' name='n' type='x' address='x'><reg_num name='x' reg_num='x'/></chn_cfg>"), "{[name='n' instance='5']}"},
      // Texts.
      {doc("<ip_addr> 10.0.0.1 </ip_addr><dns1>\r\n\t1\r\n</dns1><dns2>a&amp;b&lt;c>\"'\x80\xff</dns2>"),
       "ip_addr=' 10.0.0.1 ' dns1='\r\n\t1\r\n' dns2='a&b<c>\"'\x80\xff'"},
      {doc("<dns1>1</dns1><dns1>2<!-- -->3</dns1><dns1/><dns2>1<x>3</x>2<?p?> </dns2>"), "dns1='3' dns2=' '"},
      {"<yax_cfg>1<unit_cfg>2<chn_cfg>3<reg_num>4</reg_num>5</chn_cfg>6</unit_cfg>7</yax_cfg>", "{[reg_num='4']}"},
      // Units and channels: nothing but what is given, in any order.
      {doc("<unit_cfg name='1'><chn_cfg name='a'/><chn_cfg name='b'/></unit_cfg><dns1>1</dns1>"
           "<unit_cfg name='2'><chn_cfg name='c'/></unit_cfg><unit_cfg/>"),
       "dns1='1'{name='1'[name='a'][name='b']}{name='2'[name='c']}{}"},
      {chn("<bac_cov_inc>6</bac_cov_inc><bac_cov_pct>5</bac_cov_pct>"), "{[bac_cov_inc='5']}"},
      {chn("<persistent>5</persistent><reg_num>4</reg_num><bac_type>3</bac_type><chn_type>2</chn_type><bac_type>1</bac_type>"),
       "{[chn_type='2' bac_type='1' reg_num='4' persistent='5']}"},
      {chn("<chn_type>1</chn_type></chn_cfg><chn_cfg><chn_type>1</chn_type><chn_type>2</chn_type><bac_units>3</bac_units>"),
       "{[chn_type='1'][chn_type='2' bac_units='3']}"},
      {chn(all_elements + "<x/><reg_num>1</reg_num>"), "{[reg_num='1']}"},
      // Unknown elements, anywhere and at any depth.
      {doc(std::string("\0<x \0y='\0'>\0</x>", 16) + "<DNS1>1</DNS1><dns>1</dns><dns11>1</dns11>"), ""},
      {doc("<a><b><c><d><e><f><g><h><i><j>1</j>2</i></h>3<k name='x'/></g></f></e></d></c></b></a><dns2>5</dns2>"), "dns2='5'"},
      {chn("<a><b><c><d><e><f><g><h/></g></f></e></d></c></b></a><reg_num><a><b><c><d><e/></d></c></b></a>4</reg_num></chn_cfg><chn_cfg>"),
       "{[reg_num='4'][]}"},
      // clang-format on
  };
  for (const auto& row : cases) {
    const read_result got = read(row.document);
    EXPECT_EQ(got.doc == nullptr ? "null" : changes_text(*got.doc), row.changes) << row.document;
    EXPECT_EQ(got.printed, "") << row.document;
  }
}

// The codes of the parser are its own tests'; here are those that the reader gives itself.
TEST(ReadXmlCfg, RefusesWithAReasonAndALine) {
  const std::string long32(32, 'x'), nul(1, '\0');
  const struct {
    std::string document;
    const char* reason;
    int line;
  } cases[] = {
      // clang-format off
      {doc("\r\n<dns1>1</dns2>\r\n"), "mismatched end tag", 2},
      {"<setup>\n<yax_cfg/></setup>", "yax_cfg is not allowed in an unknown element", 2},
      {doc("<dns1>" + long32 + "<!-- -->1</dns1>"), "value of dns1 is longer than 31 characters", 1},
      {doc("<dns1>" + std::string(100000, 'x') + "</dns1>"), "value of dns1 is longer than 31 characters", 1},
      {doc("<dns1>" + std::string(32, '\0') + "</dns1>"), "value of dns1 is longer than 31 characters", 1},
      {doc("\n<dns1>1&#0;</dns1>"), "value of dns1 holds a NUL byte", 2},
      {chn("<reg_num>" + std::string(30, '1') + nul + "</reg_num>"), "value of reg_num holds a NUL byte", 1},
      // clang-format on
  };
  for (const auto& row : cases) {
    EXPECT_EQ(read(row.document).printed, error_line(row.reason, row.line)) << row.document;
  }
}

TEST(ReadXmlCfg, KnowsHowDeepItIsInUnknownElements) {
  std::string before = "<yax_cfg>", after = "</yax_cfg>";
  for (int depth = 1; depth < 12; ++depth) {
    before += "<x>";
    after.insert(0, "</x>");
    EXPECT_NE(read(before + "<y>1</y>" + after + "<dns1>1</dns1>").doc, nullptr) << depth;
    EXPECT_EQ(read(before + "<y>1</y><dns1>1</dns1>" + after).printed,
              error_line("dns1 is not allowed in an unknown element", 1));
  }
}

// A document with one setting alone, for every row of a table: the longest text comes back, and one
// that is longer is refused by the setting's name.
template <class Record, std::size_t Count>
void expect_each_row(const std::array<field<Record>, Count>& rows, const std::string& before,
                     const std::string& after, const std::string& start, const std::string& end) {
  for (const auto& row : rows) {
    const std::string name = tag_text(row.tag);
    const auto document = [&](const std::string& text) {
      if (!before.ends_with('>')) return before + ' ' + name + "='" + text + "'/>" + after;
      return before + '<' + name + '>' + text + "</" + name + '>' + after;
    };
    const std::size_t longest = row.view(Record{}).capacity() - 1;
    const std::string text(longest, 'v');
    const std::string stored = name == "bac_cov_pct" ? "bac_cov_inc" : name;
    const read_result got = read(document(text));
    ASSERT_NE(got.doc, nullptr) << name;
    EXPECT_EQ(changes_text(*got.doc), start + stored + "='" + text + "'" + end);
    EXPECT_EQ(
        read(document(text + "v")).printed,
        error_line(
            "value of " + name + " is longer than " + std::to_string(longest) + " characters", 1));
  }
}

TEST(ReadXmlCfg, TakesEverySettingOfEveryTable) {
  const std::string in_unit = "<yax_cfg><unit_cfg>", unit_end = "</unit_cfg></yax_cfg>";
  expect_each_row(doc_attributes, "<yax_cfg", "", "", "");
  expect_each_row(doc_elements, "<yax_cfg>", "</yax_cfg>", "", "");
  expect_each_row(unit_attributes, "<yax_cfg><unit_cfg", "</yax_cfg>", "{", "}");
  expect_each_row(chn_attributes, in_unit + "<chn_cfg", unit_end, "{[", "]}");
  expect_each_row(chn_elements, in_unit + "<chn_cfg>", "</chn_cfg>" + unit_end, "{[", "]}");
}

TEST(ParseXmlCfg, TellsWhereTheDocumentElementEnds) {
  for (const std::string document : {"<yax_cfg/>", "<!-- </a> --><x>\n<y/></x\t>"}) {
    for (const char* rest : {"", "\r\n", "<yax_cfg/>", "&"}) {
      const std::string bytes = document + rest;
      std::int32_t end = -1;
      EXPECT_NE(yax_cfg_ptr(parse_xml_cfg(bytes.data(), int(bytes.size()), &end)), nullptr);
      EXPECT_EQ(end, int(document.size())) << bytes;
      testing::internal::CaptureStderr();
      EXPECT_EQ(parse_xml_cfg(bytes.data(), int(document.size()) - 1, &(end = -1)), nullptr);
      testing::internal::GetCapturedStderr();
      EXPECT_EQ(end, -1) << "a failure leaves it";
    }
  }
}

TEST(ReadXmlCfg, APieceOfADocumentIsNone) {
  const yax_cfg_ptr doc(make_default_yax_cfg());
  while (doc->unit_list->chn_count > 1) del_chn_cfg(doc->unit_list, doc->unit_list->chn_list);
  ASSERT_TRUE(doc->unit_list->chn_list->name.assign("&lt;&#65;"));
  const temporary_file file;
  ASSERT_EQ(write_xml_cfg(doc.get(), file.path()), 0);
  const std::string bytes = file.content();
  const std::size_t end = bytes.rfind('>');
  for (std::size_t length = bytes.size(); length > 0; --length) {
    ASSERT_EQ(::truncate(file.path(), static_cast<off_t>(length)), 0);
    const read_result got = read_file(file.path());
    EXPECT_EQ(got.doc == nullptr, length <= end) << length;
    EXPECT_EQ(got.printed.empty(), length > end) << length;
  }
}

// Every tag in every kind of element.
TEST(ReadXmlCfg, TakesEveryElementInItsPlaceAlone) {
  const std::string in_chn = "<yax_cfg><unit_cfg><chn_cfg>", chn_end = "</chn_cfg></unit_cfg>";
  const std::string places[][3] = {{"", "", "this place"},
                                   {"<yax_cfg>", "", "yax_cfg"},
                                   {"<yax_cfg><unit_cfg>", "</unit_cfg>", "unit_cfg"},
                                   {in_chn, chn_end, "chn_cfg"},
                                   {"<yax_cfg><dns1>", "</dns1>", "dns1"},
                                   {in_chn + "<chn_type>", "</chn_type>" + chn_end, "chn_type"},
                                   {"<yax_cfg><x>", "</x>", "an unknown element"}};
  for (int id = 0; id < static_cast<int>(tag_count); ++id) {
    const bool in_document = id == 1 || (id >= 4 && id <= 29) || (id >= 31 && id <= 36);
    const std::string* allowed = id == 0 ? places[0] : in_document ? places[1] : nullptr;
    if (id >= 40) allowed = places[id == 40 ? 2 : 3];
    for (const auto& place : places) {
      const std::string name = tag_text(id);
      const read_result got = read(place[0] + '<' + name + "/>" + place[1] + "</yax_cfg>");
      EXPECT_EQ(got.doc != nullptr, place == allowed) << name << " in " << place[2];
      const std::string refusal = error_line(name + " is not allowed in " + place[2], 1);
      EXPECT_EQ(got.printed, place == allowed ? "" : refusal);
    }
  }
}

TEST(ReadXmlCfg, PrintsTheTextOfOtherCodeForWhatItRefusesItself) {
  const struct {
    std::string text;
    const char* document;
    std::string reason;
  } cases[] = {
      {"%s is wrong", "<unit_cfg/>", "%s is wrong"},
      {std::string(128, 'y'), "<unit_cfg/>", std::string(127, 'y')},  // no NUL left
      {"unused", "<yax_cfg></a>", "mismatched end tag"},
      {"", "<unit_cfg/>", "unit_cfg is not allowed in this place"},
  };
  for (const auto& row : cases) {
    std::memset(yax_xml_parse_error, 0, sizeof yax_xml_parse_error);
    std::memcpy(yax_xml_parse_error, row.text.data(), row.text.size());
    EXPECT_EQ(read(row.document).printed, error_line(row.reason, 1));
  }
  EXPECT_EQ(yax_xml_parse_error[0], '\0');
}

TEST(ReadXmlCfg, RefusesSilentlyAndAtOnceWhatIsNoFile) {
  const temporary_file base, empty, huge;
  ASSERT_EQ(::truncate(huge.path(), std::int64_t{1} << 31), 0);
  const std::string fifo = std::string(base.path()) + ".fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const char* path :
       {"/nowhere/file.xml", fifo.c_str(), empty.path(), huge.path(), "", "/", "/dev/null",
        "/dev/zero", "/sys/devices/system/cpu/online"}) {  // the last is shorter than its size
    const read_result got = read_file(path);
    EXPECT_EQ(got.doc, nullptr) << path;
    EXPECT_EQ(got.printed, "") << path;
  }
  ::unlink(fifo.c_str());
}

TEST(ReadXmlCfg, TakesAsManyRecordsAsACountCounts) {
  const std::string refusal = error_line("more than 32767 records in one list", 2);
  std::string units, chns;
  for (int count = 0; count < 32767; ++count) units += "<unit_cfg/>", chns += "<chn_cfg/>";
  EXPECT_EQ(read(doc(units)).doc->unit_count, 32767);
  EXPECT_EQ(read(doc(units + "\n<unit_cfg/>")).printed, refusal);
  EXPECT_EQ(read(unit(chns)).doc->unit_list->chn_count, 32767);
  EXPECT_EQ(read(unit(chns + "\n<chn_cfg/>")).printed, refusal);
}

TEST(ReadXmlCfg, RunsOnSeveralThreadsAndBesideAWrite) {
  constexpr int rounds = 200;
  const auto read_often = [](std::string_view document, const char* expected) {
    const temporary_file file;
    file.filled_with(document);
    for (int round = 0; round < rounds; ++round) {
      const yax_cfg_ptr doc(read_xml_cfg(file.path()));
      EXPECT_EQ(doc == nullptr ? "null" : changes_text(*doc), expected);
    }
  };
  const std::string first = "<yax_cfg name='1'><unit_cfg name='u'><chn_cfg name='c'/></unit_cfg>";
  std::thread one([&] { read_often(first + "</yax_cfg>", "name='1'{name='u'[name='c']}"); });
  std::thread other(
      [&] { read_often(doc("<x><y/></x><unit_cfg/><unit_cfg address='5'/>"), "{}{address='5'}"); });
  const yax_cfg_ptr written(make_default_yax_cfg());
  const temporary_file file;
  for (int round = 0; round < rounds; ++round) {
    EXPECT_EQ(write_xml_cfg(written.get(), file.path()), 0);
  }
  one.join();
  other.join();
  EXPECT_EQ(document_text(*read_file(file.path()).doc), document_text(*written));
}

}  // namespace
}  // namespace ruvex
