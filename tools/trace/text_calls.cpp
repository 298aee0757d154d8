#include "text_calls.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "error.h"
#include "text_prefix.h"
#include "told_failure.h"

namespace trace {
namespace {

/** A process that begins anew counts its time from 0; threads differ by less. */
constexpr int64_t earlier_by_a_run = 1'000'000'000;

std::string_view trimmed_left(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

/** What follows the blanks. Looks at eight bytes at a time; a line ends with a line feed. */
const char* after_blanks(const char* at) {
  constexpr uint64_t blanks = 0x2020202020202020U;
  if constexpr (std::endian::native == std::endian::little) {
    for (;;) {
      uint64_t bytes;
      std::memcpy(&bytes, at, sizeof bytes);
      if (bytes != blanks) {
        return at + std::countr_zero(bytes ^ blanks) / 8;
      }
      at += sizeof bytes;
    }
  }
  while (*at == ' ') {
    ++at;
  }
  return at;
}

/** Whether a line ends as those do that tell of a failure, or hold an arrow behind other text. */
bool may_be_failure_or_arrow(const char* text, const char* end) {
  if (end - text < 8) {
    return false;
  }
  if (end[-1] == ' ') {
    return is_digit(end[-2]);
  }
  if (!is_digit(end[-1])) {
    return false;
  }
  const char* at = end - 1;
  while (at > text && is_digit(*at)) {
    --at;
  }
  return *at == ':';
}

bool holds_control_characters(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
  });
}

}  // namespace

/** Texts of a site's lines as they stand in the file, to be recognised by a comparison. */
struct TextCalls::KnownCall {
  std::string entry;     /**< behind the arrow, with the line feed */
  std::string exit;      /**< the same of its latest exit */
  uint32_t next[2] = {}; /**< site that was entered next after it was left, or entered */
};

TextCalls::TextCalls(Reading& reading, std::vector<std::string> parts,
                     std::unique_ptr<TraceFile> first, const std::string& begin, bool is_last)
    : reading_(reading),
      lines_(std::move(parts), std::move(first), begin, is_last ? reading.options.wait : nullptr) {}

TextCalls::~TextCalls() = default;

bool TextCalls::read() {
  while (!reading_.queue.is_full()) {
    if (!lines_.lines().empty()) {
      read_lines();
      continue;
    }
    // Who reads should have what there is before anybody waits.
    const TextLines::Step step = lines_.read_on(reading_.queue.is_empty());
    if (step == TextLines::Step::wait) {
      return true;
    }
    if (step == TextLines::Step::end) {
      finish();
      return false;
    }
    note_step(step);
  }
  return true;
}

void TextCalls::note_step(TextLines::Step step) {
  if (step == TextLines::Step::new_part) {
    lines_before_ = line_number_;
    is_format_known_ = false;
    for (const TextLane& lane : lanes_) {
      reading_.lanes[lane.index].parts.push_back({lines_.name(), lines_before_});
    }
  } else if (step == TextLines::Step::cut_line) {
    ++line_number_;
    reading_.remarks.push_back(here() + ": the last line is cut, and was left out");
  } else if (step == TextLines::Step::long_line) {
    note_damage();
  }
}

void TextCalls::set_format(const PrefixFormat& format) {
  format_ = format;
  has_prefix_ = !format.is_empty();
}

int64_t TextCalls::time_of(const Prefix& prefix) const {
  return format_.has_time    ? prefix.time
         : format_.has_clock ? prefix.clock - lane_->start
                             : unknown_time;
}

/** The lane of a process; one that counts its time anew is another one. */
void TextCalls::choose_lane(const Prefix& prefix) {
  if (lane_ == nullptr || lane_->process != prefix.process) {
    const auto found = std::find_if(lanes_.rbegin(), lanes_.rend(), [&](const TextLane& lane) {
      return lane.process == prefix.process;
    });
    if (found != lanes_.rend()) {
      lane_ = &*found;
    } else {
      add_lane(prefix);
    }
  }
  if (format_.has_time && lane_->latest_time != unknown_time &&
      prefix.time < lane_->latest_time - earlier_by_a_run) {
    end_lane(*lane_);
    add_lane(prefix);
  }
  if (format_.has_time) {
    lane_->latest_time = prefix.time;
  }
  if (format_.has_clock && lane_->start == unknown_time) {
    lane_->start = reading_.lanes[lane_->index].start = prefix.clock - prefix.time;
  }
  if (format_.has_time || format_.has_clock) {
    reading_.lanes[lane_->index].has_times = true;
  }
}

