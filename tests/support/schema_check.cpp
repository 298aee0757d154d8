#include "schema_check.h"

#if defined(HAS_VALIJSON)

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

namespace test {

namespace {

std::string schema_of(const std::string& name) {
  return ZOLP_SCHEMAS "/" + name + ".json";
}

bool has(const std::vector<std::string>& command, const char* word) {
  return std::find(command.begin(), command.end(), word) != command.end();
}

}  // namespace

std::string misfit(const std::string& schema_file, const std::string& text) {
  using Adapter = valijson::adapters::NlohmannJsonAdapter;
  std::ifstream file(schema_file);
  const auto described = nlohmann::json::parse(file, nullptr, false);
  const auto document = nlohmann::json::parse(text, nullptr, false);
  if (described.is_discarded() || document.is_discarded()) {
    return (described.is_discarded() ? "no schema: " + schema_file
                                     : "no JSON: " + text.substr(0, 200));
  }
  valijson::Schema schema;
  valijson::SchemaParser().populateSchema(Adapter(described), schema);
  valijson::ValidationResults results;
  valijson::Validator().validate(schema, Adapter(document), &results);
  if (results.numErrors() == 0) {
    return "";
  }
  // The first one is the innermost; the others say that what it is in does not fit either.
  std::string place;
  for (const std::string& step : results.begin()->context) {
    place += step;
  }
  return schema_file + ": " + place + ": " + results.begin()->description;
}

std::string misfit_of_command(const std::vector<std::string>& command, int exit_code,
                              const std::string& out, const std::string& err) {
  if (exit_code < 0 || command.size() < 2 || !has(command, "--json") || has(command, "--help")) {
    return "";
  }
  const std::string with_group = command[1] + "-" + (command.size() > 2 ? command[2] : "");
  const bool is_in_group = std::filesystem::exists(schema_of(with_group));
  std::string problems;
  if (exit_code == 0 || !out.empty()) {
    problems = misfit(schema_of(is_in_group ? with_group : command[1]), out);
  }
  if (exit_code != 0 && !err.empty()) {
    const std::size_t last_line = err.size() < 2 ? 0 : err.rfind('\n', err.size() - 2) + 1;
    problems += misfit(schema_of("failure"), err.substr(last_line));
  }
  return problems;
}

}  // namespace test

#else

namespace test {

std::string misfit(const std::string& /*schema_file*/, const std::string& /*text*/) {
  return "";
}

std::string misfit_of_command(const std::vector<std::string>& /*command*/, int /*exit_code*/,
                              const std::string& /*out*/, const std::string& /*err*/) {
  return "";
}

}  // namespace test

#endif
