#include "ruvex/cfg/xml_reader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/xml/parser.h"

namespace ruvex {

char yax_xml_parse_error[128] = {};

namespace {

constexpr std::int32_t no_tag = -1;                       // before the document element
constexpr std::int32_t unknown_tag = int{tag_count} + 1;  // of an element whose name is no tag

constexpr std::int32_t tag_doc = tag("yax_cfg");
constexpr std::int32_t tag_unit = tag("unit_cfg");
constexpr std::int32_t tag_chn = tag("chn_cfg");

// One read. The document element has place 0 of the stack. Known elements need four places, so what
// is deeper than the stack is unknown and only counted: no document can overrun it.
struct reader_state {
  yax_cfg* cfg_ptr = nullptr;
  std::int32_t cur_tag = no_tag;
  std::int32_t cur_idx = 0;
  std::array<std::int32_t, 8> tag_val = {};
  unit_cfg* cur_unit = nullptr;
  chn_cfg* cur_chn = nullptr;
  std::size_t next_row = 0;  // of chn_elements: the one that is due in a written document
  char reason[128] = {};
};

// The row of a table that has this tag; null when none has.
template <const auto& Rows>
constexpr auto* find_row(std::int32_t tag) noexcept {
  const auto is_wanted = [tag](const auto& row) { return row.tag == tag; };
  const auto* row = std::find_if(Rows.data(), Rows.data() + Rows.size(), is_wanted);
  return row == Rows.data() + Rows.size() ? nullptr : row;
}

[[gnu::format(printf, 3, 4)]] void abort_read(SimpleXmlParser* parser, reader_state& state,
                                              const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(state.reason, sizeof state.reason, format, arguments);
  va_end(arguments);
  simpleXmlParseAbort(parser, SIMPLE_XML_USER_ABORT);
}

const char* text_of(std::int32_t tag) noexcept {
  if (tag == unknown_tag) return "an unknown element";
  return tag == no_tag ? "this place" : tag_text(tag);
}

void push(reader_state& state, std::int32_t tag) noexcept {
  ++state.cur_idx;
  if (static_cast<std::size_t>(state.cur_idx) < state.tag_val.size()) {
    state.tag_val[static_cast<std::size_t>(state.cur_idx)] = tag;
  }
  state.cur_tag = tag;
}

// start_element does not push the document element yax_cfg: below it the read is where it began.
void pop(reader_state& state) noexcept {
  if (state.cur_idx == 0) {
    state.cur_tag = no_tag;
    return;
  }
  --state.cur_idx;
  const auto place = static_cast<std::size_t>(state.cur_idx);
  state.cur_tag = place < state.tag_val.size() ? state.tag_val[place] : unknown_tag;
}

// Makes a record the last one of a list.
template <class Record>
void append(SimpleXmlParser* parser, reader_state& state, Record*& head, Record*& last,
            std::int16_t& count) {
  if (count == max_list_count) {
    return abort_read(parser, state, "more than %d records in one list", int{max_list_count});
  }
  Record* record = make_record<Record>().release();
  if (record == nullptr) return abort_read(parser, state, "out of memory");
  if (head == nullptr) {
    head = record;
  } else {
    record->prev = last;
    last->next = record;
  }
  last = record;
  ++count;
}

bool is_allowed(std::int32_t parent, std::int32_t tag) noexcept {
  switch (parent) {
    case no_tag:
      return tag == tag_doc;
    case tag_doc:
      return tag == tag_unit || find_row<doc_elements>(tag) != nullptr;
    case tag_unit:
      return tag == tag_chn;
    case tag_chn:
      return find_row<chn_elements>(tag) != nullptr;
    default:
      return false;
  }
}

// Elements of a channel usually come in the order in which they are written: one comparison then
// finds the element, without a search. Otherwise a read takes 45 % (units of one channel) to 55 %
// (units of a hundred) more instructions.
bool start_due_element(reader_state& state, const char* name) noexcept {
  if (state.cur_tag != tag_chn || state.next_row == written_chn_elements.size()) return false;
  const std::int32_t due = written_chn_elements[state.next_row].tag;
  if (std::strcmp(name, text_of(due)) != 0) return false;
  ++state.next_row;
  push(state, due);
  return true;
}

void start_element(SimpleXmlParser* parser, reader_state& state, const char* name) {
  if (start_due_element(state, name)) return;
  const std::int32_t tag = find_tag(name);
  if (tag < 0) return push(state, unknown_tag);
  if (!is_allowed(state.cur_tag, tag)) {
    return abort_read(parser, state, "%s is not allowed in %s", name, text_of(state.cur_tag));
  }
  if (tag == tag_doc) {
    state.cur_tag = tag_doc;
    return;
  }
  if (tag == tag_unit) {
    append(parser, state, state.cfg_ptr->unit_list, state.cur_unit, state.cfg_ptr->unit_count);
  } else if (tag == tag_chn) {
    append(parser, state, state.cur_unit->chn_list, state.cur_chn, state.cur_unit->chn_count);
    state.next_row = 0;
  }
  push(state, tag);
}

template <class Record>
void store(SimpleXmlParser* parser, reader_state& state, const field<Record>* row, Record& record,
           std::string_view value) {
  if (row == nullptr || row->ref(record).assign(value)) return;
  const std::size_t longest = row->view(record).capacity() - 1;
  if (value.size() <= longest) {
    return abort_read(parser, state, "value of %s holds a NUL byte", text_of(row->tag));
  }
  abort_read(parser, state, "value of %s is longer than %zu characters", text_of(row->tag),
             longest);
}

void store_attribute(SimpleXmlParser* parser, reader_state& state, const char* name,
                     std::string_view value) {
  const std::int32_t tag = state.cur_tag == unknown_tag ? no_tag : find_tag(name);
  if (tag < 0) return;
  if (state.cur_tag == tag_doc) {
    store(parser, state, find_row<doc_attributes>(tag), *state.cfg_ptr, value);
  } else if (state.cur_tag == tag_unit) {
    store(parser, state, find_row<unit_attributes>(tag), *state.cur_unit, value);
  } else if (state.cur_tag == tag_chn) {
    store(parser, state, find_row<chn_attributes>(tag), *state.cur_chn, value);
  }
}

// The text of a setting. Text between the structural elements is their indentation and is ignored.
void store_content(SimpleXmlParser* parser, reader_state& state, std::string_view value) {
  const std::int32_t tag = state.cur_tag;
  if (tag == unknown_tag || tag == tag_doc || tag == tag_unit || tag == tag_chn) return;
  const std::int32_t parent = state.tag_val[static_cast<std::size_t>(state.cur_idx) - 1];
  if (parent == tag_doc) {
    store(parser, state, find_row<doc_elements>(tag), *state.cfg_ptr, value);
  } else {
    store(parser, state, find_row<chn_elements>(tag), *state.cur_chn, value);
  }
}

struct free_delete {
  void operator()(char* bytes) const noexcept { std::free(bytes); }
};

struct file_content {
  std::unique_ptr<char, free_delete> bytes;
  std::int32_t length = 0;
};

// A large document is read into huge pages, where the system has them. In small ones, reading 20 MB
// takes 1.4 times the processor time.
char* allocate(std::size_t size) noexcept {
  constexpr std::size_t huge_page = std::size_t{2} << 20;
  if (size < 2 * huge_page) return static_cast<char*>(std::malloc(size));
  void* bytes = std::aligned_alloc(huge_page, (size + huge_page - 1) / huge_page * huge_page);
  if (bytes != nullptr) ::madvise(bytes, size, MADV_HUGEPAGE);
  return static_cast<char*>(bytes);
}

// A file that is shorter than its size said is refused: a part of a document is no document.
bool read_exactly(int descriptor, char* to, std::size_t count) noexcept {
  while (count > 0) {
    const ssize_t got = ::read(descriptor, to, count);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    to += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

// The whole file; no bytes when it cannot be had.
file_content read_file(const char* path) noexcept {
  struct stat status;
  if (::stat(path, &status) != 0 || status.st_size < 1 ||
      status.st_size > std::numeric_limits<std::int32_t>::max()) {
    return {};
  }
  const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return {};
  const auto size = static_cast<std::size_t>(status.st_size);
  file_content content = {std::unique_ptr<char, free_delete>(allocate(size)),
                          static_cast<std::int32_t>(size)};
  if (content.bytes != nullptr && !read_exactly(descriptor, content.bytes.get(), size)) {
    content.bytes.reset();
  }
  ::close(descriptor);
  return content;
}

void report(SimpleXmlParser* parser, const reader_state& state) noexcept {
  const char* reason = simpleXmlGetErrorDescription(parser);
  if (parser->error >= SIMPLE_XML_USER_ABORT) {  // the reader's own refusal
    reason = yax_xml_parse_error[0] != '\0' ? yax_xml_parse_error : state.reason;
  }
  constexpr int longest = sizeof yax_xml_parse_error - 1;
  std::fprintf(stderr, "XML PARSE ERROR \"%.*s\" on line %d\r\n", longest, reason,
               simpleXmlGetLineNumber(parser));
}

}  // namespace

SimpleXmlTagHandler handler(SimpleXmlParser* parser, std::int32_t event, const char* name,
                            const char* attribute_name, const char* value) {
  auto& state = *static_cast<reader_state*>(simpleXmlGetUserData(parser));
  const auto text = [&] {
    return std::string_view(value, static_cast<std::size_t>(parser->valueLength));
  };
  switch (event) {
    case SIMPLE_XML_EVENT_SUBTAG_START:
      start_element(parser, state, name);
      break;
    case SIMPLE_XML_EVENT_ATTRIBUTE:
      store_attribute(parser, state, attribute_name, text());
      break;
    case SIMPLE_XML_EVENT_CONTENT:
      store_content(parser, state, text());
      break;
    case SIMPLE_XML_EVENT_TAG_END:
      pop(state);
      break;
    default:
      break;
  }
  return handler;
}

yax_cfg* parse_xml_cfg(const char* document, std::int32_t length, std::int32_t* end) noexcept {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) return nullptr;
  init_yax_cfg(doc.get());
  const xml_parser_ptr parser(simpleXmlCreateParser(document, length));
  reader_state state;
  state.cfg_ptr = doc.get();
  if (parser == nullptr || simpleXmlPushUserData(parser.get(), &state) == 0) return nullptr;
  if (simpleXmlParse(parser.get(), handler) != SIMPLE_XML_NO_ERROR) {
    report(parser.get(), state);
    return nullptr;
  }
  if (end != nullptr) *end = parser->inputPosition;
  return doc.release();
}

yax_cfg* read_xml_cfg(const char* path) noexcept {
  const file_content content = read_file(path);
  if (content.bytes == nullptr) return nullptr;
  return parse_xml_cfg(content.bytes.get(), content.length);
}

}  // namespace ruvex
