/** @file Items with all that belongs to them, relations, structures and folders, as seeds have it.
 */
#pragma once

#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "json_values.h"
#include "places.h"
#include "site.h"
#include "wishes.h"

namespace host {

/** Writes the sections of objects element by element; what is read for them is forgotten again. */
class ObjectSections {
 public:
  using Json = nlohmann::ordered_json;

  ObjectSections(Site& site, const Wishes& wishes, Places& places, Account& account);

  void write_items(ElementList& list);
  void write_relations(ElementList& list);
  void write_structures(ElementList& list);
  void write_folders(ElementList& list);

  /** For those who look: all workspace objects, by their attributes. */
  void write_workspace_objects(ElementList& list);

  /** For a seed: objects that no other section has made, and attributes that it has not said. */
  void write_rest(ElementList& list);

 private:
  Json item_json(tag item);
  Json revision_json(tag revision);
  void add_master_form(Json& described, tag owner);
  void add_datasets(Json& described, tag revision);
  Json dataset_json(tag dataset, tag relation);
  void add_files(Json& described, tag dataset);
  Json file_json(const std::string& reference, tag file);
  Json relation_json(tag relation);
  Json structure_json(tag view_revision);
  Json lines_json(tag view_revision);
  Json folder_json(tag folder);
  Json rest_json(tag object);

  /**
   * What all workspace objects have; it is said from then on.
   * @param said attributes that the section says besides.
   */
  Json workspace_json(tag object, const char* usual_type, std::set<std::string> said,
                      const Json& ids = Json::object());
  void add_owner(Json& described, tag object);
  void add_statuses(Json& described, tag object, std::set<std::string>& said);
  void add_checkout(Json& described, tag object, std::set<std::string>& said);
  void add_making(Json& described, tag object);
  void add_values(Json& described, tag object, const std::set<std::string>& said);

  Json values_json(tag object, const std::vector<const Attribute*>& attributes);
  Json value_of(tag object, const Attribute& attribute, const Scalar& value);

  Store& store_;
  const Wishes& wishes_;
  Places& places_;
  Account& account_;
  bool has_automatic_user_ = false;
};

/** The path under which a seed finds contents. */
std::string path_of_contents(Store& store, const Wishes& wishes, tag file);

}  // namespace host
