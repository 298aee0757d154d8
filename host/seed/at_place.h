/** @file What a refusal of the store means for a seed. */
#pragma once

#include <algorithm>
#include <iterator>

#include "ork/date.h"
#include "ork/dset.h"
#include "ork/file.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "seed_node.h"
#include "texts.h"

namespace host {

/** Where the store finds fault with what the seed says, its refusal is one of the seed. */
template <typename Action>
auto at_place(const Node& node, const Action& action) {
  try {
    return action();
  } catch (const SeedFailure&) {
    throw;
  } catch (const Failure& failure) {
    static constexpr int faults_of_a_seed[] = {
        ORK_invalid_argument,     STORE_wrong_value_type, STORE_value_too_long,
        STORE_key_taken,          DATE_invalid_format,    STORE_unknown_attribute,
        OBJ_value_not_understood, FILE_cannot_read,       DSET_unknown_reference_name,
        STRUCT_contains_itself,   STRUCT_bad_quantity,    STRUCT_text_too_long};
    if (std::count(std::begin(faults_of_a_seed), std::end(faults_of_a_seed), failure.status()) ==
        0) {
      throw;
    }
    node.refuse(error_text(failure.status()) + ": " + failure.detail());
  }
}

}  // namespace host
