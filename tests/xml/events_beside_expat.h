// Both parsers' events in a form that they share: "start a", "attr x=1", "content t", "end a", with
// adjoining runs of content joined and line feeds as blanks, which expat makes of them in
// attributes.
#pragma once

#include <expat.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "xml/recorder.h"

namespace ruvex {

struct common_outcome {
  int error = 0;
  std::vector<std::string> events = {};

  void add(const std::string& kind, std::string text) {
    const bool joins = kind == "content " && !events.empty() && events.back().starts_with(kind);
    if (!joins) events.push_back(kind);
    for (std::size_t at; (at = text.find("\\x0a")) != text.npos;) text.replace(at, 4, " ");
    events.back() += text;
  }
};

// A recorded event is "HANDLER KIND NAME" and, for some kinds, " TEXT". A name that expat takes has
// no blanks.
inline common_outcome parse_commonly(std::string_view document) {
  const outcome recorded = parse(document, {.ignored = ""});
  common_outcome result = {.error = recorded.error};
  for (const std::string& event : recorded.events) {
    const std::size_t kind = event.find(' ') + 1, name = event.find(' ', kind) + 1;
    const std::size_t text = event.find(' ', name);
    if (event.compare(kind, 9, "attrs-end") == 0) continue;
    result.add(event.substr(kind, name - kind), event.substr(text == event.npos ? name : text + 1));
  }
  return result;
}

inline common_outcome parse_with_expat(std::string_view document) {
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), XML_ParserFree);
  common_outcome result;
  XML_SetUserData(parser.get(), &result);
  XML_SetElementHandler(
      parser.get(),
      [](void* to, const char* name, const char** attributes) {
        auto* outcome = static_cast<common_outcome*>(to);
        outcome->add("start ", printable(name));
        for (; *attributes != nullptr; attributes += 2) {
          outcome->add("attr ", printable(std::string(attributes[0]) + "=" + attributes[1]));
        }
      },
      [](void* to, const char* name) {
        static_cast<common_outcome*>(to)->add("end ", printable(name));
      });
  XML_SetCharacterDataHandler(parser.get(), [](void* to, const char* text, int length) {
    const std::string_view content(text, static_cast<std::size_t>(length));
    static_cast<common_outcome*>(to)->add("content ", printable(content));
  });
  const auto status =
      XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), XML_TRUE);
  if (status != XML_STATUS_OK) result.error = XML_GetErrorCode(parser.get());
  return result;
}

// What expat accepts too has to give the same events. Left aside is what expat means otherwise:
// line ends and tabs, DOCTYPE and CDATA, characters beyond ASCII. The result names both, or is
// empty.
inline std::string differ_from_expat(std::string_view document) {
  using namespace std::string_view_literals;
  for (const std::string_view other : {"\r"sv, "\t"sv, "<!DOCTYPE"sv, "<![CDATA["sv}) {
    if (document.find(other) != document.npos) return {};
  }
  const common_outcome got = parse_commonly(document);
  if (got.error != 0) return {};
  const common_outcome expected = parse_with_expat(document);
  if (expected.error != 0 || got.events == expected.events) return {};
  std::string all;
  for (const auto* events : {&got.events, &expected.events}) {
    for (const std::string& event : *events) (all += event) += '|';
    all += '\n';
  }
  return all.find("\\x") == all.npos ? all : "";
}

}  // namespace ruvex
