// A slow and simple second parser, to compare with: byte by byte, recursive, every text copied.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "xml/recorder.h"

namespace ruvex {

class reference_parser {
 public:
  reference_parser(std::string_view document, const handling& how)
      : document_(document), how_(how) {}

  outcome parse() {
    result_.error = 0;
    if (find_document_element()) element(text_, 0);
    result_.line = line();
    return result_;
  }

 private:
  static constexpr int absent = -1;
  static constexpr int ignoring = -1;  // in place of a handler's number

  // Bytes.

  int peek(std::size_t offset = 0) const {
    const std::size_t at = position_ + offset;
    return at < document_.size() ? static_cast<unsigned char>(document_[at]) : absent;
  }
  bool is_next(std::string_view bytes) const {
    return document_.substr(position_).starts_with(bytes);
  }
  bool white_is_next() const { return peek() >= 0 && peek() <= ' '; }

  void skip() {
    const int byte = peek();
    const int following = peek(1);
    if (byte == '\n' || (byte == '\r' && following != absent && following != '\n')) ++breaks_;
    ++position_;
  }
  void skip(std::string_view bytes) {
    for (std::size_t count = 0; count < bytes.size(); ++count) skip();
  }
  int read() {
    const int byte = peek();
    if (byte == absent) return fail(SIMPLE_XML_UNEXPECTED_END), absent;
    skip();
    return byte;
  }
  bool skip_white() {
    while (peek() == absent || white_is_next()) {
      if (read() == absent) return false;
    }
    return true;
  }
  std::int32_t line() const { return breaks_ + 1; }
  bool fail(std::int32_t error) {
    result_.error = error;
    return false;
  }

  // Characters.

  bool add(int byte) {
    text_ += static_cast<char>(byte);
    return true;
  }

  bool character() {
    const int byte = read();
    if (byte == absent) return false;
    if (byte != '&') return add(byte);
    if (is_next("#x;")) return skip("#x;"), add(0);
    if (is_next("#x")) return skip("#x"), numeric(16, read());
    if (is_next("#")) return skip("#"), numeric(10, read());
    for (const std::string_view entity : {"&amp;", "'apos;", "\"quot;", "<lt;", ">gt;"}) {
      const std::string_view name = entity.substr(1);
      if (is_next(name)) return skip(name), add(entity[0]);
    }
    return fail(SIMPLE_XML_ILLEGAL_AMPERSAND);
  }

  // At least one digit, `first` among them; the number is looked at when it is complete.
  bool numeric(int base, int first) {
    const std::string_view digits = base == 16 ? "0123456789abcdefABCDEF" : "0123456789";
    int value = 0;
    bool any = false;
    for (int byte = first; byte != ';' || !any; byte = read(), any = true) {
      const auto at = byte == absent ? digits.npos : digits.find(static_cast<char>(byte));
      if (at == digits.npos) return fail(SIMPLE_XML_ILLEGAL_AMPERSAND);
      const int digit = static_cast<int>(at);
      value = std::min(256, value * base + (digit < 16 ? digit : digit - 6));  // "A" as "a"
    }
    return value > 255 ? fail(SIMPLE_XML_NO_UNICODE) : add(value);
  }

  template <class IsEnd>
  bool characters_until(IsEnd is_end) {
    while (!is_end()) {
      if (!character()) return false;
    }
    return true;
  }
  bool characters_through(std::string_view end) {
    if (!characters_until([&] { return is_next(end); })) return false;
    skip(end);
    return true;
  }

  // Tokens; the text begins empty.

  bool content_token() {
    text_.clear();
    if (peek() != '<') {
      kind_ = TOKEN_CONTENT;
      return characters_until([&] { return peek() == '<'; });
    }
    skip();
    if (is_next("/")) return skip(), end_tag();
    if (is_next("?")) {
      kind_ = TOKEN_PROCESSING_INSTRUCTION;
      return skip(), characters_through("?>");
    }
    if (is_next("!")) return skip(), declaration();
    kind_ = TOKEN_TAG_START;
    return characters_until([&] { return white_is_next() || peek() == '/' || peek() == '>'; }) &&
           skip_white();
  }

  bool end_tag() {
    kind_ = TOKEN_TAG_END;
    if (!characters_until([&] { return white_is_next() || peek() == '>'; })) return false;
    for (;;) {
      const int byte = read();
      if (byte == '>' || byte == absent) return byte == '>';
    }
  }

