/** @file Pictures of boxes and arrows: as texts for Graphviz and Mermaid, or as SVG. */
#pragma once

#include <string>
#include <vector>

#include "command_line/parser.h"

namespace tool {

enum class Shape { box, rounded, diamond };

/** How far what a box stands for has come. */
enum class Mark { none, done, running, stopped, left_out };

class Picture {
 public:
  enum class Direction { down, right };

  /** @param title its name, as a text of any kind. */
  explicit Picture(std::string title, Direction direction = Direction::down)
      : title_(std::move(title)), direction_(direction) {}

  /** Adds a box. @param lines the lines of its label. @return its number. */
  size_t add_box(std::vector<std::string> lines, Shape shape = Shape::box, Mark mark = Mark::none);

  void add_arrow(size_t from, size_t to, std::string label = "");

  /** As a text for Graphviz's `dot`. */
  std::string dot() const;

  /** As a text for Mermaid, which pages of Markdown can hold. */
  std::string mermaid() const;

 private:
  struct Box {
    std::vector<std::string> lines;
    Shape shape;
    Mark mark;
  };
  struct Arrow {
    size_t from, to;
    std::string label;
  };

  std::string title_;
  Direction direction_;
  std::vector<Box> boxes_;
  std::vector<Arrow> arrows_;
};

struct PictureOptions {
  bool dot = false;
  bool mermaid = false;
  bool svg = false;

  bool wanted() const { return dot || mermaid || svg; }
};

/** Adds --dot, --mermaid and --svg; one of them at a time, and none beside --json. */
void add_picture_options(CommandParser& command, PictureOptions& options);

/** Prints a picture as it is wanted; an Error says when Graphviz is not there to draw it. */
void print_picture(const Picture& picture, const PictureOptions& options);

}  // namespace tool
