#include "register_picture.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "markup.h"
#include "ruvex/mapping/register_place.h"

namespace ruvex {
namespace {

constexpr std::int32_t row_words = 16;

// In units of the picture.
constexpr std::int32_t label_width = 58;
constexpr std::int32_t cell_width = 42;
constexpr std::int32_t cell_height = 24;
constexpr std::int32_t row_height = cell_height + 4;
constexpr std::int32_t picture_width = label_width + row_words * cell_width + 2;

std::int32_t row_of_word(std::int32_t offset) noexcept {
  return offset / row_words;
}

std::int32_t left_of(std::int32_t column) noexcept {
  return label_width + column * cell_width;
}

// How a value looks: its class in the style sheet, and what its box says.
struct value_look {
  std::string_view style;
  std::string_view narrow_tag;
  std::string_view wide_tag;
};

value_look look_of(const placed_point& point) noexcept {
  if (is_bit_table(point.table)) return {"b", "", ""};
  if (point.mask != 0) return {"m", "", ""};
  if (point.chn->reg_format == "FLOAT") return {"f", "F16", "F32"};
  if (point.chn->reg_format == "SIGNED") return {"s", "S16", "S32"};
  return {"u", "U16", "U32"};
}

// A box, whose left or right side is open where the value goes on in another row.
struct box_shape {
  std::int32_t column;
  std::int32_t cells;
  bool is_open_left;
  bool is_open_right;
};

class picture {
 public:
  picture(const box_style& style, output& out) noexcept : style_(style), out_(out) {}

  void draw(const used_word& word) {
    advance_to(word);
    const placed_point& lead = *word.lead;
    const std::int32_t column = word.offset % row_words;
    const bool is_second = lead.offset != word.offset;
    if (!is_second) {
      const bool is_cut = lead.is_wide && column == row_words - 1;
      box(lead, {column, lead.is_wide && !is_cut ? 2 : 1, false, is_cut});
      tag(word, column);
    } else if (column == 0) {
      box(lead, {column, 1, true, false});
    }
    if (word.bits != 0) bits(column, word);
    if (word.is_clash && !style_) clash(word, column);
  }

  void end() {
    if (last_ < 0) return;
    svg_ += "</svg>\n";
    out_.put(svg_);
    svg_.clear();
  }

 private:
  void advance_to(const used_word& word) {
    const std::int32_t row = row_of_word(word.offset);
    const bool is_same_row = last_ >= 0 && row_of_word(last_) == row;
    if (is_same_row) {
      free_words(last_ + 1, word.offset, word.offset - last_ - 1);
    } else if (last_ < 0) {
      scale();
      begin_row(word);
    } else {
      change_row(word);
    }
    last_ = word.offset;
  }

  // The size of a gap stands where the gap begins, or between the rows where rows are left out.
  void change_row(const used_word& word) {
    const std::int32_t size = word.offset - last_ - 1;
    const std::int32_t row_end = (row_of_word(last_) + 1) * row_words;
    const std::int32_t row_start = row_of_word(word.offset) * row_words;
    const bool is_far = row_start != row_end;
    const bool has_tail = last_ + 1 != row_end;
    free_words(last_ + 1, row_end, is_far ? 0 : size);
    end();
    if (is_far) append_all(svg_, "<p class=\"gap\">gap of ", size, "</p>\n");
    begin_row(word);
    free_words(row_start, word.offset, is_far || has_tail ? 0 : size);
  }

  void begin_svg(std::string_view style, std::int32_t height) {
    append_all(svg_, "<svg class=\"", style, "\" viewBox=\"0 0 ", picture_width, " ", height,
               "\">");
  }

  void scale() {
    begin_svg("scale", 16);
    for (std::int32_t column = 0; column < row_words; ++column) {
      label(column, 1, 12, message("+", column));
    }
    end_scale();
  }

  void end_scale() { svg_ += "</svg>\n"; }

  // A row is called by the reference of its first address, with as many digits as the points have.
  void begin_row(const used_word& word) {
    const std::string_view known = word.lead->chn->reg_num.view();
    const std::string number = message(row_of_word(word.offset) * row_words + 1);
    constexpr std::size_t short_form = 5;
    const std::size_t digits = known.size() > short_form || number.size() >= short_form ? 5 : 4;
    begin_svg("row", row_height);
    append_all(svg_, "<text class=\"ref\" x=\"", label_width - 8, "\" y=\"18\">",
               known.substr(0, 1), std::string(digits - number.size(), '0'), number, "</text>");
  }

