#include "stored_values.h"

#include <cmath>
#include <limits>
#include <type_traits>

#include "dates.h"
#include "failure.h"

namespace host {

namespace {

const char* name_of(ColumnType type) {
  switch (type) {
    case ColumnType::integer:
      return "an integer";
    case ColumnType::real:
      return "a real number";
    case ColumnType::text:
      return "a text";
    case ColumnType::bytes:
      return "bytes";
    case ColumnType::nothing:
      return "nothing";
  }
  return "something";
}

class Reader {
 public:
  Reader(const Query& query, int column, const AttributeDefinition& attribute, tag object)
      : query_(query), column_(column), attribute_(attribute), object_(object) {}

  Scalar read() const {
    switch (attribute_.kind) {
      case Kind::text:
        return text();
      case Kind::integer:
        return static_cast<int>(
            integer(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
      case Kind::real:
        return real();
      case Kind::logical:
        return integer(0, 1) != 0;
      case Kind::date:
        return date();
      case Kind::reference:
        return static_cast<tag>(integer(0, std::numeric_limits<tag>::max()));
    }
    refuse(ORK_internal_error, "a value of no kind");
  }

 private:
  [[noreturn]] void refuse_value(const std::string& why) const {
    refuse_damage(object_, attribute_.name, why);
  }

  void require_type(ColumnType expected) const {
    const ColumnType found = query_.type(column_);
    if (found != expected) {
      refuse_value(std::string("expected ") + name_of(expected) + ", found " + name_of(found));
    }
  }

  std::string text() const {
    require_type(ColumnType::text);
    std::string found = query_.text(column_);
    if (found.find('\0') != std::string::npos) {
      refuse_value("the text has a null byte");
    }
    if (attribute_.kind == Kind::text &&
        found.size() > static_cast<std::size_t>(attribute_.max_length)) {
      refuse_value("the text has " + std::to_string(found.size()) + " bytes, of at most " +
                   std::to_string(attribute_.max_length));
    }
    return found;
  }

  std::int64_t integer(std::int64_t least, std::int64_t most) const {
    require_type(ColumnType::integer);
    const std::int64_t found = query_.integer(column_);
    if (found < least || found > most) {
      refuse_value("the number " + std::to_string(found) + " is not one from " +
                   std::to_string(least) + " to " + std::to_string(most));
    }
    return found;
  }

  double real() const {
    require_type(ColumnType::real);
    const double found = query_.real(column_);
    if (!std::isfinite(found)) {
      refuse_value("the number is not finite");
    }
    return found;
  }

  date_s date() const {
    const std::string found = text();
    const date_s parsed = parse_date(found);
    if (!found.empty() && parsed == date_s{}) {
      refuse_value("there is no date \"" + found.substr(0, 40) + "\"");
    }
    return parsed;
  }

  const Query& query_;
  int column_;
  const AttributeDefinition& attribute_;
  tag object_;
};

}  // namespace

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

void refuse_damage(tag object, const std::string& attribute, const std::string& why) {
  refuse(ORK_site_damaged,
         "object " + std::to_string(object) + ", attribute " + attribute + ": " + why);
}

Scalar stored_value(const Query& query, int column, const AttributeDefinition& attribute,
                    tag object) {
  return Reader(query, column, attribute, object).read();
}

void check_position(std::int64_t position, std::size_t so_far, const AttributeDefinition& attribute,
                    tag object) {
  if (!attribute.list && so_far > 0) {
    refuse_damage(object, attribute.name, "it has several values");
  }
  if (position != static_cast<std::int64_t>(so_far)) {
    refuse_damage(
        object, attribute.name,
        "expected value " + std::to_string(so_far) + ", found value " + std::to_string(position));
  }
}

}  // namespace host
