// Records what a parse does: every event as one line of text, the result, the last line.
//
// The lines are "0 start a", "1 attr a x=1", "1 attrs-end a", "1 content a t", "1 end a". The
// number names the handler that was called: 0 is the one given to the parse, 1 to 7 go round among
// the elements as they start. Bytes that do not print, "|" and "\" stand as \xNN.
#pragma once

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ruvex/xml/parser.h"

namespace ruvex {

// A document with nothing readable in front of it or behind it, where a sanitizer watches.
class exact_block {
 public:
  explicit exact_block(std::string_view bytes)
      : bytes_(new char[bytes.size()]), size_(static_cast<std::int32_t>(bytes.size())) {
    if (!bytes.empty()) std::memcpy(bytes_.get(), bytes.data(), bytes.size());
  }
  const char* data() const { return bytes_.get(); }
  std::int32_t size() const { return size_; }

 private:
  std::unique_ptr<char[]> bytes_;
  std::int32_t size_;
};

inline std::string printable(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (byte >= ' ' && byte <= '~' && byte != '|' && byte != '\\') {
      text += byte;
      continue;
    }
    const auto value = static_cast<unsigned char>(byte);
    (text += "\\x") += "0123456789abcdef"[value / 16];
    text += "0123456789abcdef"[value % 16];
  }
  return text;
}

// What the handlers of a recorded parse do besides recording.
struct handling {
  std::string_view ignored = "n";                   // elements of this name get a null handler
  bool with_lines = false;                          // add "@" and the line, behind the first line
  int abort_at = -1;                                // the event, from 0, that ends the parse ...
  std::int32_t abort_code = SIMPLE_XML_USER_ABORT;  // ... with this code
  decltype(&simpleXmlParse) run = simpleXmlParse;
};

struct outcome {
  std::vector<std::string> events;
  std::int32_t error = -1;
  std::int32_t line = -1;

  bool operator==(const outcome&) const = default;
  std::string text() const {
    std::string text = "error ";
    ((text += std::to_string(error)) += " on line ") += std::to_string(line);
    for (const std::string& event : events) (text += &event == &events[0] ? ": " : "|") += event;
    return text;
  }
};

constexpr int handler_after(int elements_started) {
  return 1 + (elements_started - 1) % 7;
}

inline std::string event_line(int handler, std::int32_t event, const char* name,
                              const char* attribute, std::string_view value, std::int32_t line) {
  static constexpr const char* kinds[] = {"end", "attr", "attrs-end", "content", "start"};
  const auto text = [](const char* bytes) { return bytes ? printable(bytes) : "(null)"; };
  std::string result = std::to_string(handler);
  (((result += " ") += kinds[event]) += " ") += text(name);
  const bool has_attribute = event == SIMPLE_XML_EVENT_ATTRIBUTE;
  const bool has_value = has_attribute || event == SIMPLE_XML_EVENT_CONTENT;
  if (has_attribute || attribute != nullptr) ((result += " ") += text(attribute)) += "=";
  if (has_value && !has_attribute) result += " ";
  if (has_value || value.data() != nullptr) result += printable(value);
  if (line > 1) (result += "@") += std::to_string(line);
  return result;
}

class recorder {
 public:
  explicit recorder(const handling& how) : how_(how) {}

  // Parses with recording handlers. They find the recorder at the bottom of the user data.
  outcome parse(SimpleXmlParser* parser) {
    simpleXmlPushUserData(parser, this);
    result_.error = how_.run(parser, handlers[0]);
    result_.line = simpleXmlGetLineNumber(parser);
    return result_;
  }

 private:
  static constexpr int stray = 8;  // returned where a returned handler does not count

  template <int Number>
  static SimpleXmlTagHandler handle(SimpleXmlParser* parser, std::int32_t event, const char* name,
                                    const char* attribute, const char* value) {
    auto* self = static_cast<recorder*>(simpleXmlGetUserData(parser));
    return self->record(parser, Number, event, name, attribute, value);
  }
  static const std::array<SimpleXmlTagHandler, stray + 1> handlers;

  SimpleXmlTagHandler record(SimpleXmlParser* parser, int handler, std::int32_t event,
                             const char* name, const char* attribute, const char* value) {
    const bool starts = event == SIMPLE_XML_EVENT_SUBTAG_START;
    if (!starts) check_names(name);
    const std::int32_t line = how_.with_lines ? simpleXmlGetLineNumber(parser) : 0;
    result_.events.push_back(
        event_line(handler, event, name, attribute, whole(parser, value), line));
    if (static_cast<int>(result_.events.size()) == how_.abort_at + 1) {
      simpleXmlParseAbort(parser, how_.abort_code);
    }
    if (event == SIMPLE_XML_EVENT_TAG_END && !names_.empty()) names_.pop_back();
    if (!starts) return handlers[stray];
    if (how_.ignored == name) return nullptr;
    names_.emplace_back(name, name);
    return handlers[static_cast<std::size_t>(handler_after(++started_))];
  }

  // A value with the NULs in it.
  static std::string_view whole(const SimpleXmlParser* parser, const char* value) {
    if (value == nullptr) return {};
    const auto length = static_cast<std::size_t>(parser->valueLength);
    return value[length] == '\0' ? std::string_view(value, length) : "no NUL behind the value";
  }

  // The names given at the start of the elements that are open still stand, and the event's is the
  // innermost.
  void check_names(const char* name) {
    if (names_.empty() || names_.back().second != name) result_.events.push_back("wrong element");
    for (const auto& [given, copy] : names_) {
      if (copy != given) result_.events.push_back("changed: " + printable(copy));
    }
  }

  handling how_;
  outcome result_;
  std::vector<std::pair<const char*, std::string>> names_;
  int started_ = 0;
};

inline const std::array<SimpleXmlTagHandler, recorder::stray + 1> recorder::handlers = {
    handle<0>, handle<1>, handle<2>, handle<3>,    handle<4>,
    handle<5>, handle<6>, handle<7>, handle<stray>};

// One parse of the document in an exact block. An empty one has no parser: error -1.
inline outcome parse(std::string_view document, const handling& how = {}) {
  const exact_block block(document);
  const xml_parser_ptr parser(simpleXmlCreateParser(block.data(), block.size()));
  return parser ? recorder(how).parse(parser.get()) : outcome{};
}

}  // namespace ruvex