void TextCalls::add_lane(const Prefix& prefix) {
  Lane lane;
  lane.file = lines_.name();
  lane.parts.push_back({lane.file, lines_before_});
  lane.process = prefix.process;
  lane_ = &lanes_.emplace_back(reading_.sites, reading_.queue,
                               static_cast<uint32_t>(reading_.lanes.size()), prefix.process);
  reading_.lanes.push_back(std::move(lane));
}

void TextCalls::end_lane(TextLane& lane) {
  lane.add_pending_failure();
  lane.stack.end(line_number_);
}

void TextCalls::finish() {
  if (is_finished_) {
    return;
  }
  is_finished_ = true;
  if (known_.empty() && damaged_lines_ > 0) {
    throw tool::Error(lines_.name() + " is neither a text trace nor a recording",
                      "name a file that ZOLP_TRACE_FILE or ZOLP_TRACE_RECORD has named");
  }
  for (TextLane& lane : lanes_) {
    end_lane(lane);
  }
  if (known_.empty() && line_number_ > 0) {
    reading_.remarks.push_back(lines_.name() +
                               " holds no calls: trace with ZOLP_TRACE_LEVEL=log or trace");
  }
  if (exits_without_entry_ > 0) {
    reading_.remarks.push_back(
        lines_.name() + ": the beginning is missing: " + std::to_string(exits_without_entry_) +
        " exits of calls whose entries are not there were left out");
  }
  if (damaged_lines_ > 0) {
    reading_.remarks.push_back(first_damage_ + ": this is no text; " +
                               std::to_string(damaged_lines_) +
                               " such lines were left out, what follows them was read");
  }
}

void TextCalls::read_lines() {
  const std::string_view lines = lines_.lines();
  if (!is_format_known_) {
    is_format_known_ = true;
    set_format(detect_format(lines));
  }
  const char* line = lines.data();
  const char* const end = line + lines.size();
  while (line < end && !reading_.queue.is_full()) {
    ++line_number_;
    if (*line == '\n') {
      ++line;
      continue;
    }
    const char* text = line;
    if (has_prefix_) {
      Prefix prefix;
      if (read_prefix(format_, {line, end}, prefix)) {
        choose_lane(prefix);
        time_ = time_of(prefix);
        text += prefix.size;
      }
    }
    if (lane_ == nullptr) {
      add_lane({});
    }
    line = read_line(line, after_blanks(text), end);
  }
  lines_.consume(static_cast<size_t>(line - lines.data()));
}

/** Reads a line. @param text its first character that is no blank. @return the next line. */
const char* TextCalls::read_line(const char* line, const char* text, const char* end) {
  if (text > line && text[-1] == ' ' && !lane_->needs_care()) {
    if (text[0] == '-' && text[1] == '>') {
      if (const char* next = read_known_entry(text + 2, end)) {
        return next;
      }
    } else if (text[0] == '<' && text[1] == '-') {
      if (const char* next = read_known_exit(text + 2, end)) {
        return next;
      }
    }
  }
  const char* const line_end =
      static_cast<const char*>(std::memchr(text, '\n', static_cast<size_t>(end - text)));
  const bool is_arrow = (text[0] == '-' && text[1] == '>') || (text[0] == '<' && text[1] == '-');
  if (is_arrow || lane_->needs_care() || may_be_failure_or_arrow(text, line_end) ||
      static_cast<unsigned char>(*text) < ' ') {
    read_rare_line({line, line_end}, {text, line_end});
  } else if (reading_.options.texts) {
    add_text({text, line_end});
  }
  return line_end + 1;
}

/** The entry that followed last time, or nothing. */
const char* TextCalls::read_known_entry(const char* call, const char* end) {
  if (known_.empty()) {
    return nullptr;
  }
  const uint32_t expected = known_[latest_site_].next[was_latest_entered_];
  const std::string& text = known_[expected].entry;
  if (text.empty() || static_cast<size_t>(end - call) < text.size() ||
      std::memcmp(call, text.data(), text.size()) != 0) {
    return nullptr;
  }
  enter(expected);
  return call + text.size();
}

void TextCalls::enter(uint32_t site) {
  lane_->stack.enter(site, time_, line_number_);
  latest_site_ = site;
  was_latest_entered_ = true;
}

/** The exit of the innermost call as it was last time, or nothing. */
const char* TextCalls::read_known_exit(const char* call, const char* end) {
  if (lane_->stack.is_empty()) {
    return nullptr;
  }
  const uint32_t top = lane_->stack.top();
  const std::string& text = known_[top].exit;
  if (static_cast<size_t>(end - call) < text.size() ||
      std::memcmp(call, text.data(), text.size()) != 0) {
    return nullptr;
  }
  leave_top();
  return call + text.size();
}

Exit TextCalls::exit_here() const {
  Exit exit;
  exit.time = time_;
  exit.position = line_number_;
  return exit;
}

