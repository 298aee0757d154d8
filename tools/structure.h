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

  /** Saves what has changed, all of it or nothing. */
  void save();

 private:
  tag window_ = NULLTAG;
  tag top_line_ = NULLTAG;
};

/** What a tree shows of a line. */
struct Line {
  tag object = NULLTAG; /**< the revision, or the item where no revision is configured */
  std::string item, revision, name, sequence, quantity;
  std::vector<std::string> statuses;
  bool has_hidden = false; /**< whether there are lines below that are too deep to be shown */
};

/** The lines below a line. @param id what users know the line by. */
std::vector<tag> lines_below(tag line, const std::string& id);

/** Its sequence number; empty for none. */
std::string sequence_of(tag line, const std::string& id);

/** Reads a line, and which ones are below it unless they are too deep to be shown. */
Line read_line(tag line, int depth, std::vector<tag>* below);

/**
 * Runs a walk of the library, whose own output goes where the trace goes. The walks pass over much
 * that fails, and yield what they have got: that is noticed here, and is an Error.
 * @param what what was to be done, for example "the structure is not packed".
 */
void walk(const std::string& what, const std::function<int()>& call);

/**
 * The same for a walk that makes a list.
 * @param ending a status, beside #ORK_ok, that ends the walk early and is no failure.
 * @param[out] is_complete whether it did not; may be null.
 */
std::vector<tag> walk_to_list(const std::string& what,
                              const std::function<int(int* count, tag** list)>& call,
                              int ending = ORK_ok, bool* is_complete = nullptr);

/** Number of lines, the top one included. */
int size_of(const Window& window);

}  // namespace tool
