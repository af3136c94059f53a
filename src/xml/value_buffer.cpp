#include "ruvex/xml/value_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "buffer_bytes.h"

namespace ruvex {
namespace {

constexpr std::int32_t largest_size = std::numeric_limits<std::int32_t>::max();

bool make_room(SimpleXmlValueBuffer& buffer, std::size_t count) noexcept {
  while (static_cast<std::size_t>(buffer.size - buffer.length) < count) {
    if (growSimpleXmlValueBuffer(&buffer) == 0) return false;
  }
  return true;
}

}  // namespace

bool append_bytes(SimpleXmlValueBuffer* buffer, std::string_view bytes) noexcept {
  if (buffer == nullptr || !make_room(*buffer, bytes.size())) return false;
  std::memcpy(buffer->data + buffer->length, bytes.data(), bytes.size());
  buffer->length += static_cast<std::int32_t>(bytes.size());
  return true;
}

SimpleXmlValueBuffer* createSimpleXmlValueBuffer(std::int32_t size) noexcept {
  if (size < 1) return nullptr;
  auto* buffer = static_cast<SimpleXmlValueBuffer*>(std::calloc(1, sizeof(SimpleXmlValueBuffer)));
  if (buffer == nullptr) return nullptr;
  buffer->data = static_cast<char*>(std::malloc(static_cast<std::size_t>(size)));
  if (buffer->data == nullptr) {
    std::free(buffer);
    return nullptr;
  }
  buffer->size = size;
  return buffer;
}

void destroySimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept {
  if (buffer == nullptr) return;
  std::free(buffer->data);
  std::free(buffer);
}

int clearSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept {
  if (buffer == nullptr) return 0;
  buffer->length = 0;
  return 1;
}

int growSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept {
  if (buffer == nullptr || buffer->size == largest_size) return 0;
  const std::int32_t size = buffer->size > largest_size / 2 ? largest_size : buffer->size * 2;
  void* data = std::realloc(buffer->data, static_cast<std::size_t>(size));
  if (data == nullptr) return 0;
  buffer->data = static_cast<char*>(data);
  buffer->size = size;
  return 1;
}

int appendCharToSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer, char character) noexcept {
  return append_bytes(buffer, {&character, 1}) ? 1 : 0;
}

int appendStringToSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer, const char* text) noexcept {
  for (; *text != '\0'; ++text) {
    if (appendCharToSimpleXmlValueBuffer(buffer, *text) == 0) return 0;
  }
  return 1;
}

int zeroTerminateSimpleXmlValueBuffer(SimpleXmlValueBuffer* buffer) noexcept {
  if (buffer == nullptr || !make_room(*buffer, 1)) return 0;
  buffer->data[buffer->length] = '\0';
  return 1;
}

char* getInternalSimpleXmlValueBufferContents(SimpleXmlValueBuffer* buffer) noexcept {
  return zeroTerminateSimpleXmlValueBuffer(buffer) == 0 ? nullptr : buffer->data;
}

std::int32_t getSimpleXmlValueBufferContentLength(const SimpleXmlValueBuffer* buffer) noexcept {
  return buffer == nullptr ? 0 : buffer->length + 1;
}

int getSimpleXmlValueBufferContents(const SimpleXmlValueBuffer* buffer, char* to,
                                    std::int32_t size) noexcept {
  if (buffer == nullptr || size < 1) return 0;
  const std::int32_t count = std::min(size - 1, buffer->length);
  std::memcpy(to, buffer->data, static_cast<std::size_t>(count));
  to[count] = '\0';
  return 1;
}

}  // namespace ruvex
