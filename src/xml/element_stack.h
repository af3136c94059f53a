// The open elements of a document: a stack on the heap, so that no nesting can exhaust the
// program's own stack.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "ruvex/xml/parser_record.h"

namespace ruvex {

// Names of open elements, given back in the reverse order. They stand in blocks that do not move,
// and blocks are kept for the names to come, so that a document costs a handful of allocations.
class name_arena {
 public:
  name_arena() noexcept = default;
  ~name_arena() { release(spare_), release(top_); }
  name_arena(const name_arena&) = delete;
  name_arena& operator=(const name_arena&) = delete;

  // A copy of `name` with a NUL behind it, valid until it is dropped; null when memory has run out.
  // `readable` bytes may be read from its start on: a short name is copied with what follows it.
  [[gnu::always_inline]] const char* push(std::string_view name, std::size_t readable) noexcept {
    const std::size_t size = name.size() + 1;
    if ((top_ == nullptr || top_->size - top_->used < size) && !add_block(size)) return nullptr;
    char* copy = characters(top_) + top_->used;
    if (name.size() <= piece && readable >= piece) {
      std::memcpy(copy, name.data(), piece);
    } else {
      std::memcpy(copy, name.data(), name.size());
    }
    copy[name.size()] = '\0';
    top_->used += size;
    return copy;
  }

  // Drops the name that was pushed last, of this length.
  void drop(std::size_t length) noexcept {
    top_->used -= length + 1;
    if (top_->used == 0 && top_->below != nullptr) keep_back();
  }

 private:
  static constexpr std::size_t piece = 16;

  // A block has room for a piece behind its size.
  struct block {
    block* below;
    std::size_t size;
    std::size_t used;
  };

  static char* characters(block* of) noexcept { return reinterpret_cast<char*>(of + 1); }

  static void release(block* from) noexcept {
    while (from != nullptr) {
      block* const below = from->below;
      std::free(from);
      from = below;
    }
  }

  // The block emptied last is kept, so that names about a block's end do not allocate each
  // time.
  [[gnu::noinline, gnu::cold]] bool add_block(std::size_t size) noexcept {
    constexpr std::size_t usual_size = 4096 - sizeof(block);
    block* added = nullptr;
    if (spare_ != nullptr && spare_->size >= size) {
      added = spare_;
      spare_ = nullptr;
    } else {
      if (size < usual_size) size = usual_size;
      added = static_cast<block*>(std::malloc(sizeof(block) + size + piece));
      if (added == nullptr) return false;
      added->size = size;
    }
    added->used = 0;
    added->below = top_;
    top_ = added;
    return true;
  }

  [[gnu::noinline, gnu::cold]] void keep_back() noexcept {
    block* const emptied = top_;
    top_ = emptied->below;
    release(spare_);
    spare_ = emptied;
    spare_->below = nullptr;
  }

  block* top_ = nullptr;
  block* spare_ = nullptr;
};

struct open_element {
  const char* name;  // in the arena
  std::size_t name_length;
  bool is_plain;  // the name stood in the document as it is, without a reference
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
  // `readable` as in name_arena.
  [[gnu::always_inline]] bool push(std::string_view name, std::size_t readable,
                                   bool is_plain) noexcept {
    if (top_ == end_ && !grow()) return false;
    const char* copy = names_.push(name, readable);
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
    void* elements = std::realloc(elements_, room * sizeof(open_element));
    if (elements == nullptr) return false;
    elements_ = static_cast<open_element*>(elements);
    top_ = elements_ + count;
    end_ = elements_ + room;
    return true;
  }

  name_arena names_;
  open_element* elements_ = nullptr;
  open_element* top_ = nullptr;  // behind the innermost
  open_element* end_ = nullptr;
};

}  // namespace ruvex
