// TEXT_: the text service.

#include "ork/text.h"

#include <cstdlib>
#include <sstream>

#include "handout.h"
#include "operation.h"
#include "shipped_texts.h"
#include "texts.h"

namespace host {

namespace {

/** Lines of the form "key: text". Empty lines and those that begin with "#" have none. */
TextsByKey parse_text_file(const char* contents) {
  constexpr std::string_view separator = ": ";
  TextsByKey texts;
  std::istringstream lines(contents);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t key_end = line.find(separator);
    if (key_end != std::string::npos && line.front() != '#') {
      texts.emplace(line.substr(0, key_end), line.substr(key_end + separator.size()));
    }
  }
  return texts;
}

Language language_of_environment() {
  const char* name = std::getenv("ORK_LANGUAGE");
  return find_language(name != nullptr ? name : "").value_or(Language::english);
}

Language& current_language() {
  static Language language = language_of_environment();
  return language;
}

const std::string* find_in(const Texts& texts, std::string_view key, Language language) {
  const auto found = texts.in(language).find(key);
  return found == texts.in(language).end() ? nullptr : &found->second;
}

}  // namespace

const char* name_of(Language language) {
  return language == Language::german ? "de" : "en";
}

std::optional<Language> find_language(std::string_view name) {
  for (const Language language : languages) {
    if (name == name_of(language)) {
      return language;
    }
  }
  return std::nullopt;
}

const Texts& shipped_texts() {
  // Never destroyed: programs may call the platform while they end.
  static const Texts& texts =
      *new Texts{{parse_text_file(english_text_file), parse_text_file(german_text_file)}};
  return texts;
}

Texts read_site_texts(Database& database) {
  Texts texts;
  Query query(database, "SELECT language, key, text FROM text");
  while (query.next()) {
    if (const auto language = find_language(query.text(0))) {
      texts.in(*language)[query.text(1)] = query.text(2);
    }
  }
  return texts;
}

void write_site_text(Database& database, Language language, const std::string& key,
                     const std::optional<std::string>& text) {
  if (text) {
    run(database, "INSERT OR REPLACE INTO text VALUES(?, ?, ?)", name_of(language), key, *text);
  } else {
    run(database, "DELETE FROM text WHERE language = ? AND key = ?", name_of(language), key);
  }
}

void choose_language() {
  current_language() = language_of_environment();
}

const std::string* find_text(std::string_view key, Language language) {
  const Site* site = open_site();
  const std::string* own = site != nullptr ? find_in(site->texts(), key, language) : nullptr;
  return own != nullptr ? own : find_in(shipped_texts(), key, language);
}

const std::string* find_text(std::string_view key) {
  const std::string* text = find_text(key, current_language());
  return text != nullptr ? text : find_text(key, Language::english);
}

const std::string& required_text(std::string_view key) {
  const std::string* text = find_text(key);
  if (text == nullptr) {
    refuse(TEXT_unknown_key, std::string(key));
  }
  return *text;
}

std::string error_text(int status) {
  const std::string number = std::to_string(status);
  if (const std::string* text = find_text("error." + number)) {
    return *text;
  }
  return required_text("error.unknown") + " " + number;
}

}  // namespace host

using host::Needs;
using host::operation;

int TEXT_lookup(const char* key, char** text) {
  host::clear(text);
  return operation("TEXT_lookup", Needs::nothing, [&] {
    host::require_all(key, text);
    *text = host::hand_out(host::required_text(key));
  });
}
