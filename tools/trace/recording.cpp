#include "recording.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace trace {
namespace {

using basetool::ChunkHeader;
using basetool::ChunkKind;
using basetool::ClockReading;
using basetool::EventKind;
using basetool::RecordedEvent;
using basetool::RecordingHeader;
using basetool::SiteEntry;
using basetool::TableEntry;
using basetool::TextEntry;
using basetool::ThreadEntry;

/** The bytes of a file, with its numbers in this machine's order. */
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : bytes_(bytes) {}

  void swap_numbers() { is_swapped_ = true; }

  template <typename Number>
  Number number(uint64_t offset) const {
    Number result{};
    if (offset <= bytes_.size() && bytes_.size() - offset >= sizeof result) {
      char raw[sizeof result];
      std::memcpy(raw, bytes_.data() + offset, sizeof raw);
      if (is_swapped_) {
        std::reverse(raw, raw + sizeof raw);
      }
      std::memcpy(&result, raw, sizeof result);
    }
    return result;
  }

  /** A part of the bytes, cut where they end. */
  std::string_view part(uint64_t offset, uint64_t size) const {
    return offset <= bytes_.size() ? bytes_.substr(offset, size) : std::string_view();
  }

 private:
  std::string_view bytes_;
  bool is_swapped_ = false;
};

#define MEMBER(bytes, structure, at, member) \
  (bytes).number<decltype(structure::member)>((at) + offsetof(structure, member))

/** What the header says, as far as a reader goes by it. */
struct Layout {
  uint64_t table_offset = 0;
  uint64_t table_end = 0;
  uint64_t chunks_offset = 0;
  uint64_t chunk_count = 0;
  uint64_t chunk_size = 0;
  ClockReading start{};
  ClockReading latest{};
  double nanoseconds_of_count = 1;
};

ClockReading read_clocks(const Bytes& bytes, uint64_t at) {
  return {MEMBER(bytes, ClockReading, at, counter), MEMBER(bytes, ClockReading, at, elapsed),
          MEMBER(bytes, ClockReading, at, wall)};
}

/** The time of a count between two readings; nothing when they do not tell. */
std::optional<double> rate_between(const ClockReading& from, const ClockReading& to) {
  constexpr uint64_t far_enough = 1'000'000;
  if (to.counter <= from.counter || to.elapsed < from.elapsed + far_enough) {
    return std::nullopt;
  }
  return static_cast<double>(to.elapsed - from.elapsed) /
         static_cast<double>(to.counter - from.counter);
}

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes), size_(bytes.size()) {
    if (!is_recording(bytes)) {
      throw std::runtime_error("is no recording of calls");
    }
    const uint32_t order = MEMBER(bytes_, RecordingHeader, 0, byte_order);
    if (order == 0x04030201) {
      bytes_.swap_numbers();
    }
    const uint32_t version = MEMBER(bytes_, RecordingHeader, 0, version);
    if (version != basetool::recording_version) {
      throw std::runtime_error("is a recording of version " + std::to_string(version) +
                               ", which is not known here");
    }
  }

  Recording read() {
    read_header();
    read_table();
    read_chunks();
    sort_events();
    return std::move(recording_);
  }

 private:
  struct Chunk {
    uint64_t serial;
    uint64_t offset;
  };

  void read_header();
  void read_rate();
  void read_table();
  void read_site(uint64_t at, uint64_t size);
  void read_chunks();
  void read_events(const Chunk& chunk);
  void read_texts(const Chunk& chunk);
  void sort_events();

  Bytes bytes_;
  uint64_t size_;
  Layout layout_;
  bool continued_ = false; /**< the latest text goes on in the next entry */
  Recording recording_;
};

