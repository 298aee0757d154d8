#include "definitions.h"

#include <algorithm>
#include <map>
#include <set>

#include "access.h"
#include "datasets.h"
#include "flow_describe.h"
#include "flow_tasks.h"
#include "json_values.h"
#include "known_sites.h"
#include "password.h"
#include "preferences.h"
#include "revision_rules.h"
#include "structures.h"
#include "types.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

/** Members that have nothing to say are left out. */
void add(Json& owner, const char* member, Json value) {
  const bool is_empty =
      value.is_string() ? value.get_ref<const std::string&>().empty() : value.empty();
  if (!is_empty) {
    owner[member] = std::move(value);
  }
}

/** One section, as it is wanted. */
class Definitions {
 public:
  Definitions(Site& site, const Wishes& wishes, Places& places, Account& account)
      : site_(site), store_(site.store()), wishes_(wishes), places_(places), account_(account) {}

  Json settings() {
    Json settings = Json::object();
    if (!wishes_.is_seed) {
      settings["path"] = site_.path();
    }
    if (const int number = local_site_number(store_); number != 0) {
      settings["id"] = number;
      if (const tag local = find_site(store_, number); local != NULLTAG) {
        account_.said.add(local);
      }
    }
    for (const auto& [member, setting] :
         {std::pair{"name", "site_name"}, std::pair{"automatic_login", "automatic_login"}}) {
      add(settings, member, store_.setting(setting).value_or(""));
    }
    if (store_.setting("password_cost")) {
      settings["password_cost"] = password_cost(site_.database());
    }
    return settings;
  }

  Json other_sites() {
    return list("Site", [this](tag site, Json& described) {
      const int number = store_.integer(site, "site_id");
      described["id"] = number;
      described["name"] = store_.text(site, "site_name");
      return number != local_site_number(store_) && places_.of(site).contains("site");
    });
  }

  Json groups() { return named("Group", "group_name", "group_desc"); }
  Json roles() { return named("Role", "role_name", "role_desc"); }

  Json users() {
    return list("User", [this](tag user, Json& described) {
      described["id"] = store_.text(user, "user_id");
      described["name"] = store_.text(user, "user_name");
      if (wishes_.is_seed) {
        add(described, "password_hash", password_hash(site_.database(), user));
      }
      const bool is_administrator = store_.logical_value(user, "is_administrator");
      if (!wishes_.is_seed || is_administrator) {
        described["administrator"] = is_administrator;
      }
      add_memberships(described, user);
      return true;
    });
  }

  /** As a seed: without form types, and with built-in classes that seeds have given attributes. */
  Json classes() {
    const std::set<std::string> of_forms = form_type_names();
    Json all = Json::array();
    for (const Class* type : store_.classes()) {
      if (wishes_.is_seed && of_forms.contains(type->name)) {
        continue;
      }
      Json attributes = attributes_json(*type);
      if (wishes_.is_seed &&
          (type->parent == nullptr || (type->is_built_in && attributes.empty()))) {
        continue;
      }
      all.push_back({{"name", type->name}});
      all.back()["parent"] = type->parent != nullptr ? Json(type->parent->name) : Json();
      add(all.back(), "attributes", std::move(attributes));
    }
    return all;
  }

  Json types() {
    const std::set<std::string> of_forms = form_type_names();
    return list("Type", [&](tag type, Json& described) {
      const std::string& name = store_.text(type, "type_name");
      const tag parent = store_.reference(type, "parent_type");
      const bool is_built_in = is_built_in_type(name);
      if (store_.is_a(type, "RelationType") || (parent == NULLTAG && !is_built_in)) {
        return false;
      }
      account_.said.add(type);
      described["name"] = name;
      described["parent"] = name_of_reference(store_, parent, "type_name");
      described["class"] = store_.text(type, "type_class");
      return !wishes_.is_seed || !(is_built_in || of_forms.contains(name));
    });
  }

