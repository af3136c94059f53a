// Prints the elements of documents, each below the one that it is in, with attributes and texts.

#include <cstdio>
#include <cstring>
#include <string_view>

#include "ruvex/xml/parser.h"

using namespace ruvex;

static SimpleXmlTagHandler print_element(SimpleXmlParser* parser, std::int32_t event,
                                         const char* name, const char* attribute,
                                         const char* value) {
  int& depth = *static_cast<int*>(simpleXmlGetUserData(parser));
  switch (event) {
    case SIMPLE_XML_EVENT_SUBTAG_START:
      if (std::strcmp(name, "draft") == 0) return nullptr;  // ignored, with everything in it
      std::printf("%*s%s\n", 2 * depth++, "", name);
      break;
    case SIMPLE_XML_EVENT_ATTRIBUTE:
      std::printf("%*s@%s %s\n", 2 * depth, "", attribute, value);
      break;
    case SIMPLE_XML_EVENT_CONTENT:  // white space between elements, too
      if (std::strspn(value, " \t\r\n") == std::strlen(value)) break;
      std::printf("%*s\"%s\"\n", 2 * depth, "", value);
      break;
    case SIMPLE_XML_EVENT_TAG_END:
      --depth;
      break;
    default:
      break;
  }
  return print_element;
}

static int print_outline(std::string_view document) {
  const xml_parser_ptr parser(
      simpleXmlCreateParser(document.data(), static_cast<std::int32_t>(document.size())));
  int depth = 0;
  if (parser == nullptr || simpleXmlPushUserData(parser.get(), &depth) == 0) return 1;
  if (simpleXmlParse(parser.get(), print_element) != SIMPLE_XML_NO_ERROR) {
    std::printf("line %d: %s\n", simpleXmlGetLineNumber(parser.get()),
                simpleXmlGetErrorDescription(parser.get()));
  }
  return 0;
}

int main() {
  const int first = print_outline(
      "<plant name='North &amp; South'><draft><fan/></draft><fan>on</fan><pump "
      "speed='3'/></plant>");
  return first != 0 ? first : print_outline("<plant>\n<fan>\n</pump>\n</plant>");
}
