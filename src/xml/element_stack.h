// The open elements of a document: a stack on the heap, so that no nesting can exhaust the
// program's own stack.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <string_view>

#include "ruvex/xml/parser_record.h"
#include "short_bytes.h"

namespace ruvex {

// Names of open elements, given back in the reverse order. Handlers keep pointers to them, so they
// stand in blocks that do not move. An allocation for each name would cost a parse of a
// configuration 33 % more instructions.
class name_arena {
 public:
  name_arena() noexcept = default;
  ~name_arena() { release(spare_), release(top_); }
  name_arena(const name_arena&) = delete;
  name_arena& operator=(const name_arena&) = delete;

  // A copy of `name` with a NUL after it, valid until it is dropped; null when memory has run out.
  [[gnu::always_inline]] const char* push(std::string_view name) noexcept {
    const std::size_t size = name.size() + 1;
    if (static_cast<std::size_t>(end_ - next_) < size && !add_block(size)) return nullptr;
    char* const copy = next_;
    next_ += size;
    copy_short(copy, name.data(), name.size());
    copy[name.size()] = '\0';
    return copy;
  }

  // Drops the name that was pushed last, of this length.
  void drop(std::size_t length) noexcept {
    next_ -= length + 1;
    if (next_ == characters(top_) && top_->below != nullptr) keep_back();
  }

 private:
  struct block {
    block* below;
    std::size_t size;
    char* next;  // the block's next_, while other blocks are above it
  };

  static char* characters(block* of) noexcept { return reinterpret_cast<char*>(of + 1); }

  static void release(block* from) noexcept {
    while (from != nullptr) {
      block* const below = from->below;
      std::free(from);
      from = below;
    }
  }

  void use(block* top, char* next) noexcept {
    top_ = top;
    next_ = next;
    end_ = characters(top) + top->size;
  }

  [[gnu::noinline, gnu::cold]] bool add_block(std::size_t size) noexcept {
    constexpr std::size_t usual_size = 4096 - sizeof(block);
    block* added = spare_;
    if (added != nullptr && added->size >= size) {
      spare_ = nullptr;
    } else {
      if (size < usual_size) size = usual_size;
      added = static_cast<block*>(std::malloc(sizeof(block) + size));
      if (added == nullptr) return false;
      added->size = size;
    }
    added->below = top_;
    if (top_ != nullptr) top_->next = next_;
    use(added, characters(added));
    return true;
  }

  // The block emptied last is kept: otherwise elements that come and go at a block's end would
  // allocate one each time.
  [[gnu::noinline, gnu::cold]] void keep_back() noexcept {
    release(spare_);
    spare_ = top_;
    use(spare_->below, spare_->below->next);
    spare_->below = nullptr;
  }

  block* top_ = nullptr;
  char* next_ = nullptr;  // the unused part of the top block
  char* end_ = nullptr;
  block* spare_ = nullptr;
};

struct open_element {
  const char* name;  // in the arena
  std::size_t name_length;
  bool is_plain;  // the name stood in the document without a reference, so its end tag may as well
  SimpleXmlTagHandler handler;
};

class element_stack {
 public:
  element_stack() noexcept = default;
  ~element_stack() { std::free(elements_); }
  element_stack(const element_stack&) = delete;
  element_stack& operator=(const element_stack&) = delete;

  bool empty() const noexcept { return top_ == elements_; }
  // The innermost element. It moves when another is pushed; its name does not.
  open_element& top() noexcept { return top_[-1]; }

  // Opens an element without a handler yet. False when memory has run out.
  [[gnu::always_inline]] bool push(std::string_view name, bool is_plain) noexcept {
    if (top_ == end_ && !grow()) return false;
    const char* const copy = names_.push(name);
    if (copy == nullptr) return false;
    *top_++ = {copy, name.size(), is_plain, {}};
    return true;
  }

  void pop() noexcept {
    names_.drop(top().name_length);
    --top_;
  }

 private:
  [[gnu::noinline, gnu::cold]] bool grow() noexcept {
    const auto count = static_cast<std::size_t>(top_ - elements_);
    const std::size_t room = count == 0 ? 16 : 2 * count;
    void* const elements = std::realloc(elements_, room * sizeof(open_element));
    if (elements == nullptr) return false;
    elements_ = static_cast<open_element*>(elements);
    top_ = elements_ + count;
    end_ = elements_ + room;
    return true;
  }

  name_arena names_;
  open_element* elements_ = nullptr;
  open_element* top_ = nullptr;  // after the innermost
  open_element* end_ = nullptr;
};

}  // namespace ruvex
