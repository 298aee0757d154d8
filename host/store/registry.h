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
  int max_length = 0;        /**< of texts, in bytes */
  bool is_file_name = false; /**< whether it takes names of files only, which lead nowhere else */
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
  const char* parent = "";      /**< the type above it; empty for none */
};

struct ToolDefinition {
  std::string name;
  std::vector<std::string> output_formats;
};

/**
 * A kind of file that a dataset type takes under a named reference. Template and format are empty
 * for a reference that is not for files.
 */
struct FileReference {
  std::string reference;
  std::string file_template;
  std::string format;

  bool is_for_files() const { return !file_template.empty(); }
  bool operator==(const FileReference&) const = default;
};

struct DatasetTypeDefinition {
  std::string type;
  std::string default_tool;
  std::vector<FileReference> references;
};

/** An object that each site has, by the name that is its key. */
struct ObjectDefinition {
  const char* class_name;
  const char* attribute;
  const char* name;
};

/** Built-in classes, each after its parent. */
const std::vector<ClassDefinition>& built_in_classes();

/** An attribute that a built-in class itself defines; null when there is none. */
const AttributeDefinition* find_built_in_attribute(const std::string& class_name,
                                                   const std::string& attribute_name);

/** Lists of a class that are one list of things with several values each, so all of one length. */
struct ListsSideBySide {
  const char* class_name;
  std::vector<std::string> attributes;
};
const std::vector<ListsSideBySide>& lists_side_by_side();

/** Built-in types, each after its parent. */
std::span<const TypeDefinition> built_in_types();

const std::vector<ToolDefinition>& built_in_tools();

/** What those of the built-in types that are dataset types take. */
const std::vector<DatasetTypeDefinition>& built_in_dataset_types();

std::span<const ObjectDefinition> built_in_objects();

/** Error codes that have texts: key "error.<code>" in each file of texts/. */
std::span<const int> known_errors();

}  // namespace host
