// Texts of bounded length, held in place: the type of every setting of a configuration.
//
// A text<Size> holds at most Size - 1 characters and is always terminated by a NUL, so text<32> and
// text<64> hold up to 31 and 63 characters. It is empty when value-initialised or zero-filled and
// is copied by value. Only assign() writes into it, and it refuses as a whole what does not fit: a
// text is never cut and never overruns its neighbour in a record.
//
// The last byte holds the length. While the text is not full, that byte is free; when it is full,
// the byte is the terminator. So nobody searches for the end of a text: a converted point would
// take 10 % more instructions.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace ruvex {

// A text of either width, to be read. Valid as long as the text that it was made from.
class text_view {
 public:
  constexpr text_view(const char* chars, std::size_t size) noexcept : chars_(chars), size_(size) {}

  // The characters, without the NUL.
  constexpr std::string_view view() const noexcept { return {chars_, length()}; }
  // The array that holds them; capacity() bytes may be read, whatever the length.
  constexpr const char* data() const noexcept { return chars_; }
  constexpr std::size_t capacity() const noexcept { return size_; }

  constexpr std::size_t length() const noexcept {
    const auto stored = static_cast<unsigned char>(chars_[size_ - 1]);
    if (stored != 0) return stored;
    return chars_[0] == '\0' ? 0 : size_ - 1;
  }

 private:
  const char* chars_;
  std::size_t size_;
};

// A text of either width, to be written. Valid as long as the text that it was made from.
class text_ref {
 public:
  constexpr text_ref(char* chars, std::size_t size) noexcept : chars_(chars), size_(size) {}

  // Replaces the text with `characters`, which may be a part of the text itself.
  // False, and the text stays as it was, when they do not fit or hold a NUL.
  bool assign(std::string_view characters) const noexcept {
    const std::size_t length = characters.size();
    if (length >= size_ || characters.find('\0') != std::string_view::npos) return false;
    if (length != 0) std::memmove(chars_, characters.data(), length);
    chars_[size_ - 1] = length == size_ - 1 ? '\0' : static_cast<char>(length);
    chars_[length] = '\0';
    return true;
  }

  constexpr std::string_view view() const noexcept { return text_view(chars_, size_).view(); }

 private:
  char* chars_;
  std::size_t size_;
};

template <std::size_t Size>
class text {
  static_assert(Size >= 2 && Size <= 128, "the length stands in one byte, as a positive char");

 public:
  text() = default;
  // The text of a literal, for tables; what does not fit does not compile.
  template <std::size_t Length>
  consteval text(const char (&literal)[Length]) noexcept {  // NOLINT(google-explicit-constructor)
    static_assert(Length <= Size);
    for (std::size_t at = 0; at < Length; ++at) chars_[at] = literal[at];
    if (Length < Size) chars_[Size - 1] = static_cast<char>(Length - 1);
  }

  // See text_ref::assign.
  [[nodiscard]] bool assign(std::string_view characters) noexcept {
    return ref().assign(characters);
  }

  constexpr std::string_view view() const noexcept { return look().view(); }
  // NUL-terminated; valid until the next assign() or the end of the text.
  constexpr const char* c_str() const noexcept { return chars_; }
  constexpr bool empty() const noexcept { return chars_[0] == '\0'; }
  static constexpr std::size_t max_length() noexcept { return Size - 1; }

  constexpr text_view look() const noexcept { return {chars_, Size}; }
  constexpr text_ref ref() noexcept { return {chars_, Size}; }

  template <std::size_t Other>
  constexpr bool operator==(const text<Other>& other) const noexcept {
    return view() == other.view();
  }
  friend constexpr bool operator==(const text& a, std::string_view b) noexcept {
    return a.view() == b;
  }

 private:
  char chars_[Size] = {};
};

static_assert(sizeof(text<32>) == 32 && sizeof(text<64>) == 64);
static_assert(std::is_trivially_copyable_v<text<32>>);

}  // namespace ruvex
