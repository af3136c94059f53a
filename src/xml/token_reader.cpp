#include "token_reader.h"

#include <algorithm>
#include <cstdlib>

#include "buffer_bytes.h"

namespace ruvex {
namespace {

constexpr char comment_end[] = "-->";
constexpr char instruction_end[] = "?>";
constexpr char declaration_end[] = ">";

template <const char* Terminator>
const char* find_terminator(const char* at, const char* end) noexcept {
  constexpr std::string_view terminator = Terminator;
  for (;; ++at) {
    at = find_in_text<terminator.front()>(at, end);
    if (at == end || *at == '&') return at;
    const auto left = static_cast<std::size_t>(end - at);
    if (std::string_view(at, std::min(left, terminator.size())) == terminator) return at;
  }
}

constexpr int no_digit = -1;

int digit_value(char character, int base) noexcept {
  if (character >= '0' && character <= '9') return character - '0';
  if (base != 16) return no_digit;
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return no_digit;
}

}  // namespace

bool token_reader::read_byte(char& byte) noexcept {
  if (at_ == end_) return fail(SIMPLE_XML_UNEXPECTED_END);
  byte = *at_++;
  return true;
}

inline bool token_reader::skip_if_next(char character) noexcept {
  if (at_ == end_ || *at_ != character) return false;
  ++at_;
  return true;
}

bool token_reader::skip_if_next(std::string_view word) noexcept {
  if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(word)) return false;
  at_ += word.size();
  return true;
}

bool token_reader::skip_white_space() noexcept {
  while (at_ != end_ && is(*at_, white_space)) ++at_;
  return at_ != end_ || fail(SIMPLE_XML_UNEXPECTED_END);
}

bool token_reader::append(std::string_view text) noexcept {
  return append_bytes(parser_->valueBuffer, text) || fail(SIMPLE_XML_OUT_OF_MEMORY);
}

bool token_reader::read_character() noexcept {
  char character = '\0';
  if (!read_byte(character)) return false;
  return character == '&' ? read_reference() : append({&character, 1});
}

bool token_reader::read_reference() noexcept {
  constexpr struct {
    std::string_view name, character;
  } entities[] = {{"amp;", "&"}, {"apos;", "'"}, {"quot;", "\""}, {"lt;", "<"}, {"gt;", ">"}};
  for (const auto& entity : entities) {
    if (skip_if_next(entity.name)) return append(entity.character);
  }
  char first = '\0';
  if (!skip_if_next('#') || !read_byte(first)) return fail(SIMPLE_XML_ILLEGAL_AMPERSAND);
  if (first == 'x') return read_numeric_reference(16, 0);
  const int digit = digit_value(first, 10);
  if (digit == no_digit) return fail(SIMPLE_XML_ILLEGAL_AMPERSAND);
  return read_numeric_reference(10, digit);
}

// Reads the digits up to and with the ";". The value saturates: beyond the largest character
// nothing more needs to be known of it.
bool token_reader::read_numeric_reference(int base, int value) noexcept {
  constexpr int largest_character = 255;
  char next = '\0';
  while (read_byte(next) && next != ';') {
    const int digit = digit_value(next, base);
    if (digit == no_digit) return fail(SIMPLE_XML_ILLEGAL_AMPERSAND);
    value = std::min(value * base + digit, largest_character + 1);
  }
  if (next != ';') return fail(SIMPLE_XML_ILLEGAL_AMPERSAND);
  if (value > largest_character) return fail(SIMPLE_XML_NO_UNICODE);
  next = static_cast<char>(value);
  return append({&next, 1});
}

token token_reader::no_token(SimpleXmlError error) noexcept {
  fail(error);
  return {};
}

token token_reader::in_buffer(std::int32_t start) const noexcept {
  const SimpleXmlValueBuffer& buffer = *parser_->valueBuffer;
  return {{buffer.data + start, static_cast<std::size_t>(buffer.length - start)}, false};
}

// Reads on where a text that begins at `begin` has a reference or the document ends.
[[gnu::noinline, gnu::cold]] token token_reader::decode_text(find_function find,
                                                             const char* begin) noexcept {
  const std::int32_t start = parser_->valueBuffer->length;
  for (;;) {
    if (!append({begin, static_cast<std::size_t>(at_ - begin)})) return {};
    if (at_ != end_ && *at_ != '&') return in_buffer(start);
    if (!read_character()) return {};
    begin = at_;
    at_ = find(begin, end_);
  }
}

template <token_reader::find_function Find>
[[gnu::always_inline]] inline token token_reader::read_text() noexcept {
  const char* const begin = at_;
  at_ = Find(begin, end_);
  if (at_ == end_ || *at_ == '&') return decode_text(Find, begin);
  return {{begin, static_cast<std::size_t>(at_ - begin)}, true};
}

