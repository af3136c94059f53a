#include "cfg/xml_reader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

read_result read_file(const char* path) {
  testing::internal::CaptureStderr();
  read_result result = {yax_cfg_ptr(read_xml_cfg(path)), {}};
  result.printed = testing::internal::GetCapturedStderr();
  return result;
}
read_result read(std::string_view document) {
  const temporary_file file;
  return read_file(file.filled_with(document));
}

// What is printed about a refusal: the reason in quotes, and the line.
std::string error_line(std::string_view reason_and_line) {
  return std::string("XML PARSE ERROR ").append(reason_and_line).append("\r\n");
}

TEST(ReadXmlCfg, TakesWhatADocumentGives) {
  const struct {
    const char* document;
    const char* changes;  // from the default document
  } cases[] = {
      // The document element.
      {"<yax_cfg/>", ""},
      {"<setup/>", ""},
      {"<setup name='a' ip_addr='b'>text<x>1<y><z/></y></x></setup>", ""},
      {"\xef\xbb<yax_cfg/>", nullptr},
      {"<?xml version=\"1.0\"?>\r\n<!-- <unit_cfg> --><!DOCTYPE a [<!ELEMENT a ANY>]>\r\n"
       "<yax_cfg></yax_cfg>",
       ""},
      {"<yax_cfg/><unit_cfg> & anything", ""},
      // Attributes, and what is none of the element.
      {"<yax_cfg name='n' instance=\"5\" type='t' address='9' ip_addr='x' NAME='x' zone='x'/>",
       "name='n' instance='5'"},
      {"<yax_cfg name='' instance=''></yax_cfg>", "name='' instance=''"},
      {"<yax_cfg name='first' name='last'/>", "name='last'"},
      {"<yax_cfg name='a&amp;b&lt;&gt;&quot;&apos;&#65;&#x42;>\t\r\n'/>",
       "name='a&b<>\"'AB>\t\r\n'"},
      {"<yax_cfg><unit_cfg address='a' poll_delay='1' ip_address='i' instance='7' type='t' "
       "name='n' bac_ttl='x' chn_type='x'/></yax_cfg>",
       "{name='n' type='t' instance='7' ip_address='i' address='a' poll_delay='1'}"},
      {"<yax_cfg><unit_cfg><chn_cfg instance='5' name='n' type='x' address='x' reg_num='x'/>"
       "</unit_cfg></yax_cfg>",
       "{[name='n' instance='5']}"},
      {"<yax_cfg><ip_addr name='x' ip_addr='x' instance='x'>1</ip_addr></yax_cfg>", "ip_addr='1'"},
      {"<yax_cfg><unit_cfg><chn_cfg><reg_num name='x' reg_num='x'/></chn_cfg></unit_cfg></yax_cfg>",
       "{[]}"},
      {"<yax_cfg><x name='x' instance='x'/></yax_cfg>", ""},
      // Texts.
      {"<yax_cfg><ip_addr> 10.0.0.1 </ip_addr></yax_cfg>", "ip_addr=' 10.0.0.1 '"},
      {"<yax_cfg><dns1>\r\n\t1\r\n</dns1></yax_cfg>", "dns1='\r\n\t1\r\n'"},
      {"<yax_cfg><dns1>a&amp;b&lt;c>\"'\x80\xff</dns1></yax_cfg>", "dns1='a&b<c>\"'\x80\xff'"},
      {"<yax_cfg><dns1></dns1><dns2/><gateway><!-- 1 --></gateway></yax_cfg>", ""},
      {"<yax_cfg><dns1>1</dns1><dns1>2</dns1><dns1></dns1></yax_cfg>", "dns1='2'"},
      {"<yax_cfg><dns1>1<!-- c -->2</dns1><dns2>1<?p?> </dns2></yax_cfg>", "dns1='2' dns2=' '"},
      {"<yax_cfg><dns1>1<x>3</x>2</dns1><dns2>1<x/></dns2></yax_cfg>", "dns1='2' dns2='1'"},
      {"<yax_cfg><dns1>1<![CDATA[2]]></dns1></yax_cfg>", "dns1='1'"},
      {"<yax_cfg>1<unit_cfg>2<chn_cfg>3<reg_num>4</reg_num>5</chn_cfg>6</unit_cfg>7</yax_cfg>",
       "{[reg_num='4']}"},
      {"<yax_cfg><cfg_version>4</cfg_version><ifgap>1</ifgap><bac_rpm>2</bac_rpm></yax_cfg>",
       "cfg_version='4' ifgap='1' bac_rpm='2'"},
      {"<yax_cfg><name >\n</name></yax_cfg>", nullptr},
      // Units and channels: nothing but what is given.
      {"<yax_cfg><unit_cfg/><unit_cfg name='n'></unit_cfg></yax_cfg>", "{}{name='n'}"},
      {"<yax_cfg><unit_cfg name='1'><chn_cfg name='a'/><chn_cfg name='b'/></unit_cfg><dns1>1</dns1>"
       "<unit_cfg name='2'><chn_cfg name='c'/></unit_cfg></yax_cfg>",
       "dns1='1'{name='1'[name='a'][name='b']}{name='2'[name='c']}"},
      {"<yax_cfg><unit_cfg><chn_cfg><bac_cov_pct>5</bac_cov_pct></chn_cfg>"
       "<chn_cfg><bac_cov_pct>5</bac_cov_pct><bac_cov_inc>6</bac_cov_inc></chn_cfg>"
       "<chn_cfg><bac_cov_inc>6</bac_cov_inc><bac_cov_pct>5</bac_cov_pct></chn_cfg>"
       "</unit_cfg></yax_cfg>",
       "{[bac_cov_inc='5'][bac_cov_inc='6'][bac_cov_inc='5']}"},
      {"<yax_cfg><unit_cfg><chn_cfg><persistent>5</persistent><reg_num>4</reg_num>"
       "<bac_type>3</bac_type><chn_type>2</chn_type><bac_type>1</bac_type></chn_cfg>"
       "<chn_cfg><chn_type>1</chn_type><chn_type>2</chn_type><bac_units>3</bac_units></chn_cfg>"
       "</unit_cfg></yax_cfg>",
       "{[chn_type='2' bac_type='1' reg_num='4' persistent='5'][chn_type='2' bac_units='3']}"},
      // Unknown elements, anywhere and at any depth.
      {"<yax_cfg><x>1</x><DNS1>1</DNS1><dns>1</dns><dns11>1</dns11><dns1>2</dns1></yax_cfg>",
       "dns1='2'"},
      {"<yax_cfg><unit_cfg><x name='x'>1</x><chn_cfg name='n'><x name='x'>1<y>2</y></x>"
       "<reg_num>3</reg_num></chn_cfg><x/></unit_cfg></yax_cfg>",
       "{[name='n' reg_num='3']}"},
      {"<yax_cfg><a><b><c><d><e><f><g><h><i><j>1</j>2</i></h>3<k name='x'/></g></f></e></d></c></b>"
       "</a><unit_cfg><chn_cfg><a><b><c><d><e><f><g><h/></g></f></e></d></c></b></a>"
       "<reg_num><a><b><c><d><e><f/></e></d></c></b></a>4</reg_num></chn_cfg></unit_cfg>"
       "<dns2>5</dns2></yax_cfg>",
       "dns2='5'{[reg_num='4']}"},
  };
  for (const auto& row : cases) {
    const read_result got = read(row.document);
    ASSERT_EQ(got.doc == nullptr, row.changes == nullptr) << row.document << '\n' << got.printed;
    if (got.doc == nullptr) continue;
    EXPECT_EQ(changes_text(*got.doc), row.changes) << row.document;
    EXPECT_EQ(got.printed, "") << row.document;
  }
}

