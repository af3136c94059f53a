// Both parsers' events in a form that they share: "start a", "attr x=1", "content t", "end a", with
// adjoining runs of content joined.
#pragma once

#include <expat.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "xml/recorder.h"

namespace ruvex {

struct common_events {
  std::vector<std::string> lines;

  void add(std::string_view kind, std::string_view text) {
    const bool joins = kind == "content " && !lines.empty() && lines.back().starts_with(kind);
    if (!joins) lines.emplace_back(kind);
    lines.back() += printable(text);
  }
  bool operator==(const common_events&) const = default;
};

struct common_outcome {
  int error = 0;
  common_events events;
};

inline SimpleXmlTagHandler add_common_event(SimpleXmlParser* parser, std::int32_t event,
                                            const char* name, const char* attribute,
                                            const char* value) {
  static constexpr std::string_view kinds[] = {"end ", "attr ", "", "content ", "start "};
  auto* to = static_cast<common_events*>(simpleXmlGetUserData(parser));
  if (event == SIMPLE_XML_EVENT_ATTRIBUTES_END) return nullptr;
  const std::string text = attribute != nullptr ? std::string(attribute) + "=" + value
                           : value != nullptr   ? value
                                                : name;
  to->add(kinds[event], text);
  return add_common_event;
}

inline common_outcome parse_commonly(std::string_view document) {
  const exact_block block(document);
  const xml_parser_ptr parser(simpleXmlCreateParser(block.data(), block.size()));
  if (parser == nullptr) return {.error = -1, .events = {}};
  common_outcome result;
  simpleXmlPushUserData(parser.get(), &result.events);
  result.error = simpleXmlParse(parser.get(), add_common_event);
  return result;
}

inline common_outcome parse_with_expat(std::string_view document) {
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), XML_ParserFree);
  common_outcome result;
  XML_SetUserData(parser.get(), &result.events);
  XML_SetElementHandler(
      parser.get(),
      [](void* events, const char* name, const char** attributes) {
        auto* to = static_cast<common_events*>(events);
        to->add("start ", name);
        for (; *attributes != nullptr; attributes += 2) {
          to->add("attr ", std::string(attributes[0]) + "=" + attributes[1]);
        }
      },
      [](void* events, const char* name) {
        static_cast<common_events*>(events)->add("end ", name);
      });
  XML_SetCharacterDataHandler(parser.get(), [](void* events, const char* text, int length) {
    static_cast<common_events*>(events)->add("content ", {text, static_cast<std::size_t>(length)});
  });
  const auto status =
      XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), XML_TRUE);
  if (status != XML_STATUS_OK) result.error = XML_GetErrorCode(parser.get());
  return result;
}

}  // namespace ruvex
