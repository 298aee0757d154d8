// ork_host_: the control interface.

#include "ork_host.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "arguments.h"
#include "describe.h"
#include "flow_engine.h"
#include "flow_handlers.h"
#include "flow_stops.h"
#include "handler_watch.h"
#include "handout.h"
#include "heap.h"
#include "object_id.h"
#include "operation.h"
#include "reservations.h"
#include "seed.h"
#include "seed_export.h"
#include "site_check.h"
#include "snapshot.h"
#include "utf8_path.h"

using host::guarded;

namespace {

host::Sharing sharing(logical share_contents) {
  return share_contents != 0 ? host::Sharing::links : host::Sharing::none;
}

}  // namespace

int ork_host_open(const char* path) {
  return guarded([&] {
    host::require_all(path);
    if (*path == '\0') {
      host::refuse(ORK_site_not_available, "the path is empty");
    }
    host::open_site(path);
  });
}

void ork_host_close(void) {
  guarded([] { host::close_site(); });
}

const char* ork_host_path(void) {
  const char* path = nullptr;
  guarded([&] {
    const host::Site* site = host::open_site();
    path = site != nullptr ? site->path().c_str() : nullptr;
  });
  return path;
}

namespace {

ork_host_seed_progress seed_progress = nullptr;
void* seed_progress_context = nullptr;

host::SeeProgress progress_of_seeds() {
  if (seed_progress == nullptr) {
    return nullptr;
  }
  return [](const char* section, std::size_t done, std::size_t elements) {
    return seed_progress(section, done, elements, seed_progress_context) != 0;
  };
}

host::TakeFault fault_taker(ork_host_seed_fault see, void* context) {
  return [see, context](const host::SeedFault& fault) {
    if (see != nullptr) {
      see(fault.pointer.c_str(), fault.line, fault.column, fault.why.c_str(), context);
    }
  };
}

/** Does something with the text of a seed file and its folder. */
template <typename Use>
int with_seed_file(const char* path, const Use& use) {
  return guarded([&] {
    host::require_all(path);
    // A path object, so that names of all languages are found on all systems.
    std::ifstream file(host::utf8_path(path), std::ios::binary);
    if (!file) {
      host::refuse(ORK_invalid_argument, std::string(path) + " cannot be read");
    }
    std::error_code none;
    const auto size = std::filesystem::file_size(host::utf8_path(path), none);
    std::string json;
    json.reserve(none ? 0 : static_cast<std::size_t>(size) + 1);
    json.assign(std::istreambuf_iterator<char>(file), {});
    use(json, host::utf8_path(path).parent_path());
  });
}

host::JsonStream::Write pieces_for(ork_host_writer write, void* context) {
  return [write, context](std::string_view piece) {
    if (write(piece.data(), piece.size(), context) == 0) {
      host::refuse(ORK_interrupted, "the text is not wanted any more");
    }
  };
}

host::Wishes wishes_for(const char* prefix, logical dates) {
  host::Wishes wishes;
  wishes.has_dates = dates != 0;
  wishes.files_prefix = prefix != nullptr ? prefix : "";
  return wishes;
}

}  // namespace

int ork_host_seed(const char* json) {
  return guarded([&] {
    host::require_all(json);
    host::seed(host::site(), json, {}, progress_of_seeds());
  });
}

int ork_host_seed_file(const char* path) {
  return with_seed_file(path, [](const std::string& json, const std::filesystem::path& folder) {
    host::seed(host::site(), json, folder, progress_of_seeds());
  });
}

int ork_host_check_seed(const char* json, ork_host_seed_fault see, void* context) {
  return guarded([&] {
    host::require_all(json);
    host::check_seed(host::site(), json, {}, fault_taker(see, context), progress_of_seeds());
  });
}

int ork_host_check_seed_file(const char* path, ork_host_seed_fault see, void* context) {
  return with_seed_file(path, [&](const std::string& json, const std::filesystem::path& folder) {
    host::check_seed(host::site(), json, folder, fault_taker(see, context), progress_of_seeds());
  });
}

void ork_host_set_seed_progress(ork_host_seed_progress progress, void* context) {
  guarded([&] {
    seed_progress = progress;
    seed_progress_context = context;
  });
}

int ork_host_describe(const char* section, char** json) {
  host::clear(json);
  return guarded([&] {
    host::require_all(json);
    std::string text;
    host::describe(host::site(), section != nullptr ? section : "",
                   [&text](std::string_view part) { text += part; });
    *json = host::hand_out(text);
  });
}

const char* const* ork_host_sections(void) {
  return host::section_names();
}

int ork_host_write_description(const char* section, ork_host_writer write, void* context) {
  return guarded([&] {
    host::require(write != nullptr, "a required argument is null");
    host::describe(host::site(), section != nullptr ? section : "", pieces_for(write, context));
  });
}

