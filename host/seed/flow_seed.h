/** @file Seeding of process templates. */
#pragma once

#include "seed_writer.h"

namespace host {

/** Makes a process template, or changes the one that is known. Jobs that run keep what they had. */
void take_process_template(SeedRun& run, const Node& node);

}  // namespace host
