/** @file Seeds of datasets, their types and tools, and forms. */
#pragma once

#include "datasets.h"
#include "seed_writer.h"

namespace host {

class DataSeeder : private SeedWriter {
 public:
  using SeedWriter::SeedWriter;

  /** The sections "tools", "dataset_types" and "form_types". */
  void take_types(const Node& root);

  /** The files and forms that a dataset's seed gives it. */
  void take_contents(const Node& node, tag dataset);

  /** The master form that the seed of an item or revision gives it. */
  void take_master_form(const Node& node, tag object);

 private:
  void take_tool(const Node& node);
  void take_dataset_type(const Node& node);
  std::vector<FileReference> file_references_of(const Node& references);
  void take_form_type(const Node& node);

  void take_file(const Node& node, tag dataset);
  tag import(const Node& path, const std::string& name, const std::string& reference, tag dataset);
  void remove_file(tag file);
  void take_form_reference(const Node& node, tag dataset);
  tag take_form(const Node& node, tag known, const std::string& usual_name);

  /** Adds a part to a dataset, or puts it in the place of another one. */
  void hold(const Node& node, tag dataset, const std::string& reference, tag part,
            tag replaced = NULLTAG);
};

}  // namespace host
