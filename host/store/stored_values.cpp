#include "stored_values.h"

#include <type_traits>

#include "dates.h"
#include "failure.h"

namespace host {

void bind_value(Query& query, const Scalar& value) {
  const auto bind = [&query](const auto& content) {
    if constexpr (std::is_same_v<std::decay_t<decltype(content)>, date_s>) {
      query.bind(date_text(content));
    } else {
      query.bind(content);
    }
  };
  std::visit(bind, value);
}

Scalar read_value(const Query& query, int column, Kind kind) {
  switch (kind) {
    case Kind::text:
      return query.text(column);
    case Kind::integer:
      return static_cast<int>(query.integer(column));
    case Kind::real:
      return query.real(column);
    case Kind::logical:
      return query.integer(column) != 0;
    case Kind::date:
      return parse_date(query.text(column));
    case Kind::reference:
      return static_cast<tag>(query.integer(column));
  }
  refuse(ORK_internal_error, "a value of no kind");
}

}  // namespace host
