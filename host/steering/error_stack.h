/** @file The error stack behind the ERR_ operations. */
#pragma once

#include <list>
#include <string>
#include <string_view>

namespace host {

struct ErrorEntry {
  int severity;
  int code;
  std::string text;
};

/** The entries, the oldest first. */
const std::list<ErrorEntry>& errors();

/**
 * Puts an entry on the stack: the code's general text and, behind it, the detail, if any. Where
 * memory is exhausted there is room for one entry more, which says that.
 */
void push_error(int severity, int code, std::string_view detail) noexcept;

/** Clears the entries, the protected ones and their marks too. */
void clear_errors() noexcept;

void clear_unprotected_errors();

/** Takes the last entry off the stack if it has a code and is not protected. */
void clear_last_error(int code);

/** Protects all entries that there are. */
void set_protect_mark();
void clear_protect_mark();

}  // namespace host
