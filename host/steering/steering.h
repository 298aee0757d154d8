/** @file Faults, delays and the journal of calls: what tests and tools set for operations to come.
 */
#pragma once

#include <cstddef>
#include <functional>
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

  /** Is told of each call that the journal counts when it begins, and when it has ended. */
  using Observer = std::function<void(const char* operation, bool has_ended, int status)>;

  /** Finds out anew whether any of it is on: origins may be kept by now. */
  void look_again() { update_active(); }

  /** Sets who is told from now on; has origins kept, which callers want to hear of. */
  void observe(Observer observer);

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
  void end(const char* operation, bool recorded, std::size_t entry, int status) noexcept;

  /** What `begin` sets for a call that is not in the journal. */
  static constexpr std::size_t no_entry = static_cast<std::size_t>(-1);

 private:
  struct Fault {
    std::string operation;
    int calls_left;
    int status;
  };

  void update_active() {
    active_ = recording_ || observer_ != nullptr || !faults_.empty() || !delays_.empty() ||
              reports_origins();
  }

  bool active_ = false;
  bool recording_ = false;
  std::vector<Fault> faults_;
  std::map<std::string, int, std::less<>> delays_;
  std::vector<Entry> journal_;
  Observer observer_;
};

Steering& steering();

}  // namespace host