  void label(std::int32_t column, std::int32_t cells, std::int32_t y, std::string_view text) {
    append_all(svg_, "<text x=\"", left_of(column) + cells * cell_width / 2, "\" y=\"", y, "\">",
               text, "</text>");
  }

  // From an offset up to another in the same row; `size` 0: another place tells it.
  void free_words(std::int32_t from, std::int32_t end, std::int32_t size) {
    if (from == end) return;
    const std::int32_t column = from % row_words;
    const std::int32_t cells = end - from;
    append_all(svg_, "<path class=\"g\" d=\"M", left_of(column) + 4, " 14h", cells * cell_width - 8,
               "\"/>");
    if (size == 0) return;
    svg_ += "<g class=\"n\">";
    label(column, cells, 18, message(size));
    svg_ += "</g>";
  }

  void outline(std::string_view style, const box_shape& shape) {
    const std::int32_t left = left_of(shape.column) + 1;
    const std::int32_t width = shape.cells * cell_width - 2;
    append_all(svg_, "<path class=\"", style, "\" d=\"M");
    if (shape.is_open_right) {
      append_all(svg_, left + width, " 2h", -width, "v", cell_height, "h", width);
    } else {
      append_all(svg_, left, " 2h", width, "v", cell_height, "h", -width);
    }
    svg_ += shape.is_open_left || shape.is_open_right ? "\"/>" : "z\"/>";
  }

  void begin_link(const placed_point& point) {
    append_all(svg_, "<a href=\"#", point_anchor, point.number, "\"><title>",
               html_text{point.chn->reg_num.view()}, " ", html_text{point.chn->name.view()},
               "</title>");
  }

  void box(const placed_point& point, const box_shape& shape) {
    begin_link(point);
    outline(style_ ? style_(point) : look_of(point).style, shape);
    svg_ += "</a>";
  }

  // What a value is, in its first register, above the bits where those are used as well.
  void tag(const used_word& word, std::int32_t column) {
    const value_look look = look_of(*word.lead);
    const std::string_view text = word.lead->is_wide ? look.wide_tag : look.narrow_tag;
    if (!text.empty()) label(column, 1, word.bits != 0 ? 14 : 18, text);
  }

  // The 16 bits of a word, the highest at the left, those in use marked.
  void bits(std::int32_t column, const used_word& word) {
    constexpr std::int32_t pitch = 2;
    constexpr std::int32_t ground = 22;
    const std::int32_t height = word.lead->mask == 0 ? 5 : 15;
    const std::int32_t left = left_of(column) + 6;
    append_all(svg_, "<path class=\"o\" d=\"M", left - 1, " ", ground, "h", 16 * pitch, "\"/>");
    for (std::int32_t bit = 15; bit >= 0; --bit) {
      if ((word.bits >> bit & 1) == 0) continue;
      append_all(svg_, "<path class=\"t\" d=\"M", left + (15 - bit) * pitch, " ", ground, "v",
                 -height, "\"/>");
    }
  }

  void clash(const used_word& word, std::int32_t column) {
    begin_link(*word.lead);
    outline("x", {column, 1, false, false});
    label(column, 1, 18, message(word.users, "\xC3\x97"));
    svg_ += "</a>";
  }

  const box_style& style_;
  output& out_;
  std::string svg_;
  std::int32_t last_ = -1;  // the offset of the last word drawn
};

}  // namespace

void print_register_pictures(const unit_cfg& unit, std::size_t first, const box_style& style,
                             output& out) {
  const std::vector<placed_point> points = placed_points(unit, first);
  const placed_point* const end = points.data() + points.size();
  for (const placed_point* from = points.data(); from != end;) {
    const placed_point* const next = std::find_if(
        from, end, [from](const placed_point& point) { return point.table != from->table; });
    const std::vector<used_word> words = words_of(from, next);
    std::string heading;
    append_all(heading, "<h3>", table_name(from->table), "s <small>", words.size(),
               " used</small></h3>\n");
    out.put(heading);
    picture drawn(style, out);
    for (const used_word& word : words) drawn.draw(word);
    drawn.end();
    from = next;
  }
}

}  // namespace ruvex
