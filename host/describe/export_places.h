/** @file How a seed names objects, for those that refer to them. */
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>

#include "site.h"

namespace host {

/** What an export has said so far, and under which place of the seed each object is found. */
class ExportPlaces {
 public:
  explicit ExportPlaces(Store& store);

  /** Notes that the seed makes an object, which is found at a place from then on. */
  void note(tag object, nlohmann::ordered_json place) {
    places_.insert_or_assign(object, std::move(place));
  }

  /** The same for one that nothing else refers to. */
  void note_unnamed(tag object) { places_.emplace(object, nullptr); }

  bool has(tag object) const { return places_.contains(object); }

  /** The place of an object; by a key where no section but "objects" has it; null for none. */
  nlohmann::ordered_json of(tag object) const;

  /** The key of an object of the section "objects". */
  std::string key(tag object) const;

  /** How many saved references there are to an object. */
  int references_to(tag object) const;

 private:
  std::unordered_map<tag, nlohmann::ordered_json> places_;
  std::unordered_map<tag, std::string> keys_;
  std::unordered_map<tag, int> references_;
  int site_number_;
};

}  // namespace host
