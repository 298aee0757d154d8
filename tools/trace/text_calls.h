/**
 * @file
 * The calls of a text trace.
 *
 * A line is a prefix, two blanks for each level of indentation, and a text. Entry and exit lines
 * are ` ->` or ` <-`, the call, a blank and its place:
 *
 *      ->ZOLP_ask_login family.cpp:120
 *        ->STORE_get_user(&name, &user) family.cpp:122
 *        <-STORE_get_user(&name, &user) family.cpp:122
 *
 * A text that came without a line feed may stand before the arrow. A call that fails says so before
 * its exit line, and the platform's error text follows between two dashes each:
 *
 *      File:family.cpp Line:122 Funktion:STORE_get_user(&name, &user) returned 515
 *     --The user is unknown.--
 *     ##ORK_err_515: STORE_get_user(...)   family.cpp:122
 */
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "call_source.h"
#include "text_lane.h"
#include "text_lines.h"
#include "text_prefix.h"

namespace trace {

class TextCalls final : public CallSource {
 public:
  /**
   * @param parts the files of a series that follow the first one, from older to newer.
   * @param begin what was read of the first one already.
   * @param is_last whether the reader reads nothing behind it, and may wait at its end.
   */
  TextCalls(Reading& reading, std::vector<std::string> parts, std::unique_ptr<TraceFile> first,
            const std::string& begin, bool is_last);
  ~TextCalls() override;

  bool read() override;

 private:
  struct KnownCall;

  void note_step(TextLines::Step step);
  void finish();

  void set_format(const PrefixFormat& format);
  int64_t time_of(const Prefix& prefix) const;
  void choose_lane(const Prefix& prefix);
  void add_lane(const Prefix& prefix);
  void end_lane(TextLane& lane);

  void read_lines();
  const char* read_line(const char* line, const char* text, const char* end);
  const char* read_known_entry(const char* call, const char* end);
  const char* read_known_exit(const char* call, const char* end);
  void read_rare_line(std::string_view line, std::string_view text);
  void read_entry(std::string_view call);
  void read_exit(std::string_view line);
  bool read_told_failure(std::string_view text);
  bool read_late_arrow(std::string_view line, std::string_view text);

  void enter(uint32_t site);
  void leave_top();
  Exit exit_here() const;
  void remember(uint32_t site);
  void add_text(std::string_view text);
  void note_damage();
  std::string here() const;

  Reading& reading_;
  TextLines lines_;
  bool is_finished_ = false;

  PrefixFormat format_;
  bool has_prefix_ = false;
  bool is_format_known_ = false;
  uint64_t line_number_ = 0;
  uint64_t lines_before_ = 0;   /**< in older parts */
  int64_t time_ = unknown_time; /**< of the current line */
  uint64_t damaged_lines_ = 0;
  std::string first_damage_;
  uint64_t exits_without_entry_ = 0;

  std::vector<KnownCall> known_; /**< by the numbers of sites */
  uint32_t latest_site_ = 0; /**< of the latest entry or exit, which tells what is likely next */
  bool was_latest_entered_ = false;
  std::deque<TextLane> lanes_;
  TextLane* lane_ = nullptr;
};

}  // namespace trace
