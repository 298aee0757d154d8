/** @file The site that a command works on, and a session with it. */
#pragma once

#include <string>
#include <vector>

namespace tool {

/**
 * Path of a site's file.
 * @param given what the command line says; when empty, `ORK_HOST_DB` counts.
 */
std::string site_file(const std::string& given);

/** An open site, closed at the end. */
class Site {
 public:
  enum class Open { existing, anew };

  explicit Site(const std::string& path, Open how = Open::existing);
  ~Site();
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  void seed(const std::string& json);
  /** @param path "-" for standard input, whose paths begin at the current folder. */
  void seed_file(const std::string& path);
  void set_preference(const std::string& name, const std::vector<std::string>& values);
  /** @param section as for `ork_host_describe`; empty for all sections. */
  std::string describe(const std::string& section) const;
};

/** As long as one lives, all that is read is one state of the open site, and nothing is changed. */
class View {
 public:
  View();
  ~View();
  View(const View&) = delete;
  View& operator=(const View&) = delete;
};

/** Changes that come into the open site together, when they are kept, or not at all. */
class Change {
 public:
  Change();
  ~Change();
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;

  /** @return why they are not kept, or why a job was stopped that goes on now. */
  int keep();

 private:
  bool is_open_ = true;
};

/**
 * A session on the open site, started and ended through the library. One that ends because a
 * command has failed drops what the command has not saved.
 */
class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /** First value of a preference; an Error is thrown when there is none. */
  std::string preference(const std::string& name) const;

 private:
  int failures_before_;
};

/** Keeps what the library prints out of the program's own output; it goes where the trace is read.
 */
class LibraryCall {
 public:
  LibraryCall();
  ~LibraryCall();
  LibraryCall(const LibraryCall&) = delete;
  LibraryCall& operator=(const LibraryCall&) = delete;

 private:
  int standard_output_;
};

/** Shows the trace only to those who asked for it in the environment; commands report failures. */
void silence_trace_unless_wanted();

}  // namespace tool
