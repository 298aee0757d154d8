/** @file Datasets of the open site, as commands name and show them. */
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

#include "ork/ork.h"
#include "text.h"

namespace tool {

constexpr const char* text_type = "Text";
constexpr const char* dataset_relation = "VELO_reference";

/** Requires that something was done, as `require_success` does; tells an interruption as such. */
void require_done(int status, const std::string& problem, std::initializer_list<int> answers = {});

/** Finds an item or, with a revision id, a revision; NULLTAG when no item is named. */
tag find_owner(const std::string& item, const std::string& revision);

/** Datasets of an item or revision, in the order in which they were related to it. */
std::vector<tag> datasets_of(tag owner);

/** NULLTAG for none. */
tag find_dataset_of(tag owner, const std::string& name);

/**
 * Refuses a name that more datasets of an item or revision have than may. To be asked once before
 * there is much work, and once when the dataset is made but not kept: others that make one wait
 * then, and what is seen decides who has the name.
 */
void require_no_more_datasets(tag owner, const std::string& name, std::size_t limit);

/** Finds a dataset of an item or revision or, without one, of the site. */
tag find_dataset(tag owner, const std::string& name);

struct Reference {
  std::string name;
  int type = 0;
  tag object = NULLTAG;
};

std::vector<Reference> references_of(tag dataset);
bool is_file(tag object);
std::string original_name(tag file);

/** What is shown of a dataset. */
Json dataset_card(tag dataset);

}  // namespace tool
