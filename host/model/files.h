/** @file Files as objects; their contents are in the vault. */
#pragma once

#include <string>

#include "vault.h"

namespace host {

/** Where imports and exports of this process report to from now on. */
void report_copies_to(const Progress& to);

/** Copies a file out of the vault. */
void take_out_file(tag file, const std::string& path);

/** Copies a file into the vault; the object is not saved. */
tag import_file(const std::string& path, const std::string& original_name, int type);

/** The part of a name behind its last separator, of whatever operating system. */
std::string last_part(const std::string& name);

/** How files of a format are imported. */
int file_type(const std::string& format);

/** What the vault has of a file. */
Contents contents_of(Store& store, tag file);

}  // namespace host
