#include "call_sites.h"

#include <algorithm>
#include <cstring>

#include "text_prefix.h"

namespace trace {
namespace {

constexpr std::string_view shortened_arguments = "(...)";

/** Mixes length, beginning, middle and end: lines differ there, and it takes a few instructions. */
uint64_t hash_of(std::string_view text) {
  const auto piece = [&](size_t at) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, text.data() + at, std::min<size_t>(sizeof bytes, text.size() - at));
    return bytes;
  };
  uint64_t hash = text.size() * 0x9E3779B97F4A7C15U;
  if (!text.empty()) {
    const size_t last = text.size() < 8 ? 0 : text.size() - 8;
    for (const size_t at : {size_t{0}, last / 4, last / 2, last - last / 4, last}) {
      hash = (hash ^ piece(at)) * 0xFF51AFD7ED558CCDU;
      hash ^= hash >> 32;
    }
  }
  return hash;
}

std::string_view without_blanks_at_end(std::string_view text) {
  while (!text.empty() && text.back() == ' ') {
    text.remove_suffix(1);
  }
  return text;
}

CallKind kind_of(std::string_view text) {
  if (text.find('(') == std::string_view::npos) {
    return CallKind::frame;
  }
  return text.ends_with(shortened_arguments) ? CallKind::guarded : CallKind::traced;
}

}  // namespace

NamedCall parse_call(std::string_view line) {
  size_t at = line.size();
  while (at > 0 && is_digit(line[at - 1])) {
    --at;
  }
  constexpr size_t most_digits = 9;
  if (at == line.size() || line.size() - at > most_digits || at < 2 || line[at - 1] != ':') {
    return {};
  }
  NamedCall call;
  for (const char digit : line.substr(at)) {
    call.line = call.line * 10 + static_cast<uint32_t>(digit - '0');
  }
  const std::string_view before = line.substr(0, at - 1);
  const size_t blank = before.rfind(' ');
  if (blank == std::string_view::npos || blank == 0 || blank + 1 == before.size()) {
    return {};
  }
  call.text = before.substr(0, blank);
  call.file = before.substr(blank + 1);
  return call;
}

uint32_t CallSites::find(std::string_view line) const {
  if (slots_.empty()) {
    return no_site;
  }
  const uint64_t hash = hash_of(line);
  const size_t mask = slots_.size() - 1;
  size_t i = hash & mask;
  while (slots_[i].site != no_site && (slots_[i].hash != hash || lines_[slots_[i].site] != line)) {
    i = (i + 1) & mask;
  }
  return slots_[i].site;
}

uint32_t CallSites::number_of(std::string_view line) {
  if (const uint32_t known = find(line); known != no_site) {
    return known;
  }
  const NamedCall call = parse_call(line);
  return call.text.empty() ? no_site : add(kind_of(call.text), call.text, call.file, call.line);
}

uint32_t CallSites::number_of(CallKind kind, std::string_view text, std::string_view file,
                              uint32_t line) {
  std::string shortened;
  if (kind == CallKind::guarded && !text.ends_with(shortened_arguments)) {
    shortened = text.substr(0, text.find('('));
    text = shortened += shortened_arguments;
  }
  if (const size_t folder = file.find_last_of("/\\"); folder != std::string_view::npos) {
    file.remove_prefix(folder + 1);
  }
  std::string named(text);
  named += ' ';
  named += file;
  named += ':';
  named += std::to_string(line);
  const uint32_t known = find(named);
  return known != no_site ? known : add(kind, text, file, line);
}

uint32_t CallSites::add(CallKind kind, std::string_view text, std::string_view file,
                        uint32_t line) {
  const uint32_t site = size();
  CallSite added;
  added.kind = kind;
  added.text = text;
  added.name = without_blanks_at_end(text.substr(0, text.find('(')));
  added.file = file;
  added.line = line;
  sites_.push_back(std::move(added));
  lines_.push_back(sites_.back().text + ' ' + sites_.back().file + ':' + std::to_string(line));
  insert(hash_of(lines_.back()), site);
  return site;
}

void CallSites::insert(uint64_t hash, uint32_t site) {
  if (slots_.size() < 2 * (size_t{site} + 1)) {
    grow();
  }
  const size_t mask = slots_.size() - 1;
  size_t i = hash & mask;
  while (slots_[i].site != no_site) {
    i = (i + 1) & mask;
  }
  slots_[i] = {hash, site};
}

void CallSites::grow() {
  std::vector<Slot> smaller(slots_.empty() ? 256 : 2 * slots_.size());
  smaller.swap(slots_);
  const size_t mask = slots_.size() - 1;
  for (const Slot& slot : smaller) {
    if (slot.site != no_site) {
      size_t i = slot.hash & mask;
      while (slots_[i].site != no_site) {
        i = (i + 1) & mask;
      }
      slots_[i] = slot;
    }
  }
}

}  // namespace trace
