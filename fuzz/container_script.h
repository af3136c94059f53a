// A script of bytes drives a container and, beside it, a plain model of it. After every step the
// result, the fields and the whole content must be the model's.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "ruvex/util/buf.h"
#include "ruvex/util/oar.h"
#include "ruvex/util/sar.h"
#include "ruvex/util/str.h"
#include "ruvex/util/vec.h"

namespace ruvex {

template <class Content>
int length(const Content& content) {
  return static_cast<int>(content.size());
}

struct str_model {
  int size;
  std::string text = {};

  int put(int kept, const std::string& added) {
    const int len = kept + length(added), grown = len < size ? size : (len + 1) / 16 * 16 + 16;
    if (grown > INT16_MAX) return -1;
    size = grown;
    text = text.substr(0, kept) + added;
    return len;
  }
};

struct sar_model {
  int size;
  bool unique;
  int used = 0;
  std::vector<std::string> texts = {};

  bool use(int now, int count) {
    int grown = size;
    while (grown <= now + 2 * count) grown += 256;
    if (grown > UINT16_MAX) return false;
    size = grown;
    used = now;
    return true;
  }
  int add(const std::string& text) {
    const auto equal = std::find(texts.begin(), texts.end(), text);
    if (unique && equal != texts.end()) return static_cast<int>(equal - texts.begin());
    if (!use(used + length(text) + 1, length(texts) + 1)) return -1;
    texts.push_back(text);
    return length(texts) - 1;
  }
  int set(int i, const std::string& text) {
    if (i < 0 || i >= length(texts)) return -1;
    const int added = std::max(0, length(text) - length(texts[i]));
    if (added > 0 && !use(used + added, length(texts))) return -1;
    texts[i] = text;
    return i;
  }
};

struct buf_model {
  std::string held = {}, written = {};

  int add(const std::string& text, int most, bool flows) {
    if (length(held + text) > most) {
      if (!flows) return -1;
      flush();
      if (length(text) > most) return written += text, 0;
    }
    held += text;
    return length(held);
  }
  int flush() {
    const int count = length(held);
    written += held;
    held.clear();
    return count;
  }
};

class container_script {
 public:
  explicit container_script(std::string_view bytes) : left_(bytes) {}

  // Runs the script to its end; what went wrong first, or an empty text.
  std::string run() {
    void (container_script::*const families[])() = {&container_script::str, &container_script::vec,
                                                    &container_script::oar, &container_script::sar,
                                                    &container_script::buf};
    (this->*families[next() % std::size(families)])();
    return fault_;
  }

 private:
  bool goes_on() const { return !left_.empty() && fault_.empty(); }
  int next() {
    if (left_.empty()) return 0;
    const int byte = static_cast<unsigned char>(left_.front());
    left_.remove_prefix(1);
    return byte;
  }
  int below(int count) {
    const int high = next();
    return (high << 8 | next()) % count;
  }
  int around(int count) { return below(count + 2) - 1; }  // -1 to `count`
  // Mostly short ones, of which some are equal; a few long ones.
  std::string text() {
    const int shape = next(), start = next() % 4;
    std::string made(shape < 248 ? shape % 32 : (shape - 247) * 2100, '?');
    for (int at = 0; at < length(made); ++at) made[at] = static_cast<char>('a' + (start + at) % 23);
    return made;
  }
  // Sometimes the end of `own`, which stands in the container.
  const char* source(std::string& text, const char* own) {
    if (own == nullptr || next() < 160) return text.c_str();
    own += below(static_cast<int>(std::strlen(own)) + 1);
    text = own;
    return own;
  }
  void check(bool holds, const char* what) {
    if (holds || !fault_.empty()) return;
    fault_ = std::string(what) + ", " + std::to_string(left_.size()) + " bytes before the end";
  }

  void str() {
    str_model model = {next()};
    const str_ptr str(strNewN(model.size));
    while (goes_on()) {
      const int step = next() % 8;
      std::string added = text();
      const char* const from = source(added, str->text);
      Str cut = {0, static_cast<std::int16_t>(length(added) / 2), added.data()};
      if (step == 0) {
        strReset(str.get());
        model.text.clear();
      } else if (step == 1) {
        const int result = strAddS(str.get(), &cut);
        check(result == model.put(length(model.text), added.substr(0, cut.len)), "strAddS");
      } else if (step < 4) {
        check(strSetText(str.get(), from) == model.put(0, added), "strSetText");
      } else {
        check(strAdd(str.get(), from) == model.put(length(model.text), added), "strAdd");
      }
      check(str->size == model.size && str->len == length(model.text), "Str");
      const char* const content = strGetText(str.get());
      check(content == nullptr ? model.size == 0 : content == model.text, "strGetText");
    }
  }

