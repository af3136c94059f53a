// The XML parser, and beside it, for documents that a slow parser can take, the simple one of the
// tests: the same events with the same lines, the same result. The handlers abort where the first
// byte says so.

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "require.h"
#include "ruvex/xml/parser.h"
#include "xml/recorder.h"
#include "xml/reference_parser.h"

namespace ruvex {
namespace {

struct element_counts {
  long started = 0;
  long ended = 0;
  long attributes_ended = 0;
};

SimpleXmlTagHandler count(SimpleXmlParser* parser, std::int32_t event, const char* name,
                          const char* attribute, const char* value) {
  auto* counts = static_cast<element_counts*>(simpleXmlGetUserData(parser));
  counts->started += event == SIMPLE_XML_EVENT_SUBTAG_START;
  counts->attributes_ended += event == SIMPLE_XML_EVENT_ATTRIBUTES_END;
  counts->ended += event == SIMPLE_XML_EVENT_TAG_END;
  const bool is_attribute = event == SIMPLE_XML_EVENT_ATTRIBUTE;
  require(name != nullptr, "an event has a name");
  require((attribute != nullptr) == is_attribute, "attributes have a name");
  require((value != nullptr) == (is_attribute || event == SIMPLE_XML_EVENT_CONTENT),
          "attributes and content have a value");
  return count;
}

void run_counting(std::string_view document) {
  const exact_block block(document);
  const xml_parser_ptr parser(simpleXmlCreateParser(block.data(), block.size()));
  element_counts counts;
  simpleXmlPushUserData(parser.get(), &counts);
  const std::int32_t error = simpleXmlParse(parser.get(), count);
  require(counts.ended <= counts.attributes_ended && counts.attributes_ended <= counts.started,
          "elements start before they end");
  if (error == 0) require(counts.started == counts.ended && counts.ended > 0, "all elements end");
  require((simpleXmlGetErrorDescription(parser.get()) == nullptr) == (error == 0),
          "failures have a description");
  require(parser->inputPosition <= block.size(), "the position is within the document");
}

void compare(std::string_view document, int abort_at) {
  const handling how = {.with_lines = true, .abort_at = abort_at};
  const outcome got = parse(document, how);
  const outcome expected = reference_parse(document, how);
  if (got == expected) return;
  std::fprintf(stderr, "     got %s\nexpected %s\n", got.text().c_str(), expected.text().c_str());
  require(false, "both parsers say the same");
}

void run(std::string_view bytes) {
  if (bytes.size() < 2) return;
  const std::string_view document = bytes.substr(1);
  const int abort_at = static_cast<unsigned char>(bytes[0]) % 64 - 32;  // half of them nowhere
  run_counting(document);
  if (document.size() < 4096) compare(document, abort_at);
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ruvex::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
