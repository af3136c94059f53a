#include "page_frame.h"

#include "markup.h"
#include "style_sheet.h"

namespace ruvex {

void append_page_start(std::string& out, std::string_view title, std::string_view more_style) {
  append_all(out,
             "<!DOCTYPE html>\n<html lang=\"en\" xmlns=\"http://www.w3.org/1999/xhtml\">\n<head>"
             "<meta charset=\"utf-8\"/>\n"
             "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>",
             html_text{title}, "</title>\n<style>", page_style, more_style,
             "</style></head>\n<body>\n<h1>", html_text{title}, "</h1>\n");
}

void append_legend(std::string& out, std::span<const legend_entry> entries) {
  out += "<ul class=\"legend\">";
  for (const legend_entry& entry : entries) {
    append_all(out, "<li><svg viewBox=\"0 0 28 16\"><path class=\"", entry.style,
               "\" d=\"M1 1h26v14h-26z\"/></svg>", entry.meaning, "</li>");
  }
  out += "</ul>\n";
}

}  // namespace ruvex