  void vec() {
    int size = next();
    const vec_ptr vec(vecNew(size));
    std::vector<std::int32_t> model;
    size = size == 0 ? 16 : size;
    while (goes_on()) {
      const int step = next();
      for (int at = 0; at < step % 40; ++at) {
        const std::int32_t value = step << 20 ^ at;
        const bool full = length(model) == size && size + 16 > UINT16_MAX;
        check(vecAdd(vec.get(), value) == (full ? -1 : length(model)), "vecAdd");
        if (full) break;
        if (length(model) == size) size += 16;
        model.push_back(value);
      }
      const std::int32_t* const items = vec->items;
      check(std::equal(items, items + vec->count, model.begin(), model.end()), "Vec");
      const int i = around(length(model));
      check(vecGet(vec.get(), i) == (i < 0 || i >= length(model) ? 0 : model[i]), "vecGet");
      if (step == 0) {
        vecReset(vec.get());
        model.clear();
      }
      check(vec->size == size && vec->count == length(model), "Vec");
    }
  }

  void oar() {
    int size = next();
    const int item_size = next() % 40 + 1, stride = (item_size + 3) / 4 * 4;
    const oar_ptr oar(oarNew(size, item_size));
    std::vector<std::string> model;
    size = size == 0 ? 16 : size;
    while (goes_on()) {
      std::string item = text();
      item.resize(item_size, '!');
      const int i = around(length(model));
      const void* const own = oarGet(oar.get(), i);
      check((own == nullptr) == (i < 0 || i >= length(model)), "oarGet");
      if (own != nullptr) item = model[i];
      if (length(model) == size) size += 16;
      check(oarAdd(oar.get(), own == nullptr ? item.data() : own) == length(model), "oarAdd");
      model.push_back(item);
      if (next() == 0) {
        oarReset(oar.get());
        model.clear();
      }
      check(oar->size == size && oar->count == length(model), "Oar");
      for (int at = 0; at < length(model); ++at)
        check(std::memcmp(oar->items + at * stride, model[at].data(), item_size) == 0, "item");
    }
  }

  void sar() {
    const int size = next();
    sar_model model = {size == 0 ? 256 : size, next() % 2 != 0};
    const sar_ptr sar(sarNew(size, model.unique));
    while (goes_on()) {
      const int step = next(), i = around(length(model.texts));
      std::string given = text();
      const char* const from = source(given, sarGet(sar.get(), around(length(model.texts))));
      if (step % 3 == 0) check(sarSet(sar.get(), i, from) == model.set(i, given), "sarSet");
      if (step % 3 != 0) check(sarAdd(sar.get(), from) == model.add(given), "sarAdd");
      if (step == 1) {
        sarReset(sar.get());
        model.texts.clear();
        model.used = 0;
      }
      check(sar->size == model.size && sar->used == model.used, "Sar");
      check(sar->count == length(model.texts), "count");
      for (int at = 0; at < length(model.texts); ++at)
        check(sarGet(sar.get(), at) == model.texts[at], "sarGet");
    }
  }

  void buf() {
    char* written = nullptr;
    std::size_t count = 0;
    std::FILE* const stream = ::open_memstream(&written, &count);
    const buf_ptr buf(bufNew(next() % 40));
    buf->trap = 0;
    buf_model model;
    while (goes_on()) {
      const int step = next() % 8;
      const bool flows = next() % 2 != 0;
      std::string given = text();
      const char* const from = source(given, buf->data);
      buf->stream = flows ? stream : nullptr;
      if (step == 0) {
        check(bufClr(buf.get()) == 0, "bufClr");
        model.held.clear();
      } else if (step == 1) {
        check(bufFlush(buf.get()) == (flows ? model.flush() : 0), "bufFlush");
      } else if (step < 5) {
        check(bufAddC(buf.get(), 'c') == model.add("c", buf->size, flows), "bufAddC");
      } else {
        if (!flows) model.held.clear();
        check(bufAdd(buf.get(), from) == model.add(given, buf->size - 1, flows), "bufAdd");
      }
      std::fflush(stream);
      check(buf->len == length(model.held) && buf->data == model.held, "Buf");
      check(bufGet(buf.get()) == (flows ? "" : model.held), "bufGet");
      check(std::string_view(written, count) == model.written, "stream");
    }
    std::fclose(stream);
    std::free(written);
  }

  std::string_view left_;
  std::string fault_;
};

}  // namespace ruvex
