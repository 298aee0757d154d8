/** @file Contents of the files in texts/, built into the library. */
#pragma once

namespace host {

extern const char* const english_text_file;
extern const char* const german_text_file;

}  // namespace host
