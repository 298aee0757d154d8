/**
 * @file
 * Whether a file has the tables of a site, and nothing that would run when they are used. A site's
 * file may come from anybody.
 */
#pragma once

#include <string_view>

#include "sqlite.h"

namespace host {

/**
 * Refuses a file with ORK_site_damaged that has views, triggers or virtual tables, or that has not
 * the tables and columns that statements make.
 */
void require_tables(Database& database, const char* statements);

}  // namespace host
