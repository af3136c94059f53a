// A picture of the registers of a table: a row is 16 addresses, its parts link to the points.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "output.h"
#include "register_words.h"

namespace ruvex {

// The anchor of a point on the page is this and its number.
inline constexpr char point_anchor[] = "p";

// Gives the class in the style sheet of the box of a point that stands for all that begin at its
// address.
using box_style = std::function<std::string_view(const placed_point& point)>;

// Prints SVG for each table of a unit whose first point has the number `first`, a heading above it
// and a picture a row, so that a page of paper may end between two. Rows without a word are left
// out; a line tells how many addresses are free there. Without a `style` a box shows the kind of
// the value, and what is used more than once is marked.
void print_register_pictures(const unit_cfg& unit, std::size_t first, const box_style& style,
                             output& out);

}  // namespace ruvex