void TextCalls::leave_top() {
  latest_site_ = lane_->stack.top();
  was_latest_entered_ = false;
  lane_->stack.leave_top(exit_here());
}

void TextCalls::read_entry(std::string_view call) {
  const uint32_t site = reading_.sites.number_of(call);
  if (site == CallSites::no_site) {
    return add_text(call);
  }
  remember(site);
  lane_->settle();
  known_[latest_site_].next[was_latest_entered_] = site;
  enter(site);
}

/** Makes sure that a site's lines are known here. */
void TextCalls::remember(uint32_t site) {
  if (site >= known_.size()) {
    known_.resize(size_t{site} + 1);
  }
  KnownCall& known = known_[site];
  if (known.entry.empty()) {
    const CallSite& named = reading_.sites[site];
    known.entry = named.text + ' ' + named.file + ':' + std::to_string(named.line) + '\n';
    known.exit = known.entry;
  }
}

void TextCalls::read_exit(std::string_view line) {
  const NamedCall call = parse_call(line);
  if (call.text.empty()) {
    return add_text(line);
  }
  lane_->add_pending_failure();
  CallStack& stack = lane_->stack;
  if (!stack.is_empty() && !stack.is_top_doubtful()) {
    const CallSite& top = reading_.sites[stack.top()];
    if (top.kind == CallKind::frame && top.text == call.text && top.file == call.file) {
      known_[stack.top()].exit.assign(line).push_back('\n');
      return leave_top();
    }
  }
  if (!stack.leave(call, exit_here())) {
    ++exits_without_entry_;
  }
}

/** Any line that is not what is expected. */
void TextCalls::read_rare_line(std::string_view line, std::string_view text) {
  if (lane_->take_error_text(text)) {
    return;
  }
  if (text.size() < line.size() && text.starts_with("->")) {
    return read_entry(text.substr(2));
  }
  if (text.size() < line.size() && text.starts_with("<-")) {
    return read_exit(text.substr(2));
  }
  if (text.starts_with('\0')) {
    // Where the file was emptied under a process that writes at an offset of its own.
    const std::string_view rest = text.substr(std::min(text.find_first_not_of('\0'), text.size()));
    return rest.empty() ? void() : read_rare_line(rest, trimmed_left(rest));
  }
  if (holds_control_characters(text)) {
    return note_damage();
  }
  if (!text.empty() && (read_told_failure(text) || read_late_arrow(line, text))) {
    return;
  }
  lane_->settle();
  add_text(text);
}

bool TextCalls::read_told_failure(std::string_view text) {
  ToldFailure told;
  if (!read_failure(text, told)) {
    return false;
  }
  const uint32_t site =
      reading_.sites.number_of(told.kind, told.call.text, told.call.file, told.call.line);
  remember(site);
  Exit failure = exit_here();
  failure.knows_status = true;
  failure.status = told.status;
  lane_->fail(site, failure);
  return true;
}

/**
 * An entry or exit behind a text that came without a line feed, or behind a prefix where none was
 * expected: another program has appended to the file.
 */
bool TextCalls::read_late_arrow(std::string_view line, std::string_view text) {
  const DetectedPrefix detected = detect_prefix(line);
  if (detected.is_certain && detected.format != format_) {
    set_format(detected.format);
    Prefix prefix;
    read_prefix(format_, line, prefix);
    choose_lane(prefix);
    time_ = time_of(prefix);
    const std::string_view rest = line.substr(prefix.size);
    read_rare_line(rest, trimmed_left(rest));
    return true;
  }
  const size_t entry = text.find(" ->");
  const size_t exit = text.find(" <-");
  if (entry == std::string_view::npos && exit == std::string_view::npos) {
    return false;
  }
  const size_t at = std::min(entry, exit);
  const std::string_view call = text.substr(at + 3);
  if (parse_call(call).text.empty()) {
    return false;
  }
  lane_->settle();
  add_text(text.substr(0, at));
  if (at == entry) {
    read_entry(call);
  } else {
    read_exit(call);
  }
  return true;
}

void TextCalls::add_text(std::string_view text) {
  if (!reading_.options.texts) {
    return;
  }
  CallEvent& event = reading_.queue.add(CallEvent::Kind::text);
  event.lane = lane_->index;
  event.depth = lane_->stack.depth();
  event.site = lane_->stack.is_empty() ? CallSites::no_site : lane_->stack.top();
  event.time = time_;
  event.position = line_number_;
  event.text = reading_.queue.keep(std::string(text));
}

void TextCalls::note_damage() {
  if (damaged_lines_++ == 0) {
    first_damage_ = here();
  }
}

std::string TextCalls::here() const {
  return lines_.name() + ", line " + std::to_string(line_number_ - lines_before_);
}

}  // namespace trace
