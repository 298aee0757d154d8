/** @file BOM windows and their lines. */
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "revision_rules.h"
#include "structures.h"

namespace host {

class Line;

/** What a line shows; lines with one parent revision share it. */
struct Part {
  Occurrence* occurrence = nullptr; /**< null for the top line */
  tag item = NULLTAG;
  tag revision = NULLTAG; /**< NULLTAG where the rule configures none */
};

/** The lines right below a line. */
struct LineBlock {
  std::vector<Line> lines;
  std::vector<tag> shown; /**< tags of those that are not packed into others */
  std::unordered_map<std::uint64_t, std::vector<Line*>> by_revision; /**< once one is packed */
};

class Line final : public Transient {
 public:
  Line(Window& window, Line* parent, const Part& part)
      : window_(&window), parent_(parent), part_(&part) {}

  const char* class_name() const override { return "BOMLine"; }
  void read(const std::string& attribute, Values* values) override;
  void write(const std::string& attribute, const Scalar& value) override;

  tag handle() const { return handle_; }

  /** Tags of the lines below that are not packed into others. */
  const std::vector<tag>& children();

  /** Hides the lines next to it that are equal. */
  void pack();

 private:
  friend class Window;

  void open();
  void refuse_cycle() const;
  void take_in(Line& line);
  std::string quantity() const;
  std::string sequence() const;
  std::uint64_t revision_key() const;
  void set_sequence(const std::string& text);
  void set_quantity(const std::string& text);

  Window* window_;
  Line* parent_;
  const Part* part_;
  LineBlock* below_ = nullptr; /**< once it is opened; null for a leaf */
  Line* packed_into_ = nullptr;
  std::vector<Line*> packed_;
  tag handle_ = NULLTAG;
  bool is_opened_ = false;
};

class Window final : public Transient {
 public:
  Window(Store& store, Structures& structures);

  const char* class_name() const override { return "BOMWindow"; }
  void read(const std::string&, Values*) override {}
  void write(const std::string& attribute, const Scalar& value) override;

  tag handle() const { return handle_; }

  /** Shows a revision, in place of what is shown. */
  void show(tag revision, tag view_type, tag rule);

  /** Refused with BOMW_no_top_line. */
  Line& top_line();

  void save();

  /** Takes all tags back, drops what was not saved and gives back the locks that it has taken. */
  void close();

 private:
  friend class Line;
  using Parts = std::vector<Part>;

  LineBlock& add_block(Line* parent, const Parts& parts);
  void forget_lines();
  tag view_revision_of(tag revision);
  const Parts& parts_of(tag view_revision);
  Structure& changeable(Structure& structure);

  Store& store_;
  Structures& structures_;
  tag handle_ = NULLTAG;
  tag view_type_ = NULLTAG;
  std::optional<Configurator> configurator_;
  std::optional<Referrers> view_revisions_;
  std::unordered_map<tag, Parts> parts_;             /**< by view revision */
  std::unordered_map<tag, tag> view_revision_known_; /**< by revision */
  Parts top_part_;
  std::vector<std::unique_ptr<LineBlock>> blocks_; /**< the first holds the top line */
  std::set<tag> changed_;                          /**< view revisions */
  std::set<tag> locked_;                           /**< those of them that were not locked before */
};

}  // namespace host
