/**
 * @file
 * What the seeds of all kinds of objects share: making and changing objects, finding those that a
 * seed names. Each family of objects has a seeder of its own on top of it.
 */
#pragma once

#include <filesystem>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "at_place.h"
#include "draft.h"
#include "registry.h"
#include "seed_node.h"
#include "site.h"

namespace host {

/** Members that all workspace objects may have. */
inline constexpr std::string_view workspace_members[] = {
    "name",        "type",     "description",    "owner",
    "group",       "statuses", "checked_out_by", "checked_out_since",
    "owning_site", "created",  "changed",        "changed_by",
    "values"};

inline constexpr int max_site_number = std::numeric_limits<int>::max();

/** A seed that is being taken, as all seeders share it. */
struct SeedRun {
  Site& site;
  std::filesystem::path folder; /**< what paths are relative to */
  SeedFaults& faults;
  std::optional<tag> automatic_user;          /**< once it has been looked up */
  std::unordered_map<std::string, tag> keyed; /**< objects that have a key in this seed */
};

/** Ends what cannot be done since something else is at fault, which has been told. */
struct Consequence {};

class SeedWriter {
 public:
  explicit SeedWriter(SeedRun& run)
      : run_(run), site_(run.site), store_(run.site.store()), folder_(run.folder) {}

 protected:
  /** What goes wrong with one of several things does not keep the others from being looked at. */
  template <typename Action>
  void attempt(const Node& node, const Action& action) {
    if (!run_.faults.are_gathered()) {
      return action();
    }
    try {
      action();
    } catch (const SeedFailure& failure) {
      note_lacking(node);
      run_.faults.add(failure.fault());
    } catch (const Consequence&) {
      note_lacking(node);
    }
  }

  /** Does the same to each of them. */
  template <typename Action>
  void each(const std::vector<Node>& nodes, const Action& action) {
    for (const Node& node : nodes) {
      attempt(node, [&] { action(node); });
    }
  }

  /** Does it to each element of a list that an object may have. */
  template <typename Action>
  void each_of(const Node& owner, const char* member, const Action& action) {
    attempt(owner, [&] { each(owner.items_of(member), action); });
  }

  /** Refuses a name that stands for nothing. */
  [[noreturn]] void refuse_unknown(const Node& node, const std::string& why) const;

  /** An object with this key, which is made when it is missing. */
  tag ensure(const Node& node, const char* class_name, const Store::Criteria& key);

  /** A new object, saved. */
  tag make(const Node& node, const std::string& class_name, const Store::Criteria& values);

  /** Sets a value and saves, where it is another one. */
  void put(const Node& node, tag object, const char* attribute, const Scalar& value);
  void put_list(const Node& node, tag object, const char* attribute, const Values& values);

  /** Sets several lists and saves once, where one is another one. */
  void put_lists(const Node& node, tag object,
                 const std::vector<std::pair<const char*, Values>>& lists);

  void remove(tag object);

  /** Sets a text that a member of the seed gives, if it is there. */
  void put_text(const Node& owner, const char* member, tag object, const char* attribute);

  /** An object that the seed names and that must exist. */
  tag find(const Node& node, const char* class_name, const char* attribute, const char* what);

  tag find_group(const Node& node);
  tag find_role(const Node& node);
  tag find_user(const Node& node);
  tag find_type(const Node& node);
  tag find_relation_type(const Node& node);

  /** Type of a workspace object: the one that the seed names, or the class's own. */
  tag type_of(const Node& node, const char* class_name);

  /**
   * Makes a workspace object, or changes the one that is known.
   * @param[in] complete adds to what the seed gives the object.
   */
  tag take_workspace_object(const Node& node, tag known, tag type, const Store::Criteria& key,
                            const std::function<void(Draft&)>& complete = nullptr);

  /** The dataset of this name that is related to a revision, or NULLTAG. */
  tag find_dataset(tag revision, const std::string& name);

  /**
   * A class of this name and parent, which is made when it is missing.
   * @param[in] parent_place where the seed says what the parent is.
   */
  const Class& ensure_class(const Node& name, const Node& parent_place, const Class& parent);

  /** An attribute of a class, which is made when it is missing. */
  void take_attribute(const Node& node, const Class& owner);

  /** A type of this name, parent and class of objects, which is made when it is missing. */
  tag ensure_type(const Node& name, tag parent, const Class& type_class);

  /** Relates two objects, unless they are. */
  tag ensure_relation(const Node& node, tag primary, tag relation_type, tag secondary);

  /** Owner of what the seed makes: the one it names, or else the site's automatic user. */
  void take_owner(const Node& node, Draft& draft);

  /** When it was made and changed, and by whom, where the seed says so. */
  void take_making(const Node& node, tag object);

  /** The value of an attribute, as JSON has it, or a text as users write it. */
  Values values_of(const Node& node, const Attribute& attribute);

  /** The object that a place names, such as {"item": id, "revision": id} or {"user": id}. */
  tag find_object(const Node& node);

  /** The one with this key, of this seed or an earlier one, or of the site itself; or NULLTAG. */
  tag find_keyed(const std::string& key);

  SeedRun& run_;
  Site& site_;
  Store& store_;
  const std::filesystem::path& folder_;

 private:
  tag automatic_user();
  void note_lacking(const Node& node);
  void take_making(const Node& node, Draft& draft);
  void take_values(const Node& node, Draft& draft);
  Scalar scalar(const Node& node, const Attribute& attribute);

  tag find_in_item(const Node& node);
  tag find_form(const Node& node, const Node& place, tag owner);
  tag find_view(const Node& node, tag item, tag revision);
  tag find_membership(const Node& node);
  tag find_pool(const Node& node);

  /** The list becomes that of the seed; statuses that stay in their place are kept. */
  void take_statuses(const Node& owner, Draft& draft);

  /** A name, or an object with a name and a date. */
  tag take_status(const Node& node, tag held);
  void remove_unused_statuses(const Values& held, tag object);

  /** A null user checks the object in. */
  void take_checkout(const Node& node, Draft& draft);

  void take_owning_site(const Node& node, Draft& draft);
};

}  // namespace host
