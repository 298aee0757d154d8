/** @file Values as the file keeps them, each in a column that takes any. */
#pragma once

#include "registry.h"
#include "sqlite.h"
#include "values.h"

namespace host {

void bind_value(Query& query, const Scalar& value);

Scalar read_value(const Query& query, int column, Kind kind);

}  // namespace host
