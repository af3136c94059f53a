// A picture of the registers of a table: a row is 16 addresses, its parts link to the points.
#pragma once

#include <vector>

#include "output.h"
#include "register_words.h"

namespace ruvex {

// The anchor of a point on the page is this and its number.
inline constexpr char point_anchor[] = "p";

// Prints SVG, a picture a row, so that a page of paper may end between two. Nothing for no words.
// Rows without a word are left out; a line tells how many addresses are free there.
void print_register_picture(const std::vector<used_word>& words, output& out);

}  // namespace ruvex
