/** @file The files that a site's rows tell of, read without the site being opened. */
#pragma once

#include <string>
#include <vector>

#include "sqlite.h"
#include "vault.h"

namespace host {

/** A file that is saved; its contents are as the rows have them, which may be anything. */
struct StoredFile {
  tag object = NULLTAG;
  Contents contents;
};

std::vector<StoredFile> stored_files(Database& database);

/** Whether a saved file has these contents. */
bool is_claimed(Database& database, const std::string& contents_name);

/** What stands beside a site's file. */
std::string vault_of(const std::string& site_path);
std::string processes_of(const std::string& site_path);

/** Names of contents in a vault's folder, which need not be there. */
std::vector<std::string> names_in_vault(const std::string& folder);

/** Whether a path is that of a file, and of no link. */
bool is_plain_file(const std::string& path);

}  // namespace host
