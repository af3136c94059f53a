#include "elements.h"

#include "element_stack.h"
#include "token_reader.h"

namespace ruvex {
namespace {

// One parse of an element and of everything in it, level by level. The value buffer is empty
// between two tokens.
class element_parser {
 public:
  explicit element_parser(SimpleXmlParser* parser) noexcept : tokens_(parser) {}

  bool parse(const token& name, SimpleXmlTagHandler enclosing) {
    if (!start(name, enclosing) || !read_start_tag_rest()) return false;
    while (!elements_.empty()) {
      if (!read_inside()) return false;
    }
    return succeeded();
  }

 private:
  SimpleXmlParser* parser() const noexcept { return tokens_.parser(); }
  bool succeeded() const noexcept { return parser()->error == SIMPLE_XML_NO_ERROR; }
  void clear_buffer() noexcept { parser()->valueBuffer->length = 0; }

  bool call(const open_element& element, SimpleXmlEvent event, const char* attribute_name,
            const char* value) {
    tokens_.publish();
    element.handler(parser(), event, element.name, attribute_name, value);
    return succeeded();
  }

  // For an attribute or a run of content.
  [[gnu::always_inline]] bool call_with_value(const open_element& element, SimpleXmlEvent event,
                                              const char* attribute_name, token token) {
    const char* const value = tokens_.terminated(token.text, token.in_document);
    if (value == nullptr) return false;
    parser()->valueLength = static_cast<std::int32_t>(token.text.size());
    return call(element, event, attribute_name, value);
  }

  // Announces the element whose start tag's name has just been read.
  [[gnu::always_inline]] bool start(const token& name, SimpleXmlTagHandler enclosing) {
    if (!elements_.push(name.text, name.in_document)) {
      return tokens_.fail(SIMPLE_XML_OUT_OF_MEMORY);
    }
    if (!name.in_document) clear_buffer();
    open_element& element = elements_.top();
    tokens_.publish();
    const SimpleXmlTagHandler own =
        enclosing(parser(), SIMPLE_XML_EVENT_SUBTAG_START, element.name, nullptr, nullptr);
    element.handler = own ? own : SimpleXmlTagHandler(simpleXmlNopHandler);
    return succeeded();
  }

  bool end_attributes() {
    return call(elements_.top(), SIMPLE_XML_EVENT_ATTRIBUTES_END, nullptr, nullptr);
  }

  // The rest of a start tag. A tag-level token that is no attribute ends the tag, so there is no
  // fourth kind to refuse.
  [[gnu::noinline]] bool read_start_tag_rest() {
    const open_element& element = elements_.top();
    for (;;) {
      const token token = tokens_.read_in_tag();
      if (!token) return false;
      if (parser()->tokenType != TOKEN_ATTRIBUTE) break;
      if (!call_with_value(element, SIMPLE_XML_EVENT_ATTRIBUTE, parser()->attributeName, token)) {
        return false;
      }
    }
    const bool is_empty = parser()->tokenType == TOKEN_TAG_END;
    return end_attributes() && (!is_empty || close(element));
  }

  // Opens an element whose start tag is no more than a plain name. Its ">" is next.
  [[gnu::always_inline]] bool open_plain(std::string_view name, SimpleXmlTagHandler enclosing) {
    if (!start({name, true}, enclosing)) return false;
    tokens_.pass_tag_close();
    return end_attributes();
  }

  // What comes next inside the innermost element: a run of content and the markup after it.
  bool read_inside() {
    open_element& element = elements_.top();
    if (!tokens_.is_at_markup()) {
      const std::string_view text = tokens_.pass_plain_content();
      if (text.data() == nullptr) return read_other(element);
      if (!call_with_value(element, SIMPLE_XML_EVENT_CONTENT, nullptr, {text, true})) return false;
    }
    const char mark = tokens_.mark();
    if (mark == '/') {
      const bool ends = element.is_plain && tokens_.pass_plain_end_tag(name_of(element));
      return ends ? close(element) : read_other(element);
    }
    const std::string_view name = tokens_.pass_plain_start_tag();
    return name.data() != nullptr ? open_plain(name, element.handler) : read_other(element);
  }

  [[gnu::noinline, gnu::cold]] bool read_other(open_element& element) {
    const token token = tokens_.read_content_or_markup();
    if (!token) return false;
    switch (parser()->tokenType) {
      case TOKEN_TAG_START:
        return start(token, element.handler) && read_start_tag_rest();
      case TOKEN_TAG_END:
        if (token.text != name_of(element)) return tokens_.fail(SIMPLE_XML_MISMATCHED_END_TAG);
        clear_buffer();
        return close(element);
      case TOKEN_CONTENT:
        return call_with_value(element, SIMPLE_XML_EVENT_CONTENT, nullptr, token);
      default:
        clear_buffer();
        return true;
    }
  }

  static std::string_view name_of(const open_element& element) noexcept {
    return {element.name, element.name_length};
  }

  bool close(const open_element& element) {
    if (!call(element, SIMPLE_XML_EVENT_TAG_END, nullptr, nullptr)) return false;
    elements_.pop();
    return true;
  }

  token_reader tokens_;
  element_stack elements_;
};

}  // namespace

int parseOneTag(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept {
  const SimpleXmlValueBuffer& name = *parser->valueBuffer;
  const token read = {{name.data, static_cast<std::size_t>(name.length)}, false};
  return element_parser(parser).parse(read, handler) ? 1 : 0;
}

SimpleXmlTagHandler simpleXmlNopHandler(SimpleXmlParser*, std::int32_t, const char*, const char*,
                                        const char*) {
  return simpleXmlNopHandler;
}

}  // namespace ruvex
