// CONFIG_: revision rules.

#include "ork/config.h"

#include "handout.h"
#include "operation.h"
#include "ork/item.h"
#include "revision_rules.h"

using host::Needs;
using host::operation;

int CONFIG_find(const char* name, tag* rule) {
  host::clear(rule);
  return operation("CONFIG_find", Needs::session, [&] {
    host::require_all(name, rule);
    *rule = host::store().find_one("RevisionRule", {{"rule_name", std::string(name)}});
  });
}

int CONFIG_item_get_configured(tag rule, tag item, tag* revision, char** explanation) {
  host::clear(revision);
  host::clear(explanation);
  return operation("CONFIG_item_get_configured", Needs::session, [&] {
    host::require_all(revision, explanation);
    if (rule == NULLTAG) {
      host::refuse(CONFIG_not_a_rule, "no rule is given");
    }
    host::Configurator configurator(host::store(), rule);
    if (!host::store().is_a(item, "Item")) {
      host::refuse(ITEM_not_an_item, "object " + std::to_string(item));
    }
    std::string reason;
    const tag found = configurator.revision_of(item, &reason);
    *explanation = host::hand_out(reason);
    *revision = found;
  });
}