int ork_host_snapshot(const char* copy, logical share_contents) {
  return guarded([&] {
    host::require_all(copy);
    host::require(*copy != '\0', "the path of the copy is empty");
    host::make_snapshot(host::site(), copy, sharing(share_contents));
  });
}

int ork_host_restore(const char* path, const char* copy, logical share_contents) {
  return guarded([&] {
    host::require_all(path, copy);
    host::require(*path != '\0' && *copy != '\0', "a path is empty");
    host::restore_site(path, copy, sharing(share_contents));
  });
}

int ork_host_remove(const char* path) {
  return guarded([&] {
    host::require_all(path);
    host::remove_site(path);
  });
}

int ork_host_check(const char* path, logical repair, int* findings, char** json) {
  host::clear(findings);
  host::clear(json);
  return guarded([&] {
    host::require_all(path, findings, json);
    std::string text;
    const int left = host::check_site(path, repair != 0, &text);
    *json = host::hand_out(text);
    *findings = left;
  });
}

int ork_host_export(const char* files, const char* prefix, logical dates, char** json) {
  host::clear(json);
  return guarded([&] {
    host::require_all(json);
    std::string text;
    host::export_site(host::site(), wishes_for(prefix, dates), files != nullptr ? files : "",
                      [&text](std::string_view part) { text += part; });
    *json = host::hand_out(text);
  });
}

int ork_host_write_export(const char* files, const char* prefix, logical dates,
                          ork_host_writer write, void* context) {
  return guarded([&] {
    host::require(write != nullptr, "a required argument is null");
    host::export_site(host::site(), wishes_for(prefix, dates), files != nullptr ? files : "",
                      pieces_for(write, context));
  });
}

int ork_host_set_preference(const char* name, int count, const char* const* values) {
  return guarded([&] {
    host::require_all(name);
    host::require(*name != '\0', "a preference needs a name");
    host::require(count >= 0 && (count == 0 || values != nullptr), "count");
    host::PreferenceValues texts;
    for (int i = 0; i < count; ++i) {
      host::require_all(values[i]);
      texts.emplace_back(values[i]);
    }
    host::Site& site = host::site();
    host::write_preference(site.database(), name, texts);
    if (site.session && site.session->preferences) {
      site.session->preferences->set(name, std::move(texts));
    }
  });
}

int ork_host_find_item(const char* item_id, const char* revision_id, tag* object) {
  host::clear(object);
  return guarded([&] {
    host::require_all(item_id, object);
    host::Store& store = host::store();
    const tag item = store.find_one("Item", {{"item_id", std::string(item_id)}});
    const bool is_wanted = revision_id == nullptr || item == NULLTAG;
    *object = is_wanted ? item : host::find_revision(store, item, revision_id);
  });
}

int ork_host_hand_over(void) {
  return guarded([] { host::Turn::hand_over(); });
}

int ork_host_release_lock(tag object) {
  return guarded([&] {
    host::store().state(object);  // says what is wrong with the tag
    host::store().take_lock_away(object);
  });
}

int ork_host_check_out(tag object) {
  return guarded([&] {
    host::session();
    host::check_out(object);
  });
}

int ork_host_check_in(tag object) {
  return guarded([&] {
    host::session();
    host::check_in(object);
  });
}

int ork_host_begin_view(void) {
  return guarded([] { host::site().database().hold_view(); });
}

int ork_host_forget_read(void) {
  return guarded([] { host::store().forget_since(0); });
}

int ork_host_end_view(void) {
  return guarded([] { host::site().database().end_view(); });
}

int ork_host_begin_change(void) {
  return guarded([] { host::site().hold_changes(); });
}

int ork_host_end_change(logical keep) {
  return guarded([&] {
    host::site().end_changes(keep != 0);
    host::flow::run_held_back_jobs();
  });
}

int ork_host_load_handlers(const char* path) {
  return guarded([&] {
    host::require_all(path);
    host::flow::load_handlers(path);
  });
}

int ork_host_list_library_handlers(const char* path, int* count, char*** names) {
  host::clear(count);
  host::clear(names);
  return guarded([&] {
    host::require_all(path, count, names);
    const std::vector<std::string> found = host::flow::handlers_of_library(path);
    *names = host::hand_out(found);
    *count = static_cast<int>(found.size());
  });
}

