/** @file Where seeds come from, and what is wrong with them. */
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tool {

/** A seed to be read: a file, or standard input. */
class SeedSource {
 public:
  /** @param given a path, or `-`; an Error is thrown where there is no such file. */
  explicit SeedSource(const std::string& given);

  /** Hands it to one of two functions of the host, for texts and for files. @return its status. */
  template <typename TakeText, typename TakeFile, typename... More>
  int take(TakeText take_text, TakeFile take_file, More... more) const {
    return text_ ? take_text(text_->c_str(), more...) : take_file(path_.c_str(), more...);
  }

 private:
  std::string path_;
  std::optional<std::string> text_; /**< of standard input */
};

/**
 * Checks seeds on the open site, one taken after the other, and changes nothing. Prints all that is
 * wrong, a line each, and throws an Error where something is.
 */
void check_seeds(const std::vector<std::string>& seeds);

}  // namespace tool
