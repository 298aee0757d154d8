/** @file A site as a seed, which makes an equal one. */
#pragma once

#include <string>

#include "json_stream.h"
#include "site.h"
#include "wishes.h"

namespace host {

/**
 * Writes the seed as it is made; with a folder for them, contents of files are written there, each
 * under its digest.
 * @param[in] files the folder, which is made and must not exist; empty for none.
 */
void export_site(Site& site, Wishes wishes, const std::string& files,
                 const JsonStream::Write& write);

}  // namespace host
