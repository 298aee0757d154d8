#include "picture.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "error.h"
#include "os.h"
#include "output_files.h"
#include "text.h"

namespace tool {

namespace {

struct MarkStyle {
  const char* name; /**< of Mermaid's class; null for none */
  const char* fill;
  const char* border;
};

MarkStyle style_of(Mark mark) {
  switch (mark) {
    case Mark::done:
      return {"done", "#d7efd9", "#2e7d32"};
    case Mark::running:
      return {"running", "#dbe9fb", "#1565c0"};
    case Mark::stopped:
      return {"stopped", "#fbdcdc", "#c62828"};
    case Mark::left_out:
      return {"left_out", "#eeeeee", "#9e9e9e"};
    case Mark::none:
      break;
  }
  return {nullptr, "#ffffff", "#555555"};
}

/** The text with what has a meaning in a quoted label replaced. */
std::string quoted(const std::string& text, const char* quote, const char* backslash) {
  std::string result;
  for (const char character : printable(text)) {
    if (character == '"') {
      result += quote;
    } else if (character == '\\') {
      result += backslash;
    } else {
      result += character;
    }
  }
  return result;
}

std::string dot_text(const std::string& text) {
  return quoted(text, "\\\"", "\\\\");
}

/** Mermaid reads labels as HTML and takes character codes without their ampersand. */
std::string mermaid_text(const std::string& text) {
  std::string result;
  for (const char character : quoted(text, "#quot;", "\\")) {
    switch (character) {
      case '<':
        result += "#lt;";
        break;
      case '>':
        result += "#gt;";
        break;
      case '&':
        result += "#amp;";
        break;
      case '`':
        result += "#96;";
        break;
      default:
        result += character;
    }
  }
  return result;
}

template <typename Escape>
std::string joined(const std::vector<std::string>& lines, const char* between, Escape escape) {
  std::string text;
  for (const std::string& line : lines) {
    text += (text.empty() ? "" : between) + escape(line);
  }
  return text;
}

const char* dot_shape(Shape shape) {
  return shape == Shape::diamond ? "diamond" : shape == Shape::rounded ? "oval" : "box";
}

/** What Graphviz makes of a picture. */
std::string drawn_by_graphviz(const std::string& dot) {
  const WorkFolder folder(temporary_folder());
  const std::string file = folder.file("picture.dot");
  std::ofstream out(host::utf8_path(file), std::ios::binary);
  out << dot;
  out.close();
  const std::string drawing = folder.file("picture.svg");
  if (!out || !os::run_program("dot", {"-Tsvg", "-o", drawing, file})) {
    throw Error("the picture cannot be drawn",
                "install Graphviz, whose program dot draws it, or take --dot or --mermaid");
  }
  std::ifstream in(host::utf8_path(drawing), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

size_t Picture::add_box(std::vector<std::string> lines, Shape shape, Mark mark) {
  boxes_.push_back({std::move(lines), shape, mark});
  return boxes_.size() - 1;
}

void Picture::add_arrow(size_t from, size_t to, std::string label) {
  arrows_.push_back({from, to, std::move(label)});
}

std::string Picture::dot() const {
  std::string text = "digraph \"" + dot_text(title_) +
                     "\" {\n  rankdir=" + (direction_ == Direction::right ? "LR" : "TB") +
                     ";\n  node [fontname=\"sans-serif\", style=filled];\n"
                     "  edge [fontname=\"sans-serif\"];\n";
  for (size_t i = 0; i < boxes_.size(); ++i) {
    const MarkStyle style = style_of(boxes_[i].mark);
    text += "  n" + std::to_string(i) + " [label=\"" + joined(boxes_[i].lines, "\\n", dot_text) +
            "\", shape=" + dot_shape(boxes_[i].shape) + ", fillcolor=\"" + style.fill +
            "\", color=\"" + style.border + "\"];\n";
  }
  for (const Arrow& arrow : arrows_) {
    text += "  n" + std::to_string(arrow.from) + " -> n" + std::to_string(arrow.to);
    text += arrow.label.empty() ? ";\n" : " [label=\"" + dot_text(arrow.label) + "\"];\n";
  }
  return text + "}\n";
}

std::string Picture::mermaid() const {
  std::string text =
      std::string("flowchart ") + (direction_ == Direction::right ? "LR" : "TD") + "\n";
  std::array<bool, 5> used{};
  for (size_t i = 0; i < boxes_.size(); ++i) {
    const Box& box = boxes_[i];
    const char* const open = box.shape == Shape::diamond   ? "{"
                             : box.shape == Shape::rounded ? "(["
                                                           : "[";
    const char* const close = box.shape == Shape::diamond   ? "}"
                              : box.shape == Shape::rounded ? "])"
                                                            : "]";
    text += "  n" + std::to_string(i) + open + "\"" + joined(box.lines, "<br>", mermaid_text) +
            "\"" + close;
    const MarkStyle style = style_of(box.mark);
    text += style.name != nullptr ? std::string(":::") + style.name + "\n" : "\n";
    used[static_cast<size_t>(box.mark)] = true;
  }
  for (const Arrow& arrow : arrows_) {
    const std::string label = arrow.label.empty() ? "" : "|\"" + mermaid_text(arrow.label) + "\"|";
    text += "  n" + std::to_string(arrow.from) + " -->" + label + " n" + std::to_string(arrow.to) +
            "\n";
  }
  for (size_t mark = 1; mark < used.size(); ++mark) {
    if (used[mark]) {
      const MarkStyle style = style_of(static_cast<Mark>(mark));
      text += std::string("  classDef ") + style.name + " fill:" + style.fill +
              ",stroke:" + style.border + "\n";
    }
  }
  return text;
}

void add_picture_options(CommandParser& command, PictureOptions& options) {
  const OptionParser dot = command.add_flag("--dot", options.dot, "Print a picture for Graphviz");
  const OptionParser mermaid =
      command.add_flag("--mermaid", options.mermaid, "Print a picture for Mermaid").excludes(dot);
  const OptionParser svg =
      command.add_flag("--svg", options.svg, "Print a picture as SVG; needs Graphviz")
          .excludes(dot)
          .excludes(mermaid);
  if (command.has("--json")) {
    for (const OptionParser option : {dot, mermaid, svg}) {
      option.excludes(command.option("--json"));
    }
  }
}

void print_picture(const Picture& picture, const PictureOptions& options) {
  const std::string text = options.mermaid ? picture.mermaid()
                           : options.dot   ? picture.dot()
                                           : drawn_by_graphviz(picture.dot());
  std::fputs(text.c_str(), stdout);
}

}  // namespace tool
