#include "datasets.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "error.h"
#include "object_json.h"
#include "objects.h"
#include "ork/dset.h"
#include "ork/file.h"
#include "ork/rel.h"
#include "ork/wso.h"
#include "output_files.h"
#include "platform_block.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

std::string advice_for(int status) {
  switch (status) {
    case FILE_exists:
      return "remove it or choose another target";
    case FILE_cannot_read:
    case FILE_cannot_open:
      return "check the path";
    case FILE_cannot_write:
      return "make room, or choose a place that can be written";
    case FILE_damaged:
      return "restore the site's vault from a backup";
    default:
      return "see the call trace, set ZOLP_TRACE_LEVEL=4";
  }
}

bool is_dataset(tag object) {
  int ignored = 0;
  const int status = DSET_get_dataset_ref_count(object, &ignored);
  require(status, "what an object is", {DSET_not_a_dataset});
  return status == ORK_ok;
}

Json describe_file(tag file) {
  std::int64_t size = 0;
  int type = 0;
  std::array<char, FILE_digest_size + 1> digest{};
  require(FILE_describe(file, &size, &type, digest.data()), "the file");
  return {{"name", original_name(file)},
          {"size", size},
          {"type", type == SS_TEXT     ? "text"
                   : type == SS_BINARY ? "binary"
                                       : "unknown"},
          {"digest", digest.data()}};
}

}  // namespace

void require_done(int status, const std::string& problem, std::initializer_list<int> answers) {
  if (has_failed()) {
    stop_if_interrupted();
  }
  require_success(status, problem, advice_for(status), answers);
}

tag find_owner(const std::string& item, const std::string& revision) {
  if (item.empty()) {
    return NULLTAG;
  }
  tag owner = NULLTAG;
  if (revision.empty()) {
    require(ZOLP_ITEM_find_item(item.c_str(), &owner), "item " + item);
  } else {
    require(ZOLP_ITEM_find_rev(item.c_str(), revision.c_str(), &owner),
            "revision " + item + "/" + revision);
  }
  if (owner == NULLTAG) {
    throw Error("there is no item " + item + (revision.empty() ? "" : " with revision " + revision),
                "see \"zolp find '*'\" for what there is");
  }
  return owner;
}

std::vector<tag> datasets_of(tag owner) {
  int count = 0;
  REL_record_s* records = nullptr;
  require(REL_list_all_related_objects(owner, &count, &records), "the relations");
  const PlatformBlock<REL_record_s> block(records);
  std::vector<tag> datasets;
  for (int i = 0; i < count; ++i) {
    if (records[i].primary == owner && is_dataset(records[i].secondary)) {
      datasets.push_back(records[i].secondary);
    }
  }
  return datasets;
}

tag find_dataset_of(tag owner, const std::string& name) {
  for (const tag dataset : datasets_of(owner)) {
    if (name_of(dataset) == name) {
      return dataset;
    }
  }
  return NULLTAG;
}

void require_no_more_datasets(tag owner, const std::string& name, std::size_t limit) {
  const std::vector<tag> datasets = datasets_of(owner);
  const auto count = std::count_if(datasets.begin(), datasets.end(),
                                   [&name](tag dataset) { return name_of(dataset) == name; });
  if (static_cast<std::size_t>(count) > limit) {
    throw Error(id_of(owner) + " has a dataset " + name, "choose another name for the new one");
  }
}

tag find_dataset(tag owner, const std::string& name) {
  tag dataset = NULLTAG;
  if (owner != NULLTAG) {
    dataset = find_dataset_of(owner, name);
  } else {
    require(DSET_find_dataset(name.c_str(), &dataset), "dataset " + name);
  }
  if (dataset == NULLTAG) {
    throw Error(
        (owner != NULLTAG ? id_of(owner) + " has no dataset " : "there is no dataset ") + name,
        "see \"zolp find '*'\" or \"zolp show ID/REV\" for what there is");
  }
  return dataset;
}

std::vector<Reference> references_of(tag dataset) {
  int count = 0;
  require(DSET_get_dataset_ref_count(dataset, &count), "the references");
  std::vector<Reference> references;
  for (int i = 0; i < count; ++i) {
    std::array<char, DSET_name_size + 1> name{};
    Reference reference;
    require(
        DSET_find_dataset_named_ref(dataset, i, name.data(), &reference.type, &reference.object),
        "a reference");
    reference.name = name.data();
    references.push_back(reference);
  }
  return references;
}

bool is_file(tag object) {
  return class_of(object) == "VeloFile";
}

std::string original_name(tag file) {
  std::array<char, FILE_original_name_size + 1> name{};
  require(FILE_get_original_file_name(file, name.data()), "the file's name");
  return name.data();
}

Json dataset_card(tag dataset) {
  std::array<char, DSET_name_size + 1> tool_name{};
  std::array<char, DSET_name_size + 1> format{};
  tag tool = NULLTAG;
  require(DSET_get_dataset_tool(dataset, &tool), "the tool");
  require(DSET_get_dataset_format(dataset, format.data()), "the format");
  if (tool != NULLTAG) {
    require(DSET_get_tool_name(tool, tool_name.data()), "the tool");
  }
  Json references = Json::array();
  for (const Reference& reference : references_of(dataset)) {
    Json entry = {{"name", reference.name}, {"part", reference.type == DSET_PART_OF}};
    if (is_file(reference.object)) {
      entry["file"] = describe_file(reference.object);
    } else {
      entry["object"] = object_json(reference.object);
    }
    references.push_back(std::move(entry));
  }
  Json card = object_json(dataset);
  card["description"] = display_value(dataset, "object_desc");
  card["owner"] = display_value(dataset, "owning_user");
  card["tool"] = tool_name.data();
  card["format"] = format.data();
  card["references"] = std::move(references);
  return card;
}

}  // namespace tool