namespace {

using Json = nlohmann::ordered_json;

Json with_origin(Json what, const host::Origin& origin) {
  what["operation"] = origin.operation != nullptr ? Json(origin.operation) : Json();
  what["function"] = origin.function != nullptr ? Json(origin.function) : Json();
  return what;
}

/** Empty for nothing. */
std::string left_json(const host::flow::LeftBehind& left) {
  if (left.blocks.empty() && left.locks.empty()) {
    return {};
  }
  Json blocks = Json::array();
  for (const auto& [origin, sums] : left.blocks) {
    blocks.push_back(with_origin({{"count", sums.first}, {"bytes", sums.second}}, origin));
  }
  Json locks = Json::array();
  for (const auto& [object, origin] : left.locks) {
    locks.push_back(with_origin({{"object", object}}, origin));
  }
  constexpr bool in_ascii = false;
  return Json({{"blocks", blocks}, {"locks", locks}})
      .dump(-1, ' ', in_ascii, Json::error_handler_t::replace);
}

}  // namespace

void ork_host_watch_handlers(ork_host_handler_observer observer, void* context) {
  guarded([&] {
    if (observer == nullptr) {
      return host::flow::observe_handlers(nullptr);
    }
    host::flow::observe_handlers([observer, context](const host::flow::HandlerCall& call,
                                                     const host::flow::HandlerEnd* end) {
      const std::string left = end != nullptr ? left_json(end->left) : "";
      const ork_host_handler_call told = {call.handler.c_str(),
                                          call.task,
                                          call.job,
                                          call.task_name.c_str(),
                                          call.job_name.c_str(),
                                          call.action,
                                          end != nullptr ? end->status : ORK_ok,
                                          left.empty() ? nullptr : left.c_str()};
      observer(&told, end != nullptr ? 1 : 0, context);
    });
  });
}

int ork_host_stop_job(tag task, const char* handler, int action, int status, const char* detail) {
  return guarded([&] {
    host::require_all(handler, detail);
    host::require(action == FLOW_start_action || action == FLOW_complete_action, "action");
    host::flow::record_stop_of_other(
        {task, handler, action, status, host::flow::text_with_detail(status, detail)});
  });
}

void ork_host_set_arguments(int count, const char* const* arguments) {
  guarded([&] {
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
      host::require_all(arguments, arguments[i]);
      texts.emplace_back(arguments[i]);
    }
    host::set_arguments(std::move(texts));
  });
}

void ork_host_fail_call(const char* operation, int nth, int status) {
  guarded([&] {
    host::require_all(operation);
    host::require(nth >= 1, "nth counts from 1");
    host::steering().fail_call(operation, nth, status);
  });
}

void ork_host_delay_call(const char* operation, int milliseconds) {
  guarded([&] {
    host::require_all(operation);
    host::steering().delay_call(operation, milliseconds);
  });
}

void ork_host_fail_allocation(int nth) {
  host::heap::fail_allocation(nth > 0 ? nth : 0);
}

int ork_host_order_faults(const char* orders) {
  return guarded([&] {
    host::require_all(orders);
    host::steering().order_faults(orders);
  });
}

int ork_host_order_delays(const char* orders) {
  return guarded([&] {
    host::require_all(orders);
    host::steering().order_delays(orders);
  });
}

int ork_host_write_journal(const char* path) {
  return guarded([&] {
    host::require_all(path);
    host::steering().write_journal(path);
  });
}

void ork_host_clear_faults(void) {
  guarded([] {
    host::steering().clear_faults();
    host::heap::fail_allocation(0);
  });
}

void ork_host_start_journal(void) {
  guarded([] { host::steering().start_journal(); });
}

void ork_host_stop_journal(void) {
  guarded([] { host::steering().stop_journal(); });
}

int ork_host_journal_size(void) {
  int size = 0;
  guarded([&] { size = static_cast<int>(host::steering().journal().size()); });
  return size;
}

int ork_host_journal_entry(int index, const char** operation, int* status) {
  host::clear(operation);
  host::clear(status);
  bool is_there = false;
  guarded([&] {
    const auto& journal = host::steering().journal();
    is_there = index >= 0 && static_cast<std::size_t>(index) < journal.size();
    if (is_there && operation != nullptr) {
      *operation = journal[static_cast<std::size_t>(index)].operation;
    }
    if (is_there && status != nullptr) {
      *status = journal[static_cast<std::size_t>(index)].status;
    }
  });
  return is_there ? 1 : 0;
}

void ork_host_watch_calls(ork_host_call_observer observer, void* context) {
  guarded([&] {
    if (observer == nullptr) {
      return host::steering().observe(nullptr);
    }
    host::steering().observe(
        [observer, context](const char* operation, bool has_ended, int status) {
          observer(operation, host::this_origin().function, has_ended ? 1 : 0, status, context);
        });
  });
}

size_t ork_host_block_count(void) {
  return host::heap::block_count();
}

size_t ork_host_block_bytes(void) {
  return host::heap::block_bytes();
}
