/**
 * @file
 * The format of a recording, version 1.
 *
 * A recording is a file of fixed size. All numbers are in the byte order of the machine that wrote
 * it; `byte_order` tells which one that is. Nothing is aligned by compilers: every member stands
 * where its size puts it.
 *
 *     header   4096 bytes                    RecordingHeader, then zeros
 *     table    from table_offset on          SiteEntry and ThreadEntry, appended as they come
 *     chunks   from chunks_offset on         chunk_count pieces of chunk_size bytes
 *
 * The file may be read at any time: while its process lives, after that has ended, or after a kill
 * in the middle of anything.
 *
 * Table. `table_used` bytes of it are whole. An entry begins with its size, a multiple of 8, and
 * its type. Entries of other types than these are to be skipped.
 *
 * Chunks. A chunk belongs to one thread and holds its events in their order, or it holds texts of
 * all threads. Its serial number is 0 while nothing is in it, and rises from chunk to chunk: among
 * the chunks of a thread it tells their order. When all chunks are in use the oldest ones are
 * overwritten; `events_overwritten` tells how many events that has cost. Who reads the file of a
 * living process reads the serial number again after the chunk, and forgets a chunk whose number
 * has changed.
 *
 * Events. 16 bytes each, from byte 32 of their chunk on: the counter, what happened and to which
 * site, and a status. An event is there when its `what` is not 0; the first one that is not there
 * is the chunk's end. Event number I of the chunk with serial number S is known by the number
 * S * 256 + I.
 *
 *     entered    a frame or call begins
 *     left       it has ended, with this status
 *     abandoned  a frame has ended without its exit line, since a guarded call failed
 *     failed     a call that is not recorded, since its names were not selected, has failed
 *
 * A frame that was entered and is neither left nor abandoned is still open, or its function could
 * not tell (one in C that a guarded call has ended, on compilers without clean-up attributes): it
 * has ended when one around it does. What was overwritten, or happened while the recording was off,
 * leaves events without their partners.
 *
 * Texts. In chunks of kind `texts`, from byte 32 on, one after the other: a TextEntry and the text,
 * without a NUL, each entry a multiple of 8 in size; size 0 is the end. `event` tells the event
 * that the text belongs to: for the error text of a failed call the event of its end; for other
 * texts the last one of their thread before them, 0 for none. A text that is too long for a chunk
 * is split: `continues` is 1 in all parts but the last.
 *
 * Time. The counter is the processor's, or the system's clock in nanoseconds (`counter_kind`). Each
 * chunk holds a reading of counter and clock at the moment at which it was begun, and the header
 * those of the start and of the latest moment that was noted (`latest[latest_index]`); between two
 * of them the counter runs evenly. `calibration_counts` of the counter took
 * `calibration_nanoseconds` at the start, which serves as long as the readings are too close to
 * each other. `elapsed` nanoseconds are those of a clock that is never set; the start's `wall`
 * turns them into time of day (nanoseconds since 1970, universal time).
 */
#pragma once

#include <cstdint>

namespace basetool {

constexpr char recording_magic[8] = {'Z', 'O', 'L', 'P', 'R', 'E', 'C', '\n'};
constexpr uint32_t recording_version = 1;
constexpr uint32_t recording_byte_order = 0x01020304;

struct ClockReading {
  uint64_t counter;
  uint64_t elapsed;
  uint64_t wall;
};

enum class CounterKind : uint32_t { processor = 1, nanoseconds = 2 };

/** What a reader may expect of the file's writer. */
enum class RecordingState : uint32_t {
  open = 1, /**< the process lives, or has ended otherwise than by returning from `main` or exit */
  ended = 2 /**< the process has ended normally, or the recording was ended */
};

struct RecordingHeader {
  char magic[8];
  uint32_t version;
  uint32_t byte_order;
  uint64_t file_size;
  uint64_t table_offset;
  uint64_t table_size;
  uint64_t table_used;
  uint64_t chunks_offset;
  uint64_t chunk_count;
  uint32_t chunk_size;
  uint32_t event_size;
  uint64_t process;
  uint64_t calibration_counts;
  uint64_t calibration_nanoseconds;
  ClockReading start;
  ClockReading latest[2];
  uint32_t latest_index;
  CounterKind counter_kind;
  RecordingState state;
  uint32_t reserved;
  uint64_t chunks_begun;
  uint64_t events_overwritten;
  uint64_t texts_overwritten;
  uint64_t events_dropped; /**< all chunks were held by threads */
  uint64_t sites_dropped;  /**< the table was full; their events have site 0 */
  char program[512];       /**< path of the program, in UTF-8 */
};
static_assert(sizeof(RecordingHeader) == 736);

constexpr uint32_t recording_header_size = 4096;

enum class TableEntry : uint32_t { site = 1, thread = 2 };

/** Followed by the text and the name of the source file, each with a NUL. */
struct SiteEntry {
  uint32_t size;
  TableEntry type;
  uint32_t number; /**< of the site, from 1 on */
  uint32_t kind;   /**< 1 frame, 2 traced call, 3 guarded call */
  uint32_t line;
  uint32_t text_size; /**< without its NUL */
};

struct ThreadEntry {
  uint32_t size;
  TableEntry type;
  uint32_t thread; /**< its number in chunks, from 1 on */
  uint32_t reserved;
  uint64_t system_id;
};

enum class ChunkKind : uint32_t { events = 1, texts = 2 };

struct ChunkHeader {
  uint64_t serial;
  uint32_t thread; /**< 0 in chunks of texts */
  ChunkKind kind;
  uint64_t counter;
  uint64_t elapsed;
};

constexpr uint32_t recording_chunk_size = 4096;

enum class EventKind : uint32_t { entered = 1, left = 2, abandoned = 3, failed = 4 };

struct RecordedEvent {
  uint64_t counter;
  uint32_t what; /**< kind in the upper four bits, number of the site in the lower 24 */
  int32_t status;
};

constexpr uint32_t recording_site_bits = 24;
constexpr uint32_t recording_site_mask = (1U << recording_site_bits) - 1;
constexpr uint32_t recording_kind_shift = 28;
constexpr uint32_t recording_events_in_chunk =
    (recording_chunk_size - sizeof(ChunkHeader)) / sizeof(RecordedEvent);

constexpr uint32_t event_of(EventKind kind, uint32_t site) {
  return static_cast<uint32_t>(kind) << recording_kind_shift | (site & recording_site_mask);
}

enum class TextKind : uint16_t { error_of_call = 1, error = 2, warning = 3, trace = 4 };

/** Followed by the text. */
struct TextEntry {
  uint32_t size; /**< of the whole entry, a multiple of 8 */
  TextKind kind;
  uint16_t continues;
  uint32_t thread;
  uint32_t text_size;
  uint64_t event;
};

}  // namespace basetool
