/** @file What most tests start with: the platform's API, and the short names that they use. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "ork/access.h"
#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/date.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/flow.h"
#include "ork/folder.h"
#include "ork/form.h"
#include "ork/item.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/signoff.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "ork/text.h"
#include "ork/type.h"
#include "ork/wso.h"
#include "ork_host.h"
#include "support/asking.h"
#include "support/temporary_folder.h"

using test::ask, test::list, test::refusal, test::take, test::last_error, test::error_codes;
using testing::ElementsAre, testing::HasSubstr, testing::IsEmpty, testing::MatchesRegex;
using testing::Not, testing::StartsWith;
