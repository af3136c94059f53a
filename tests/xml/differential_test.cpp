// The parser beside the simple one of reference_parser.h: same events, same lines, same result.
#include <random>
#include <set>

#include "gtest/gtest.h"
#include "xml/documents.h"
#include "xml/recorder.h"
#include "xml/reference_parser.h"

namespace ruvex {
namespace {

// Returns what both say of the document.
outcome expect_agreement(std::string_view document, int abort_at = -1) {
  const handling how = {.with_lines = true, .abort_at = abort_at};
  const outcome got = parse(document, how);
  const outcome expected = reference_parse(document, how);
  if (got != expected) {
    ADD_FAILURE() << printable(document) << "\n     got " << got.text() << "\nexpected "
                  << expected.text();
  }
  return got;
}

TEST(Differential, EveryBeginningOfADocument) {
  EXPECT_EQ(parse("").error, -1) << "there is no parser over nothing";
  for (const auto& row : accepted_documents) {
    const exact_block block(row.bytes);
    const xml_parser_ptr parser(simpleXmlCreateParser(block.data(), block.size()));
    simpleXmlParse(parser.get(), simpleXmlNopHandler);
    const auto element_end = static_cast<std::size_t>(parser->inputPosition);
    for (std::size_t size = 1; size <= row.bytes.size(); ++size) {
      const outcome got = parse(row.bytes.substr(0, size));
      EXPECT_EQ(got.error == 0, size >= element_end) << printable(row.bytes) << " at " << size;
    }
  }
  for (const std::string_view document : all_documents()) {
    for (std::size_t size = 1; size <= document.size(); ++size) {
      expect_agreement(document.substr(0, size));
    }
  }
}

TEST(Differential, EveryByteReplacedOrPrecededByAnother) {
  for (const std::string_view document : all_documents()) {
    for (std::size_t at = 0; at < document.size(); ++at) {
      for (const char byte : "<>&\"'/=\r\n !-?"sv) {
        std::string changed(document);
        changed[at] = byte;
        expect_agreement(changed);
        changed.insert(at + 1, document.substr(at, 1));
        expect_agreement(changed);
      }
      std::string changed(document);
      changed[at] = '\0';
      expect_agreement(changed);
    }
  }
}

// Documents from pieces of markup; the same ones in every run.
class document_maker {
 public:
  int below(int limit) { return static_cast<int>(bits_() % static_cast<unsigned>(limit)); }

  // Pieces in any order.
  std::string jumble() {
    std::string document = below(2) == 0 ? "<a>" : "";
    for (int count = below(14); count >= 0; --count) document += piece();
    return document + (below(2) == 0 ? "</a>" : "");
  }

  // A document that is whole, or nearly so: a few pieces may have been put in.
  std::string nearly_whole() {
    std::string document = misc() + element(0) + misc();
    for (int flaws = below(4); flaws > 1; --flaws) {
      const auto at = static_cast<std::size_t>(below(static_cast<int>(document.size())));
      document.replace(at, static_cast<std::size_t>(below(3)), piece());
    }
    return document;
  }

 private:
  template <std::size_t Count>
  std::string any(const std::string_view (&of)[Count]) {
    return std::string(of[below(Count)]);
  }

  std::string piece() {
    static constexpr std::string_view pieces[] = {
        "<",    ">",         "/",         "</",    "/>",   "<a",    "<a>",    "</a>", "<b/>",
        "<n>",  "</n>",      " ",         "\n",    "\r",   "\r\n",  "=",      "\"",   "'",
        "='1'", " y=\"2\"",  "text",      "&amp;", "&lt;", "&#65;", "&#x3e;", "&",    "&#",
        ";",    "&#256;",    "<!--",      "-->",   "-",    "<?",    "?>",     "!",    "?",
        "<!",   "<!DOCTYPE", "<![CDATA[", "]]>",   "\0"sv, "\xff",  "a",      "b",    "&#0;"};
    return any(pieces);
  }
  std::string white() { return any({"", "", " ", "\n", "\r\n", "\t\r", "\0"sv}); }
  std::string name() {
    return any({"a", "b", "n", "", "long-name.of_an:element", "a&#62;", "&#x6e;", "\xe4"});
  }
  std::string text() {
    return any({"", "t", "\n  ", "&lt;&amp;", "x>y", "&#x;z", "more than eight bytes",
                "text of more than thirty-two bytes, &gt; with a reference", "\r", "\r\n"});
  }
  std::string misc() {
    return any({"", "", "\n", "<!-- - -->", "<?p > ?>", "<!DOCTYPE a [<!ENTITY b '>'<>]>", "\r"});
  }
  std::string attribute() {
    const std::string quote = any({"\"", "'"});
    return " " + name() + white() + "=" + white() + quote + text() + quote + white();
  }

  std::string element(int depth) {
    const std::string given = name();
    std::string tag = "<" + given + white();
    for (int count = below(3); count > 0; --count) tag += attribute();
    if (below(4) == 0) return tag + "/>";
    tag += ">";
    for (int count = depth < 5 ? below(4) : 0; count > 0; --count) {
      tag += text() + misc() + element(depth + 1) + any({"", "<!d>", "<![CDATA[q]]>"});
    }
    return tag + text() + "</" + given + white() + ">";
  }

  std::mt19937 bits_{20};
};

TEST(Differential, RandomDocuments) {
  document_maker make;
  std::set<std::int32_t> errors;
  int accepted = 0;
  for (int count = 0; count < 8000; ++count) {
    const std::string document = count % 2 == 0 ? make.jumble() : make.nearly_whole();
    const outcome got = expect_agreement(document, count % 5 == 0 ? make.below(20) : -1);
    errors.insert(got.error);
    accepted += got.error == SIMPLE_XML_NO_ERROR;
  }
  EXPECT_EQ(errors, (std::set<std::int32_t>{0, 3, 4, 5, 6, 7, 10, 11, 13, 1000}))
      << "the documents meet every error";
  EXPECT_GT(accepted, 1000);
  EXPECT_LT(accepted, 7000);
}

// Names below, at and above the sizes in which they are copied and kept.
TEST(Differential, NamesOfManyLengths) {
  document_maker make;
  const auto name = [&] {
    constexpr int lengths[] = {0, 1, 15, 16, 17, 100, 4000, 9000};
    const int length = lengths[make.below(8)] + make.below(2) * make.below(100);
    return std::string(static_cast<std::size_t>(length), static_cast<char>('a' + make.below(13)));
  };
  for (int count = 0; count < 100; ++count) {
    std::string document = "<list>";
    std::vector<std::string> open = {"list"};
    while (!open.empty()) {
      if (document.size() < 60'000 && make.below(open.size() < 8 ? 3 : 2) != 0) {
        open.push_back(name());
        document += "<" + open.back() + ">";
      } else {
        document += "</" + open.back() + ">";
        open.pop_back();
      }
    }
    EXPECT_EQ(expect_agreement(document).error, SIMPLE_XML_NO_ERROR) << count;
  }
}

}  // namespace
}  // namespace ruvex
