/**
 * @file
 * Copies of whole sites, and sites that are put back to what a copy has or removed.
 *
 * A copy is made inside of its vault's folder, beside the contents, and its file gets its name
 * last: with that it is there. A file in the folder says whose work it is (held_file.h), so that
 * what a killed process has left is told from a site, and removed by who makes a copy of that name
 * next.
 *
 * A site is put back in one transaction. Contents that it is to have come before that, those that
 * it had go after it, and all of them stand in this process's presence file meanwhile: whatever
 * becomes of the process, the next one that opens the site removes those that are nobody's.
 */
#pragma once

#include <string>

#include "site.h"

namespace host {

/** Refuses the site that this process has open. */
void require_no_open_site(const std::string& path);

/** How contents come into a copy. */
enum class Sharing {
  links, /**< by what takes least room: shared blocks, the same file, a copy */
  none,  /**< apart: shared blocks or a copy */
};

/** Copies what is saved in a site to a path where nothing may be; others may be changing it. */
void make_snapshot(Site& site, const std::string& copy, Sharing sharing);

/** Makes a site what a copy is. It need not be there; nobody may have it open. */
void restore_site(const std::string& path, const std::string& copy, Sharing sharing);

/** Removes a site with all that stands beside it. Nobody may have it open. */
void remove_site(const std::string& path);

}  // namespace host
