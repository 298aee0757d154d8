/**
 * @file
 * Texts by key: those that ship with the host (texts/en.txt, texts/de.txt) and those that a site
 * has in their place or besides.
 */
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace host {

enum class Language { english, german };

inline constexpr std::array<Language, 2> languages = {Language::english, Language::german};

/** "en" or "de". */
const char* name_of(Language language);

/** None for what is no language's name. */
std::optional<Language> find_language(std::string_view name);

using TextsByKey = std::map<std::string, std::string, std::less<>>;

/** Texts in all languages. */
struct Texts {
  std::array<TextsByKey, languages.size()> by_language;

  TextsByKey& in(Language language) { return by_language[static_cast<std::size_t>(language)]; }
  const TextsByKey& in(Language language) const {
    return by_language[static_cast<std::size_t>(language)];
  }
};

/** The texts that ship with the host. */
const Texts& shipped_texts();

/** Looks texts up in a site's own first; in none of them for null. They stay the caller's. */
void use_site_texts(const Texts* texts);

/** Reads from the environment which language the process wants. */
void choose_language();

/** The text in a language: the site's or else the shipped one; null when there is none. */
const std::string* find_text(std::string_view key, Language language);

/** The text in the process's language, or else in English; null when there is none. */
const std::string* find_text(std::string_view key);

/** The same. Refuses a key that has no text. */
const std::string& required_text(std::string_view key);

/** General text of an error code; one that says so for a code that has none. */
std::string error_text(int status);

/** The same without what the site says; any thread may ask. */
std::string shipped_error_text(int status);

}  // namespace host
