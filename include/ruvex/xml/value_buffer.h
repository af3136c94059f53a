// A growable byte buffer: the text of the token that is being read.
//
// Buffers keep their storage and only grow, so that one buffer serves a whole document. The text is
// data[0] to data[length - 1]; a NUL is stored behind it only where a function says so.
// Invariant: 0 <= length <= size.
#pragma once

#include <cstdint>
#include <memory>

namespace ruvex {

struct SimpleXmlValueBuffer {
  char* data;           // owned
  std::int32_t size;    // capacity of `data`, in bytes
  std::int32_t length;  // bytes in use
};

// A new, empty buffer of `size` bytes (at least 1), owned by the caller; null when memory has run
// out or the size is below 1.
SimpleXmlValueBuffer* createSimpleXmlValueBuffer(std::int32_t size) noexcept;

// Releases the buffer and its storage. Null is allowed.
void destroySimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept;

struct value_buffer_delete {
  void operator()(SimpleXmlValueBuffer* buffer) const noexcept {
    destroySimpleXmlValueBuffer(buffer);
  }
};
using value_buffer_ptr = std::unique_ptr<SimpleXmlValueBuffer, value_buffer_delete>;

// The functions below return 1 when they have done their work and 0 when they could not, which is
// when `buffer` is null or memory has run out; the buffer then is as it was, except as noted.

// Empties the buffer and keeps its storage.
int clearSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept;

// Doubles the storage; the text stays. It fails too at 2^31 - 1 bytes.
int growSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept;

int appendCharToSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer, char character) noexcept;

// Appends a NUL-terminated text. On failure the bytes before the one that found no room are
// appended.
int appendStringToSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer, const char* text) noexcept;

// Stores a NUL behind the text; it does not count as text.
int zeroTerminateSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept;

// The text itself, with a NUL behind it, valid until the buffer next changes; null on failure.
char* getInternalSimpleXmlValueBufferContents(SimpleXmlValueBuffer* buffer) noexcept;

// The room that a copy of the text needs, its NUL included; 0 for a null buffer.
std::int32_t getSimpleXmlValueBufferContentLength(const SimpleXmlValueBuffer* buffer) noexcept;

// Copies the text, or as much as fits, and a NUL into `to`, which has room for `size` bytes (at
// least 1).
int getSimpleXmlValueBufferContents(const SimpleXmlValueBuffer* buffer, char* to,
                                    std::int32_t size) noexcept;

}  // namespace ruvex
