/** @file A product structure, as commands open, read and draw it. */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ork/ork.h"
#include "text.h"

namespace tool {

/** A BOM window on the structure of a revision, closed at the end. */
class Window {
 public:
  /**
   * @param rule a revision rule's name; empty for the latest revisions.
   * @param view a view type's name; empty for the site's usual one.
   */
  Window(const std::string& revision_id, const std::string& rule, const std::string& view);
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  tag top_line() const { return top_line_; }

  void save();

 private:
  tag window_ = NULLTAG;
  tag top_line_ = NULLTAG;
};

/** What a tree shows of a line. */
struct Line {
  std::string item, revision, name, sequence, quantity;
  std::vector<std::string> statuses;
  std::vector<Line> below;
  bool has_hidden = false; /**< whether there are lines below that are too deep to be shown */
};

/** Reads a line and those below it, down to a depth. */
Line read_line(tag line, int depth);

/** Draws a line and those below it. `before` is the same structure as it was, or null. */
void draw(const Line& line, const Line* before);

Json line_json(const Line& line, const Line* before = nullptr);

/** Runs a walk of the library, whose own output goes where the trace goes. */
int walk(const std::function<int()>& call);

/** Number of lines, the top one included. */
int size_of(const Window& window);

}  // namespace tool
