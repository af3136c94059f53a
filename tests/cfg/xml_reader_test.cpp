#include "ruvex/cfg/xml_reader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "cfg/document_text.h"
#include "ruvex/cfg/xml_writer.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

std::string refused(const std::string& reason, int line = 1, bool is_other_root = false) {
  return "null XML PARSE ERROR \"" + reason + "\" on line " + std::to_string(line) + "\r\n" +
         (is_other_root ? "other root" : "");
}

// What a read gives: its changes from the default document, or "null " and what is printed, which
// the report repeats. Where nothing is printed, "null" with the report's reason and errno.
template <class Read>
std::string result_of(Read read) {
  xml_read_report report = {"earlier", 7, 7, true};
  testing::internal::CaptureStderr();
  const yax_cfg_ptr doc(read(&report));
  std::string failure = "null " + testing::internal::GetCapturedStderr();
  const std::string reason(report.reason.view());
  EXPECT_EQ(doc != nullptr, reason.empty());
  EXPECT_EQ(failure, report.line == 0 ? "null " : refused(reason, report.line));
  if (report.line == 0) failure += reason + " " + std::to_string(report.error);
  report.prints = false;
  testing::internal::CaptureStderr();
  EXPECT_EQ(yax_cfg_ptr(read(&report)) != nullptr, doc != nullptr);
  EXPECT_TRUE(testing::internal::GetCapturedStderr().empty() && report.reason.view() == reason);
  return (doc ? changes_text(*doc) : failure) + (report.is_other_root ? "other root" : "");
}
std::string read_file(const char* path) {
  return result_of([path](auto* report) { return read_xml_cfg(path, report); });
}
std::string read_units(const char* path) {
  return result_of([path](auto* report) {
    auto units = read_xml_unit_cfg(path, report);
    yax_cfg* doc = units ? parse_xml_cfg("<yax_cfg/>", 10) : nullptr;
    if (doc != nullptr) doc->unit_list = units->release();
    for (auto* at = doc ? doc->unit_list : nullptr; at != nullptr; at = at->next) ++doc->unit_count;
    return doc;
  });
}
std::string read(std::string_view document) {
  return read_file(temporary_file().filled_with(document));
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

TEST(ReadXmlCfg, TakesWhatADocumentGivesUpToItsEnd) {
  const std::string nul(1, '\0');
  std::string all_elements;
  for (const auto& row : written_chn_elements) {
    all_elements.append("<").append(tag_text(row.tag)) += "/>";
  }
  const struct {
    std::string document, result;
  } cases[] = {
      // clang-format off
      // The document element.
      {"<?xml version=\"1.0\"?>\r\n<!-- <unit_cfg> --><!DOCTYPE a [<!ELEMENT a ANY>]><yax_cfg></yax_cfg>", ""},
      {"<setup name='a' ip_addr='b'>text<x>1<y><z/></y></x></setup\t>", "other root"},
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
      // Refusals.
      {doc("\r\n<dns1>1</dns2>\r\n"), refused("mismatched end tag", 2)},
      {doc("<a><b><c><d><e><f><g>\n<dns1/></g></f></e></d></c></b></a>"), refused("dns1 is not allowed in an unknown element", 2)},
      {doc("<a><b><c><d><e><f><g><h/><h><i/></h>\n<dns1/></g></f></e></d></c></b></a>"), refused("dns1 is not allowed in an unknown element", 2)},
      {doc("<dns1>" + std::string(32, 'x') + "<!-- -->1</dns1>"), refused("value of dns1 is longer than 31 characters")},
      {doc("<dns1>" + std::string(100000, 'x') + "</dns1>"), refused("value of dns1 is longer than 31 characters")},
      {doc("<dns1>" + std::string(32, '\0') + "</dns1>"), refused("value of dns1 is longer than 31 characters")},
      {doc("\n<dns1>1&#0;</dns1>"), refused("value of dns1 holds a NUL byte", 2)},
      {chn("<reg_num>" + std::string(30, '1') + nul + "</reg_num>"), refused("value of reg_num holds a NUL byte")},
      // clang-format on
  };
  for (const auto& row : cases) {
    EXPECT_EQ(read(row.document), row.result) << row.document;
    const std::string followed = row.document + "&";
    std::int32_t end = -1;
    const auto parse = [&](auto* to) {
      return parse_xml_cfg(followed.data(), int(followed.size()), &end, to);
    };
    EXPECT_EQ(result_of(parse), row.result) << followed;
    EXPECT_EQ(end, row.result.starts_with("null ") ? -1 : int(row.document.size())) << followed;
  }
}

// The pattern with a name in place of each "%" and a text in place of each "@".
std::string filled(std::string_view pattern, const std::string& name, const std::string& text) {
  std::string all;
  for (const char character : pattern) {
    all += character == '%' ? name : character == '@' ? text : std::string(1, character);
  }
  return all;
}

// A document with one setting alone, for every row of a table: the longest text comes back, and one
// that is longer is refused by the setting's name.
template <class Record, std::size_t Count>
void expect_each_row(const std::array<field<Record>, Count>& rows, const std::string& document,
                     std::string_view changes) {
  for (const auto& row : rows) {
    const std::string name = tag_text(row.tag), longest(row.view(Record{}).capacity() - 1, 'v');
    const std::string stored = name == "bac_cov_pct" ? "bac_cov_inc" : name;
    EXPECT_EQ(read(filled(document, name, longest)), filled(changes, stored, longest));
    EXPECT_EQ(read(filled(document, name, longest + "v")),
              refused("value of " + name + " is longer than " + std::to_string(longest.size()) +
                      " characters"));
  }
}

TEST(ReadXmlCfg, TakesEverySettingOfEveryTable) {
  expect_each_row(doc_attributes, "<yax_cfg %='@'/>", "%='@'");
  expect_each_row(doc_elements, doc("<%>@</%>"), "%='@'");
  expect_each_row(unit_attributes, doc("<unit_cfg %='@'/>"), "{%='@'}");
  expect_each_row(chn_attributes, unit("<chn_cfg %='@'/>"), "{[%='@']}");
  expect_each_row(chn_elements, chn("<%>@</%>"), "{[%='@']}");
}

// Every tag in every kind of element.
TEST(ReadXmlCfg, TakesEveryElementInItsPlaceAlone) {
  const std::pair<std::string, const char*> places[] = {
      {"<%/>", "this place"},
      {doc("<%/>"), "yax_cfg"},
      {unit("<%/>"), "unit_cfg"},
      {chn("<%/>"), "chn_cfg"},
      {doc("<dns1><%/></dns1>"), "dns1"},
      {chn("<chn_type><%/></chn_type>"), "chn_type"},
      {doc("<x><%/></x>"), "an unknown element"},
  };
  for (int id = 0; id < static_cast<int>(tag_count); ++id) {
    const bool in_document = id == 1 || (id >= 4 && id <= 29) || (id >= 31 && id <= 36);
    const auto* allowed = id == 0 ? &places[0] : in_document ? &places[1] : nullptr;
    if (id >= 40) allowed = &places[id == 40 ? 2 : 3];
    for (const auto& place : places) {
      const std::string name = tag_text(id), got = read(filled(place.first, name, ""));
      const std::string refusal =
          refused(name + " is not allowed in " + place.second, 1, &place == places);
      EXPECT_EQ(got == refusal, &place != allowed) << got << refusal;
      EXPECT_EQ(got.starts_with("null"), &place != allowed) << got << refusal;
    }
  }
}

TEST(ReadXmlCfg, PrintsTheTextOfOtherCodeForWhatItRefusesItself) {
  const std::string full(128, 'y');  // no NUL left
  const std::pair<std::string, std::string> cases[] = {
      {"%s is wrong", "%s is wrong"},
      {full, full.substr(1)},
      {"", "unit_cfg is not allowed in this place"},
  };
  for (const auto& [text, reason] : cases) {
    std::memset(yax_xml_parse_error, 0, sizeof yax_xml_parse_error);
    std::memcpy(yax_xml_parse_error, text.data(), text.size());
    EXPECT_EQ(read("<unit_cfg/>"), refused(reason, 1, true));
    EXPECT_EQ(read("<yax_cfg></a>"), refused("mismatched end tag"));
  }
}

TEST(ReadXmlCfg, RefusesSilentlyAndAtOnceWhatIsNoFileAndLeavesNoneOpen) {
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const temporary_file base, empty, huge;
  ASSERT_EQ(::truncate(huge.path(), std::int64_t{1} << 31), 0);
  const std::string fifo = std::string(base.path()) + ".fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const auto before = open_files();
  EXPECT_EQ(read_file(base.filled_with("<yax_cfg/>")), "");
  const struct {
    const char* path;
    std::string reason, of_units = reason;
  } cases[] = {
      {"/nowhere/file.xml", "null No such file or directory 2"},
      {"/", "null Is a directory 21"},
      {huge.path(), "null File too large 27"},
      {fifo.c_str(), "null not a regular file 0"},
      {"/sys/devices/system/cpu/online", "null the file is shorter than its size 0"},
      {"/proc/uptime", "null the document is empty 0", "null the file is longer than its size 0"},
      {empty.path(), "null the document is empty 0", ""},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(read_file(row.path), row.reason) << row.path;
    EXPECT_EQ(read_units(row.path), row.of_units) << row.path;
  }
  EXPECT_EQ(open_files(), before);
  ::unlink(fifo.c_str());
}

TEST(ReadXmlCfg, TakesAsManyRecordsAsACountCounts) {
  const std::string refusal = refused("more than 32767 records in one list", 2);
  std::string units, chns, unit_texts, chn_texts;
  for (int count = 0; count < 32767; ++count) {
    units += "<unit_cfg/>", unit_texts += "{}";
    chns += "<chn_cfg/>", chn_texts += "[]";
  }
  EXPECT_TRUE(read(doc(units)) == unit_texts);
  EXPECT_TRUE(read(unit(chns)) == "{" + chn_texts + "}");
  EXPECT_EQ(read(doc(units + "\n<unit_cfg/>")), refusal);
  EXPECT_EQ(read(unit(chns + "\n<chn_cfg/>")), refusal);
}

TEST(ReadXmlUnitCfg, TakesUnitsUpToTheEnd) {
  const std::pair<std::string, std::string> cases[] = {
      // clang-format off
      {"<?xml version='1.0'?>\n<unit_cfg name='a' x='b'>1<x><y/></x><chn_cfg><reg_num>5</reg_num></chn_cfg></unit_cfg>\n<!-- --><unit_cfg instance='2'><chn_cfg name='b'/><chn_cfg name='c'/></unit_cfg><unit_cfg/> ", "{name='a'[reg_num='5']}{instance='2'[name='b'][name='c']}{}"},
      {"<unit_cfg/>\n&\n<unit_cfg/>", refused("only unit_cfg is allowed in a unit file", 2)},
      {"<unit_cfg/><![CDATA[text]]>", refused("only unit_cfg is allowed in a unit file")},
      {"<unit_cfg/></yax_cfg>", refused("mismatched end tag")},
      {"\n<yax_cfg><unit_cfg/></yax_cfg>", refused("yax_cfg is not allowed in a unit file", 2, true)},
      {"<unit_cfg/><dns1>1</dns1>", refused("dns1 is not allowed in a unit file", 1, true)},
      {"<unit_cfg/><setup/>", refused("an unknown element is not allowed in a unit file", 1, true)},
      {"<unit_cfg/>\n<unit_cfg><chn_cfg></chn_cfg>\n", refused("unexpected end of xml data", 3)},
      {"<unit_cfg/>\n<unit_cfg type='&#0;'/>", refused("value of type holds a NUL byte", 2)},
      // clang-format on
  };
  for (const auto& [document, result] : cases) {
    EXPECT_EQ(read_units(temporary_file().filled_with(document)), result) << document;
  }
  xml_read_report report = {"earlier", 7, 7, true};
  EXPECT_TRUE(parse_xml_unit_cfg(nullptr, 0, &report).has_value() && report.reason.empty());
}

// What the converter writes. In one file, texts break the XML.
TEST(ReadXmlUnitCfg, ReadsWhatIsWrittenAndItIsWrittenTheSame) {
  const temporary_file again;
  std::string broken;
  for (const char* folder : {RUVEX_GOLDEN, RUVEX_EXAMPLES}) {
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
      if (file.path().extension() != ".xml") continue;
      const auto units = read_xml_unit_cfg(file.path().c_str());
      cur_tab = 0;
      if (!units || write_xml_unit_cfg(units->get(), again.path()) != 0)
        broken += file.path().stem();
      EXPECT_EQ(again.content() == content_of(file.path()), units.has_value()) << file.path();
    }
  }
  EXPECT_EQ(broken, "raw_bytes");
}

}  // namespace
}  // namespace ruvex
