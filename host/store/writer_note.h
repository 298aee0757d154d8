/**
 * @file
 * Who changes a site for longer than a moment: such a process says so in a file of its own among
 * those of the site's processes (presence.h), for those that wait for it.
 */
#pragma once

#include <string>

#include "presence.h"

namespace host {

/** Says so as long as it lives. Where that cannot be written, nothing is said. */
class WriterNote {
 public:
  /** @param[in] user who changes the site; the system's user when it is empty. */
  WriterNote(const std::string& site_path, const std::string& user);
  ~WriterNote();
  WriterNote(const WriterNote&) = delete;
  WriterNote& operator=(const WriterNote&) = delete;

 private:
  Presence presence_;
};

/**
 * The processes that have said so and live, this one aside: "process 4711 (zolp) of user ada on
 * mill, since 2026-11-21 12:00:00"; empty where none has.
 */
std::string writers_of(const std::string& site_path);

}  // namespace host
