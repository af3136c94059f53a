// Documents made at random of pieces of markup; the same ones in every run.
#pragma once

#include <initializer_list>
#include <random>
#include <string>
#include <string_view>

namespace ruvex {

class document_maker {
 public:
  // A strict one makes only what is XML and what every parser understands in the same way.
  explicit document_maker(bool strict = false) : strict_(strict) {}

  int below(int limit) { return static_cast<int>(bits_() % static_cast<unsigned>(limit)); }

  // Pieces in any order.
  std::string jumble() {
    std::string document = below(2) == 0 ? "<a>" : "";
    for (int count = below(14); count >= 0; --count) document += piece();
    return document + (below(2) == 0 ? "</a>" : "");
  }

  std::string whole() {
    const std::string start = strict_ ? any({"", "<?xml version='1.0' ?>\n"}) : "";
    const std::string type = any({"", "<!DOCTYPE a>", "<!DOCTYPE a [<!ENTITY b '><'>]>\n"});
    return start + misc() + type + misc() + element(0) + misc();
  }

  // A whole document, into which a few pieces may have been put.
  std::string nearly_whole() {
    std::string document = whole();
    for (int flaws = below(4); flaws > 1; --flaws) {
      const auto at = static_cast<std::size_t>(below(static_cast<int>(document.size())));
      document.replace(at, static_cast<std::size_t>(below(3)), piece());
    }
    return document;
  }

 private:
  using choice = std::initializer_list<std::string_view>;

  std::string any(choice of) { return std::string(of.begin()[below(static_cast<int>(of.size()))]); }
  std::string either(choice where_strict, choice elsewhere) {
    return any(strict_ ? where_strict : elsewhere);
  }

  std::string piece() {
    using namespace std::string_view_literals;
    return any({"<",      ">",    "/",    "</",       "/>",     "<a",        "<a>",       "</a>",
                "<b/>",   "<n>",  "</n>", " ",        "\n",     "\r",        "\r\n",      "=",
                "\"",     "'",    "='1'", " y=\"2\"", "text",   "&amp;",     "&lt;",      "&#65;",
                "&#x3e;", "&",    "&#",   ";",        "&#256;", "<!--",      "-->",       "-",
                "<?",     "?>",   "!",    "?",        "<!",     "<!DOCTYPE", "<![CDATA[", "]]>",
                "\0"sv,   "\xff", "a",    "b",        "&#0;"});
  }
  std::string white() {
    return either({"", " ", "\n"}, {"", "", " ", "\n", "\r\n", "\t\r", {"\0", 1}});
  }
  std::string name() {
    if (!strict_ && below(20) == 0) {  // about the sizes in which names are copied and kept
      constexpr std::size_t lengths[] = {1, 8, 15, 16, 17, 100, 4000, 9000};
      return std::string(lengths[below(8)], static_cast<char>('a' + below(2)));
    }
    return either({"a", "b", "_c:d.e-f9", "long-name.of_an:element"},
                  {"a", "b", "n", "", "long-name.of_an:element", "a&#62;", "&#x6e;", "\xe4"});
  }
  std::string text() {
    if (!strict_) {
      return any({"", "t", "\n  ", "&lt;&amp;", "x>y", "&#x;z", "more than eight bytes",
                  "text of more than thirty-two bytes, &gt; with a reference", "\r", "\r\n"});
    }
    std::string text;
    for (int count = below(below(6) == 0 ? 300 : 6); count > 0; --count) {
      text += any({" ", "!#$%()*+,-./", "01289:;=>?@", "AZ[\\^_`az{|}~", "&amp;", "&lt;", "&gt;",
                   "&apos;", "&quot;", "&#38;", "&#x4a;", "&#x4A;", "&#x0003C;"});
    }
    return text;
  }
  std::string misc() {
    return any({"", "", "\n", "<!-- > ' < - -->", "<!---->", "<?p?>", "<?p > <a> ?>"});
  }
  std::string attribute(int number) {
    const std::string quote = any({"\"", "'"});
    return " " + name() + (strict_ ? std::to_string(number) : "") + white() + "=" + white() +
           quote + text() + quote + white();
  }
  std::string element(int depth) {
    const std::string given = name();
    std::string tag = "<" + given + white();
    for (int count = below(4); count > 0; --count) tag += attribute(count);
    if (below(4) == 0) return tag + "/>";
    tag += ">";
    for (int count = depth < 5 ? below(4) : 0; count > 0; --count) {
      tag += text() + misc() + element(depth + 1) + misc();
      if (!strict_) tag += any({"", "<!d>", "<![CDATA[q]]>"});
    }
    return tag + text() + "</" + given + white() + ">";
  }

  bool strict_;
  std::mt19937 bits_{20};
};

}  // namespace ruvex
