// The grammar of the tokens and the one cursor over the document.
//
// What every element needs is inline; the rest is in token_reader.cpp. Functions that return bool
// or a token fail with false or with a token without text; the reason is then in the parser's
// `error`, and the cursor stays where reading stopped.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "ruvex/xml/parser_record.h"
#include "scan.h"
#include "short_bytes.h"

namespace ruvex {

// The text of a token. Text without a reference is not moved. Text with one is decoded into the
// value buffer, after what the buffer held; it is valid until the buffer next changes.
struct token {
  std::string_view text = {};  // without data where reading has failed
  bool in_document = false;    // otherwise in the value buffer

  explicit operator bool() const noexcept { return text.data() != nullptr; }
};

class token_reader {
 public:
  // Reads on at the parser's position. A position outside the document, where a caller may have
  // skipped to, is brought to the nearest end. The place is the reader's own until it is published
  // or reading fails. Nothing is published later: a handler may have given the parser another
  // document.
  explicit token_reader(SimpleXmlParser* parser) noexcept
      : parser_(parser),
        at_(parser->inputData + std::clamp(parser->inputPosition, 0, parser->inputLength)),
        end_(parser->inputData + parser->inputLength) {}
  token_reader(const token_reader&) = delete;
  token_reader& operator=(const token_reader&) = delete;

  // Puts the place into the parser's record, where handlers and callers look for it.
  void publish() const noexcept {
    parser_->inputPosition = static_cast<std::int32_t>(at_ - parser_->inputData);
  }

  SimpleXmlParser* parser() const noexcept { return parser_; }

  // Whether a "<" is next; and the byte after it, 0 where there is none.
  bool is_at_markup() const noexcept { return at_ != end_ && *at_ == '<'; }
  char mark() const noexcept { return end_ - at_ > 1 ? at_[1] : '\0'; }

  // Outside a start tag: content up to the next "<", or the markup that starts with one. The kind
  // goes to the parser's `tokenType`.
  token read_content_or_markup() noexcept;

  // The forms that most documents mostly consist of, each inline: content without a reference, up
  // to the next "<"; a start tag of a name without a reference, up to its ">"; the end tag of the
  // element `name`, which holds nothing that could end it. A "<" and a byte are next for the tags.
  // Where something else is next, nothing is passed; the first two then return a text without data.
  // Without them a parse of a configuration takes twice the instructions.
  //
  // The end tag is compared with what is due, which is less work than to look for the end of a
  // name: that would cost a parse of a configuration 16 % more instructions.
  [[gnu::always_inline]] std::string_view pass_plain_content() noexcept;
  [[gnu::always_inline]] std::string_view pass_plain_start_tag() noexcept;
  [[gnu::always_inline]] bool pass_plain_end_tag(std::string_view name) noexcept;

  // Inside a start tag: an attribute or the tag's end. The kind goes to `tokenType`, an attribute's
  // name to `attributeName`, its value to the result. The value buffer is emptied between the two.
  token read_in_tag() noexcept;
  // The same for a ">", which is next.
  void pass_tag_close() noexcept {
    parser_->tokenType = TOKEN_TAG_CLOSE;
    ++at_;
  }

  // A token's text with a NUL after it, in the value buffer; null when memory has run out. The
  // buffer holds nothing else and counts as empty afterwards. A short text is copied together with
  // what follows it in the document: a copy of a fixed size is no call, which would cost 33 % more.
  [[gnu::always_inline]] const char* terminated(std::string_view text, bool in_document) noexcept;

  // The byte at the cursor, which is passed.
  bool read_byte(char& byte) noexcept;
  // Passes white space; fails at the end of the document.
  bool skip_white_space() noexcept;
  // Reads one character of text, a reference decoded, and appends it to the value buffer.
  bool read_character() noexcept;
  bool append(std::string_view text) noexcept;

  bool fail(SimpleXmlError error) noexcept {
    publish();
    parser_->error = error;
    return false;
  }

 private:
  // Finds the end of a text: the first byte that ends it or "&", or `end`.
  using find_function = const char* (*)(const char* at, const char* end) noexcept;

  template <find_function Find>
  token read_text() noexcept;
  template <const char* Terminator>
  token read_text_through() noexcept;
  token decode_text(find_function find, const char* begin) noexcept;

  token no_token(SimpleXmlError error) noexcept;
  token in_buffer(std::int32_t start) const noexcept;
  const char* store(std::string_view text, bool in_document) noexcept;

  bool skip_if_next(char character) noexcept;
  bool skip_if_next(std::string_view word) noexcept;
  bool read_reference() noexcept;
  bool read_numeric_reference(int base, int value) noexcept;
  bool keep_attribute_name(std::string_view name) noexcept;

  token read_markup() noexcept;
  token read_start_tag() noexcept;
  token read_end_tag() noexcept;
  token read_instruction() noexcept;
  token read_declaration() noexcept;
  token read_doctype() noexcept;
  token read_attribute() noexcept;

  SimpleXmlParser* parser_;
  const char* at_;
  const char* end_;
};

inline std::string_view token_reader::pass_plain_content() noexcept {
  const char* const begin = at_;
  const char* const stop = find_in_text<'<'>(begin, end_);
  if (stop == end_ || *stop == '&') return {};
  parser_->tokenType = TOKEN_CONTENT;
  at_ = stop;
  return {begin, static_cast<std::size_t>(stop - begin)};
}

inline std::string_view token_reader::pass_plain_start_tag() noexcept {
  const char* const begin = at_ + 1;
  if (begin == end_ || *begin == '!' || *begin == '?') return {};
  const char* const stop = find_tag_name_end(begin, end_);
  if (stop == end_ || *stop != '>') return {};
  parser_->tokenType = TOKEN_TAG_START;
  at_ = stop;
  return {begin, static_cast<std::size_t>(stop - begin)};
}

inline bool token_reader::pass_plain_end_tag(std::string_view name) noexcept {
  constexpr std::size_t marks = 3;  // </ and >
  const std::size_t length = name.size();
  if (static_cast<std::size_t>(end_ - at_) < length + marks || at_[2 + length] != '>' ||
      !equal_short(at_ + 2, name.data(), length)) {
    return false;
  }
  parser_->tokenType = TOKEN_TAG_END;
  at_ += length + marks;
  return true;
}

inline const char* token_reader::terminated(std::string_view text, bool in_document) noexcept {
  constexpr std::size_t piece = 32;  // less than the buffer's first size
  if (!in_document || text.size() >= piece ||
      static_cast<std::size_t>(end_ - text.data()) < piece) {
    return store(text, in_document);
  }
  char* const copy = parser_->valueBuffer->data;
  std::memcpy(copy, text.data(), piece);
  copy[text.size()] = '\0';
  return copy;
}

}  // namespace ruvex
