// From the bytes of a configuration document, or of a unit file, to records, to a file, and back
// again. Whatever the bytes, what is read is sound, and what is written of it reads back the same
// where no text breaks the format. A unit file is read as its units in a document are.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "memory_file.h"
#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/cfg/xml_writer.h"

namespace ruvex {
namespace {

// Calls `visit` with every setting of a record that the format carries.
template <class Record, class Rows, class Visit>
void visit_settings(const Record& record, const Rows& rows, Visit visit) {
  for (const auto& row : rows) {
    if (row.use == field_use::written) visit(row.view(record).view());
  }
}
template <class Visit>
void visit_document(const yax_cfg& doc, Visit visit) {
  visit_settings(doc, doc_attributes, visit);
  visit_settings(doc, doc_elements, visit);
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    visit_settings(*unit, unit_attributes, visit);
    if (unit->type == "MODBUS_TCP") visit(unit->ip_address.view());
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      visit_settings(*chn, chn_attributes, visit);
      visit_settings(*chn, chn_elements, visit);
    }
  }
}

// The length of a list, whose links and count are checked.
template <class Record>
void check_list(const Record* head, std::int16_t count) {
  const Record* previous = nullptr;
  std::int32_t found = 0;
  for (const Record* at = head; at != nullptr; previous = at, at = at->next, ++found) {
    require(at->prev == previous, "records are linked both ways");
  }
  require(found == count, "the count is right");
}
void check(const yax_cfg& doc) {
  check_list(doc.unit_list, doc.unit_count);
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    check_list(unit->chn_list, unit->chn_count);
  }
}

// Whether a document of these texts can be read.
bool keeps_format(const yax_cfg& doc) {
  bool keeps = true;
  visit_document(doc, [&keeps](std::string_view text) {
    if (text.find_first_of("&<>\"'") != std::string_view::npos) keeps = false;
  });
  return keeps;
}

// All that the format carries of a document, its shape included.
std::string content(const yax_cfg& doc) {
  std::string all;
  visit_document(doc, [&all](std::string_view text) { (all += text) += '\0'; });
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    all += std::to_string(unit->chn_count) + ' ';
  }
  return all;
}

std::string written(const yax_cfg& doc, const memory_file& file) {
  require(write_xml_cfg(&doc, file.path()) == 0 && xml_write_error == 0, "it is written");
  return file.content();
}

// Brings a document to what is read of it again: settings of the document that are empty are those
// by default, units of other masters and all but the first of the system points are left out.
void leave_out(yax_cfg& doc) {
  yax_cfg defaults = {};
  init_yax_cfg(&defaults);
  for (const auto& row : doc_elements) {
    if (row.view(doc).length() == 0) row.ref(doc).assign(row.view(defaults).view());
  }
  for (unit_cfg *unit = doc.unit_list, *next = nullptr; unit != nullptr; unit = next) {
    next = unit->next;
    if (unit->type == "MODBUS" || unit->type == "MODBUS_TCP") {
      if (doc.unit_list == unit) doc.unit_list = next;
      --doc.unit_count;
      del_unit_cfg(unit);
    } else if (unit->type == "VIRTUAL" && unit->address == "9") {
      while (unit->chn_count > 1) del_chn_cfg(unit, unit->chn_list->next);
    }
  }
}

// What a report says fits the result and the document.
void check(const xml_read_report& report, bool is_read, std::string_view bytes) {
  require(report.reason.empty() == is_read, "a failure has a reason, and nothing else has");
  require(is_read ? report.line == 0 && report.error == 0 : report.line >= 0, "nothing is left");
  const auto breaks = std::count_if(bytes.begin(), bytes.end(),
                                    [](char byte) { return byte == '\n' || byte == '\r'; });
  require(report.line <= breaks + 1, "there is such a line");
}

void run_document(std::string_view bytes, const memory_file& given) {
  const memory_file copy, again;
  xml_read_report report;
  const yax_cfg_ptr doc(read_xml_cfg(given.path(), &report));
  check(report, doc != nullptr, bytes);
  if (doc == nullptr) return;
  check(*doc);
  written(*doc, copy);
  const yax_cfg_ptr back(read_xml_cfg(copy.path()));
  if (back != nullptr) check(*back);
  if (!keeps_format(*doc)) return;
  require(back != nullptr, "what was written can be read");
  leave_out(*doc);
  require(content(*back) == content(*doc), "what was written reads back the same");
  require(written(*back, copy) == written(*doc, again), "it is written the same again");
}

// A document of these units, for the functions above; the units stay the list's.
yax_cfg document_of(const unit_list_ptr& units) {
  yax_cfg doc = {};
  doc.unit_list = units.get();
  for (const unit_cfg* unit = units.get(); unit != nullptr; unit = unit->next) ++doc.unit_count;
  return doc;
}

std::string written_units(const yax_cfg& doc, const memory_file& file) {
  cur_tab = 0;
  require(write_xml_unit_cfg(doc.unit_list, file.path()) == 0 && xml_write_error == 0,
          "they are written");
  return file.content();
}

// The units are read where a document of nothing else is read to its end, and are the same.
void check_beside_document(std::string_view bytes, const std::optional<unit_list_ptr>& units,
                           const xml_read_report& report) {
  const std::string whole = "<yax_cfg>" + std::string(bytes) + "</yax_cfg>";
  std::int32_t end = 0;
  const auto length = static_cast<std::int32_t>(whole.size());
  const yax_cfg_ptr doc(parse_xml_cfg(whole.data(), length, &end));
  const bool is_whole = doc != nullptr && end == length;
  if (units) {
    require(is_whole, "the units are those of a document");
    yax_cfg same = document_of(*units);
    init_yax_cfg(&same);
    require(content(*doc) == content(same), "they are the same there");
  } else if (is_whole) {
    require(report.reason.view().ends_with(" in a unit file"), "only what is no unit is refused");
  }
}

void run_units(std::string_view bytes, const memory_file& given) {
  xml_read_report report;
  const auto length = static_cast<std::int32_t>(bytes.size());
  const auto units = parse_xml_unit_cfg(bytes.data(), length, &report);
  check(report, units.has_value(), bytes);
  require(read_xml_unit_cfg(given.path()).has_value() == units.has_value(), "a file is the same");
  check_beside_document(bytes, units, report);
  if (!units) return;
  const memory_file copy, again;
  const yax_cfg doc = document_of(*units);
  check(doc);
  const std::string first = written_units(doc, copy);
  const auto back = read_xml_unit_cfg(copy.path());
  if (!keeps_format(doc)) return;
  require(back.has_value(), "units that were written can be read");
  const yax_cfg doc_back = document_of(*back);
  check(doc_back);
  require(content(doc_back) == content(doc), "units that were written read back the same");
  require(written_units(doc_back, again) == first, "units are written the same again");
}

void run(const std::uint8_t* data, std::size_t size) {
  const memory_file given;
  given.write(data, size);
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  run_document(bytes, given);
  run_units(bytes, given);
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Refused documents are reported on the stream; the sanitizers write to its descriptor.
  static const bool quiet = (stderr = std::fopen("/dev/null", "w")) != nullptr;
  if (quiet) ruvex::run(data, size);
  return 0;
}
