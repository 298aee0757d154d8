// STORE_: the session's identity in the store, instances, classes and sites.

#include "ork/store.h"

#include "access.h"
#include "handout.h"
#include "known_sites.h"
#include "operation.h"
#include "ork/access.h"

namespace host {

namespace {

void refresh_instances(const std::vector<tag>& objects, bool for_change) {
  std::vector<tag> locked;
  try {
    for (const tag object : objects) {
      const bool was_locked = store().is_locked(object);
      if (for_change) {
        require_privilege(object, ACCESS_privilege_write);
      }
      store().refresh(object, for_change);
      if (for_change && !was_locked) {
        locked.push_back(object);
      }
    }
  } catch (const Failure&) {
    for (const tag object : locked) {
      store().refresh(object, false);
    }
    throw;
  }
}

}  // namespace

}  // namespace host

namespace host {

namespace {

constexpr std::string_view uid_letters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_$";
constexpr int bits_per_letter = 6;
constexpr int number_letters = 11; /**< for 64 bits: the site's number and the object's */
constexpr int check_letters = 3;

void append_letters(std::uint64_t number, int count, std::string* text) {
  for (int i = count - 1; i >= 0; --i) {
    *text += uid_letters[(number >> (bits_per_letter * i)) % uid_letters.size()];
  }
}

/** Mixes all bits of a number, so that a slip in a text yields one that stands for nothing. */
std::uint64_t mixed(std::uint64_t number) {
  number = (number ^ (number >> 30)) * 0xBF58476D1CE4E5B9U;
  number = (number ^ (number >> 27)) * 0x94D049BB133111EBU;
  return number ^ (number >> 31);
}

std::string uid_of(Store& store, tag object) {
  const std::uint64_t number =
      std::uint64_t{static_cast<std::uint32_t>(local_site_number(store))} << 32 | object;
  std::string uid;
  append_letters(number, number_letters, &uid);
  append_letters(mixed(number), check_letters, &uid);
  return uid;
}

/** The object that a text would stand for, if it is the text of one. */
tag object_of(std::string_view uid) {
  std::uint64_t number = 0;
  for (const char letter : uid.substr(0, number_letters)) {
    number = number << bits_per_letter | (uid_letters.find(letter) % uid_letters.size());
  }
  return static_cast<tag>(number);
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

date_s STORE_null_date(void) {
  return {};
}

int STORE_tag_to_uid(tag object, char** uid) {
  host::clear(uid);
  return operation("STORE_tag_to_uid", Needs::session, [&] {
    host::require_all(uid);
    host::store().state(object);  // says what is wrong with the tag
    *uid = host::hand_out(host::uid_of(host::store(), object));
  });
}

int STORE_uid_to_tag(const char* uid, tag* object) {
  host::clear(object);
  return operation("STORE_uid_to_tag", Needs::session, [&] {
    host::require_all(uid, object);
    const tag named = host::object_of(uid);
    if (host::uid_of(host::store(), named) != uid) {
      host::refuse(STORE_unknown_tag, uid);
    }
    host::store().state(named);
    *object = named;
  });
}

int STORE_get_user(char** name, tag* user) {
  host::clear(name);
  host::clear(user);
  return operation("STORE_get_user", Needs::session, [&] {
    host::require_all(name, user);
    *name = host::hand_out(host::session().user_name);
    *user = host::session().user;
  });
}

int STORE_get_group(char** name, tag* group) {
  host::clear(name);
  host::clear(group);
  return operation("STORE_get_group", Needs::session, [&] {
    host::require_all(name, group);
    *name = host::hand_out(host::session().group_name);
    *group = host::session().group;
  });
}

int STORE_get_user_id(char** user_id) {
  host::clear(user_id);
  return operation("STORE_get_user_id", Needs::session, [&] {
    host::require_all(user_id);
    *user_id = host::hand_out(host::session().user_id);
  });
}

int STORE_is_user_sa(logical* verdict) {
  host::clear(verdict);
  return operation("STORE_is_user_sa", Needs::session, [&] {
    host::require_all(verdict);
    *verdict = host::session().is_administrator;
  });
}

int STORE_is_tag_valid(tag object, logical* valid) {
  host::clear(valid);
  return operation("STORE_is_tag_valid", Needs::session, [&] {
    host::require_all(valid);
    *valid = host::store().exists(object);
  });
}

int STORE_instance_exists(tag object, logical* exists) {
  host::clear(exists);
  return operation("STORE_instance_exists", Needs::session, [&] {
    host::require_all(exists);
    *exists = host::store().exists(object);
  });
}

int STORE_refresh_instances(int count, const tag* objects, tag, int lock) {
  return operation("STORE_refresh_instances", Needs::session, [&] {
    host::require(count >= 0 && (count == 0 || objects != nullptr), "there are no instances");
    if (lock != STORE_no_lock && lock != STORE_modify_lock) {
      host::refuse(STORE_unknown_lock, std::to_string(lock));
    }
    host::refresh_instances({objects, objects + count}, lock == STORE_modify_lock);
  });
}

int STORE_get_instance_state(tag object, int* state) {
  host::clear(state);
  return operation("STORE_get_instance_state", Needs::session, [&] {
    host::require_all(state);
    *state = static_cast<int>(host::store().state(object));
  });
}

int STORE_get_instance_lock(tag object, int* lock) {
  host::clear(lock);
  return operation("STORE_get_instance_lock", Needs::session, [&] {
    host::require_all(lock);
    const bool may_change = host::store().is_locked(object) ||
                            host::store().state(object) == host::InstanceState::is_new;
    *lock = may_change ? STORE_modify_lock : STORE_no_lock;
  });
}

int STORE_who_locked_instance(tag object, char** user_id, date_s* login_date, char** node_name) {
  host::clear(user_id);
  host::clear(login_date);
  host::clear(node_name);
  return operation("STORE_who_locked_instance", Needs::session, [&] {
    host::require_all(user_id, node_name, login_date);
    const auto holder = host::store().lock_holder(object);
    if (!holder) {
      return;
    }
    host::HandedOut<char> user(host::hand_out(holder->user_id));
    *node_name = host::hand_out(holder->node);
    *user_id = user.release();
    *login_date = holder->since;
  });
}

int STORE_class_id_of_class(const char* class_name, tag* class_id) {
  host::clear(class_id);
  return operation("STORE_class_id_of_class", Needs::session, [&] {
    host::require_all(class_name, class_id);
    *class_id = host::store().class_named(class_name).id;
  });
}

int STORE_class_of_instance(tag object, tag* class_id) {
  host::clear(class_id);
  return operation("STORE_class_of_instance", Needs::session, [&] {
    host::require_all(class_id);
    *class_id = host::store().class_of(object).id;
  });
}

int STORE_name_of_class(tag class_id, char** name) {
  host::clear(name);
  return operation("STORE_name_of_class", Needs::session, [&] {
    host::require_all(name);
    *name = host::hand_out(host::store().class_with_id(class_id).name);
  });
}

int STORE_is_descendant(tag ancestor, tag descendant, logical* verdict) {
  host::clear(verdict);
  return operation("STORE_is_descendant", Needs::session, [&] {
    host::require_all(verdict);
    const host::Class& above = host::store().class_with_id(ancestor);
    const host::Class& below = host::store().class_with_id(descendant);
    *verdict = &above != &below && below.is_a(above);
  });
}

int STORE_describe_class(tag class_id, int, const char*, char** application, int* descriptor,
                         int* count, tag** attributes) {
  host::clear(application);
  host::clear(descriptor);
  host::clear(count);
  host::clear(attributes);
  return operation("STORE_describe_class", Needs::session, [&] {
    host::require_all(application, descriptor, count, attributes);
    const host::Class& described = host::store().class_with_id(class_id);
    std::vector<tag> own;
    for (const auto& attribute : described.own) {
      own.push_back(attribute->id);
    }
    host::HandedOut<char> name(host::hand_out(described.is_built_in ? "ORK" : "SITE"));
    host::hand_out(own, count, attributes);
    *application = name.release();
    *descriptor = described.is_abstract ? 1 : 0;
  });
}

int STORE_superclasses_of_class(tag class_id, int* count, tag** parents) {
  host::clear(count);
  host::clear(parents);
  return operation("STORE_superclasses_of_class", Needs::session, [&] {
    host::require_all(count, parents);
    const host::Class* parent = host::store().class_with_id(class_id).parent;
    host::hand_out(parent != nullptr ? std::vector<tag>{parent->id} : std::vector<tag>(), count,
                   parents);
  });
}

int STORE_site_id(int* site_id) {
  host::clear(site_id);
  return operation("STORE_site_id", Needs::session, [&] {
    host::require_all(site_id);
    *site_id = host::local_site_number(host::store());
  });
}

int STORE_lookup_imc(int site_id, tag* site) {
  host::clear(site);
  return operation("STORE_lookup_imc", Needs::session, [&] {
    host::require_all(site);
    *site = host::find_site(host::store(), site_id);
  });
}

int STORE_location_of_instance(tag object, tag* site) {
  host::clear(site);
  return operation("STORE_location_of_instance", Needs::session, [&] {
    host::require_all(site);
    *site = host::owning_site(host::store(), object);
  });
}
