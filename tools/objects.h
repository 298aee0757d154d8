/** @file Objects of the open site, as commands name and show them. */
#pragma once

#include <string>
#include <vector>

#include "ork/date.h"
#include "ork/ork.h"
#include "platform_block.h"
#include "text.h"

namespace tool {

/** Throws an Error when reading something has failed. */
void require(int status, const std::string& what);

/** What a platform operation hands out as text. */
template <typename Operation>
std::string handed_out(Operation operation) {
  char* text = nullptr;
  operation(&text);
  const PlatformBlock<char> block(text);
  return text != nullptr ? text : "";
}

/** What a platform operation `int(int* count, tag** objects)` lists. */
template <typename Operation>
std::vector<tag> listed(const std::string& what, Operation operation) {
  int count = 0;
  tag* objects = nullptr;
  require(operation(&count, &objects), what);
  const PlatformBlock<tag> block(objects);
  return {objects, objects + count};
}

std::string id_of(tag object);
std::string class_of(tag object);
std::string type_name(tag type);

/** To the minute; empty for the null date. */
std::string date_text(const date_s& date);

/** Value of an attribute as users see it. */
std::string display_value(tag object, const char* attribute);

/** Finds the object of "ID" or "ID/REV". Item ids may hold a "/", so the last one counts. */
tag find_object(const std::string& id);

/** The objects whose id or name matches a pattern. */
std::vector<tag> find_by_pattern(const std::string& pattern);

/** An object as a row of a list: id, class, type, owner and latest status. */
Json summary_of(tag object);

/** Prints such rows as a table. */
void print_summaries(const Json& summaries);

}  // namespace tool
