/** @file The schemas of tools/schemas/, which the program holds. */
#pragma once

#include <span>

namespace tool {

struct SchemaText {
  const char* name; /**< "bom-tree" */
  const char* text; /**< without the definitions that schemas share */
};

/** All of them, by name; that of "definitions" has what they share. */
std::span<const SchemaText> schema_texts();

}  // namespace tool
