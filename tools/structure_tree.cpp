#include "structure_tree.h"

#include "object_json.h"
#include "output.h"
#include "structure.h"

namespace tool {

namespace {

/** The sequence number; with another one from before it, both. */
std::string number_text(const Line& line, const std::string* before) {
  if (before == nullptr || *before == line.sequence) {
    return line.sequence;
  }
  return (before->empty() ? "none" : *before) + " -> " + line.sequence;
}

/** A line as a tree draws it, with its line feed. */
std::string drawn_line(const Line& line, const std::string* before, const std::string& indent) {
  std::string text = number_text(line, before);
  text += text.empty() ? "" : "  ";
  text += line.item + "/" + (line.revision.empty() ? "?" : line.revision) + "  " + line.name;
  if (!line.quantity.empty()) {
    text += "  x" + line.quantity;
  }
  for (const std::string& status : line.statuses) {
    text += "  [" + status + "]";
  }
  return indent + printable(text) + (line.has_hidden ? "  ..." : "") + "\n";
}

const char* branch(bool is_last) {
  return is_last ? "└── " : "├── ";
}

const char* trunk(bool is_last) {
  return is_last ? "    " : "│   ";
}

/** What a line itself says. */
Json fields_of(const Line& line) {
  Json fields = object_json(line.object);
  fields["sequence"] = line.sequence;
  fields["quantity"] = line.quantity;
  fields["statuses"] = line.statuses;
  if (line.has_hidden) {
    fields["truncated"] = true;
  }
  return fields;
}

/** Writes a tree as it reads it. */
class TreeWriter {
 public:
  using Write = std::function<void(std::string_view text)>;

  /** @param before null where nothing is said of it. */
  TreeWriter(const SequenceNumbers* before, const Write& write)
      : before_(before),
        write_(write),
        stream_([this](std::string_view text) { write_(printable_json(text)); }) {}

  void write_json(tag top, int depth, const Json& facts) {
    if (facts.empty()) {
      write_line(top, depth);
    } else {
      stream_.begin_object();
      for (const auto& [name, value] : facts.items()) {
        stream_.member(name, value);
      }
      stream_.key("structure");
      write_line(top, depth);
      stream_.end();
    }
    write_("\n");
  }

  void draw(tag line, int depth, const std::string& indent = "",
            const std::string& indent_below = "") {
    std::vector<tag> below;
    const Line read = read_line(line, depth, &below);
    write_(drawn_line(read, next_before(), indent));
    for (const tag child : below) {
      const bool is_last = child == below.back();
      draw(child, depth - 1, indent_below + branch(is_last), indent_below + trunk(is_last));
    }
  }

 private:
  void write_line(tag line, int depth) {
    std::vector<tag> below;
    const Json fields = fields_of(read_line(line, depth, &below));
    stream_.begin_object();
    for (const auto& [name, value] : fields.items()) {
      stream_.member(name, value);
    }
    if (const std::string* const before = next_before()) {
      stream_.member("sequence_before", *before);
    }
    stream_.key("lines");
    stream_.begin_list();
    for (const tag child : below) {
      write_line(child, depth - 1);
    }
    stream_.end();
    stream_.end();
  }

  const std::string* next_before() {
    return before_ != nullptr && next_ < before_->size() ? &(*before_)[next_++] : nullptr;
  }

  const SequenceNumbers* before_;
  std::size_t next_ = 0;
  const Write& write_;
  host::JsonStream stream_;
};

void write_tree(tag top, int depth, bool as_json, const Json& facts, const SequenceNumbers* before,
                const TreeWriter::Write& write) {
  TreeWriter writer(before, write);
  if (as_json) {
    writer.write_json(top, depth, facts);
  } else {
    writer.draw(top, depth);
  }
}

void add_sequence_numbers(tag line, int depth, SequenceNumbers& numbers) {
  const std::string id = "a line";
  numbers.push_back(sequence_of(line, id));
  if (depth != 0) {
    for (const tag child : lines_below(line, id)) {
      add_sequence_numbers(child, depth - 1, numbers);
    }
  }
}

}  // namespace

void print_tree(tag top, int depth, bool as_json, const Json& facts) {
  HeldOutput output;
  write_tree(top, depth, as_json, facts, nullptr,
             [&output](std::string_view text) { output.write(text); });
  output.finish();
}

SequenceNumbers sequence_numbers(tag top, int depth) {
  SequenceNumbers numbers;
  add_sequence_numbers(top, depth, numbers);
  return numbers;
}

void write_tree(tag top, int depth, bool as_json, const Json& facts, const SequenceNumbers& before,
                const std::function<void(std::string_view text)>& write) {
  write_tree(top, depth, as_json, facts, &before, write);
}

}  // namespace tool
