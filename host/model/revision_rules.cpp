#include "revision_rules.h"

#include <algorithm>

#include "failure.h"
#include "ork/config.h"

namespace host {

namespace {

constexpr std::string_view status_prefix = "status ";

}  // namespace

std::string status_clause(const std::string& status) {
  return std::string(status_prefix) + status;
}

Configurator::Configurator(Store& store, tag rule)
    : store_(store), revisions_(store, "ItemRevision", "item_tag") {
  if (rule == NULLTAG) {
    clauses_.emplace_back(latest_clause);
    return;
  }
  if (!store.is_a(rule, "RevisionRule")) {
    refuse(CONFIG_not_a_rule, "object " + std::to_string(rule));
  }
  for (const Scalar& clause : store.values(rule, "clauses")) {
    clauses_.push_back(std::get<std::string>(clause));
  }
}

tag Configurator::revision_of(tag item, std::string* explanation) {
  const auto known = found_.find(item);
  if (known != found_.end() && explanation == nullptr) {
    return known->second;
  }
  std::string ignored;
  const tag revision = find(item, explanation != nullptr ? explanation : &ignored);
  found_[item] = revision;
  return revision;
}

tag Configurator::find(tag item, std::string* explanation) {
  const std::vector<tag>& revisions = revisions_.of(item);
  for (const std::string& clause : clauses_) {
    const bool is_latest = clause == latest_clause;
    const std::string status = is_latest ? "" : clause.substr(status_prefix.size());
    const tag revision = !is_latest          ? latest_with_status(revisions, status)
                         : revisions.empty() ? NULLTAG
                                             : revisions.back();
    if (revision != NULLTAG) {
      *explanation =
          is_latest ? "The latest revision" : "The latest revision with status " + status;
      return revision;
    }
  }
  *explanation = "No revision satisfies the rule";
  return NULLTAG;
}

tag Configurator::latest_with_status(const std::vector<tag>& revisions, const std::string& status) {
  const auto has_status = [&](tag revision) {
    const Values statuses = store_.values(revision, "release_status_list");
    return std::any_of(statuses.begin(), statuses.end(), [&](const Scalar& held) {
      return store_.text(std::get<tag>(held), "name") == status;
    });
  };
  const auto found = std::find_if(revisions.rbegin(), revisions.rend(), has_status);
  return found != revisions.rend() ? *found : NULLTAG;
}

}  // namespace host
