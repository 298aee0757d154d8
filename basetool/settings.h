/** @file The trace's settings, from environment variables. */
#pragma once

#include <cstdint>

#include "zolp_basetool.h"

namespace basetool {

struct Settings {
  int level = ZOLP_LEVEL_WARNING;
  const char* file = nullptr; /**< name with %p and %%; null for standard error */
  bool shows_clock = false;
  bool shows_time = false;
  bool shows_level = false;
  bool shows_process = false;
  bool is_followed = false;
  uint64_t size_limit = 0; /**< in bytes; 0 for none */
  unsigned kept_files = 3;
  const char* recording = nullptr; /**< name like that of `file`; null for none */
  uint64_t recording_size = 0;     /**< in bytes; 0 for the usual one */
  bool records_details = false;
  const char* skipped = nullptr; /**< names with stars, separated by commas; null for none */
  const char* chosen = nullptr;
};

/**
 * Keeps the folder that relative names of files start from. To be called when the library is
 * loaded; does nothing when called again.
 */
void remember_folder();

/** That folder with a separator at its end; empty when it cannot be asked for. */
const char* remembered_folder();

/** Reads the settings. A value that is not understood is named on standard error and ignored. */
Settings read_settings();

}  // namespace basetool
