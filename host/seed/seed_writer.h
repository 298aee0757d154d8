/**
 * @file
 * What the seeds of all kinds of objects share: making and changing objects, finding those that a
 * seed names. Each family of objects has a seeder of its own on top of it.
 */
#pragma once

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

#include "failure.h"
#include "ork/date.h"
#include "ork/dset.h"
#include "ork/file.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "registry.h"
#include "seed_node.h"
#include "site.h"
#include "texts.h"

namespace host {

/** Members that all workspace objects may have. */
inline constexpr std::string_view workspace_members[] = {
    "name",     "type",           "description",       "owner",      "group",
    "statuses", "checked_out_by", "checked_out_since", "owning_site"};

inline constexpr int max_site_number = std::numeric_limits<int>::max();

/** What a refusal of the store means for a seed: its text is at fault, at this place. */
template <typename Action>
auto at_place(const Node& node, const Action& action) {
  try {
    return action();
  } catch (const Failure& failure) {
    static constexpr int faults_of_a_seed[] = {
        ORK_invalid_argument,     STORE_wrong_value_type, STORE_value_too_long,
        STORE_key_taken,          DATE_invalid_format,    STORE_unknown_attribute,
        OBJ_value_not_understood, FILE_cannot_read,       DSET_unknown_reference_name,
        STRUCT_contains_itself,   STRUCT_bad_quantity,    STRUCT_text_too_long};
    const bool is_of_the_seed =
        std::count(std::begin(faults_of_a_seed), std::end(faults_of_a_seed), failure.status()) != 0;
    if (!is_of_the_seed) {
      throw;
    }
    node.refuse(error_text(failure.status()) + ": " + failure.detail());
  }
}

class SeedWriter {
 public:
  SeedWriter(Site& site, std::filesystem::path folder)
      : site_(site), store_(site.store()), folder_(std::move(folder)) {}

 protected:
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

  /** Makes a workspace object, or changes the one that is known. */
  tag take_workspace_object(const Node& node, tag known, tag type, Store::Criteria key);

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
  void ensure_relation(const Node& node, tag primary, tag relation_type, tag secondary);

  /** Owner of what the seed makes: the one it names, or else the site's automatic user. */
  void take_owner(const Node& node, tag object);

  /** {"item": id}, with "revision" one of its revisions, with "dataset" one of that's datasets. */
  tag find_object(const Node& node);

  Site& site_;
  Store& store_;
  std::filesystem::path folder_;

 private:
  tag automatic_user();

  /** The list becomes that of the seed; statuses that stay in their place are kept. */
  void take_statuses(const Node& owner, tag object);

  /** A name, or an object with a name and a date. */
  tag take_status(const Node& node, tag held);

  /** A null user checks the object in. */
  void take_checkout(const Node& node, tag object);

  void take_owning_site(const Node& node, tag object);
};

}  // namespace host