template <const char* Terminator>
token token_reader::read_text_through() noexcept {
  const token text = read_text<find_terminator<Terminator>>();
  return text && skip_if_next(Terminator) ? text : token();
}

const char* token_reader::store(std::string_view text, bool in_document) noexcept {
  if (in_document && !append(text)) return nullptr;
  const char* const stored = getInternalSimpleXmlValueBufferContents(parser_->valueBuffer);
  if (stored == nullptr) fail(SIMPLE_XML_OUT_OF_MEMORY);
  parser_->valueBuffer->length = 0;
  return stored;
}

token token_reader::read_content_or_markup() noexcept {
  if (is_at_markup()) return read_markup();
  parser_->tokenType = TOKEN_CONTENT;
  return read_text<find_in_text<'<'>>();
}

token token_reader::read_markup() noexcept {
  switch (mark()) {
    case '/':
      return read_end_tag();
    case '?':
      return read_instruction();
    case '!':
      return read_declaration();
    default:
      return read_start_tag();
  }
}

token token_reader::read_start_tag() noexcept {
  parser_->tokenType = TOKEN_TAG_START;
  ++at_;
  const token name = read_text<find_tag_name_end>();
  return name && skip_white_space() ? name : token();
}

token token_reader::read_end_tag() noexcept {
  parser_->tokenType = TOKEN_TAG_END;
  at_ += 2;
  const token name = read_text<find_class<ends_end_tag_name>>();
  if (!name) return name;
  at_ = std::find(at_, end_, '>');
  if (!skip_if_next('>')) return no_token(SIMPLE_XML_UNEXPECTED_END);
  return name;
}

token token_reader::read_instruction() noexcept {
  parser_->tokenType = TOKEN_PROCESSING_INSTRUCTION;
  at_ += 2;
  return read_text_through<instruction_end>();
}

token token_reader::read_declaration() noexcept {
  at_ += 2;
  if (skip_if_next("--")) {
    parser_->tokenType = TOKEN_COMMENT;
    return read_text_through<comment_end>();
  }
  if (skip_if_next("DOCTYPE")) return read_doctype();
  parser_->tokenType = TOKEN_DECLARATION;
  return read_text_through<declaration_end>();
}

// Every "<" of an internal subset has its ">".
token token_reader::read_doctype() noexcept {
  parser_->tokenType = TOKEN_DOCTYPE;
  const std::int32_t start = parser_->valueBuffer->length;
  for (int depth = 1;;) {
    const char next = at_ != end_ ? *at_ : '\0';
    if (next == '>' && --depth == 0) break;
    if (next == '<') ++depth;
    if (!read_character()) return {};
  }
  ++at_;
  return in_buffer(start);
}

token token_reader::read_in_tag() noexcept {
  constexpr token tag_end = {"", true};
  if (skip_if_next('>')) {
    parser_->tokenType = TOKEN_TAG_CLOSE;
    return tag_end;
  }
  if (!skip_if_next('/')) return read_attribute();
  if (!skip_if_next('>')) return no_token(SIMPLE_XML_GREATER_THAN_EXPECTED);
  parser_->tokenType = TOKEN_TAG_END;
  return tag_end;
}

bool token_reader::keep_attribute_name(std::string_view name) noexcept {
  const auto size = static_cast<std::int32_t>(name.size() + 1);
  if (parser_->attributeNameSize < size) {
    std::free(parser_->attributeName);
    parser_->attributeName = static_cast<char*>(std::malloc(name.size() + 1));
    parser_->attributeNameSize = parser_->attributeName == nullptr ? 0 : size;
    if (parser_->attributeName == nullptr) return fail(SIMPLE_XML_OUT_OF_MEMORY);
  }
  std::memcpy(parser_->attributeName, name.data(), name.size());
  parser_->attributeName[name.size()] = '\0';
  return true;
}

token token_reader::read_attribute() noexcept {
  parser_->tokenType = TOKEN_ATTRIBUTE;
  const token name = read_text<find_class<ends_attribute_name>>();
  if (!name || !skip_white_space()) return {};
  if (!skip_if_next('=')) return no_token(SIMPLE_XML_EQUAL_SIGN_EXPECTED);
  if (!keep_attribute_name(name.text)) return {};
  parser_->valueBuffer->length = 0;
  if (!skip_white_space()) return {};
  const char quote = *at_++;
  if (quote != '"' && quote != '\'') return no_token(SIMPLE_XML_QUOTE_EXPECTED);
  const token value =
      quote == '"' ? read_text<find_in_text<'"'>>() : read_text<find_in_text<'\''>>();
  if (!value) return value;
  ++at_;
  return skip_white_space() ? value : token();
}

}  // namespace ruvex
