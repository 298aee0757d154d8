/**
 * @file
 * Product structures in memory: the occurrences of view revisions, on top of the lists in which the
 * store keeps them (registry.cpp, class PSBOMViewRevision).
 */
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "store.h"

namespace host {

class Structure;
class Window;

/** Handle of an occurrence. It stays when the occurrence goes, for lines that still point to it. */
class Occurrence final : public Transient {
 public:
  Occurrence(Structure& structure, int number) : structure_(structure), number_(number) {}

  Structure& structure() const { return structure_; }

  /** Number of the occurrence in its view revision, where no two have the same. */
  int number() const { return number_; }
  bool is_gone() const { return position_ == gone; }

  const char* class_name() const override { return "PSOccurrence"; }
  void read(const std::string&, Values*) override {}
  void write(const std::string& attribute, const Scalar& value) override;

 private:
  friend class Structure;
  static constexpr std::size_t gone = std::numeric_limits<std::size_t>::max();

  Structure& structure_;
  int number_;
  std::size_t position_ = gone; /**< in the lists */
  tag handle_ = NULLTAG;        /**< given when somebody first asks for it */
};

/** The occurrences of a view revision. Follows what becomes of the view revision in the store. */
class Structure {
 public:
  Structure(Store& store, tag view_revision) : store_(store), view_revision_(view_revision) {}
  Structure(const Structure&) = delete;
  Structure& operator=(const Structure&) = delete;

  tag view_revision() const { return view_revision_; }

  /** All of them, in their order. */
  const std::vector<Occurrence*>& occurrences();

  tag handle(Occurrence& occurrence);

  // These refuse an occurrence that is gone with STORE_deleted_tag.
  tag item(const Occurrence& occurrence);
  tag revision(const Occurrence& occurrence); /**< NULLTAG where rules choose it */
  const std::string& quantity(const Occurrence& occurrence);
  const std::string& sequence(const Occurrence& occurrence);

  // Changes; they need the view revision's lock.
  void set_quantity(const Occurrence& occurrence, const std::string& quantity);
  void set_sequence(const Occurrence& occurrence, const std::string& sequence);
  Occurrence& add(tag item, tag revision);
  void remove(Occurrence& occurrence);

  /** Types and texts of an occurrence's notes, in the order in which they were made. */
  std::vector<std::pair<tag, std::string>> notes(const Occurrence& occurrence);

  /** An empty text takes the note away. */
  void set_note(const Occurrence& occurrence, tag note_type, const std::string& text);

 private:
  void follow();
  void rebuild();
  void note_own_change() { stamp_ = store_.stamp(view_revision_); }
  std::size_t position(const Occurrence& occurrence);
  void drop(Occurrence& occurrence);
  void erase_note(std::size_t index);

  Store& store_;
  tag view_revision_;
  std::uint64_t stamp_ = 0; /**< of the values that the handles were made for */
  int last_number_ = 0;
  std::vector<std::unique_ptr<Occurrence>> all_; /**< those that are gone, too */
  std::vector<Occurrence*> in_order_;
};

/** Refuses what is no quantity (STRUCT_bad_quantity) or too long for one (STRUCT_text_too_long). */
void require_quantity(const std::string& text);
void require_sequence(const std::string& text);

/** What a quantity counts as; an empty one is 1. */
double number_of_quantity(const std::string& text);

/** The structures and windows of a site, as long as its store is in memory. */
class Structures {
 public:
  explicit Structures(Store& store);
  ~Structures();
  Structures(const Structures&) = delete;
  Structures& operator=(const Structures&) = delete;

  /** The occurrences of a view revision; refused with STRUCT_not_a_view_revision. */
  Structure& of(tag view_revision);

  /**
   * Refuses with STRUCT_contains_itself when an item is the same as one of its children or a part
   * of one, in whatever revision and view.
   */
  void refuse_cycle(tag item, const std::vector<tag>& children);

  /** Is told the items of a cycle, each a part of the one before it and the first of the last. */
  using SeeCycle = std::function<void(const std::vector<tag>& cycle)>;

  /** Looks for such items in the saved structures of some items and of what is below them. */
  void find_cycles(const std::vector<tag>& from, const SeeCycle& see);

  Window& open_window();
  void close_window(Window& window);

  /** Notes that a view revision has got occurrences that the file does not have yet. */
  void note_unsaved(Structure& structure) { unsaved_.insert(&structure); }

 private:
  std::vector<tag> items_above(tag item);
  std::vector<tag> items_below(tag item);
  tag item_of(tag view_revision);

  Store& store_;
  std::unordered_map<tag, std::unique_ptr<Structure>> structures_;
  std::unordered_set<Structure*> unsaved_;
  std::unordered_map<tag, std::unique_ptr<Window>> windows_;
};

/** The structures of the open site. */
Structures& structures();

/** The site's default view type, or NULLTAG. */
tag default_view_type(Store& store);

/** The view type that counts where none is named: the default one, or else "view". */
tag usual_view_type(Store& store);

/** Item of a view revision's view. */
tag item_of_view_revision(Store& store, tag view_revision);

/** Name of a view or, with a revision, of its revision. */
std::string view_name(Store& store, tag item, tag revision, tag view_type);

}  // namespace host
