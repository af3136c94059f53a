#include "cfg/xml_reader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>

#include "cfg/document_text.h"
#include "cfg/xml_writer.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

struct read_result {
  yax_cfg_ptr doc;
  std::string printed;
};

int next_descriptor() {
  const int descriptor = ::dup(STDIN_FILENO);
  ::close(descriptor);
  return descriptor;
}

read_result read_file(const char* path) {
  testing::internal::CaptureStderr();
  const int before = next_descriptor();
  read_result result = {yax_cfg_ptr(read_xml_cfg(path)), {}};
  EXPECT_EQ(next_descriptor(), before) << "no file stays open";
  result.printed = testing::internal::GetCapturedStderr();
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
  for (const auto& row : written_chn_elements) {
    all_elements.append("<").append(tag_text(row.tag)).append("/>");
  }
  const struct {
    std::string document;
    const char* changes;  // from the default document
  } cases[] = {
      // clang-format off
      // The document element.
      {"<yax_cfg/>", ""},
      {"<setup/>", ""},
      {"<setup name='a' ip_addr='b'>text<x>1<y><z/></y></x></setup>", ""},
      {"<?xml version=\"1.0\"?>\r\n<!-- <unit_cfg> --><!DOCTYPE a [<!ELEMENT a ANY>]><yax_cfg></yax_cfg>", ""},
      {"<yax_cfg/><unit_cfg> & anything", ""},
      // Attributes, and what is none of the element.
      {"<yax_cfg name='n' instance=\"5\" type='t' address='9' ip_addr='x' NAME='x' zone='x'/>", "name='n' instance='5'"},
      {"<yax_cfg name='' instance=''></yax_cfg>", "name='' instance=''"},
      {"<yax_cfg name='first' name='last'/>", "name='last'"},
      {"<yax_cfg name='a&amp;b&lt;&gt;&quot;&apos;&#65;&#x42;>\t\r\n'/>", "name='a&b<>\"'AB>\t\r\n'"},
      {doc("<unit_cfg address='a' poll_delay='1' ip_address='i' instance='7' type='t' name='n' bac_ttl='x'/>"),
       "{name='n' type='t' instance='7' ip_address='i' address='a' poll_delay='1'}"},
      {unit("<chn_cfg instance='5' name='n' type='x' address='x' reg_num='x'/>"), "{[name='n' instance='5']}"},
      {doc("<ip_addr name='x' ip_addr='x' instance='x'>1</ip_addr>"), "ip_addr='1'"},
      {chn("<reg_num name='x' reg_num='x'/>"), "{[]}"},
      {doc("<x name='x' instance='x'/>"), ""},
      // Texts.
      {doc("<ip_addr> 10.0.0.1 </ip_addr>"), "ip_addr=' 10.0.0.1 '"},
      {doc("<dns1>\r\n\t1\r\n</dns1>"), "dns1='\r\n\t1\r\n'"},
      {doc("<dns1>a&amp;b&lt;c>\"'\x80\xff</dns1>"), "dns1='a&b<c>\"'\x80\xff'"},
      {doc("<dns1></dns1><dns2/><gateway><!-- 1 --></gateway>"), ""},
      {doc("<dns1>1</dns1><dns1>2</dns1><dns1></dns1>"), "dns1='2'"},
      {doc("<dns1>1<!-- c -->2</dns1><dns2>1<?p?> </dns2>"), "dns1='2' dns2=' '"},
      {doc("<dns1>1<x>3</x>2</dns1><dns2>1<x/></dns2>"), "dns1='2' dns2='1'"},
      {doc("<dns1>1<![CDATA[2]]></dns1>"), "dns1='1'"},
      {"<yax_cfg>1<unit_cfg>2<chn_cfg>3<reg_num>4</reg_num>5</chn_cfg>6</unit_cfg>7</yax_cfg>", "{[reg_num='4']}"},
      {doc("<cfg_version>4</cfg_version><ifgap>1</ifgap><bac_rpm>2</bac_rpm>"), "cfg_version='4' ifgap='1' bac_rpm='2'"},
      // Units and channels: nothing but what is given.
      {doc("<unit_cfg/><unit_cfg name='n'></unit_cfg>"), "{}{name='n'}"},
      {doc("<unit_cfg name='1'><chn_cfg name='a'/><chn_cfg name='b'/></unit_cfg><dns1>1</dns1>"
           "<unit_cfg name='2'><chn_cfg name='c'/></unit_cfg>"),
       "dns1='1'{name='1'[name='a'][name='b']}{name='2'[name='c']}"},
      {chn("<bac_cov_pct>5</bac_cov_pct>"), "{[bac_cov_inc='5']}"},
      {chn("<bac_cov_pct>5</bac_cov_pct><bac_cov_inc>6</bac_cov_inc>"), "{[bac_cov_inc='6']}"},
      {chn("<bac_cov_inc>6</bac_cov_inc><bac_cov_pct>5</bac_cov_pct>"), "{[bac_cov_inc='5']}"},
      {chn("<persistent>5</persistent><reg_num>4</reg_num><bac_type>3</bac_type><chn_type>2</chn_type><bac_type>1</bac_type>"),
       "{[chn_type='2' bac_type='1' reg_num='4' persistent='5']}"},
      {chn("<chn_type>1</chn_type></chn_cfg><chn_cfg><chn_type>1</chn_type><chn_type>2</chn_type><bac_units>3</bac_units>"),
       "{[chn_type='1'][chn_type='2' bac_units='3']}"},
      {chn(all_elements + "<x/><reg_num>1</reg_num>"), "{[reg_num='1']}"},
      {doc(std::string("\0<x \0y='\0'>\0</x>", 16)), ""},  // NULs where nothing is stored
      // Unknown elements, anywhere and at any depth.
      {doc("<x>1</x><DNS1>1</DNS1><dns>1</dns><dns11>1</dns11><dns1>2</dns1>"), "dns1='2'"},
      {unit("<x name='x'>1</x><chn_cfg name='n'><x name='x'>1<y>2</y></x><reg_num>3</reg_num></chn_cfg><x/>"),
       "{[name='n' reg_num='3']}"},
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

TEST(ReadXmlCfg, RefusesWithAReasonAndALine) {
  const std::string long32(32, 'x'), long64(64, 'x');
  const struct {
    std::string document;
    const char* reason;
    int line;
  } cases[] = {
      // clang-format off
      // Malformed.
      {" \r\n ", "no document tag found", 2},
      {"text<yax_cfg/>", "no document tag found", 1},
      {"</yax_cfg>", "no document tag found", 1},
      {"<yax_cfg>\n\n", "unexpected end of xml data", 3},
      {doc("\r\n<dns1>1</dns2>\r\n"), "mismatched end tag", 2},
      {doc("\n<dns1>1\n"), "mismatched end tag", 3},
      {doc("\r\r<dns1>a & b</dns1>\r"), "illegal use of ampersand (&)", 3},
      {doc("<x>&nbsp;</x>"), "illegal use of ampersand (&)", 1},
      {doc("\n<dns1>&#256;</dns1>"), "unicode characters are not supported", 2},
      {"<yax_cfg/ >", "greater than sign (>) expected", 1},
      {"<yax_cfg name=x>", "quote (either ' or \") expected", 1},
      {"<yax_cfg name>\n<dns1/>", "equal sign (=) expected", 2},
      {"<setup><a></b></setup>", "mismatched end tag", 1},
      // Known elements in unknown ones, at any depth; the other places are below.
      {"<setup>\n<yax_cfg/></setup>", "yax_cfg is not allowed in an unknown element", 2},
      {chn("<x><y/><reg_num>1</reg_num></x>"), "reg_num is not allowed in an unknown element", 1},
      {doc("<a><b><c><d><e><f><g><h><i/><dns1/></h></g></f></e></d></c></b></a>"), "dns1 is not allowed in an unknown element", 1},
      {doc("<dns1>1</dns1>\n<name>x</name>"), "name is not allowed in yax_cfg", 2},
      // Too long, in any run.
      {"<yax_cfg name='" + long64 + "'/>", "value of name is longer than 63 characters", 1},
      {doc("\n<unit_cfg type='" + long32 + "'/>"), "value of type is longer than 31 characters", 2},
      {chn("\n\n<reg_num>" + long32 + "</reg_num>"), "value of reg_num is longer than 31 characters", 3},
      {doc("<dns1>" + long32 + "<!-- -->1</dns1>"), "value of dns1 is longer than 31 characters", 1},
      {doc("<dns1>" + std::string(100000, 'x') + "</dns1>"), "value of dns1 is longer than 31 characters", 1},
      // With a NUL, from a reference or as it stands.
      {doc("\n<dns1>1&#0;</dns1>"), "value of dns1 holds a NUL byte", 2},
      {"<yax_cfg name='&#x;'/>", "value of name holds a NUL byte", 1},
      {chn("<reg_num>1" + std::string(1, '\0') + "2</reg_num>"), "value of reg_num holds a NUL byte", 1},
      {doc("<dns1>" + std::string(32, '\0') + "</dns1>"), "value of dns1 is longer than 31 characters", 1},
      // clang-format on
  };
  for (const auto& row : cases) {
    const read_result got = read(row.document);
    EXPECT_EQ(got.doc, nullptr) << row.document;
    EXPECT_EQ(got.printed, error_line(row.reason, row.line)) << row.document;
  }
  EXPECT_EQ(yax_xml_parse_error[0], '\0');
}

// Every tag in every kind of element.
TEST(ReadXmlCfg, TakesEveryElementInItsPlaceAlone) {
  const auto document_tag = [](int id) { return id == 0; };
  const auto below_document = [](int id) {
    return id == 1 || (id >= 4 && id <= 29) || (id >= 31 && id <= 36);
  };
  const auto below_unit = [](int id) { return id == 40; };
  const auto below_channel = [](int id) { return id >= 41; };
  const auto below_setting = [](int) { return false; };
  const struct {
    std::string before, after;
    const char* name;
    bool (*allowed)(int id);
  } places[] = {
      {"", "", "this place", document_tag},
      {"<yax_cfg>", "", "yax_cfg", below_document},
      {"<yax_cfg><unit_cfg>", "</unit_cfg>", "unit_cfg", below_unit},
      {"<yax_cfg><unit_cfg><chn_cfg>", "</chn_cfg></unit_cfg>", "chn_cfg", below_channel},
      {"<yax_cfg><dns1>", "</dns1>", "dns1", below_setting},
      {"<yax_cfg><unit_cfg><chn_cfg><chn_type>", "</chn_type></chn_cfg></unit_cfg>", "chn_type",
       below_setting},
      {"<yax_cfg><x>", "</x>", "an unknown element", below_setting},
  };
  for (const auto& place : places) {
    for (int id = 0; id < static_cast<int>(tag_count); ++id) {
      const std::string name = tag_text(id);
      const read_result got = read(place.before + '<' + name + "/>" + place.after + "</yax_cfg>");
      EXPECT_EQ(got.doc != nullptr, place.allowed(id)) << name << " in " << place.name;
      const std::string refusal = error_line(name + " is not allowed in " + place.name, 1);
      EXPECT_EQ(got.printed, place.allowed(id) ? "" : refusal);
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
      {std::string(127, 'y'), "<unit_cfg/>", std::string(127, 'y')},
      {std::string(128, 'y'), "<unit_cfg/>", std::string(127, 'y')},  // no NUL left
      {"unused", "<yax_cfg></a>", "mismatched end tag"},
      {"", "<unit_cfg/>", "unit_cfg is not allowed in this place"},
  };
  for (const auto& row : cases) {
    std::memset(yax_xml_parse_error, 0, sizeof yax_xml_parse_error);
    std::memcpy(yax_xml_parse_error, row.text.data(), row.text.size());
    const read_result got = read(row.document);
    EXPECT_EQ(got.doc, nullptr);
    EXPECT_EQ(got.printed, error_line(row.reason, 1));
    EXPECT_EQ(std::string(yax_xml_parse_error, row.text.size()), row.text);
  }
  EXPECT_EQ(yax_xml_parse_error[0], '\0');
}

TEST(ReadXmlCfg, RefusesSilentlyAndAtOnceWhatIsNoFile) {
  const temporary_file base, empty, huge;
  ASSERT_EQ(::truncate(huge.path(), std::int64_t{1} << 31), 0);
  const std::string missing = std::string(base.path()) + ".missing";
  const std::string fifo = std::string(base.path()) + ".fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const char* path :
       {missing.c_str(), fifo.c_str(), empty.path(), huge.path(), "", "/", "/dev/null", "/dev/zero",
        "/sys/devices/system/cpu/online"}) {  // the last is shorter than its size
    const read_result got = read_file(path);
    EXPECT_EQ(got.doc, nullptr) << path;
    EXPECT_EQ(got.printed, "") << path;
  }
  ::unlink(fifo.c_str());
}

TEST(ReadXmlCfg, RefusesSilentlyWhatMayNotBeRead) {
  const temporary_file file;
  file.filled_with("<yax_cfg/>");
  ASSERT_EQ(::chmod(file.path(), 0), 0);
  const uid_t user = ::geteuid();
  testing::internal::CaptureStderr();
  const bool obeys = user != 0 || ::seteuid(65534) == 0;
  const yax_cfg_ptr doc(read_xml_cfg(file.path()));
  EXPECT_EQ(::seteuid(user), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  if (!obeys) GTEST_SKIP() << "root reads everything";
  EXPECT_EQ(doc, nullptr);
}

TEST(ReadXmlCfg, TakesAsManyRecordsAsACountCounts) {
  const auto repeated = [](std::string_view text, int count) {
    std::string all;
    for (; count > 0; --count) all += text;
    return all;
  };
  const struct {
    const char *before, *element, *after;
  } lists[] = {{"<yax_cfg>", "<unit_cfg/>", "</yax_cfg>"},
               {"<yax_cfg><unit_cfg>", "<chn_cfg/>", "</unit_cfg></yax_cfg>"}};
  for (const auto& list : lists) {
    const std::string full = list.before + repeated(list.element, 32767);
    const read_result got = read(full + list.after);
    ASSERT_NE(got.doc, nullptr) << got.printed;
    const int units = got.doc->unit_count;
    EXPECT_EQ(std::max<int>(units, got.doc->unit_list->chn_count), 32767);
    const read_result more = read(full + '\n' + list.element + list.after);
    EXPECT_EQ(more.doc, nullptr);
    EXPECT_EQ(more.printed, error_line("more than 32767 records in one list", 2));
  }
}

TEST(ReadXmlCfg, TakesDocumentsOfAnyLengthAndDepth) {
  std::string nested = "<yax_cfg>";
  for (int depth = 0; depth < 200000; ++depth) nested += "<a>";
  for (int depth = 0; depth < 200000; ++depth) nested += "</a>";
  const std::string blanks = "<yax_cfg>" + std::string(5U << 20, ' ');
  for (const std::string& start : {nested, blanks}) {
    const read_result got = read(start + "<dns1>1</dns1></yax_cfg>");
    ASSERT_NE(got.doc, nullptr) << got.printed;
    EXPECT_EQ(changes_text(*got.doc), "dns1='1'");
  }
}

TEST(ReadXmlCfg, RunsOnSeveralThreadsAndBesideAWrite) {
  const temporary_file first, second, third;
  first.filled_with(
      "<yax_cfg name='1'><unit_cfg name='u'><chn_cfg name='c'/></unit_cfg></yax_cfg>");
  second.filled_with("<yax_cfg name='2'><x><y/></x><unit_cfg/><unit_cfg address='5'/></yax_cfg>");
  const yax_cfg_ptr written(make_default_yax_cfg());
  constexpr int rounds = 200;
  const auto read_often = [](const temporary_file& file, const char* expected) {
    for (int round = 0; round < rounds; ++round) {
      const yax_cfg_ptr doc(read_xml_cfg(file.path()));
      EXPECT_EQ(doc == nullptr ? "null" : changes_text(*doc), expected);
    }
  };
  std::thread one([&] { read_often(first, "name='1'{name='u'[name='c']}"); });
  std::thread other([&] { read_often(second, "name='2'{}{address='5'}"); });
  for (int round = 0; round < rounds; ++round) {
    EXPECT_EQ(write_xml_cfg(written.get(), third.path()), 0);
  }
  one.join();
  other.join();
  const read_result got = read_file(third.path());
  ASSERT_NE(got.doc, nullptr) << got.printed;
  EXPECT_EQ(document_text(*got.doc), document_text(*written));
}

}  // namespace
}  // namespace ruvex
