// One XML job by one library, for bench/compare: the processor time of REPEAT runs of it, in
// seconds, goes to standard output. A job is counting a document's SAX events, or reading a
// configuration document into records.
//
//   xml_peers JOB FILE REPEAT

#include <expat.h>
#include <libxml/parser.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <pugixml.hpp>
#include <string>

#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/xml/parser.h"

namespace {

using namespace ruvex;

struct counts {
  std::size_t elements = 0;
  std::size_t text_bytes = 0;
};

counts counted;

SimpleXmlTagHandler count_event(SimpleXmlParser*, std::int32_t event, const char*, const char*,
                                const char* value) {
  if (event == SIMPLE_XML_EVENT_SUBTAG_START) ++counted.elements;
  if (event == SIMPLE_XML_EVENT_CONTENT) counted.text_bytes += value[0] != '\0';
  return count_event;
}

bool parse_ruvex(const char*, const std::string& document) {
  const xml_parser_ptr parser(
      simpleXmlCreateParser(document.data(), static_cast<std::int32_t>(document.size())));
  return simpleXmlParse(parser.get(), count_event) == 0;
}

bool parse_expat(const char*, const std::string& document) {
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetElementHandler(
      parser, [](void*, const XML_Char*, const XML_Char**) { ++counted.elements; },
      [](void*, const XML_Char*) {});
  XML_SetCharacterDataHandler(
      parser, [](void*, const XML_Char* text, int) { counted.text_bytes += text[0] != '\0'; });
  const bool parsed = XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) != 0;
  XML_ParserFree(parser);
  return parsed;
}

bool parse_libxml2(const char*, const std::string& document) {
  xmlSAXHandler handlers = {};
  handlers.startElement = [](void*, const xmlChar*, const xmlChar**) { ++counted.elements; };
  handlers.endElement = [](void*, const xmlChar*) {};
  handlers.characters = [](void*, const xmlChar* text, int) {
    counted.text_bytes += text[0] != '\0';
  };
  handlers.ignorableWhitespace = handlers.characters;
  return xmlSAXUserParseMemory(&handlers, nullptr, document.data(),
                               static_cast<int>(document.size())) == 0;
}

template <const auto& Rows, class Record>
bool store(Record& record, const char* name, const char* text) {
  const std::int32_t tag = find_tag(name);
  for (const auto& row : Rows) {
    if (row.tag == tag) return row.ref(record).assign(text);
  }
  return true;
}

template <const auto& Rows, class Record>
bool store_attributes(Record& record, const pugi::xml_node& node) {
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    if (!store<Rows>(record, attribute.name(), attribute.value())) return false;
  }
  return true;
}

chn_cfg* read_channel(unit_cfg& unit, chn_cfg* last, const pugi::xml_node& node) {
  chn_cfg* chn = make_record<chn_cfg>().release();
  chn->prev = last;
  (last != nullptr ? last->next : unit.chn_list) = chn;
  ++unit.chn_count;
  store_attributes<chn_attributes>(*chn, node);
  for (const pugi::xml_node& child : node.children()) {
    if (!store<chn_elements>(*chn, child.name(), child.text().get())) return nullptr;
  }
  return chn;
}

// The same job as read_xml_cfg: read the file, parse it, walk the tree, copy into the same records,
// with the same look-up of names.
bool read_pugixml(const char* path, const std::string&) {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  init_yax_cfg(doc.get());
  pugi::xml_document tree;
  if (!tree.load_file(path)) return false;
  const pugi::xml_node root = tree.child("yax_cfg");
  store_attributes<doc_attributes>(*doc, root);
  unit_cfg* last_unit = nullptr;
  for (const pugi::xml_node& node : root.children()) {
    if (std::strcmp(node.name(), "unit_cfg") != 0) {
      store<doc_elements>(*doc, node.name(), node.text().get());
      continue;
    }
    unit_cfg* unit = make_record<unit_cfg>().release();
    unit->prev = last_unit;
    (last_unit != nullptr ? last_unit->next : doc->unit_list) = unit;
    last_unit = unit;
    ++doc->unit_count;
    store_attributes<unit_attributes>(*unit, node);
    chn_cfg* last = nullptr;
    for (const pugi::xml_node& channel : node.children()) {
      last = read_channel(*unit, last, channel);
      if (last == nullptr) return false;
    }
  }
  return true;
}

bool read_ruvex(const char* path, const std::string&) {
  return yax_cfg_ptr(read_xml_cfg(path)) != nullptr;
}

constexpr struct {
  const char* name;
  bool (*run)(const char* path, const std::string& document);
} jobs[] = {
    {"parse-ruvex", parse_ruvex}, {"parse-expat", parse_expat},   {"parse-libxml2", parse_libxml2},
    {"read-ruvex", read_ruvex},   {"read-pugixml", read_pugixml},
};

double processor_seconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  std::ifstream file(argv[2], std::ios::binary | std::ios::ate);
  std::string document(static_cast<std::size_t>(file.tellg()), '\0');
  file.seekg(0).read(document.data(), static_cast<std::streamsize>(document.size()));
  for (const auto& job : jobs) {
    if (std::strcmp(job.name, argv[1]) != 0) continue;
    const double start = processor_seconds();
    for (int left = std::atoi(argv[3]); left > 0; --left) {
      if (!job.run(argv[2], document)) {
        std::fprintf(stderr, "%s: the document is refused\n", job.name);
        return 1;
      }
    }
    std::printf("%.6f\n", processor_seconds() - start);
    return 0;
  }
  return 2;
}
