#include "html_page.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "html/markup.h"
#include "html/page_frame.h"
#include "html/register_picture.h"
#include "html_rows.h"
#include "point_findings.h"

namespace ruvex {
namespace {

constexpr std::string_view unit_anchor = "u";

constexpr legend_entry legend[] = {
    {"u", "unsigned"},
    {"s", "signed"},
    {"f", "floating point"},
    {"m", "bits of a register"},
    {"b", "coil or discrete input"},
    {"x", "used more than once"},
};

class page {
 public:
  page(const loaded_file& file, const file_source& source, output& out)
      : doc_(*file.doc), findings_(source), is_checked_(!source.content.empty()), out_(out) {}

  void print(std::string_view name) {
    append_page_start(text_, name, {});
    sums();
    list_others();
    overview();
    std::size_t number = 0;
    std::size_t first = 0;
    for (const unit_cfg* each = doc_.unit_list; each != nullptr; each = each->next) {
      print_unit(*each, number++, first);
    }
    text_ += page_end;
    put();
  }

 private:
  void put() {
    out_.put(text_);
    text_.clear();
  }

  void sums() {
    std::size_t points = 0;
    std::size_t units = 0;
    for (const unit_cfg* each = doc_.unit_list; each != nullptr; each = each->next, ++units) {
      points += count_points(*each);
    }
    text_ += "<p class=\"sums\">";
    append_count(text_, points, "point");
    text_ += " in ";
    append_count(text_, units, "unit");
    if (is_checked_) {
      text_ += "; check finds ";
      append_count(text_, findings_.count(severity::error), "error");
      text_ += " and ";
      append_count(text_, findings_.count(severity::warning), "warning");
    }
    text_ += "</p>\n";
  }

  void list_others() {
    if (findings_.others().empty()) return;
    text_ += "<ul class=\"found\">\n";
    for (const finding& found : findings_.others()) {
      append_told(text_, found);
      text_ += '\n';
      put();
    }
    text_ += "</ul>\n";
  }

  static std::size_t count_points(const unit_cfg& unit) noexcept {
    std::size_t sum = 0;
    for (const chn_cfg* chn = unit.chn_list; chn != nullptr; chn = chn->next) ++sum;
    return sum;
  }

  // `first` is the number of the unit's first point.
  std::size_t count_findings(const unit_cfg& unit, std::size_t first) const noexcept {
    std::size_t sum = 0;
    for (const chn_cfg* chn = unit.chn_list; chn != nullptr; chn = chn->next) {
      sum += findings_.of_point(*chn, first++).size();
    }
    return sum;
  }

  void overview() {
    text_ += "<ul class=\"overview\">\n";
    std::size_t number = 0;
    std::size_t first = 0;
    for (const unit_cfg* each = doc_.unit_list; each != nullptr; each = each->next, ++number) {
      const std::size_t points = count_points(*each);
      append_all(text_, "<li><a href=\"#", unit_anchor, number, "\">Unit ");
      unit_name(*each);
      text_ += "</a> <small>";
      append_count(text_, points, "point");
      if (const std::size_t found = count_findings(*each, first)) {
        text_ += ", ";
        append_count(text_, found, "finding");
      }
      text_ += "</small></li>\n";
      put();
      first += points;
    }
    text_ += "</ul>\n";
    append_legend(text_, legend);
  }

  void unit_name(const unit_cfg& unit) {
    std::string name;
    append_unit(name, unit);
    append(text_, html_text{name});
  }

  // `first` is the number of the unit's first point; it becomes that of the next unit.
  void print_unit(const unit_cfg& unit, std::size_t number, std::size_t& first) {
    append_all(text_, "<section id=\"", unit_anchor, number, "\">\n<h2>Unit ");
    unit_name(unit);
    append_all(text_, " <small>", html_text{unit.name.view()}, "</small></h2>\n");
    put();
    const bool is_reached = is_modbus(unit);
    if (is_reached) print_register_pictures(unit, first, {}, out_);
    append_point_head(text_);
    for (const chn_cfg* chn = unit.chn_list; chn != nullptr; chn = chn->next) {
      print_point({unit, *chn, is_reached}, first++);
    }
    text_ += "</tbody></table>\n</section>\n";
    put();
  }

  void print_point(const point& shown, std::size_t number) {
    const std::span<const finding> found = findings_.of_point(shown.chn, number);
    append_point_row(text_, shown, number, !found.empty());
    if (!found.empty()) {
      begin_told_row(text_);
      for (const finding& each : found) append_told(text_, each);
      end_told_row(text_);
    }
    put();
  }

  const yax_cfg& doc_;
  const point_findings findings_;
  const bool is_checked_;
  output& out_;
  std::string text_;
};

}  // namespace

void print_html(const loaded_file& file, const file_source& source, const char* path, output& out) {
  const std::string_view name = path;
  const std::size_t folder = name.rfind('/');
  const bool is_input = name == "-";
  page shown(file, source, out);
  shown.print(is_input ? "standard input" : name.substr(folder + 1));
}

}  // namespace ruvex
