/** @file `zolp show` and `zolp find`: what a site knows of one object, and which objects it has. */
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "error.h"
#include "login.h"
#include "objects.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "platform_block.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

// --------------------------------------------------------------------------------------- show

Json lock_of(tag object) {
  char* user = nullptr;
  char* node = nullptr;
  date_s since{};
  STORE_who_locked_instance(object, &user, &since, &node);
  const PlatformBlock<char> user_block(user);
  const PlatformBlock<char> node_block(node);
  if (user == nullptr) {
    return nullptr;
  }
  return {{"user", user}, {"node", node != nullptr ? node : ""}, {"since", date_text(since)}};
}

Json statuses_of(tag object) {
  int count = 0;
  ZOLP_status_record* records = nullptr;
  require(ZOLP_ask_status(object, &count, &records), "the release statuses");
  const PlatformBlock<ZOLP_status_record> block(records);
  Json statuses = Json::array();
  for (int i = 0; i < count; ++i) {
    statuses.push_back(
        {{"name", records[i].name}, {"released", date_text(records[i].date_released)}});
  }
  return statuses;
}

Json checkout_of(tag object) {
  tag user = NULLTAG;
  std::array<char, ORG_name_size + 1> user_id{};
  if (RSV_get_checkout_user(object, &user) != ORK_ok || user == NULLTAG) {
    return nullptr;
  }
  ORG_get_user_identifier(user, user_id.data());
  return user_id.data();
}

std::string site_of(tag object) {
  logical is_replica = 0;
  require(ZOLP_isItemReplica(object, &is_replica), "the owning site");
  if (is_replica == 0) {
    return "local";
  }
  tag site = NULLTAG;
  STORE_location_of_instance(object, &site);
  return "replica of " + display_value(site, "site_name");
}

/** The relations of an object; those in which it is the primary one come first. */
Json relations_of(tag object) {
  int count = 0;
  REL_record_s* records = nullptr;
  require(REL_list_all_related_objects(object, &count, &records), "the relations");
  const PlatformBlock<REL_record_s> block(records);
  Json related = {{"to", Json::array()}, {"from", Json::array()}};
  for (int i = 0; i < count; ++i) {
    const bool is_primary = records[i].primary == object;
    const tag other = is_primary ? records[i].secondary : records[i].primary;
    related[is_primary ? "to" : "from"].push_back(
        {{"relation", type_name(records[i].relation_type)},
         {"class", class_of(other)},
         {"object", id_of(other)}});
  }
  return related;
}

Json card_of(tag object) {
  std::array<char, WSO_name_size + 1> name{};
  std::array<char, WSO_name_size + 1> type{};
  std::array<char, ORG_name_size + 1> owner{};
  std::array<char, ORG_name_size + 1> group{};
  require(WSO_get_name(object, name.data()), "the name");
  require(WSO_get_object_type(object, type.data()), "the type");
  require(ZOLP_ask_ownership_names(object, owner.data(), group.data()), "the owner");
  return {{"id", id_of(object)},
          {"name", name.data()},
          {"class", class_of(object)},
          {"type", type.data()},
          {"owner", owner.data()},
          {"group", group.data()},
          {"locked", lock_of(object)},
          {"checked_out_by", checkout_of(object)},
          {"site", site_of(object)},
          {"statuses", statuses_of(object)},
          {"relations", relations_of(object)}};
}

void print_field(const char* name, const std::string& value) {
  std::printf("  %-12s %s\n", name, printable(value).c_str());
}

void print_relations(const char* heading, const Json& relations) {
  for (const Json& relation : relations) {
    print_field(heading, relation["relation"].get<std::string>() + "  " +
                             relation["object"].get<std::string>() + "  (" +
                             relation["class"].get<std::string>() + ")");
    heading = "";
  }
}

void print_card(const Json& card) {
  std::puts(printable(card["id"].get<std::string>()).c_str());
  for (const char* field : {"name", "class", "type", "owner", "group", "site"}) {
    print_field(field, card[field].get<std::string>());
  }
  const Json& lock = card["locked"];
  print_field("locked", lock.is_null() ? "no"
                                       : "by " + lock["user"].get<std::string>() + " on " +
                                             lock["node"].get<std::string>() + " since " +
                                             lock["since"].get<std::string>());
  const Json& checkout = card["checked_out_by"];
  print_field("checked out", checkout.is_null() ? "no" : "by " + checkout.get<std::string>());
  const char* heading = "statuses";
  for (const Json& status : card["statuses"]) {
    print_field(heading,
                status["name"].get<std::string>() + "  " + status["released"].get<std::string>());
    heading = "";
  }
  print_relations("related to", card["relations"]["to"]);
  print_relations("related from", card["relations"]["from"]);
}

// --------------------------------------------------------------------------------------- find

Json find_objects(const std::string& pattern) {
  Json found = Json::array();
  for (const tag object : find_by_pattern(pattern)) {
    found.push_back(summary_of(object));
  }
  return found;
}

struct ObjectOptions {
  std::string what;
  bool json = false;
  LoginOptions login;
};

/** Adds a command that reads something from a site in a session and prints it. */
void add_object_command(CLI::App& program, const char* name, const char* description,
                        const char* argument, const char* argument_description, const char* footer,
                        Json (*read)(const std::string&), void (*print)(const Json&)) {
  CLI::App* const command = program.add_subcommand(name, description);
  const auto options = std::make_shared<ObjectOptions>();
  command->add_option(argument, options->what, argument_description)->required()->type_name("");
  command->footer(footer);
  work_in_session(*command, options, [read, print](const ObjectOptions& given) {
    const Json result = read(given.what);
    if (given.json) {
      print_json(result);
    } else {
      print(result);
    }
  });
}

}  // namespace

void add_object_commands(CLI::App& program) {
  add_object_command(
      program, "show", "Print what a site knows of an item or a revision", "ID",
      "Item id, or item id/revision id",
      "\nExamples: zolp show GB-1000 --host site.db\n"
      "          zolp show GB-1000/C --host site.db --json",
      [](const std::string& id) { return card_of(find_object(id)); }, print_card);
  add_object_command(program, "find", "List objects by id or name", "PATTERN",
                     "Id or name; * stands for any text, ? for one character",
                     "\nNothing found is no failure.\n"
                     "Example: zolp find 'GB-1*' --host site.db",
                     find_objects, print_summaries);
}

}  // namespace tool
