#include "ruvex/cfg/xml_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "file_content.h"
#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/xml/parser.h"

namespace ruvex {

char yax_xml_parse_error[128] = {};

namespace {

constexpr std::int32_t no_tag = -1;                       // outside of every element
constexpr std::int32_t unknown_tag = int{tag_count} + 1;  // of an element whose name is no tag

constexpr std::int32_t tag_doc = tag("yax_cfg");
constexpr std::int32_t tag_unit = tag("unit_cfg");
constexpr std::int32_t tag_chn = tag("chn_cfg");

// What a reader takes.
struct document_form {
  std::int32_t root;    // the element that is wanted outside of all others
  const char* outside;  // what a refusal calls that place
  const char* no_root;  // the reason when no element stands there; null: the parser's own
  std::int32_t (*parse)(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept;
};
constexpr document_form whole_document = {tag_doc, "this place", nullptr, simpleXmlParse};
constexpr document_form unit_file = {
    tag_unit, "a unit file", "only unit_cfg is allowed in a unit file", simpleXmlParseSequence};

// One read. Place 0 of the stack is the document element yax_cfg; in a unit file it is what is
// outside of the units. Known elements need four places, so what is deeper than the stack is
// unknown and only counted: no document can overrun it.
struct reader_state {
  const document_form* form = nullptr;
  yax_cfg* cfg_ptr = nullptr;
  std::int32_t cur_tag = no_tag;
  std::int32_t cur_idx = 0;
  std::array<std::int32_t, 8> tag_val = {no_tag};
  unit_cfg* cur_unit = nullptr;
  chn_cfg* cur_chn = nullptr;
  std::size_t next_row = 0;  // of chn_elements: the one that is due in a written document
  bool is_other_root = false;
  char reason[128] = {};
  int error = 0;
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
  return tag == unknown_tag ? "an unknown element" : tag_text(tag);
}

const char* place_of(const reader_state& state) noexcept {
  return state.cur_tag == no_tag ? state.form->outside : text_of(state.cur_tag);
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
  if (record == nullptr) {
    state.error = ENOMEM;
    return abort_read(parser, state, "out of memory");
  }
  if (head == nullptr) {
    head = record;
  } else {
    record->prev = last;
    last->next = record;
  }
  last = record;
  ++count;
}

// An element whose name is no tag is ignored, the document element too. Between units it would be
// the content of another file.
bool is_allowed(const reader_state& state, std::int32_t tag) noexcept {
  if (tag == unknown_tag) return state.cur_tag != no_tag || state.form == &whole_document;
  switch (state.cur_tag) {
    case no_tag:
      return tag == state.form->root;
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
  const std::int32_t found = find_tag(name);
  const std::int32_t tag = found < 0 ? unknown_tag : found;
  if (state.cur_tag == no_tag && tag != state.form->root) state.is_other_root = true;
  if (!is_allowed(state, tag)) {
    return abort_read(parser, state, "%s is not allowed in %s", text_of(tag), place_of(state));
  }
  if (tag == tag_doc) {
    state.cur_tag = state.tag_val[0] = tag_doc;
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

void reset(xml_read_report* report) noexcept {
  if (report != nullptr) *report = {.prints = report->prints};
}

void tell(xml_read_report* report, std::string_view reason, std::int32_t line, int error) noexcept {
  if (report == nullptr) return;
  static_cast<void>(report->reason.assign(reason));  // none is longer
  report->line = line;
  report->error = error;
}

// Prints and tells why a parse has failed.
void refuse(SimpleXmlParser* parser, const reader_state& state, xml_read_report* report) noexcept {
  const char* reason = simpleXmlGetErrorDescription(parser);
  if (parser->error >= SIMPLE_XML_USER_ABORT) {  // the reader's own refusal
    reason = yax_xml_parse_error[0] != '\0' ? yax_xml_parse_error : state.reason;
  } else if (parser->error == SIMPLE_XML_NO_DOCUMENT_TAG && state.form->no_root != nullptr) {
    reason = state.form->no_root;
  }
  const std::string_view shown(reason, ::strnlen(reason, sizeof yax_xml_parse_error - 1));
  const std::int32_t line = simpleXmlGetLineNumber(parser);
  if (report == nullptr || report->prints) {
    std::fprintf(stderr, "XML PARSE ERROR \"%.*s\" on line %d\r\n", static_cast<int>(shown.size()),
                 shown.data(), line);
  }
  tell(report, shown, line, parser->error == SIMPLE_XML_OUT_OF_MEMORY ? ENOMEM : state.error);
}

// Reads into a new document. The bytes up to where reading ended go to `end`; null after a failure,
// which has been told.
yax_cfg_ptr parse(const document_form& form, const char* bytes, std::int32_t length,
                  std::int32_t* end, xml_read_report* report) noexcept {
  reset(report);
  if (bytes == nullptr || length < 1) {
    tell(report, "the document is empty", 0, 0);
    return nullptr;
  }
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  const xml_parser_ptr parser(simpleXmlCreateParser(bytes, length));
  reader_state state = {.form = &form, .cfg_ptr = doc.get()};
  if (doc == nullptr || parser == nullptr || simpleXmlPushUserData(parser.get(), &state) == 0) {
    tell(report, "out of memory", 0, ENOMEM);
    return nullptr;
  }
  init_yax_cfg(doc.get());
  const std::int32_t error = form.parse(parser.get(), handler);
  if (report != nullptr) report->is_other_root = state.is_other_root;
  if (error != SIMPLE_XML_NO_ERROR) {
    refuse(parser.get(), state, report);
    return nullptr;
  }
  if (end != nullptr) *end = parser->inputPosition;
  return doc;
}

// False, which has been told, when the file cannot be read.
bool is_read(const file_content& content, xml_read_report* report) noexcept {
  reset(report);
  if (content.failure == nullptr) return true;
  tell(report, content.failure, 0, content.error);
  return false;
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

yax_cfg* parse_xml_cfg(const char* document, std::int32_t length, std::int32_t* end,
                       xml_read_report* report) noexcept {
  return parse(whole_document, document, length, end, report).release();
}

yax_cfg* read_xml_cfg(const char* path, xml_read_report* report) noexcept {
  const file_content content = read_file(path);
  if (!is_read(content, report)) return nullptr;
  return parse_xml_cfg(content.bytes.get(), content.length, nullptr, report);
}

std::optional<unit_list_ptr> parse_xml_unit_cfg(const char* units, std::int32_t length,
                                                xml_read_report* report) noexcept {
  if (length == 0) {
    reset(report);
    return unit_list_ptr();
  }
  const yax_cfg_ptr owner = parse(unit_file, units, length, nullptr, report);
  if (owner == nullptr) return std::nullopt;
  return unit_list_ptr(std::exchange(owner->unit_list, nullptr));
}

std::optional<unit_list_ptr> read_xml_unit_cfg(const char* path, xml_read_report* report) noexcept {
  const file_content content = read_file(path);
  if (!is_read(content, report)) return std::nullopt;
  if (content.goes_on) {
    tell(report, "the file is longer than its size", 0, 0);
    return std::nullopt;
  }
  return parse_xml_unit_cfg(content.bytes.get(), content.length, report);
}

}  // namespace ruvex
