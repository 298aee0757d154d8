/** @file The functions and calls that traces name. */
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace trace {

enum class CallKind : uint8_t {
  frame,  /**< a function: its entry line names no arguments */
  traced, /**< a call whose function goes on whatever comes back */
  guarded /**< a call that ends its function when it fails */
};

/** A place in the sources: where a function begins, or where it makes a call. */
struct CallSite {
  CallKind kind{};
  std::string
      text; /**< as written, `PREF_get_value_count(name, count)`; of guarded calls `X(...)` */
  std::string name; /**< what stands before the first parenthesis, `PREF_get_value_count` */
  std::string file;
  uint32_t line = 0;
};

/** All sites that were met, each once; several readers may share them. Numbers run from 0 on. */
class CallSites {
 public:
  const CallSite& operator[](uint32_t site) const { return sites_[site]; }
  uint32_t size() const { return static_cast<uint32_t>(sites_.size()); }

  /** The number of a site. */
  uint32_t number_of(CallKind kind, std::string_view text, std::string_view file, uint32_t line);

  /**
   * The number of the site that an entry line names.
   * @param line the text and the place, `PREF_initialize() utilities.cpp:297`.
   * @return `no_site` when it does not end with a place.
   */
  uint32_t number_of(std::string_view line);

  static constexpr uint32_t no_site = UINT32_MAX;

 private:
  struct Slot {
    uint64_t hash = 0;
    uint32_t site = no_site;
  };

  uint32_t find(std::string_view line) const;
  uint32_t add(CallKind kind, std::string_view text, std::string_view file, uint32_t line);
  void insert(uint64_t hash, uint32_t site);
  void grow();

  std::deque<CallSite> sites_;
  std::deque<std::string> lines_; /**< how entry lines name them */
  std::vector<Slot> slots_;       /**< open addressing; their number is a power of two */
};

/** The parts of what an entry or exit line names; empty when it does not end with a place. */
struct NamedCall {
  std::string_view text;
  std::string_view file;
  uint32_t line = 0;
};
NamedCall parse_call(std::string_view line);

}  // namespace trace
