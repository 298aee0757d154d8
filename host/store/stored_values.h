/**
 * @file
 * Values as the file keeps them, each in a column that takes any. Whoever filled the file, what is
 * read from it is checked here once, so that the rest of the host can rely on it.
 */
#pragma once

#include <cstddef>
#include <string>

#include "ork/ork.h"
#include "registry.h"
#include "sqlite.h"
#include "values.h"

namespace host {

void bind_value(Query& query, const Scalar& value);

/** Refuses what a file holds with ORK_site_damaged, and names the object and its attribute. */
[[noreturn]] void refuse_damage(tag object, const std::string& attribute, const std::string& why);

/** A value of an attribute, from a column that holds one. */
Scalar stored_value(const Query& query, int column, const AttributeDefinition& attribute,
                    tag object);

/** Checks the place of a value among those that the attribute has so far. */
void check_position(std::int64_t position, std::size_t so_far, const AttributeDefinition& attribute,
                    tag object);

}  // namespace host
