// TEXT_: the text service.

#include "ork/text.h"

#include "handout.h"
#include "operation.h"
#include "texts.h"

using host::Needs;
using host::operation;

int TEXT_lookup(const char* key, char** text) {
  host::clear(text);
  return operation("TEXT_lookup", Needs::nothing, [&] {
    host::require_all(key, text);
    *text = host::hand_out(host::required_text(key));
  });
}
