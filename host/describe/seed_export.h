/** @file A site as a seed, which makes an equal one. */
#pragma once

#include <string>

#include "export_objects.h"

namespace host {

/**
 * The seed; with a folder for them, contents of files are written there, each under its digest.
 * @param[in] files the folder, which is made and must not exist; empty for none.
 */
std::string export_site(Site& site, ExportWishes wishes, const std::string& files);

}  // namespace host
