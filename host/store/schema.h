/**
 * @file
 * Whether a file has the tables of a site, and nothing that would run when they are used. A site's
 * file may come from anybody.
 */
#pragma once

#include <cstdint>
#include <string_view>

#include "sqlite.h"

namespace host {

/** Marks a SQLite file as a site: "ORKS". */
inline constexpr std::int64_t site_application_id = 0x4F524B53;

/** Whether a file is a site's, or was one before it was damaged. */
bool has_site_mark(Database& database);

/**
 * Refuses a file with ORK_site_damaged that has views, triggers or virtual tables, or that has not
 * the tables and columns that statements make.
 */
void require_tables(Database& database, const char* statements);

}  // namespace host
