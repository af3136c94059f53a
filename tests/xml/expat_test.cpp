// Beside expat, on documents that both understand in the same way.
#include <random>

#include "gtest/gtest.h"
#include "xml/events_beside_expat.h"

namespace ruvex {
namespace {

class common_document {
 public:
  explicit common_document(unsigned seed) : bits_(seed) {}

  std::string make() {
    const std::string start = any({"", "<?xml version=\"1.0\"?>", "<?xml version='1.0' ?>\n"});
    const std::string type = any({"", "<!DOCTYPE a>", "<!DOCTYPE a [<!ELEMENT a ANY>]>\n"});
    return start + aside() + type + aside() + element(0) + aside() + any({"", "\n", " "});
  }
  int below(int limit) { return static_cast<int>(bits_() % static_cast<unsigned>(limit)); }

 private:
  std::string any(std::initializer_list<const char*> of) {
    return of.begin()[below(static_cast<int>(of.size()))];
  }

  std::string name() {
    static constexpr std::string_view first = "abcXYZ_:", later = "abz09.-_:Q";
    std::string name(1, first[static_cast<std::size_t>(below(8))]);
    for (int count = below(below(9) == 0 ? 40 : 5); count > 0; --count) {
      name += later[static_cast<std::size_t>(below(10))];
    }
    return name;
  }

  // `except` are characters that may not stand here as they are.
  std::string text(std::string_view except) {
    std::string text;
    for (int count = below(below(6) == 0 ? 700 : 12); count > 0; --count) {
      const auto plain = static_cast<char>(' ' + below('~' - ' ' + 1));
      switch (below(12)) {
        case 0:
          text += any({"&amp;", "&lt;", "&gt;", "&apos;", "&quot;"});
          break;
        case 1:
          text += "&#" + std::to_string(int{plain}) + ";";
          break;
        case 2:
          (text += "&#x") += any({"4a", "4A", "5D", "26", "0003c"}) += ";";
          break;
        default:
          text += except.find(plain) == std::string_view::npos ? plain : '.';
      }
    }
    return text;
  }

  std::string aside() {
    return any({"", "", "\n", "<!-- > ' < - -->", "<!---->", "<?p?>", "<?p > <a> ?>\n"});
  }

  std::string element(int depth) {
    const std::string given = name();
    std::string tag = "<" + given + any({"", " ", "\n"});
    for (int count = 0, all = below(4); count < all; ++count) {
      const std::string equals = any({"=", " = ", "\n="});
      const std::string attribute = " " + name() + std::to_string(count) + equals;
      tag += attribute + (below(2) ? "\"" + text("<&\"") + "\"" : "'" + text("<&'") + "'");
    }
    if (below(5) == 0) return tag + any({"/>", " />"});
    tag += ">";
    for (int count = depth < 6 ? below(4) : 0; count > 0; --count) {
      tag += any({"", "\n  ", "\t"}) + text("<&]") + aside() + element(depth + 1) + aside();
    }
    return tag + text("<&]") + "</" + given + any({">", " >", "\n>"});
  }

  std::mt19937 bits_;
};

TEST(BesideExpat, SameEventsAndTexts) {
  std::size_t events = 0;
  for (unsigned seed = 0; seed < 1000; ++seed) {
    const std::string document = common_document(seed).make();
    const common_outcome got = parse_commonly(document);
    const common_outcome expected = parse_with_expat(document);
    ASSERT_EQ(expected.error, XML_ERROR_NONE) << document;
    ASSERT_EQ(got.error, SIMPLE_XML_NO_ERROR) << document;
    ASSERT_EQ(got.events.lines, expected.events.lines) << document;
    events += got.events.lines.size();
  }
  EXPECT_GT(events, 10'000U);
}

}  // namespace
}  // namespace ruvex
