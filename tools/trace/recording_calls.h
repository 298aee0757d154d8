/** @file The calls of a recording. */
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>

#include "call_source.h"
#include "recording.h"

namespace trace {

class RecordingCalls final : public CallSource {
 public:
  /**
   * @param begin what was read of the file already.
   * @throws tool::Error when it is of a version that is not known.
   */
  RecordingCalls(Reading& reading, std::unique_ptr<TraceFile> file, std::string begin);

  bool read() override;

 private:
  struct Thread {
    uint32_t lane = 0;
    std::unique_ptr<CallStack> stack;
  };

  void remark();
  Thread& thread_of(uint32_t number);
  uint32_t site_of(uint32_t number);
  void read_texts_until(uint64_t event);
  void read_event(const Event& event);
  void finish();

  Reading& reading_;
  std::string name_;
  Recording recording_;
  std::vector<uint32_t> sites_; /**< of the recording's numbers, as in the reader's */
  std::map<uint32_t, Thread> threads_;
  std::map<uint64_t, std::string_view> error_texts_; /**< by event */
  std::multimap<uint64_t, const Text*> other_texts_; /**< by event */
  size_t next_ = 0;
  uint64_t exits_without_entry_ = 0;
};

}  // namespace trace
