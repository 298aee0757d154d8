/** @file The section of a seed that is about folders. */
#pragma once

#include "seed_writer.h"

namespace host {

/** Folders have no id of their own: seeds know them by a key. */
class FolderSeeder : private SeedWriter {
 public:
  using SeedWriter::SeedWriter;

  /** Makes or changes a folder, without what is in it. */
  void take_folder(const Node& node);

  /** Once all is there that may be in it. */
  void take_contents(const Node& node);
};

}  // namespace host