  Json relation_types() {
    return list("RelationType", [this](tag type, Json& described) {
      account_.said.add(type);
      described["name"] = store_.text(type, "type_name");
      return !wishes_.is_seed || !is_built_in_type(described["name"]);
    });
  }

  Json tools() {
    return list("Tool", [this](tag tool, Json& described) {
      account_.said.add(tool);
      std::vector<std::string> formats;
      for (const Scalar& format : store_.values(tool, "output_formats")) {
        formats.push_back(std::get<std::string>(format));
      }
      const std::string& name = store_.text(tool, "tool_name");
      described["name"] = name;
      described["output_formats"] = formats;
      const auto& known = built_in_tools();
      return !wishes_.is_seed ||
             !std::any_of(known.begin(), known.end(), [&](const ToolDefinition& definition) {
               return definition.name == name && definition.output_formats == formats;
             });
    });
  }

  /** Each with what it defines itself; as a seed, those that define something. */
  Json dataset_types() {
    return list("Type", [this](tag type, Json& described) {
      if (!is_stored_in(store_, type, "Dataset")) {
        return false;
      }
      const std::string& name = store_.text(type, "type_name");
      const tag tool = store_.reference(type, "default_tool");
      const tag parent = store_.reference(type, "parent_type");
      const std::vector<FileReference> references = own_file_references(store_, type);
      const std::string tool_name = tool != NULLTAG ? store_.text(tool, "tool_name") : "";
      described["name"] = name;
      if (!wishes_.is_seed) {
        described["parent"] = name_of_reference(store_, parent, "type_name");
      }
      if (!wishes_.is_seed || tool != NULLTAG) {
        described["tool"] = name_of_reference(store_, tool, "tool_name");
      }
      described["references"] = references_json(references);
      const auto& known = built_in_dataset_types();
      const auto definition =
          std::find_if(known.begin(), known.end(),
                       [&](const DatasetTypeDefinition& entry) { return entry.type == name; });
      const bool is_as_known = definition == known.end() ? tool == NULLTAG && references.empty()
                                                         : definition->default_tool == tool_name &&
                                                               definition->references == references;
      return !wishes_.is_seed || !is_as_known;
    });
  }

  /** Each with the fields that it defines itself; as a seed, those that have a class of their own.
   */
  Json form_types() {
    const std::set<std::string> of_forms = form_type_names();
    return list("Type", [&](tag type, Json& described) {
      const std::string& name = store_.text(type, "type_name");
      const std::string& form_class = store_.text(type, "type_class");
      const tag parent = store_.reference(type, "parent_type");
      if (!is_stored_in(store_, type, "Form") || (wishes_.is_seed && !of_forms.contains(name))) {
        return false;
      }
      described["name"] = name;
      if (parent != NULLTAG && form_class == name && form_class != "Form") {
        described["parent"] = store_.text(parent, "type_name");
        described["fields"] = attributes_json(store_.class_named(form_class));
      }
      return wishes_.is_seed || described.contains("fields");
    });
  }

  Json preferences() {
    const PreferenceTable table = read_preferences(site_.database());
    const std::map<std::string, PreferenceValues> sorted(table.all().begin(), table.all().end());
    Json all = Json::object();
    for (const auto& [name, values] : sorted) {
      all[name] = values;
    }
    return all;
  }

  /** Those of the site's own, not those that ship with the host. */
  Json texts() {
    Json all = Json::object();
    for (const Language language : languages) {
      for (const auto& [key, text] : site_.texts().in(language)) {
        all[name_of(language)][key] = text;
      }
    }
    return all;
  }

  Json view_types() {
    const tag usual = default_view_type(store_);
    return list("PSViewType", [&](tag type, Json& described) {
      account_.said.add(type);
      described["name"] = store_.text(type, "view_type_name");
      if (type == usual) {
        described["default"] = true;
      }
      return !wishes_.is_seed || type == usual || described["name"] != "view";
    });
  }

  Json note_types() { return named("PSNoteType", "note_type_name", nullptr); }

