// The XML parser: what it says of a document is consistent, and so it is when a handler aborts
// where the first byte says so. Beside it expat, where that is installed: what both accept and mean
// alike gives the same events.

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "require.h"
#include "ruvex/xml/parser.h"
#include "xml/recorder.h"
#ifdef RUVEX_WITH_EXPAT
#include "xml/events_beside_expat.h"
#endif

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

// Up to the event that aborts, an aborted parse is the whole one.
void compare_aborted(std::string_view document, int abort_at) {
  const outcome whole = parse(document, {.with_lines = true});
  const outcome got = parse(document, {.with_lines = true, .abort_at = abort_at});
  if (abort_at < 0 || static_cast<std::size_t>(abort_at) >= whole.events.size()) {
    return require(got == whole, "a parse is the same each time");
  }
  require(got.error == SIMPLE_XML_USER_ABORT, "the handler's code is the result");
  require(got.events.size() == static_cast<std::size_t>(abort_at) + 1, "no event after an abort");
  require(std::equal(got.events.begin(), got.events.end(), whole.events.begin()),
          "the events before an abort are those of a whole parse");
}

void run(std::string_view bytes) {
  if (bytes.size() < 2) return;
  const std::string_view document = bytes.substr(1);
  const int abort_at = static_cast<unsigned char>(bytes[0]) % 64 - 32;  // half of them nowhere
  run_counting(document);
  if (document.size() < 4096) compare_aborted(document, abort_at);
#ifdef RUVEX_WITH_EXPAT
  require(differ_from_expat(document).empty(), "what expat accepts too gives the same events");
#endif
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ruvex::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
