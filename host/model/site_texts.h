/** @file The texts that a site has of its own, in its file. */
#pragma once

#include <optional>
#include <string>

#include "sqlite.h"
#include "texts.h"

namespace host {

/** The texts of a site's own. */
Texts read_site_texts(Database& database);

/** Gives a site a text of its own; none brings back the one that ships. */
void write_site_text(Database& database, Language language, const std::string& key,
                     const std::optional<std::string>& text);

}  // namespace host
