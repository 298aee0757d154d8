/** @file The one table of what every site knows: classes, types and error codes. */
#pragma once

#include <span>
#include <string>
#include <vector>

namespace host {

/** What an attribute's values are; the order is that of the alternatives of `Scalar` (store.h). */
enum class Kind { text, integer, real, logical, date, reference };

const char* name_of(Kind kind);

/** Finds a kind by its name; false when there is none of that name. */
bool find_kind(const std::string& name, Kind* kind);

struct AttributeDefinition {
  std::string name;
  Kind kind;
  bool list = false;
  int max_length = 0; /**< of texts, in bytes */
};

struct ClassDefinition {
  const char* name;
  const char* parent; /**< empty for the root */
  std::vector<AttributeDefinition> attributes;
  /**
   * Attributes whose values together no two instances of the class and its subclasses share. A
   * subclass without a key has its parent's.
   */
  std::vector<const char*> key;
  int key_taken; /**< the code that refuses a second instance with the same key; 0 without a key */
  bool is_abstract = false; /**< whether only its subclasses have instances */
};

struct TypeDefinition {
  const char* class_of_type; /**< "Type" or "RelationType" */
  const char* name;
  const char* class_of_objects; /**< empty for relation types */
};

/** Built-in classes, each after its parent. */
const std::vector<ClassDefinition>& built_in_classes();

std::span<const TypeDefinition> built_in_types();

/** Error codes that have texts: key "error.<code>" in each file of texts/. */
std::span<const int> known_errors();

}  // namespace host
