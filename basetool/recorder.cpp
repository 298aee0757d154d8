// Writes recordings; recording_format.h describes them.
//
// Each thread writes its events into a chunk of its own, without asking anybody, and takes the next
// free chunk when that is full: this and all else that happens rarely is done under a mutex. What
// the header says is kept in memory, too, and never read back: the file may be emptied at any
// moment.

#include "recorder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

#include "rounding.h"
#include "selection.h"
#include "system.h"

namespace basetool {

constinit Recorder recorder;

namespace {

constexpr uint64_t entry_step = 8;

/**
 * Whether the processor's counter runs at the same rate whatever the processor does. The library
 * asks the same for its own clock (src/clock.cpp): this one may not be there for it to ask.
 */
bool is_counter_steady() {
#if defined(__x86_64__)
  constexpr unsigned power_management = 0x80000007;
  constexpr unsigned invariant_counter = 1U << 8;
  unsigned registers[4] = {};
  return __get_cpuid(power_management, &registers[0], &registers[1], &registers[2],
                     &registers[3]) != 0 &&
         (registers[3] & invariant_counter) != 0;
#else
  return true;  // the system's clock serves as one
#endif
}

/** The name of a source file without the folders in front of it. */
std::string_view file_name(const char* path) {
  const std::string_view whole(path != nullptr ? path : "");
  return whole.substr(whole.find_last_of("/\\") + 1);
}

/** The text of a call as trace lines show it. */
std::string_view text_of(const ZOLP_CallSite& site) {
  constexpr size_t most_shown = 1018;
  return std::string_view(site.text != nullptr ? site.text : "").substr(0, most_shown);
}

}  // namespace

void Recorder::configure(const Settings& settings) {
  skipped_ = settings.skipped;
  chosen_ = settings.chosen;
  kept_files_ = settings.kept_files;
  usual_size_ = settings.recording_size;
  uses_clock_ = !is_counter_steady();
  if (settings.recording != nullptr) {
    start_later(settings.recording, 0);
  }
}

// ---- Start and end.

void Recorder::start_later(const char* name, uint64_t size) {
  stop();
  const std::lock_guard lock(mutex_);
  std::snprintf(name_, sizeof name_, "%s", name);
  wanted_size_ = size != 0 ? size : usual_size_;
  is_on_.store(true, std::memory_order_relaxed);
}

bool Recorder::start(const char* name, uint64_t size) {
  start_later(name, size);
  const std::lock_guard lock(mutex_);
  return open();
}

void Recorder::stop() {
  const std::lock_guard lock(mutex_);
  is_on_.store(false, std::memory_order_relaxed);
  if (file_bytes_ != nullptr) {
    note_clocks();
    header().state = RecordingState::ended;
    close();
  }
  first_thread.events = {};
  start_epoch();
}

void Recorder::finish() {
  if (mutex_.is_abandoned()) {
    return;
  }
  const std::lock_guard lock(mutex_);
  is_finished_ = true;
  if (file_bytes_ != nullptr) {
    note_clocks();
    header().state = RecordingState::ended;
  }
}

void Recorder::restart_in_child() {
  if (file_bytes_ != nullptr) {
    close();
  }
  first_thread.events = {};
  start_epoch();
  mutex_.reset();
}

/** After somebody has emptied the file: another one takes its place. */
void Recorder::recover() {
  // Other threads may be writing to what has taken the place of the old one.
  file_bytes_ = nullptr;
  abandon_recording();
  close();
  start_epoch();
}

// ---- Chunks.

bool Recorder::make_room(EventRoom& room) {
  const std::lock_guard lock(mutex_);
  return begin_room(room);
}

/** Gives a thread a chunk for its next events. */
bool Recorder::begin_room(EventRoom& room) {
  if (!is_on()) {
    return false;
  }
  if (recording_lost != 0) {
    recover();
  }
  if (file_bytes_ == nullptr && !open()) {
    return false;
  }
  const bool is_known = room.epoch == epoch();
  if (is_known) {
    held_[room.place] = 0;
  } else {
    room.thread = ++threads_;
    add_thread(room.thread);
  }
  uint64_t serial = 0;
  unsigned char* chunk = begin_chunk(ChunkKind::events, room.thread, serial);
  room.next = room.end = nullptr;
  room.epoch = epoch();
  if (chunk == nullptr) {
    room.epoch = 0;
    header().events_dropped += 1;
    return false;
  }
  room.chunk = serial;
  room.place = next_place_;
  room.next = reinterpret_cast<RecordedEvent*>(chunk + sizeof(ChunkHeader));
  room.end = room.next + recording_events_in_chunk;
  return true;
}

/** Empties the oldest chunk that no thread writes to. @return null when there is none. */
unsigned char* Recorder::begin_chunk(ChunkKind kind, uint32_t thread, uint64_t& serial) {
  uint64_t tried = 0;
  do {
    next_place_ = chunks_begun_ == 0 && tried == 0 ? 0 : (next_place_ + 1) % chunk_count_;
    if (++tried > chunk_count_) {
      return nullptr;
    }
  } while (held_[next_place_] != 0);
  held_[next_place_] = 1;
  unsigned char* bytes = file_bytes_ + chunks_offset_ + next_place_ * recording_chunk_size;
  auto* chunk = reinterpret_cast<ChunkHeader*>(bytes);
  if (chunks_begun_ < chunk_count_) {
    // Nothing of a new one is read: pages that are written first are mapped many at once.
    provide_until(static_cast<uint64_t>(bytes - file_bytes_) + recording_chunk_size);
  } else {
    count_overwritten(bytes);
    __atomic_store_n(&chunk->serial, 0, __ATOMIC_RELEASE);
    std::memset(bytes + sizeof *chunk, 0, recording_chunk_size - sizeof *chunk);
  }
  note_clocks();
  const ClockReading& now = header().latest[header().latest_index & 1];
  chunk->thread = thread;
  chunk->kind = kind;
  chunk->counter = now.counter;
  chunk->elapsed = now.elapsed;
  serial = ++chunks_begun_;
  header().chunks_begun = serial;
  __atomic_store_n(&chunk->serial, serial, __ATOMIC_RELEASE);
  return bytes;
}

/**
 * Has the system provide what stands before a byte of the file. A page fault for each chunk would
 * cost more than its events; all of the file at once would hold up a program that ends soon.
 */
void Recorder::provide_until(uint64_t end) {
  constexpr uint64_t step = 256 * 1024;
  if (end <= provided_) {
    return;
  }
  const uint64_t begin = end - recording_chunk_size;
  const uint64_t file_size = chunks_offset_ + chunk_count_ * recording_chunk_size;
  provided_ = std::min((begin / step + 1) * step, file_size);
  provide_pages(file_, file_size, begin, provided_ - begin);
}

void Recorder::count_overwritten(const unsigned char* bytes) {
  const auto* chunk = reinterpret_cast<const ChunkHeader*>(bytes);
  bytes += sizeof *chunk;
  if (chunk->kind == ChunkKind::events) {
    const auto* events = reinterpret_cast<const RecordedEvent*>(bytes);
    uint32_t count = recording_events_in_chunk;
    while (count > 0 && events[count - 1].what == 0) {
      --count;
    }
    header().events_overwritten += count;
    return;
  }
  for (size_t at = 0; at + sizeof(TextEntry) <= recording_chunk_size - sizeof *chunk;) {
    const auto* entry = reinterpret_cast<const TextEntry*>(bytes + at);
    if (entry->size == 0) {
      break;
    }
    header().texts_overwritten += entry->continues == 0 ? 1 : 0;
    at += entry->size;
  }
}

void Recorder::add_of_other(EventRoom& room, ZOLP_CallSite* site, EventKind kind, int status) {
  uint64_t counter = now();
  const uint32_t number = number_of(site);
  const std::lock_guard lock(mutex_);
  if (room.epoch != epoch() || room.next == room.end) {
    if (!begin_room(room)) {
      return;
    }
    counter = kind == EventKind::entered ? now() : counter;
  }
  RecordedEvent* event = room.next++;
  event->counter = counter;
  event->status = status;
  __atomic_store_n(&event->what, event_of(kind, number), __ATOMIC_RELEASE);
}

void Recorder::release(EventRoom& room) {
  const std::lock_guard lock(mutex_);
  if (file_bytes_ != nullptr && room.epoch == epoch()) {
    held_[room.place] = 0;
  }
  room = {};
}

// ---- Sites and threads.

unsigned char* Recorder::table_room(size_t size) {
  if (table_used_ + size > table_size_) {
    return nullptr;
  }
  return file_bytes_ + table_offset_ + table_used_;
}

void Recorder::add_thread(uint32_t thread) {
  const ThreadEntry entry{sizeof entry, TableEntry::thread, thread, 0, thread_id()};
  unsigned char* room = table_room(sizeof entry);
  if (room != nullptr) {
    std::memcpy(room, &entry, sizeof entry);
    table_used_ += sizeof entry;
    __atomic_store_n(&header().table_used, table_used_, __ATOMIC_RELEASE);
  }
}

/** Writes a site to the table. @return its number; 0 when there is no room. */
uint32_t Recorder::add_site(const ZOLP_CallSite& site) {
  std::string_view text = text_of(site);
  std::string_view ending;
  if (site.kind == ZOLP_SITE_GUARDED) {
    text = text.substr(0, text.find('('));
    ending = "(...)";
  }
  const std::string_view file = file_name(site.file);
  const size_t text_size = text.size() + ending.size();
  const size_t size = round_up(sizeof(SiteEntry) + text_size + 1 + file.size() + 1, entry_step);
  unsigned char* room = sites_ < recording_site_mask ? table_room(size) : nullptr;
  if (room == nullptr) {
    header().sites_dropped += 1;
    return 0;
  }
  const SiteEntry entry{static_cast<uint32_t>(size),
                        TableEntry::site,
                        sites_ + 1,
                        static_cast<uint32_t>(site.kind),
                        static_cast<uint32_t>(site.line),
                        static_cast<uint32_t>(text_size)};
  std::memcpy(room, &entry, sizeof entry);
  char* to = reinterpret_cast<char*>(room) + sizeof entry;
  to += text.copy(to, text.size());
  to += ending.copy(to, ending.size());
  *to++ = '\0';
  to += file.copy(to, file.size());
  *to = '\0';
  table_used_ += size;
  __atomic_store_n(&header().table_used, table_used_, __ATOMIC_RELEASE);
  note_clocks();
  return ++sites_;
}

uint32_t Recorder::look_at(ZOLP_CallSite* site) {
  const std::lock_guard lock(mutex_);
  if (is_on() && file_bytes_ == nullptr && !open()) {
    // Only the selection needs the site.
  }
  if (__atomic_load_n(&site->epoch, __ATOMIC_RELAXED) == epoch()) {
    return site->number;
  }
  const std::string_view name =
      site->kind == ZOLP_SITE_FRAME ? text_of(*site) : name_of_call(text_of(*site));
  uint32_t number = file_bytes_ != nullptr ? add_site(*site) : 0;
  number |= skipped_ != nullptr && list_holds(skipped_, name) ? site_is_skipped : 0;
  number |= chosen_ != nullptr && list_holds(chosen_, name) ? site_is_chosen : 0;
  __atomic_store_n(&site->number, number, __ATOMIC_RELAXED);
  __atomic_store_n(&site->epoch, epoch(), __ATOMIC_RELEASE);
  return number;
}

// ---- Texts.

void Recorder::keep_text(EventRoom& room, TextKind kind, const char* text, size_t size) {
  const std::lock_guard lock(mutex_);
  if (room.epoch != epoch() && !begin_room(room)) {
    return;
  }
  const auto index = static_cast<uint64_t>(recording_events_in_chunk - (room.end - room.next));
  const uint64_t event = index > 0 ? room.chunk * 256 + index - 1 : 0;
  constexpr size_t most_at_once = recording_chunk_size / 2;
  do {
    const size_t part = std::min(size, most_at_once);
    const size_t entry_size = round_up(sizeof(TextEntry) + part, entry_step);
    unsigned char* to = text_room(entry_size);
    if (to == nullptr) {
      return;
    }
    const TextEntry entry{0,
                          kind,
                          static_cast<uint16_t>(part < size ? 1 : 0),
                          room.thread,
                          static_cast<uint32_t>(part),
                          event};
    std::memcpy(to, &entry, sizeof entry);
    std::memcpy(to + sizeof entry, text, part);
    auto* written = reinterpret_cast<TextEntry*>(to);
    __atomic_store_n(&written->size, static_cast<uint32_t>(entry_size), __ATOMIC_RELEASE);
    text += part;
    size -= part;
  } while (size > 0);
}

/** Room in a chunk of texts; null when there is none. */
unsigned char* Recorder::text_room(size_t size) {
  if (text_chunk_ == nullptr || text_used_ + size > recording_chunk_size) {
    if (text_chunk_ != nullptr) {
      held_[text_place_] = 0;
    }
    uint64_t serial = 0;
    text_chunk_ = begin_chunk(ChunkKind::texts, 0, serial);
    text_place_ = next_place_;
    text_used_ = sizeof(ChunkHeader);
  }
  if (text_chunk_ == nullptr) {
    return nullptr;
  }
  unsigned char* room = text_chunk_ + text_used_;
  text_used_ += size;
  return room;
}

}  // namespace basetool
