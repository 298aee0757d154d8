/** @file Jobs and process templates as flow charts. */
#pragma once

#include "picture.h"
#include "text.h"

namespace tool {

/**
 * The flow chart of a task and what runs below it.
 * @param root a job's root task as `job_json` makes it, or that of a process template as a site is
 *     described.
 */
Picture flow_picture(const std::string& title, const Json& root);

}  // namespace tool
