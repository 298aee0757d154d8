/** @file The page that shows a profile in a browser, as it is compiled in. */
#pragma once

#include <string_view>

namespace tool {

/** The page; `@TITLE@` and `@PROFILE@` stand for what is to be shown. Empty when it is missing. */
std::string_view viewer_page();

}  // namespace tool
