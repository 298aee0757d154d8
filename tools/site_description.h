/** @file What the open site holds, as JSON that comes in pieces. */
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tool {

using SeeText = std::function<void(std::string_view text)>;

/** @param section as for `ork_host_describe`; empty for all sections. */
void describe_site(const std::string& section, const SeeText& see);

}  // namespace tool