void Reader::read_header() {
  layout_.table_offset = MEMBER(bytes_, RecordingHeader, 0, table_offset);
  const uint64_t table_size = std::min(MEMBER(bytes_, RecordingHeader, 0, table_used),
                                       MEMBER(bytes_, RecordingHeader, 0, table_size));
  layout_.table_end = std::min(layout_.table_offset + table_size, size_);
  layout_.chunks_offset = MEMBER(bytes_, RecordingHeader, 0, chunks_offset);
  layout_.chunk_count = MEMBER(bytes_, RecordingHeader, 0, chunk_count);
  layout_.chunk_size = MEMBER(bytes_, RecordingHeader, 0, chunk_size);
  recording_.process = MEMBER(bytes_, RecordingHeader, 0, process);
  recording_.has_ended = bytes_.number<uint32_t>(offsetof(RecordingHeader, state)) ==
                         static_cast<uint32_t>(basetool::RecordingState::ended);
  recording_.events_overwritten = MEMBER(bytes_, RecordingHeader, 0, events_overwritten);
  recording_.texts_overwritten = MEMBER(bytes_, RecordingHeader, 0, texts_overwritten);
  recording_.events_dropped = MEMBER(bytes_, RecordingHeader, 0, events_dropped);
  recording_.sites_dropped = MEMBER(bytes_, RecordingHeader, 0, sites_dropped);
  const std::string_view program =
      bytes_.part(offsetof(RecordingHeader, program), sizeof(RecordingHeader::program));
  recording_.program = program.substr(0, program.find('\0'));
  read_rate();
  if (layout_.chunk_size <= sizeof(ChunkHeader) ||
      MEMBER(bytes_, RecordingHeader, 0, event_size) != sizeof(RecordedEvent) ||
      layout_.chunks_offset > size_) {
    recording_.is_damaged = true;
    layout_.chunk_count = 0;
    layout_.chunk_size = sizeof(ChunkHeader) + 1;
  }
  const uint64_t there = (size_ - std::min(size_, layout_.chunks_offset)) / layout_.chunk_size;
  if (layout_.chunk_count > there) {
    recording_.is_damaged = true;
    layout_.chunk_count = there;
  }
}

void Reader::read_rate() {
  layout_.start = read_clocks(bytes_, offsetof(RecordingHeader, start));
  const uint32_t latest = MEMBER(bytes_, RecordingHeader, 0, latest_index) & 1;
  layout_.latest =
      read_clocks(bytes_, offsetof(RecordingHeader, latest) + latest * sizeof(ClockReading));
  recording_.start = static_cast<int64_t>(layout_.start.wall);
  const uint64_t counts = MEMBER(bytes_, RecordingHeader, 0, calibration_counts);
  const uint64_t nanoseconds = MEMBER(bytes_, RecordingHeader, 0, calibration_nanoseconds);
  const double first_rate = counts > 0 && nanoseconds > 0
                                ? static_cast<double>(nanoseconds) / static_cast<double>(counts)
                                : 1;
  const std::optional<double> rate = rate_between(layout_.start, layout_.latest);
  // One that is quite different comes from a counter that has jumped.
  const bool is_likely = rate && *rate > first_rate * 0.9 && *rate < first_rate * 1.1;
  layout_.nanoseconds_of_count = is_likely ? *rate : first_rate;
}

void Reader::read_table() {
  for (uint64_t at = layout_.table_offset; at + 8 <= layout_.table_end;) {
    const uint32_t size = MEMBER(bytes_, SiteEntry, at, size);
    const auto type = static_cast<TableEntry>(bytes_.number<uint32_t>(at + 4));
    if (size < 8 || size % 8 != 0 || size > layout_.table_end - at) {
      recording_.is_damaged = true;
      return;
    }
    if (type == TableEntry::site && size > sizeof(SiteEntry)) {
      read_site(at, size);
    } else if (type == TableEntry::thread && size >= sizeof(ThreadEntry)) {
      recording_.threads[MEMBER(bytes_, ThreadEntry, at, thread)] =
          MEMBER(bytes_, ThreadEntry, at, system_id);
    }
    at += size;
  }
}

void Reader::read_site(uint64_t at, uint64_t size) {
  Site site;
  site.kind = MEMBER(bytes_, SiteEntry, at, kind);
  site.line = MEMBER(bytes_, SiteEntry, at, line);
  std::string_view texts = bytes_.part(at + sizeof(SiteEntry), size - sizeof(SiteEntry));
  const uint64_t text_size = MEMBER(bytes_, SiteEntry, at, text_size);
  site.text = texts.substr(0, text_size);
  texts.remove_prefix(std::min<uint64_t>(texts.size(), text_size + 1));
  site.file = texts.substr(0, texts.find('\0'));
  recording_.sites[MEMBER(bytes_, SiteEntry, at, number)] = std::move(site);
}

void Reader::read_chunks() {
  std::vector<Chunk> chunks;
  for (uint64_t i = 0; i < layout_.chunk_count; ++i) {
    const uint64_t at = layout_.chunks_offset + i * layout_.chunk_size;
    const uint64_t serial = MEMBER(bytes_, ChunkHeader, at, serial);
    if (serial != 0) {
      chunks.push_back({serial, at});
    }
  }
  std::sort(chunks.begin(), chunks.end(),
            [](const Chunk& one, const Chunk& other) { return one.serial < other.serial; });
  for (const Chunk& chunk : chunks) {
    const auto kind =
        static_cast<ChunkKind>(bytes_.number<uint32_t>(chunk.offset + offsetof(ChunkHeader, kind)));
    if (kind == ChunkKind::events) {
      read_events(chunk);
    } else if (kind == ChunkKind::texts) {
      read_texts(chunk);
    }
    // Somebody may have begun the chunk anew meanwhile, when the file is mapped.
    if (MEMBER(bytes_, ChunkHeader, chunk.offset, serial) != chunk.serial) {
      std::erase_if(recording_.events,
                    [&](const Event& event) { return event.id >> 8 == chunk.serial; });
    }
  }
}