  bool declaration() {
    if (is_next("--")) {
      kind_ = TOKEN_COMMENT;
      return skip("--"), characters_through("-->");
    }
    if (is_next("DOCTYPE")) return skip("DOCTYPE"), doctype();
    kind_ = TOKEN_DECLARATION;
    return characters_through(">");
  }

  bool doctype() {
    kind_ = TOKEN_DOCTYPE;
    for (int depth = 1;;) {
      if (peek() == '>') --depth;
      if (peek() == '<') ++depth;
      if (depth == 0) return skip(), true;
      if (!character()) return false;
    }
  }

  bool tag_token() {
    text_.clear();
    if (is_next("/")) {
      skip();
      kind_ = TOKEN_TAG_END;
      return is_next(">") ? skip(), true : fail(SIMPLE_XML_GREATER_THAN_EXPECTED);
    }
    if (is_next(">")) {
      kind_ = TOKEN_TAG_CLOSE;
      return skip(), true;
    }
    return attribute();
  }

  bool attribute() {
    kind_ = TOKEN_ATTRIBUTE;
    if (!characters_until([&] { return white_is_next() || peek() == '='; })) return false;
    if (!skip_white()) return false;
    if (peek() != '=') return fail(SIMPLE_XML_EQUAL_SIGN_EXPECTED);
    skip();
    attribute_name_ = text_;
    text_.clear();
    if (!skip_white()) return false;
    const int quote = read();
    if (quote != '"' && quote != '\'') return fail(SIMPLE_XML_QUOTE_EXPECTED);
    if (!characters_until([&] { return peek() == quote; })) return false;
    skip();
    return skip_white();
  }

  // Elements and their handlers.

  bool find_document_element() {
    do {
      if (!skip_white() || !content_token()) {
        const bool ended = result_.error == SIMPLE_XML_UNEXPECTED_END;
        return fail(ended ? SIMPLE_XML_NO_DOCUMENT_TAG : result_.error);
      }
    } while (kind_ == TOKEN_PROCESSING_INSTRUCTION || kind_ == TOKEN_COMMENT ||
             kind_ == TOKEN_DOCTYPE);
    return kind_ == TOKEN_TAG_START || fail(SIMPLE_XML_NO_DOCUMENT_TAG);
  }

  // Handlers see names up to their first NUL. Returns whether to go on.
  bool call(int handler, SimpleXmlEvent event, const std::string& name,
            const char* attribute_name = nullptr, std::string_view value = {}) {
    if (handler == ignoring) return true;
    result_.events.push_back(event_line(handler, event, name.c_str(), attribute_name, value,
                                        how_.with_lines ? line() : 0));
    const bool aborts = static_cast<int>(result_.events.size()) == how_.abort_at + 1;
    return aborts ? fail(how_.abort_code) : true;
  }

  bool element(const std::string name, int enclosing) {
    if (!call(enclosing, SIMPLE_XML_EVENT_SUBTAG_START, name)) return false;
    const bool is_ignored = enclosing == ignoring || how_.ignored == name.c_str();
    const int own = is_ignored ? ignoring : handler_after(++started_);
    while (tag_token() && kind_ == TOKEN_ATTRIBUTE) {
      if (!call(own, SIMPLE_XML_EVENT_ATTRIBUTE, name, attribute_name_.c_str(), text_)) {
        return false;
      }
    }
    if (result_.error != 0) return false;
    const bool is_empty = kind_ == TOKEN_TAG_END;
    return call(own, SIMPLE_XML_EVENT_ATTRIBUTES_END, name) && (is_empty || content(name, own)) &&
           call(own, SIMPLE_XML_EVENT_TAG_END, name);
  }

  bool content(const std::string& name, int own) {
    while (content_token()) {
      if (kind_ == TOKEN_TAG_END) return text_ == name || fail(SIMPLE_XML_MISMATCHED_END_TAG);
      if (kind_ == TOKEN_TAG_START && !element(text_, own)) return false;
      if (kind_ == TOKEN_CONTENT && !call(own, SIMPLE_XML_EVENT_CONTENT, name, nullptr, text_)) {
        return false;
      }
    }
    return false;
  }

  std::string_view document_;
  handling how_;
  outcome result_;
  std::size_t position_ = 0;
  std::int32_t breaks_ = 0;
  int kind_ = 0;
  std::string text_;
  std::string attribute_name_;
  int started_ = 0;
};

inline outcome reference_parse(std::string_view document, const handling& how = {}) {
  return reference_parser(document, how).parse();
}

}  // namespace ruvex
