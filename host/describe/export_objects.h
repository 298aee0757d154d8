/** @file Items with all that belongs to them, their structures and relations, as seeds have them.
 */
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "export_places.h"

namespace host {

/** What an export of a site wants to have. */
struct ExportWishes {
  bool has_dates = true;    /**< when objects were made and changed, and by whom */
  bool has_files = false;   /**< whether contents of files are there to be named */
  std::string files_prefix; /**< what stands before the digest in the path of contents */
};

/** Objects that a seed makes, with attributes that it says in another section. */
using Unsaid = std::vector<std::pair<tag, std::vector<const Attribute*>>>;

/** Adds the sections "items", "relations" and "structures". */
void export_objects(Site& site, const ExportWishes& wishes, ExportPlaces& places,
                    nlohmann::ordered_json& seed, Unsaid& unsaid);

/** Whether an attribute says when an object was made or changed, or by whom. */
bool is_of_making(const Attribute& attribute);

/** The path under which a seed finds contents. */
std::string path_of_contents(Store& store, const ExportWishes& wishes, tag file);

}  // namespace host
