/**
 * @file
 * Dataset types and datasets. What a type defines and what a dataset refers to are lists; the store
 * keeps each as one list for every member, all of the same length.
 */
#pragma once

#include <string>
#include <vector>

#include "file_references.h"
#include "store.h"

namespace host {

/** Refuses what is no dataset type, or no type at all. */
void require_dataset_type(tag type);
bool is_dataset_type(Store& store, tag type);

/** One of a dataset's named references. */
struct NamedReference {
  std::string name;
  int type; /**< DSET_PART_OF or DSET_ASSOCIATION */
  tag object;
};

/** What a dataset type takes, or else the type above it; none where none of them says. */
std::vector<FileReference> file_references(Store& store, tag type);

/** Their names, each once. */
std::vector<std::string> reference_names(const std::vector<FileReference>& references);

/** Type names of a dataset and what it is, for refusals. */
std::string dataset_text(Store& store, tag dataset);

/** Default tool of a dataset type, or else of the type above it; NULLTAG where none has one. */
tag default_tool(Store& store, tag type);

std::vector<NamedReference> named_references(Store& store, tag dataset);
void set_named_references(Store& store, tag dataset, const std::vector<NamedReference>& references);

/** Adds a reference behind those that a dataset has, if its type takes one of that name. */
void add_named_reference(Store& store, tag dataset, const NamedReference& reference);

/** Puts a reference in the place of the one of the same name that is to an object. */
void replace_named_reference(Store& store, tag dataset, tag old_object,
                             const NamedReference& reference);

/** A new dataset of the same type, with what a dataset refers to; it is not saved. */
tag copy_dataset(Store& store, tag dataset, const char* name);

/** How many versions a dataset keeps unless it says otherwise: a preference, or else 3. */
int default_revision_limit();

/** What is deleted with an object: saved parts of a dataset that no other saved object refers to.
 */
std::vector<tag> parts_to_delete(Store& store, tag object);

}  // namespace host
