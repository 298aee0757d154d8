/** @file How a seed names objects, and which of its sections makes them. */
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "datasets.h"
#include "store.h"

namespace host {

/**
 * Looks each object up when it is asked for one: nothing is kept but what does not grow with the
 * number of items, and who says objects that several others have.
 */
class Places {
 public:
  using Json = nlohmann::ordered_json;

  explicit Places(Store& store);

  /** The place of an object; by a key where no section names it; null for none. */
  Json of(tag object);

  /** The same, of an object that an attribute of another one refers to: it must be there. */
  Json of(tag object, tag owner, const std::string& attribute);

  /** The key of an object that has no place of another kind. */
  std::string key(tag object);

  // Whether the section of its kind can make an object, so that it has a place there.

  bool has_item(tag item);
  bool has_revision(tag revision);
  bool has_dataset(tag dataset) { return relation_of_dataset(dataset) != NULLTAG; }
  bool has_folder(tag folder);
  bool has_structure(tag view_revision);
  bool has_view(tag view);
  bool has_process_template(tag process);

  /** The relation by which a revision has a dataset of a seed; NULLTAG for datasets elsewhere. */
  tag relation_of_dataset(tag dataset);

  /** The relation by which an item or a revision has a form as its master form, or NULLTAG. */
  tag relation_of_master_form(tag form);

  /** The dataset of a seed whose form it is, under a reference that no other form has. */
  tag dataset_of_form(tag form, std::string* reference);

  /** Whether all that a dataset has are files and forms of its own that a seed can bring. */
  bool are_plain_parts(tag dataset);

  /** Whether all release statuses of an object are its own, and nothing but a name and a date. */
  bool has_plain_statuses(tag object);

  /** Whether a relation is all that there is to say, and nothing refers to it. */
  bool is_plain_relation(tag relation);

 private:
  bool is_sayable(tag object, const char* id);
  bool is_plain_status(tag status, tag owner);
  bool is_plain_file(const NamedReference& reference, tag dataset,
                     const std::vector<FileReference>& taken);
  bool has_one_dataset_of_name(tag revision, const std::string& name);
  tag remember_first(tag object, std::size_t relations, tag first);
  Json of_revision(tag revision);
  Json of_dataset(tag dataset);
  Json of_form(tag form);
  Json of_view(tag view, tag revision);
  Json of_definition(tag object, const Class& type);
  Json of_membership(tag member);
  Json of_pool(tag pool);

  Store& store_;
  std::unordered_map<tag, std::string> keys_; /**< of seeds */
  std::optional<std::unordered_set<tag>> process_templates_;

  /** The relations by which datasets and forms are said that several objects have: each asks. */
  std::unordered_map<tag, tag> first_relations_;

  /** The datasets of the revision that was asked for last, by name; NULLTAG where several have it.
   */
  tag latest_revision_ = NULLTAG;
  std::unordered_map<std::string, tag> datasets_by_name_;
};

/** A status as seeds have it: a name, or a name and a date. */
nlohmann::ordered_json status_json(Store& store, tag status);

}  // namespace host
