/** @file The subcommands of `zolp trace`, and what they share; each adds itself. */
#pragma once

#include <memory>
#include <string>

#include "command_line/parser.h"
#include "trace/chain_tree.h"
#include "trace_input.h"

namespace tool {

void add_trace_diff(CommandParser& group);
void add_trace_export(CommandParser& group);
void add_trace_failures(CommandParser& group);
void add_trace_graph(CommandParser& group);
void add_trace_show(CommandParser& group);
void add_trace_slow(CommandParser& group);
void add_trace_summary(CommandParser& group);
void add_trace_view(CommandParser& group);

/** Adds the files, and what all commands have beside them. */
void add_trace_input(CommandParser& command, TraceOptions& options);
/** The same but `--json`. */
void add_trace_files(CommandParser& command, TraceOptions& options);
void add_trace_parts(CommandParser& command, TraceOptions& options);

/** The callers of a node of a tree of chains, one a line, the innermost first. */
void print_callers(const trace::ChainTree& chains, uint32_t node, const char* indentation);
Json callers_json(const trace::ChainTree& chains, uint32_t node);

/** Where something stands: "line 12 of run.trace", "event 400 of run.rec". */
std::string position_text(const trace::Lane& lane, uint64_t position);

/** The text with a `#` for each number: what differs in tags alone is the same then. */
std::string without_numbers(std::string_view text);

/** Standard output goes through a pager as long as one lives, when it is a terminal. */
class Pager {
 public:
  Pager();
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

 private:
  struct Running;
  std::unique_ptr<Running> running_;
};

/** Sequences that colour what follows; empty where nothing is coloured. */
struct Colours {
  const char* failure = "";
  const char* name = "";
  const char* aside = "";
  const char* plain = "";
};
Colours colours();

}  // namespace tool