void Reader::read_events(const Chunk& chunk) {
  const uint64_t counter = MEMBER(bytes_, ChunkHeader, chunk.offset, counter);
  constexpr int64_t longest = 1'000'000'000'000'000'000;
  const int64_t elapsed =
      std::clamp(static_cast<int64_t>(MEMBER(bytes_, ChunkHeader, chunk.offset, elapsed) -
                                      layout_.start.elapsed),
                 -longest, longest);
  const uint32_t thread = MEMBER(bytes_, ChunkHeader, chunk.offset, thread);
  const uint64_t count = (layout_.chunk_size - sizeof(ChunkHeader)) / sizeof(RecordedEvent);
  for (uint64_t i = 0; i < count; ++i) {
    const uint64_t at = chunk.offset + sizeof(ChunkHeader) + i * sizeof(RecordedEvent);
    const uint32_t what = MEMBER(bytes_, RecordedEvent, at, what);
    if (what == 0) {
      return;
    }
    const uint32_t kind = what >> basetool::recording_kind_shift;
    if (kind == 0 || kind > static_cast<uint32_t>(EventKind::failed)) {
      recording_.is_damaged = true;
      continue;
    }
    const auto counts = static_cast<int64_t>(MEMBER(bytes_, RecordedEvent, at, counter) - counter);
    Event event;
    event.id = chunk.serial * 256 + i;
    event.time =
        elapsed + static_cast<int64_t>(std::clamp(
                      static_cast<double>(counts) * layout_.nanoseconds_of_count, -1e18, 1e18));
    event.thread = thread;
    event.site = what & basetool::recording_site_mask;
    event.kind = static_cast<EventKind>(kind);
    event.status = MEMBER(bytes_, RecordedEvent, at, status);
    recording_.events.push_back(event);
  }
}

void Reader::read_texts(const Chunk& chunk) {
  const uint64_t end = chunk.offset + layout_.chunk_size;
  for (uint64_t at = chunk.offset + sizeof(ChunkHeader); at + sizeof(TextEntry) <= end;) {
    const uint32_t size = MEMBER(bytes_, TextEntry, at, size);
    const uint32_t text_size = MEMBER(bytes_, TextEntry, at, text_size);
    if (size == 0) {
      return;
    }
    if (size % 8 != 0 || size > end - at || size < sizeof(TextEntry) ||
        text_size > size - sizeof(TextEntry)) {
      recording_.is_damaged = true;
      return;
    }
    const std::string_view part = bytes_.part(at + sizeof(TextEntry), text_size);
    Text text;
    text.event = MEMBER(bytes_, TextEntry, at, event);
    text.thread = MEMBER(bytes_, TextEntry, at, thread);
    text.kind = static_cast<basetool::TextKind>(bytes_.number<uint16_t>(at + 4));
    const auto is_open = [&](const Text& earlier) {
      return earlier.thread == text.thread && earlier.event == text.event;
    };
    if (continued_ && !recording_.texts.empty() && is_open(recording_.texts.back())) {
      recording_.texts.back().text += part;
    } else {
      text.text = part;
      recording_.texts.push_back(std::move(text));
    }
    continued_ = MEMBER(bytes_, TextEntry, at, continues) != 0;
    at += size;
  }
}

/** Sorts by time; where clocks of processors differ, a thread's own order counts. */
void Reader::sort_events() {
  std::map<uint32_t, int64_t> latest;
  for (Event& event : recording_.events) {
    auto [known, is_new] = latest.try_emplace(event.thread, event.time);
    event.time = known->second = std::max(known->second, event.time);
  }
  std::stable_sort(recording_.events.begin(), recording_.events.end(),
                   [](const Event& one, const Event& other) { return one.time < other.time; });
}

}  // namespace

bool is_recording(std::string_view bytes) {
  return bytes.starts_with(
      std::string_view(basetool::recording_magic, sizeof basetool::recording_magic));
}

Recording read_recording(std::string_view bytes) {
  return Reader(bytes).read();
}

const Site& Recording::site_of(const Event& event) const {
  static const Site unknown;
  const auto found = sites.find(event.site);
  return found != sites.end() ? found->second : unknown;
}

}  // namespace trace