TEST(ReadXmlCfg, RefusesWithAReasonAndALine) {
  const std::string long32(32, 'x'), long64(64, 'x');
  const struct {
    std::string document;
    const char* printed;
  } cases[] = {
      // Malformed.
      {" \r\n ", "\"no document tag found\" on line 2"},
      {"text<yax_cfg/>", "\"no document tag found\" on line 1"},
      {"</yax_cfg>", "\"no document tag found\" on line 1"},
      {"<yax_cfg>\n\n", "\"unexpected end of xml data\" on line 3"},
      {"<yax_cfg>\r\n<dns1>1</dns2>\r\n</yax_cfg>", "\"mismatched end tag\" on line 2"},
      {"<yax_cfg>\n<dns1>1\n</yax_cfg>", "\"mismatched end tag\" on line 3"},
      {"<yax_cfg>\r\r<dns1>a & b</dns1>\r</yax_cfg>", "\"illegal use of ampersand (&)\" on line 3"},
      {"<yax_cfg><x>&nbsp;</x></yax_cfg>", "\"illegal use of ampersand (&)\" on line 1"},
      {"<yax_cfg>\n<dns1>&#256;</dns1></yax_cfg>",
       "\"unicode characters are not supported\" on line 2"},
      {"<yax_cfg/ >", "\"greater than sign (>) expected\" on line 1"},
      {"<yax_cfg name=x>", "\"quote (either ' or \") expected\" on line 1"},
      {"<yax_cfg name>\n<dns1/>", "\"equal sign (=) expected\" on line 2"},
      {"<setup><a></b></setup>", "\"mismatched end tag\" on line 1"},
      // Known elements in unknown ones, at any depth; the other places are below.
      {"<setup>\n<yax_cfg/></setup>", "\"yax_cfg is not allowed in an unknown element\" on line 2"},
      {"<yax_cfg><unit_cfg><chn_cfg><x><y/><reg_num>1</reg_num></x></chn_cfg></unit_cfg></yax_cfg>",
       "\"reg_num is not allowed in an unknown element\" on line 1"},
      {"<yax_cfg><a><b><c><d><e><f><g><h><i/><dns1/></h></g></f></e></d></c></b></a></yax_cfg>",
       "\"dns1 is not allowed in an unknown element\" on line 1"},
      {"<yax_cfg>\n<dns1>1</dns1>\n<name>x</name></yax_cfg>",
       "\"name is not allowed in yax_cfg\" on line 3"},
      // Too long, in any run.
      {"<yax_cfg name='" + long64 + "'/>",
       "\"value of name is longer than 63 characters\" on line 1"},
      {"<yax_cfg>\n<unit_cfg type='" + long32 + "'/></yax_cfg>",
       "\"value of type is longer than 31 characters\" on line 2"},
      {"<yax_cfg><unit_cfg><chn_cfg>\n\n<reg_num>" + long32 + "</reg_num></chn_cfg>",
       "\"value of reg_num is longer than 31 characters\" on line 3"},
      {"<yax_cfg><dns1>" + long32 + "<!-- -->1</dns1></yax_cfg>",
       "\"value of dns1 is longer than 31 characters\" on line 1"},
      {"<yax_cfg><dns1>" + std::string(100000, 'x') + "</dns1></yax_cfg>",
       "\"value of dns1 is longer than 31 characters\" on line 1"},
  };
  for (const auto& row : cases) {
    const read_result got = read(row.document);
    EXPECT_EQ(got.doc, nullptr) << row.document;
    EXPECT_EQ(got.printed, error_line(row.printed)) << row.document;
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
    const char *before, *after, *name;
    bool (*allowed)(int id);
  } places[] = {
      {"", "", "this place", document_tag},
      {"<yax_cfg>", "</yax_cfg>", "yax_cfg", below_document},
      {"<yax_cfg><unit_cfg>", "</unit_cfg></yax_cfg>", "unit_cfg", below_unit},
      {"<yax_cfg><unit_cfg><chn_cfg>", "</chn_cfg></unit_cfg></yax_cfg>", "chn_cfg", below_channel},
      {"<yax_cfg><dns1>", "</dns1></yax_cfg>", "dns1", below_setting},
      {"<yax_cfg><unit_cfg><chn_cfg><chn_type>", "</chn_type></chn_cfg></unit_cfg></yax_cfg>",
       "chn_type", below_setting},
      {"<yax_cfg><x>", "</x></yax_cfg>", "an unknown element", below_setting},
  };
  const temporary_file file;
  for (const auto& place : places) {
    for (int id = 0; id < static_cast<int>(tag_count); ++id) {
      const std::string name = tag_text(id);
      const read_result got =
          read_file(file.filled_with(std::string(place.before) + '<' + name + "/>" + place.after));
      EXPECT_EQ(got.doc != nullptr, place.allowed(id)) << name << " in " << place.name;
      EXPECT_EQ(got.printed, place.allowed(id) ? ""
                                               : error_line('"' + name + " is not allowed in " +
                                                            place.name + "\" on line 1"));
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
    EXPECT_EQ(got.printed, error_line('"' + row.reason + "\" on line 1"));
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
  if (user == 0 && ::seteuid(65534) != 0) GTEST_SKIP() << "root reads everything";
  const read_result got = read_file(file.path());
  EXPECT_EQ(::seteuid(user), 0);
  EXPECT_EQ(got.doc, nullptr);
  EXPECT_EQ(got.printed, "");
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
    EXPECT_EQ(more.printed, error_line("\"more than 32767 records in one list\" on line 2"));
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
