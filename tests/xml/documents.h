// The documents that the parser's tests share.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "xml/parser_record.h"

namespace ruvex {

using namespace std::string_view_literals;

struct accepted_document {
  std::string_view bytes;
  std::string_view events;  // see recorder.h
};

inline constexpr accepted_document accepted_documents[] = {
    // Elements and their handlers.
    {"<a/>", "0 start a|1 attrs-end a|1 end a"},
    {"<a></a>", "0 start a|1 attrs-end a|1 end a"},
    {"<a x=\"1\" y='2'>t<b/>u</a>",
     "0 start a|1 attr a x=1|1 attr a y=2|1 attrs-end a|1 content a t|1 start b|2 attrs-end b|"
     "2 end b|1 content a u|1 end a"},
    {"<a><b><c/></b><d/></a>",
     "0 start a|1 attrs-end a|1 start b|2 attrs-end b|2 start c|3 attrs-end c|3 end c|2 end b|"
     "1 start d|4 attrs-end d|4 end d|1 end a"},
    {"<a><a>x</a>y</a>",
     "0 start a|1 attrs-end a|1 start a|2 attrs-end a|2 content a x|2 end a|1 content a y|1 end a"},
    {"<a><n x=\"1\">t<b/></n>u</a>", "0 start a|1 attrs-end a|1 start n|1 content a u|1 end a"},
    {"<n><a>t</a></n>", "0 start n"},
    // In front of the document element and behind it.
    {"\0\x01\t \r\n<a/>"sv, "0 start a|1 attrs-end a|1 end a"},
    {"<?xml version=\"1.0\"?>\r\n<!-- > < -->\n<!DOCTYPE a [<!ELEMENT a ANY>]> <?p?><a/>",
     "0 start a|1 attrs-end a|1 end a"},
    {"<!DOCTYPE><a/>", "0 start a|1 attrs-end a|1 end a"},
    {"<!DOCTYPEa<b<c>d>&lt;><a/>", "0 start a|1 attrs-end a|1 end a"},
    {"<a/>&<</a><a>\0"sv, "0 start a|1 attrs-end a|1 end a"},
    {"<a>t</a> & <b", "0 start a|1 attrs-end a|1 content a t|1 end a"},
    // Tags.
    {"<a \t\r\n\0/></a>"sv, "0 start a|1 attrs-end a|1 end a"},
    {"<a\n></a >", "0 start a|1 attrs-end a|1 end a"},
    {"<a></a\0& <b='/\">"sv, "0 start a|1 attrs-end a|1 end a"},
    {"<></>", "0 start |1 attrs-end |1 end "},
    {"< x='1'/>", "0 start |1 attr  x=1|1 attrs-end |1 end "},
    {"<a&#62;b></a&#62;b>", "0 start a>b|1 attrs-end a>b|1 end a>b"},
    {"<a><b&#99;></bc><d></&#100; ></a>",
     "0 start a|1 attrs-end a|1 start bc|2 attrs-end bc|2 end bc|1 start d|3 attrs-end d|3 end d|"
     "1 end a"},
    {"<&amp;&lt;&gt;&quot;&apos;&#x20;/>", "0 start &<>\"' |1 attrs-end &<>\"' |1 end &<>\"' "},
    {"<a&#0;b></a&#x;b>", "0 start a|1 attrs-end a|1 end a"},
    {"<a<'=\"\x80\xff/>",
     "0 start a<'=\"\\x80\\xff|1 attrs-end a<'=\"\\x80\\xff|1 end a<'=\"\\x80\\xff"},
    {"<abcdefghijklmnop><abcdefghijklmnopq/></abcdefghijklmnop>",
     "0 start abcdefghijklmnop|1 attrs-end abcdefghijklmnop|1 start abcdefghijklmnopq|"
     "2 attrs-end abcdefghijklmnopq|2 end abcdefghijklmnopq|1 end abcdefghijklmnop"},
    // Attributes.
    {"<a b=\"x>y\"/>", "0 start a|1 attr a b=x>y|1 attrs-end a|1 end a"},
    {"<a b=\"1\"c='2'b=\"3\" />",
     "0 start a|1 attr a b=1|1 attr a c=2|1 attr a b=3|1 attrs-end a|1 end a"},
    {"<a b \r=\n '1' c= \"\"></a>", "0 start a|1 attr a b=1|1 attr a c=|1 attrs-end a|1 end a"},
    {"<a =''b/c>d='\"' e=\"'\"/>",
     "0 start a|1 attr a =|1 attr a b/c>d=\"|1 attr a e='|1 attrs-end a|1 end a"},
    {"<a b&#61;&#32;c='&lt;&amp;lt;<&quot;\r\n\t&#xA;\x90'/>",
     "0 start a|1 attr a b= c=<&lt;<\"\\x0d\\x0a\\x09\\x0a\\x90|1 attrs-end a|1 end a"},
    {"<a b&#0;c='1&#0;2' d='3\0&apos;4'/>"sv,
     "0 start a|1 attr a b=1\\x002|1 attr a d=3\\x00'4|1 attrs-end a|1 end a"},
    // Content and references.
    {"<a>&#65;&#x41;&#x4a;&#x4A;&#0066;&#x000000000000000000043;&#00000000000000000068;&#255;&#xfF;"
     "</a>",
     "0 start a|1 attrs-end a|1 content a AAJJBCD\\xff\\xff|1 end a"},
    {"<a>&amp;lt;&lt;&gt;&apos;&quot;&#38;#65;;#</a>",
     "0 start a|1 attrs-end a|1 content a &lt;<>'\"&#65;;#|1 end a"},
    {"<a>t&#x;u</a>", "0 start a|1 attrs-end a|1 content a t\\x00u|1 end a"},
    {"<a>&#0;u</a>", "0 start a|1 attrs-end a|1 content a \\x00u|1 end a"},
    {"<a>t\0u</a>"sv, "0 start a|1 attrs-end a|1 content a t\\x00u|1 end a"},
    {"<a>\x80\xfe>]]>\"'=/ !?-</a>",
     "0 start a|1 attrs-end a|1 content a \\x80\\xfe>]]>\"'=/ !?-|1 end a"},
    {"<a>\r\n\t<b/>\r</a>",
     "0 start a|1 attrs-end a|1 content a \\x0d\\x0a\\x09|1 start b|2 attrs-end b|2 end b|"
     "1 content a \\x0d|1 end a"},
    {"<a>a text of more than thirty-two bytes, copied whole</a>",
     "0 start a|1 attrs-end a|1 content a a text of more than thirty-two bytes, copied whole|"
     "1 end a"},
    // What is passed over, and parts the content.
    {"<a>1<!-- -->2<?p?>3<!d>4<![CDATA[q]]>5<!DOCTYPE q>6</a>",
     "0 start a|1 attrs-end a|1 content a 1|1 content a 2|1 content a 3|1 content a 4|1 content a "
     "5|"
     "1 content a 6|1 end a"},
    {"<a><![CDATA[b>c]]></a>", "0 start a|1 attrs-end a|1 content a c]]>|1 end a"},
    {"<a><!DOCTYPE<<b>>c>d</a>", "0 start a|1 attrs-end a|1 content a d|1 end a"},
    {"<a><!doctype<b>c</a>", "0 start a|1 attrs-end a|1 content a c|1 end a"},
    {"<a><!--->--><!-->--><!----><!-- -- -&gt; ---></a>", "0 start a|1 attrs-end a|1 end a"},
    {"<a><?><?\?><?\?><?&amp;?? ?\?></a>", "0 start a|1 attrs-end a|1 end a"},
    {"<a><!><!-><!- -->b<!&#62;></a>", "0 start a|1 attrs-end a|1 content a b|1 end a"},
};

// Refused on their first line.
// clang-format off
inline constexpr std::string_view without_document_element[] = {
    " ", "text<a/>", "text", "</a>", "<![CDATA[x]]><a/>", "<!ELEMENT a ANY><a/>",
    "<!doctype a><a/>", "<!-a--><a/>", "<!-- -->", "<?p?>", "<!DOCTYPE a>",
    "<!DOCTYPE a [<!ELEMENT a ANY>]", "<!-- -- >", "<?p? >", "<!", "<", "<a", "<a ", "<a&amp;"};

inline constexpr std::string_view ending_too_early[] = {
    "<a>", "<a x", "<a x ", "<a x=", "<a x= ", "<a x='1\"", "<a x='1'", "<a x='1' ", "<a>t", "<a><",
    "<a><b", "<a><b ", "<a><b/>", "<a><n>t</n>", "<a></", "<a></a", "<a></a ", "<a><!-- --",
    "<a><?p?", "<a><!DOCTYPE <> ", "<a><!DOCTYPE <></a>", "<a><![CDATA[", "<a><!", "<a b></a>",
    "< a></>"};

inline constexpr std::string_view with_illegal_ampersand[] = {
    "&", "<&", "<a>&", "<a>&#", "<a>&#x", "<a>&#x4", "<a>&#6", "<a>&am", "<a>& </a>",
    "<a>&AMP;</a>", "<a>&nbsp;</a>", "<a>&amp</a>", "<a>&#;</a>", "<a>&#X41;</a>", "<a>&#xg;</a>",
    "<a>&#x4</a>", "<a>&#xx4;</a>", "<a>&#1a;</a>", "<a>&#-1;</a>", "<a>&# 1;</a>",
    "<a>&#999 ;</a>", "<a>&#\0;</a>"sv, "<!-- & --><a/>", "<a><?p & ?></a>", "<a><![CDATA[&]]></a>",
    "<!DOCTYPE &><a/>", "<a&></a&>", "<a></a&>", "<a b&='1'/>", "<a b='&'/>", "<a><n b='&'/></a>"};

// Among them 2^32 + 65 and 2^64 + 65.
inline constexpr std::string_view with_characters_above_255[] = {
    "<a>&#256;</a>", "<a>&#x100;</a>", "<a>&#4294967361;</a>", "<a>&#x10000000000000041;</a>",
    "<a>&#99999999999999999999999999;</a>", "<a b='&#300;'/>", "&#256;"};

inline constexpr std::string_view with_a_stray_slash[] = {
    "<a/", "<a / >", "<a/b='1'>", "<a//>", "<a x='1'/ >", "<a/\n>"};

inline constexpr std::string_view without_quotes[] = {
    "<a b=1>", "<a b=>", "<a b==''>", "<a b=&quot;1\">", "<n b=1>"};

inline constexpr std::string_view without_equal_sign[] = {
    "<a b />", "<a b c='1'/>", "<a b '1'/>", "<a b='1' '2' />", "<a b/ >"};

inline constexpr std::string_view with_other_end_tags[] = {
    "<a></A>", "<a></ab>", "<ab></a>", "<a></>", "<></a>", "<a></ a>", "<a></a/>", "<a><b></a></b>",
    "<a><b/></b>", "<a><b></B></a>", "<a><b></bc></a>", "<a><n></m></a>", "<a&#62;b></a>b>",
    "<a><b&#62;c></b>c></a>", "<a><b&#32;></b ></a>", "<a&#0;b></a&#0;c>", "<a><b></b&#0;></a>"};
// clang-format on

inline constexpr struct {
  SimpleXmlError error;
  std::span<const std::string_view> documents;
} refused_documents[] = {
    {SIMPLE_XML_NO_DOCUMENT_TAG, without_document_element},
    {SIMPLE_XML_UNEXPECTED_END, ending_too_early},
    {SIMPLE_XML_ILLEGAL_AMPERSAND, with_illegal_ampersand},
    {SIMPLE_XML_NO_UNICODE, with_characters_above_255},
    {SIMPLE_XML_GREATER_THAN_EXPECTED, with_a_stray_slash},
    {SIMPLE_XML_QUOTE_EXPECTED, without_quotes},
    {SIMPLE_XML_EQUAL_SIGN_EXPECTED, without_equal_sign},
    {SIMPLE_XML_MISMATCHED_END_TAG, with_other_end_tags},
};

inline std::vector<std::string_view> all_documents() {
  std::vector<std::string_view> documents;
  for (const auto& row : accepted_documents) documents.push_back(row.bytes);
  for (const auto& group : refused_documents) {
    documents.insert(documents.end(), group.documents.begin(), group.documents.end());
  }
  return documents;
}

}  // namespace ruvex
