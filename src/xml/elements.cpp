#include "elements.h"

#include <string_view>

#include "element_stack.h"
#include "ruvex/xml/tokenizer.h"
#include "scan.h"

namespace ruvex {
namespace {

int fail(SimpleXmlParser* parser, SimpleXmlError error) noexcept {
  parser->error = error;
  return 0;
}

int succeeded(const SimpleXmlParser* parser) noexcept {
  return parser->error == SIMPLE_XML_NO_ERROR ? 1 : 0;
}

int call(SimpleXmlParser* parser, const open_element& element, SimpleXmlEvent event,
         const char* attribute_name, const char* value) {
  element.handler(parser, event, element.name, attribute_name, value);
  return succeeded(parser);
}

// The value of an attribute or a run of content, as handlers get it; the buffer is empty
// afterwards. `readable` as for terminatedTokenText.
[[gnu::always_inline]] inline int call_with_value(SimpleXmlParser* parser,
                                                  const open_element& element, SimpleXmlEvent event,
                                                  const char* attribute_name, std::string_view text,
                                                  std::size_t readable) {
  const char* value = terminatedTokenText(parser, text, readable);
  if (value == nullptr) return 0;
  parser->valueLength = static_cast<std::int32_t>(text.size());
  return call(parser, element, event, attribute_name, value);
}

// One parse of an element and of everything in it, level by level. Outside the functions that use
// the tokenizer the value buffer is empty.
class element_parser {
 public:
  element_parser(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept
      : parser_(parser),
        handler_(handler),
        at_(parser->inputData + parser->inputPosition),
        end_(parser->inputData + parser->inputLength) {}

  int parse(std::string_view name) {
    if (open(name, handler_, false, false) == 0) return 0;
    while (!elements_.empty()) {
      if (read_content() == 0) return 0;
    }
    return succeeded(parser_);
  }

 private:
  // Opens the element whose start tag's name has just been read, up to the end of that tag. The
  // name stands in the document (`is_plain`) or in the value buffer; `is_bare` says that a plain
  // name is all that the tag has, so that its ">" comes next.
  [[gnu::always_inline]] inline int open(std::string_view name, SimpleXmlTagHandler enclosing,
                                         bool is_plain, bool is_bare) {
    if (!elements_.push(name, is_plain ? readable_from(name) : 0, is_plain)) {
      return fail(parser_, SIMPLE_XML_OUT_OF_MEMORY);
    }
    if (!is_plain) clearSimpleXmlValueBuffer(parser_->valueBuffer);
    open_element& element = elements_.top();
    const SimpleXmlTagHandler own =
        enclosing(parser_, SIMPLE_XML_EVENT_SUBTAG_START, element.name, nullptr, nullptr);
    if (succeeded(parser_) == 0) return 0;
    element.handler = own ? own : SimpleXmlTagHandler(simpleXmlNopHandler);
    if (is_bare) {
      move_to(at_ + 1);
      parser_->tokenType = TOKEN_TAG_CLOSE;
    } else if (read_attributes(element) == 0) {
      return 0;
    }
    const bool is_empty = !is_bare && parser_->tokenType == TOKEN_TAG_END;
    if (call(parser_, element, SIMPLE_XML_EVENT_ATTRIBUTES_END, nullptr, nullptr) == 0) return 0;
    return is_empty ? close(element) : 1;
  }

  // A tag-level token that is no attribute ends the tag, so there is no fourth kind to refuse.
  [[gnu::noinline]] int read_attributes(const open_element& element) {
    for (;;) {
      std::string_view value;
      if (nextTagToken(parser_, value) == 0) return 0;
      follow_tokenizer();
      if (parser_->tokenType != TOKEN_ATTRIBUTE) return 1;
      const std::size_t readable = isInDocument(parser_, value) ? readable_from(value) : 0;
      if (call_with_value(parser_, element, SIMPLE_XML_EVENT_ATTRIBUTE, parser_->attributeName,
                          value, readable) == 0) {
        return 0;
      }
    }
  }

  // What comes next inside the innermost element: text and the tag behind it, or other markup. The
  // forms that are met most are told at a glance: text without a reference, the end tag that is
  // due, a start tag without attributes.
  int read_content() {
    open_element& element = elements_.top();
    if (at_ != end_ && *at_ != '<') {
      const char* const stop = find_in_text(at_, end_, '<');
      if (stop == end_ || *stop == '&') return read_any_content(element);
      const std::string_view text(at_, static_cast<std::size_t>(stop - at_));
      move_to(stop);
      parser_->tokenType = TOKEN_CONTENT;
      if (content(element, text, readable_from(text)) == 0) return 0;
    }
    const char* const at = at_;
    const auto left = static_cast<std::size_t>(end_ - at);
    if (left < 2 || at[1] == '!' || at[1] == '?') return read_any_content(element);
    if (at[1] == '/') {
      if (!is_end_tag_of(element, at, left)) return read_any_content(element);
      move_to(at + element.name_length + end_tag_marks);
      return close(element);
    }
    const char* const stop = find_tag_name_end(at + 1, end_);
    if (stop == end_ || *stop != '>') return read_any_content(element);
    move_to(stop);
    return open({at + 1, static_cast<std::size_t>(stop - at) - 1}, element.handler, true, true);
  }

  [[gnu::noinline, gnu::cold]] int read_any_content(open_element& element) {
    std::string_view text;
    if (nextContentToken(parser_, text) == 0) return 0;
    follow_tokenizer();
    switch (parser_->tokenType) {
      case TOKEN_TAG_START:
        return open(text, element.handler, isInDocument(parser_, text), false);
      case TOKEN_TAG_END:
        if (text != name_of(element)) return fail(parser_, SIMPLE_XML_MISMATCHED_END_TAG);
        clearSimpleXmlValueBuffer(parser_->valueBuffer);
        return close(element);
      case TOKEN_CONTENT:
        return content(element, text, 0);
      default:
        return clearSimpleXmlValueBuffer(parser_->valueBuffer);
    }
  }

  // A name that stood in the document as it is holds nothing that could end it.
  bool is_end_tag_of(const open_element& element, const char* at, std::size_t left) const noexcept {
    return left >= element.name_length + end_tag_marks && element.is_plain &&
           at[2 + element.name_length] == '>' &&
           equal_bytes(at + 2, element.name, element.name_length);
  }

  int content(const open_element& element, std::string_view text, std::size_t readable) {
    return call_with_value(parser_, element, SIMPLE_XML_EVENT_CONTENT, nullptr, text, readable);
  }

  // For a text in the document.
  std::size_t readable_from(std::string_view text) const noexcept {
    return static_cast<std::size_t>(end_ - text.data());
  }

  void follow_tokenizer() noexcept { at_ = parser_->inputData + parser_->inputPosition; }
  void move_to(const char* at) noexcept {
    at_ = at;
    parser_->inputPosition = static_cast<std::int32_t>(at - parser_->inputData);
  }

  static std::string_view name_of(const open_element& element) noexcept {
    return {element.name, element.name_length};
  }

  int close(const open_element& element) {
    parser_->tokenType = TOKEN_TAG_END;
    const int result = call(parser_, element, SIMPLE_XML_EVENT_TAG_END, nullptr, nullptr);
    elements_.pop();
    return result;
  }

  static constexpr std::size_t end_tag_marks = 3;  // </ and >

  SimpleXmlParser* parser_;
  SimpleXmlTagHandler handler_;
  const char* at_;
  const char* end_;
  element_stack elements_;
};

// Skips what may stand before the document element and reads that element's name.
int find_document_tag(SimpleXmlParser* parser) noexcept {
  for (;;) {
    if (skipWhitespace(parser) != 0) {
      clearSimpleXmlValueBuffer(parser->valueBuffer);
      readNextContentToken(parser);
    }
    if (parser->error == SIMPLE_XML_UNEXPECTED_END) return fail(parser, SIMPLE_XML_NO_DOCUMENT_TAG);
    if (parser->error != SIMPLE_XML_NO_ERROR) return 0;
    switch (parser->tokenType) {
      case TOKEN_PROCESSING_INSTRUCTION:
      case TOKEN_COMMENT:
      case TOKEN_DOCTYPE:
        break;
      case TOKEN_TAG_START:
        return 1;
      default:
        return fail(parser, SIMPLE_XML_NO_DOCUMENT_TAG);
    }
  }
}

}  // namespace

SimpleXmlTagHandler simpleXmlNopHandler(SimpleXmlParser*, std::int32_t, const char*, const char*,
                                        const char*) {
  return simpleXmlNopHandler;
}

int parseOneTag(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept {
  const SimpleXmlValueBuffer& name = *parser->valueBuffer;
  return element_parser(parser, handler).parse({name.data, static_cast<std::size_t>(name.length)});
}

int parseSimpleXml(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept {
  if (!handler) return fail(parser, SIMPLE_XML_ILLEGAL_HANDLER);
  if (parser->error != SIMPLE_XML_NOT_STARTED) return fail(parser, SIMPLE_XML_NOT_INITIALIZED);
  parser->error = SIMPLE_XML_NO_ERROR;
  if (find_document_tag(parser) == 0) return 0;
  return parseOneTag(parser, handler);
}

}  // namespace ruvex
