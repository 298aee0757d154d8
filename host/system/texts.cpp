#include "texts.h"

#include <cstdlib>
#include <sstream>

#include "failure.h"
#include "ork/text.h"
#include "shipped_texts.h"

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

const Texts* site_texts = nullptr;

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

void use_site_texts(const Texts* texts) {
  site_texts = texts;
}

void choose_language() {
  current_language() = language_of_environment();
}

const std::string* find_text(std::string_view key, Language language) {
  const std::string* own = site_texts != nullptr ? find_in(*site_texts, key, language) : nullptr;
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

std::string shipped_error_text(int status) {
  const std::string* text =
      find_in(shipped_texts(), "error." + std::to_string(status), language_of_environment());
  return text != nullptr ? *text : "error " + std::to_string(status);
}

}  // namespace host
