// The documents that the parser's tests share.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "ruvex/xml/parser_record.h"

namespace ruvex {

using namespace std::string_view_literals;

// clang-format off
inline constexpr std::string_view accepted[] = {
    // Elements.
    "<a/>", "<a></a>", "<a x=\"1\" y='2'>t<b/>u</a>", "<a><b><c/></b><d/></a>", "<a><a>x</a>y</a>",
    "<a><n x=\"1\">t<b/></n>u</a>", "<n><a>t</a></n>",
    // In front of the document element and behind it.
    "\0\x01\t \r\n<a/>"sv, "<!DOCTYPE><a/>", "<!DOCTYPEa<b<c>d>&lt;><a/>", "<a/>&<</a><a>\0"sv,
    "<?xml version=\"1.0\"?>\r\n<!-- > < -->\n<!DOCTYPE a [<!ELEMENT a ANY>]> <?p?><a/>",
    "<a>t</a> & <b",
    // Tags.
    "<a \t\x1f\r\n\0/></a>"sv, "<a\n></a >", "<a></a\0& <b='/\">"sv, "<></>", "< x='1'/>",
    "<a&#62;b></a&#62;b>", "<a><b&#99;></bc><d></&#100; ></a>", "<a&#0;b></a&#x;b>",
    "<&amp;&lt;&gt;&quot;&apos;&#x20;/>", "<a<'=\"\x80\xff/>",
    "<abcdefghijklmnop><abcdefghijklmnopq/></abcdefghijklmnop>",
    // Attributes.
    "<a b=\"x>y\"/>", "<a b=\"1\"c='2'b=\"3\" />", "<a b \r=\n '1' c= \"\"></a>",
    "<a =''b/c>d='\"' e=\"'\"/>", "<a b&#61;&#32;c='&lt;&amp;lt;<&quot;\r\n\t&#xA;\x90'/>",
    "<a b&#0;c='1&#0;2' d='3\0&apos;4'/>"sv,
    // Content and references.
    "<a>&#65;&#x41;&#x4a;&#x4A;&#0066;&#x0000000000000000043;&#000000000000000068;&#255;&#xfF;</a>",
    "<a>&amp;lt;&lt;&gt;&apos;&quot;&#38;#65;;#</a>", "<a>t&#x;u</a>", "<a>&#0;u</a>",
    "<a>t\0u</a>"sv, "<a>\x80\xfe>]]>\"'=/ !?-</a>", "<a>\r\n\t<b/>\r</a>",
    "<a>a text of more than thirty-two bytes, copied whole</a>",
    // What is passed over, and parts the content.
    "<a>1<!-- -->2<?p?>3<!d>4<![CDATA[q]]>5<!DOCTYPE q>6</a>", "<a><![CDATA[b>c]]></a>",
    "<a><!DOCTYPE<<b>>c>d</a>", "<a><!doctype<b>c</a>",
    "<a><!--->--><!-->--><!----><!-- -- -&gt; ---></a>", "<a><?><?\?><?\?><?&amp;?? ?\?></a>",
    "<a><!><!-><!- -->b<!&#62;></a>"};

// Refused on their first line.
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
    "<a></A>", "<a></ab>", "<ab></a>", "<abcdefghijkl></abcdefghijkm>", "<a></>", "<></a>",
    "<a></ a>", "<a></a/>", "<a><b></a></b>", "<a><b/></b>", "<a><b></B></a>", "<a><b></bc></a>",
    "<a><abcdefgh-jklmnopqrst></abcdefgh.jklmnopqrst></a>", "<a><n></m></a>", "<a&#62;b></a>b>",
    "<a><b&#62;c></b>c></a>", "<a><b&#32;></b ></a>", "<a&#0;b></a&#0;c>", "<a><b></b&#0;></a>"};
// clang-format on

inline constexpr struct {
  SimpleXmlError error;
  const char* description;
  std::span<const std::string_view> documents;
} document_groups[] = {
    {SIMPLE_XML_NO_ERROR, nullptr, accepted},
    {SIMPLE_XML_NO_DOCUMENT_TAG, "no document tag found", without_document_element},
    {SIMPLE_XML_UNEXPECTED_END, "unexpected end of xml data", ending_too_early},
    {SIMPLE_XML_ILLEGAL_AMPERSAND, "illegal use of ampersand (&)", with_illegal_ampersand},
    {SIMPLE_XML_NO_UNICODE, "unicode characters are not supported", with_characters_above_255},
    {SIMPLE_XML_GREATER_THAN_EXPECTED, "greater than sign (>) expected", with_a_stray_slash},
    {SIMPLE_XML_QUOTE_EXPECTED, "quote (either ' or \") expected", without_quotes},
    {SIMPLE_XML_EQUAL_SIGN_EXPECTED, "equal sign (=) expected", without_equal_sign},
    {SIMPLE_XML_MISMATCHED_END_TAG, "mismatched end tag", with_other_end_tags},
};

inline std::vector<std::string_view> all_documents() {
  std::vector<std::string_view> documents;
  for (const auto& group : document_groups) {
    documents.insert(documents.end(), group.documents.begin(), group.documents.end());
  }
  return documents;
}

}  // namespace ruvex
