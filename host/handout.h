/** @file Results that callers free with MEM_free. Exhausted memory is thrown as std::bad_alloc. */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ork/ork.h"

namespace host {

/** A NUL-terminated copy. */
char* hand_out(std::string_view text);

/** An array of tags; null for none. */
tag* hand_out(const std::vector<tag>& tags);

/** An array of texts in one block; null for none. */
char** hand_out(const std::vector<std::string>& texts);

/** Makes the nth allocation from now on, counted from 1, yield nothing; 0 takes that back. */
void fail_allocation(int nth);

}  // namespace host
