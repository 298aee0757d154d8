/** @file `zolp show`: what a site knows of one object. */
#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "login.h"
#include "objects.h"
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

Json lock_of(tag object) {
  char* user = nullptr;
  char* node = nullptr;
  date_s since{};
  const int status = STORE_who_locked_instance(object, &user, &since, &node);
  const PlatformBlock<char> user_block(user);
  const PlatformBlock<char> node_block(node);
  require(status, "the lock");
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
  require(RSV_get_checkout_user(object, &user), "the reservation");
  if (user == NULLTAG) {
    return nullptr;
  }
  require(ORG_get_user_identifier(user, user_id.data()), "the id of a user");
  return user_id.data();
}

std::string site_of(tag object) {
  logical is_replica = 0;
  require(ZOLP_isItemReplica(object, &is_replica), "the owning site");
  if (is_replica == 0) {
    return "local";
  }
  tag site = NULLTAG;
  require(STORE_location_of_instance(object, &site), "the owning site");
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
  const Owner owner = owner_of(object);
  return {{"id", id_of(object)},
          {"name", name_of(object)},
          {"class", class_of(object)},
          {"type", type_of(object)},
          {"owner", owner.user},
          {"group", owner.group},
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

struct ShowOptions {
  std::string id;
  bool json = false;
  LoginOptions login;
};

void show(const ShowOptions& options) {
  const View one_state;
  const Json card = card_of(find_object(options.id));
  if (options.json) {
    print_json(card);
  } else {
    print_card(card);
  }
}

}  // namespace

void add_show_command(CLI::App& program) {
  CLI::App* const command =
      program.add_subcommand("show", "Print what a site knows of an item or a revision");
  const auto options = std::make_shared<ShowOptions>();
  command->add_option("ID", options->id, "Item id, or item id/revision id")
      ->required()
      ->type_name("");
  command->footer(
      "\nExamples: zolp show GB-1000 --host site.db\n"
      "          zolp show GB-1000/C --host site.db --json");
  work_in_session(*command, options, show);
}

}  // namespace tool
