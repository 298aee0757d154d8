/** @file `zolp show`: what a site knows of one object. */
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands/commands.h"
#include "datasets.h"
#include "login.h"
#include "object_json.h"
#include "objects.h"
#include "ork/item.h"
#include "ork/org.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/store.h"
#include "ork/struct.h"
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
Json relations_json(tag object) {
  int count = 0;
  REL_record_s* records = nullptr;
  require(REL_list_all_related_objects(object, &count, &records), "the relations");
  const PlatformBlock<REL_record_s> block(records);
  Json related = {{"to", Json::array()}, {"from", Json::array()}};
  for (int i = 0; i < count; ++i) {
    const bool is_primary = records[i].primary == object;
    const tag other = is_primary ? records[i].secondary : records[i].primary;
    Json entry = {{"relation", type_name(records[i].relation_type)}};
    entry.update(object_json(other));
    related[is_primary ? "to" : "from"].push_back(std::move(entry));
  }
  return related;
}

/** The revisions of an item, in the order of their ids. */
Json revisions_of(tag item, const std::string& item_id) {
  std::map<std::string, Json> revisions;
  // Ids may hold what stands for any text, and others begin alike.
  for (const tag object : find_by_pattern(item_id + "/*")) {
    tag of = NULLTAG;
    if (is_of_class(object, "ItemRevision")) {
      require(ITEM_get_item_of_rev(object, &of), "the item of a revision");
    }
    if (of == item) {
      Json revision = object_json(object);
      const std::string id = revision["revision"];
      revisions[id] = std::move(revision);
    }
  }
  Json list = Json::array();
  for (auto& [id, revision] : revisions) {
    list.push_back(std::move(revision));
  }
  return list;
}

/** The structures of a revision: type of the view, and the lines right below. */
Json structures_of(tag revision) {
  Json structures = Json::array();
  for (const tag structure : listed("the structures", [revision](int*count, tag**found) {
         return STRUCT_list_bom_view_revisions(revision, count, found);
       })) {
    tag view = NULLTAG;
    require(STRUCT_get_bom_view_of_bvr(structure, &view), "the view of a structure");
    const std::vector<tag> lines = listed("the lines", [structure](int* count, tag** found) {
      return STRUCT_list_occurrences(structure, count, found);
    });
    structures.push_back({{"view", display_value(view, "view_type")}, {"lines", lines.size()}});
  }
  return structures;
}

/** What an object has of its own: revisions, datasets, structures. */
void add_own(Json& card, tag object) {
  const bool is_item = is_of_class(object, "Item");
  const bool is_revision = is_of_class(object, "ItemRevision");
  card["revisions"] = is_item ? revisions_of(object, card["item"]) : Json::array();
  card["datasets"] = Json::array();
  for (const tag dataset : datasets_of(object)) {
    card["datasets"].push_back(object_json(dataset));
  }
  card["structures"] = is_revision ? structures_of(object) : Json::array();
}

Json card_of(tag object) {
  const Owner owner = owner_of(object);
  Json card = object_json(object);
  card["owner"] = owner.user;
  card["group"] = owner.group;
  card["locked"] = lock_of(object);
  card["checked_out_by"] = checkout_of(object);
  card["site"] = site_of(object);
  card["statuses"] = statuses_of(object);
  card["relations"] = relations_json(object);
  add_own(card, object);
  return card;
}

void print_field(const char* name, const std::string& value) {
  std::printf("  %-12s %s\n", name, printable(value).c_str());
}

/** A line for each entry of a list, the first one with the list's name. */
void print_list(const char* heading, const Json& list, std::string (*text)(const Json& entry)) {
  for (const Json& entry : list) {
    print_field(heading, text(entry));
    heading = "";
  }
}

void print_object(const Json& card) {
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
  print_list("statuses", card["statuses"], [](const Json& status) {
    return status["name"].get<std::string>() + "  " + status["released"].get<std::string>();
  });
  print_list("revisions", card["revisions"],
             [](const Json& revision) { return revision["id"].get<std::string>(); });
  print_list("datasets", card["datasets"], [](const Json& dataset) {
    return dataset["name"].get<std::string>() + "  (" + dataset["type"].get<std::string>() + ")";
  });
  print_list("structures", card["structures"], [](const Json& structure) {
    return structure["view"].get<std::string>() + "  " + counted(structure["lines"], "line");
  });
  const auto relation_text = [](const Json& relation) {
    return relation["relation"].get<std::string>() + "  " + relation["id"].get<std::string>() +
           "  (" + relation["class"].get<std::string>() + ")";
  };
  print_list("related to", card["relations"]["to"], relation_text);
  print_list("related from", card["relations"]["from"], relation_text);
}

struct CardOptions {
  std::string id;
  bool json = false;
  LoginOptions login;
};

void show_object(const CardOptions& options) {
  const View one_state;
  const Json card = card_of(find_object(options.id));
  if (options.json) {
    print_json(card);
  } else {
    print_object(card);
  }
}

}  // namespace

void add_show_command(CommandParser& program) {
  CommandParser& command =
      program.add_command("show", "Print what a site knows of an item or a revision");
  const auto options = std::make_shared<CardOptions>();
  command.add_option("ID", options->id, "Item id, or item id/revision id").required().type_name("");
  command.footer(
      "\nExamples: zolp show GB-1000 --host site.db\n"
      "          zolp show GB-1000/C --host site.db --json");
  work_in_session(command, options, show_object);
}

}  // namespace tool
