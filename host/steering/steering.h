/** @file Faults, delays and the journal of calls: what tests and tools set for operations to come.
 */
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "origin.h"

namespace host {

class Steering {
 public:
  /** Whether any of it is on. Operations pass by on this one test otherwise. */
  bool active() const { return active_; }

  void fail_call(const std::string& operation, int nth, int status);
  void delay_call(const std::string& operation, int milliseconds);
  void clear_faults();

  // The same as users write it down, see outside.h.
  void order_faults(const std::string& orders);
  void order_delays(const std::string& orders);
  void write_journal(const std::string& path);

  void start_journal();
  void stop_journal();

  struct Entry {
    const char* operation;
    int status;
  };
  const std::vector<Entry>& journal() const { return journal_; }

  /**
   * Begins a call: records it, waits, and throws a Failure where a fault is due.
   * @param[in] recorded false for operations that neither the journal nor "*" counts.
   * @param[out] entry what `end` wants.
   */
  void begin(const char* operation, bool recorded, std::size_t* entry);
  void end(std::size_t entry, int status) noexcept;

  /** What `begin` sets for a call that is not in the journal. */
  static constexpr std::size_t no_entry = static_cast<std::size_t>(-1);

 private:
  struct Fault {
    std::string operation;
    int calls_left;
    int status;
  };

  void update_active() {
    active_ = recording_ || !faults_.empty() || !delays_.empty() || reports_origins();
  }

  bool active_ = false;
  bool recording_ = false;
  std::vector<Fault> faults_;
  std::map<std::string, int, std::less<>> delays_;
  std::vector<Entry> journal_;
};

Steering& steering();

}  // namespace host
