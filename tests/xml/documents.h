// The documents that the parser's tests share.
#pragma once

#include <string_view>

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
     "0 start a|1 attr a b=1|1 attr a d=3|1 attrs-end a|1 end a"},
    // Content and references.
    {"<a>&#65;&#x41;&#x4a;&#x4A;&#0066;&#x000000000000000000043;&#00000000000000000068;&#255;&#xfF;"
     "</a>",
     "0 start a|1 attrs-end a|1 content a AAJJBCD\\xff\\xff|1 end a"},
    {"<a>&amp;lt;&lt;&gt;&apos;&quot;&#38;#65;;#</a>",
     "0 start a|1 attrs-end a|1 content a &lt;<>'\"&#65;;#|1 end a"},
    {"<a>t&#x;u</a>", "0 start a|1 attrs-end a|1 content a t|1 end a"},
    {"<a>&#0;u</a>", "0 start a|1 attrs-end a|1 content a |1 end a"},
    {"<a>t\0u</a>"sv, "0 start a|1 attrs-end a|1 content a t|1 end a"},
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

struct refused_document {
  std::string_view bytes;
  SimpleXmlError error;
  int line;
};

inline constexpr refused_document refused_documents[] = {
    // No document element.
    {" ", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"\0\n\r\n "sv, SIMPLE_XML_NO_DOCUMENT_TAG, 3},
    {"text<a/>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"text", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"</a>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<![CDATA[x]]><a/>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!ELEMENT a ANY><a/>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!doctype a><a/>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!-a--><a/>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!-- -->\n", SIMPLE_XML_NO_DOCUMENT_TAG, 2},
    {"<?p?>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!DOCTYPE a>", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!DOCTYPE a [<!ELEMENT a ANY>]", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!-- -- >", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<?p? >", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<!", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<a", SIMPLE_XML_NO_DOCUMENT_TAG, 1},
    {"<a \n", SIMPLE_XML_NO_DOCUMENT_TAG, 2},
    // The end of the data.
    {"<a>", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a x", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a x ", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a x=", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a x= ", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a x='1\"", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a x='1'", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a x='1'\n", SIMPLE_XML_UNEXPECTED_END, 2},
    {"<a>t", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><b", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><b ", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><b/>", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><n>t</n>", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a></", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a></a", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a></a \n", SIMPLE_XML_UNEXPECTED_END, 2},
    {"<a><!-- --", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><?p?", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><!DOCTYPE <> ", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><!DOCTYPE <></a>", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><![CDATA[", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a><!", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a b></a>", SIMPLE_XML_UNEXPECTED_END, 1},
    {"< a></>", SIMPLE_XML_UNEXPECTED_END, 1},
    // References.
    {"&", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<&", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#x", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#x4", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#6", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&am", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>& </a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&AMP;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&nbsp;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&amp</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#X41;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#xg;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#x4</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#xx4;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#1a;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#-1;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&# 1;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#999 ;</a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#\0;</a>"sv, SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<!-- & --><a/>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a><?p & ?></a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a><![CDATA[&]]></a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<!DOCTYPE &><a/>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a&></a&>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a></a&>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a b&='1'/>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a b='&'/>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a><n b='&'/></a>", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#256;</a>", SIMPLE_XML_NO_UNICODE, 1},
    {"<a>&#x100;</a>", SIMPLE_XML_NO_UNICODE, 1},
    {"<a>&#4294967361;</a>", SIMPLE_XML_NO_UNICODE, 1},          // 2^32 + 65
    {"<a>&#x10000000000000041;</a>", SIMPLE_XML_NO_UNICODE, 1},  // 2^64 + 65
    {"<a>&#99999999999999999999999999;</a>", SIMPLE_XML_NO_UNICODE, 1},
    {"<a b='&#300;'/>", SIMPLE_XML_NO_UNICODE, 1},
    {"&#256;", SIMPLE_XML_NO_UNICODE, 1},
    // Start tags.
    {"<a/", SIMPLE_XML_GREATER_THAN_EXPECTED, 1},
    {"<a / >", SIMPLE_XML_GREATER_THAN_EXPECTED, 1},
    {"<a/b='1'>", SIMPLE_XML_GREATER_THAN_EXPECTED, 1},
    {"<a//>", SIMPLE_XML_GREATER_THAN_EXPECTED, 1},
    {"<a x='1'/\n>", SIMPLE_XML_GREATER_THAN_EXPECTED, 1},
    {"<a b=1>", SIMPLE_XML_QUOTE_EXPECTED, 1},
    {"<a b=>", SIMPLE_XML_QUOTE_EXPECTED, 1},
    {"<a b==''>", SIMPLE_XML_QUOTE_EXPECTED, 1},
    {"<a b=&quot;1\">", SIMPLE_XML_QUOTE_EXPECTED, 1},
    {"<a b=\n\n1>", SIMPLE_XML_QUOTE_EXPECTED, 3},
    {"<a b>\n<c/></a>", SIMPLE_XML_EQUAL_SIGN_EXPECTED, 2},
    {"<a b />", SIMPLE_XML_EQUAL_SIGN_EXPECTED, 1},
    {"<a b c='1'/>", SIMPLE_XML_EQUAL_SIGN_EXPECTED, 1},
    {"<a b '1'/>", SIMPLE_XML_EQUAL_SIGN_EXPECTED, 1},
    {"<a b='1' '2'\n/>", SIMPLE_XML_EQUAL_SIGN_EXPECTED, 2},
    // End tags.
    {"<a></A>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a></ab>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<ab></a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a></>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<></a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a></ a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a></a/>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a><b></a></b>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a><b/></b>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a><b></B></a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a><n></m></a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a&#62;b></a>b>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a><b&#62;c></b>c></a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a><b&#32;></b ></a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a&#0;b></a&#0;c>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    {"<a><b></b&#0;></a>", SIMPLE_XML_MISMATCHED_END_TAG, 1},
    // Lines.
    {"<a>\n\n&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
    {"<a>\r\n\r\n&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
    {"<a>\r\r&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
    {"<a>\n\r&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
    {"<a>\r\r\n&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
    {"<a>\r", SIMPLE_XML_UNEXPECTED_END, 1},
    {"<a>\r\n", SIMPLE_XML_UNEXPECTED_END, 2},
    {"<a>\n\r", SIMPLE_XML_UNEXPECTED_END, 2},
    {"<a>\n", SIMPLE_XML_UNEXPECTED_END, 2},
    {"<a>&#10;&#13; &", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
    {"<a>&#\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 2},
    {"<a>&#1\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 2},
    {"<a>&#x1\r\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},  // stops between CR and LF
    {"<a\n b\n=\n'\n'\n>", SIMPLE_XML_UNEXPECTED_END, 6},
    {"<?\n?><!--\n--><!DOCTYPE\n[<\n>]><a><!\n></a\n", SIMPLE_XML_UNEXPECTED_END, 7},
};

}  // namespace ruvex