  Json revision_rules() {
    return list("RevisionRule", [this](tag rule, Json& described) {
      Json clauses = Json::array();
      for (const Scalar& value : store_.values(rule, "clauses")) {
        const std::string& clause = std::get<std::string>(value);
        if (clause == latest_clause) {
          clauses.push_back(clause);
        } else {
          clauses.push_back({{"status", clause.substr(status_clause("").size())}});
        }
      }
      described["name"] = store_.text(rule, "rule_name");
      described["clauses"] = std::move(clauses);
      return true;
    });
  }

  Json process_templates() {
    return list("ProcessTemplate", [this](tag process, Json& described) {
      std::optional<Json> definition = process_template_json(store_, places_, process);
      if (!definition) {
        described["name"] = store_.text(process, "template_name");
        return !wishes_.is_seed;
      }
      note_parts(process);
      described.update(*definition);
      return true;
    });
  }

  /** None where they are not numbered as the rules of seeds are. */
  Json access_rules() {
    Json all = Json::array();
    for (const AccessRule& rule : read_access_rules(store_)) {
      if (wishes_.is_seed && rule.number != static_cast<int>(all.size()) + 1) {
        return Json::array();
      }
      all.push_back(rule_json(rule));
    }
    for (const tag rule : store_.find("AccessRule")) {
      account_.said.add(rule);
    }
    return all;
  }

 private:
  /** Describes each object of a class; those that are not wanted are left out. */
  template <typename Describe>
  Json list(const char* class_name, const Describe& describe) {
    Json all = Json::array();
    for (const tag object : store_.find(class_name)) {
      Json described = Json::object();
      if (!wishes_.is_seed) {
        described["tag"] = object;
      }
      if (describe(object, described)) {
        account_.said.add(object);
        all.push_back(std::move(described));
      }
    }
    return all;
  }

  Json named(const char* class_name, const char* name, const char* description) {
    return list(class_name, [&](tag object, Json& described) {
      described["name"] = store_.text(object, name);
      if (description != nullptr) {
        add(described, "description", store_.text(object, description));
      }
      return true;
    });
  }

  void add_memberships(Json& described, tag user) {
    const tag default_group = store_.reference(user, "default_group");
    Json memberships = Json::array();
    for (const tag member : store_.find("GroupMember", {{"member_user", user}})) {
      Json place = places_.of(member);
      if (!place.contains("membership")) {
        continue;
      }
      account_.said.add(member);
      Json& membership = place["membership"];
      membership.erase("user");
      if (store_.reference(member, "member_group") == default_group) {
        described["default_group"] = membership["group"];
      }
      memberships.push_back(std::move(membership));
    }
    add(described, "memberships", std::move(memberships));
  }

  Json attributes_json(const Class& type) const {
    Json all = Json::array();
    for (const auto& attribute : type.own) {
      if (wishes_.is_seed && find_built_in_attribute(type.name, attribute->name) != nullptr) {
        continue;
      }
      Json described = {{"name", attribute->name}, {"kind", name_of(attribute->kind)}};
      if (attribute->list) {
        described["list"] = true;
      }
      if (attribute->kind == Kind::text) {
        described["length"] = attribute->max_length;
      }
      all.push_back(std::move(described));
    }
    return all;
  }

  static bool is_built_in_type(const std::string& name) {
    const auto types = built_in_types();
    return std::any_of(types.begin(), types.end(),
                       [&](const TypeDefinition& type) { return type.name == name; });
  }

