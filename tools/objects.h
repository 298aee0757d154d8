/** @file Objects of the open site, as commands name and show them. */
#pragma once

#include <string>
#include <vector>

#include "failures.h"
#include "ork/date.h"
#include "ork/ork.h"
#include "platform_block.h"
#include "text.h"

namespace tool {

/** What a platform operation `int(char** text)` hands out; empty for none. */
template <typename Operation>
std::string handed_out(const std::string& what, Operation operation) {
  char* text = nullptr;
  const int status = operation(&text);
  const PlatformBlock<char> block(text);
  require(status, what);
  return text != nullptr ? text : "";
}

/** What a platform operation `int(int* count, tag** objects)` lists. */
template <typename Operation>
std::vector<tag> listed(const std::string& what, Operation operation) {
  int count = 0;
  tag* objects = nullptr;
  const int status = operation(&count, &objects);
  const PlatformBlock<tag> block(objects);
  require(status, what);
  return {objects, objects + count};
}

std::string id_of(tag object);
std::string name_of(tag object);
std::string class_of(tag object);
std::string type_of(tag object);
std::string type_name(tag type);

struct Owner {
  std::string user, group;
};

Owner owner_of(tag object);

/** To the minute; empty for the null date. */
std::string date_text(const date_s& date);

/** Value of an attribute as users see it. */
std::string display_value(tag object, const char* attribute);

/** Finds the object of "ID" or "ID/REV". Item ids may hold a "/", so the last one counts. */
tag find_object(const std::string& id);

/** The objects whose id or name matches a pattern. */
std::vector<tag> find_by_pattern(const std::string& pattern);

}  // namespace tool
