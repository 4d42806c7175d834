#include "Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "Console.h"
#include "Text.h"

namespace historian::command {
namespace {

constexpr std::size_t kUsualWidth = 80;
constexpr std::size_t kLeastWidth = 40;
constexpr std::size_t kMargin = 11;

}  // namespace

Terminal Terminal::StandardOutput() {
  const Console console = command::StandardOutput();
  const char* no_color = std::getenv("NO_COLOR");
  const bool coloured = console.interactive && (no_color == nullptr || *no_color == '\0');
  const bool wide = console.interactive && console.columns != 0;
  return Terminal(std::cout, console.interactive, coloured,
                  wide ? std::max(console.columns, kLeastWidth) : kUsualWidth);
}

Terminal::Terminal(std::ostream& out, bool interactive, bool coloured, std::size_t width)
    : out_(out), interactive_(interactive), coloured_(coloured), width_(width) {}

void Terminal::Line(std::string_view text) {
  ClearDrawing();
  out_ << text << '\n' << std::flush;
}

void Terminal::Fact(std::string_view name, std::string_view text) {
  const std::size_t room = width_ - kMargin - 2;
  std::string rest = OneLine(text, text.size() + 1);
  std::string margin = ' ' + Bold(AlignLeft(name, kMargin));
  while (interactive_ && DisplayWidth(rest) > room) {
    const std::size_t blank = rest.rfind(' ', room);
    if (blank == std::string::npos || blank == 0) break;
    Line(margin + rest.substr(0, blank));
    rest.erase(0, blank + 1);
    margin = std::string(kMargin + 1, ' ');
  }
  Line(margin + rest);
}

void Terminal::Redraw(std::string_view text) {
  if (!interactive_) return;
  out_ << '\r' << text << "\x1b[K" << std::flush;
  drawn_ = true;
}

void Terminal::ClearDrawing() {
  if (drawn_) out_ << "\r\x1b[K" << std::flush;
  drawn_ = false;
}

std::string Terminal::Styled(std::string_view code, std::string_view text) const {
  if (!coloured_) return std::string(text);
  return std::string("\x1b[").append(code).append("m").append(text).append("\x1b[0m");
}

}  // namespace historian::command