  /**
   * Types that their section makes together with a class of the same name. It comes after those of
   * types and classes, so that nothing else may descend from them.
   */
  std::set<std::string> form_type_names() {
    std::map<std::string, std::string> parents;
    for (const tag type : store_.find("Type")) {
      const std::string& name = store_.text(type, "type_name");
      const tag parent = store_.reference(type, "parent_type");
      const Class* const form_class = store_.find_class(name);
      if (parent != NULLTAG && is_stored_in(store_, type, "Form") && form_class != nullptr &&
          !form_class->is_built_in && store_.text(type, "type_class") == name &&
          form_class->parent->name == store_.text(parent, "type_class")) {
        parents.emplace(name, store_.text(parent, "type_name"));
      }
    }
    const auto without_others = [&](const std::string& name, const std::string& parent) {
      return !parents.contains(name) && parents.erase(parent) > 0;
    };
    for (bool goes_on = true; goes_on;) {
      goes_on = false;
      for (const tag type : store_.find("Type")) {
        const tag parent = store_.reference(type, "parent_type");
        goes_on |= parent != NULLTAG &&
                   without_others(store_.text(type, "type_name"), store_.text(parent, "type_name"));
      }
      for (const Class* type : store_.classes()) {
        goes_on |= type->parent != nullptr && without_others(type->name, type->parent->name);
      }
    }
    std::set<std::string> names;
    for (const auto& [name, parent] : parents) {
      names.insert(name);
    }
    return names;
  }

  static Json references_json(const std::vector<FileReference>& references) {
    Json all = Json::array();
    for (const FileReference& reference : references) {
      if (all.empty() || all.back()["name"] != reference.reference || !reference.is_for_files() ||
          !all.back().contains("files")) {
        all.push_back({{"name", reference.reference}});
      }
      if (reference.is_for_files()) {
        all.back()["files"].push_back(
            {{"template", reference.file_template}, {"format", reference.format}});
      }
    }
    return all;
  }

  /** The task templates of a process template, and the pools that they ask. */
  void note_parts(tag process) {
    for (const tag task : flow::tasks_from(store_.reference(process, "root_template"))) {
      account_.said.add(task);
      for (const tag member : flow::references(task, "signoff_members")) {
        if (store_.class_of(member).name == "ResourcePool") {
          account_.said.add(member);
        }
      }
    }
  }

  Json rule_json(const AccessRule& rule) {
    Json described = {{rule.grants ? "grant" : "deny", rule.privileges}};
    described["to"] =
        rule.accessor != NULLTAG ? places_.of(rule.accessor) : Json(rule.accessor_kind);
    described["on"] = rule.target_object != NULLTAG ? places_.of(rule.target_object)
                      : rule.target_type != NULLTAG
                          ? Json({{"type", store_.text(rule.target_type, "type_name")}})
                          : Json({{"class", rule.target_class}});
    return described;
  }

  Site& site_;
  Store& store_;
  const Wishes& wishes_;
  Places& places_;
  Account& account_;
};

template <Json (Definitions::*section)()>
Json made(Site& site, const Wishes& wishes, Places& places, Account& account) {
  return (Definitions(site, wishes, places, account).*section)();
}

constexpr std::pair<const char*, DescribeSection> sections[] = {
    {"site", made<&Definitions::settings>},
    {"sites", made<&Definitions::other_sites>},
    {"groups", made<&Definitions::groups>},
    {"roles", made<&Definitions::roles>},
    {"users", made<&Definitions::users>},
    {"classes", made<&Definitions::classes>},
    {"types", made<&Definitions::types>},
    {"relation_types", made<&Definitions::relation_types>},
    {"tools", made<&Definitions::tools>},
    {"dataset_types", made<&Definitions::dataset_types>},
    {"form_types", made<&Definitions::form_types>},
    {"preferences", made<&Definitions::preferences>},
    {"texts", made<&Definitions::texts>},
    {"view_types", made<&Definitions::view_types>},
    {"note_types", made<&Definitions::note_types>},
    {"revision_rules", made<&Definitions::revision_rules>},
    {"process_templates", made<&Definitions::process_templates>},
};

}  // namespace

std::span<const std::pair<const char*, DescribeSection>> definition_sections() {
  return sections;
}

nlohmann::ordered_json describe_access_rules(Site& site, const Wishes& wishes, Places& places,
                                             Account& account) {
  return Definitions(site, wishes, places, account).access_rules();
}

}  // namespace host
