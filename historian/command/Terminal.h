#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace historian::command {

// Where the program writes: a terminal, which shows colours and redraws a line, or a file, which gets plain
// text.
class Terminal {
 public:
  // Standard output: 80 columns if it has no width, no colours if NO_COLOR is set.
  static Terminal StandardOutput();

  Terminal(std::ostream& out, bool interactive, bool coloured, std::size_t width);

  bool interactive() const { return interactive_; }
  std::size_t width() const { return width_; }
  std::ostream& out() { return out_; }

  void Line(std::string_view text = {});
  // Writes a name in the margin and a text beside it, wrapped at the width of the terminal.
  void Fact(std::string_view name, std::string_view text);

  // Replaces the line that it drew last; does nothing for a file. The next Line replaces it too.
  void Redraw(std::string_view text);
  void ClearDrawing();

  std::string Bold(std::string_view text) const { return Styled("1", text); }
  std::string Dim(std::string_view text) const { return Styled("2", text); }
  std::string Accent(std::string_view text) const { return Styled("36", text); }
  std::string Styled(std::string_view code, std::string_view text) const;

 private:
  std::ostream& out_;
  bool interactive_;
  bool coloured_;
  std::size_t width_;
  bool drawn_ = false;
};

}  // namespace historian::command
