// Lists as long and as deep as sites have them, on the small stack that a host process may give.

#include "support/release_list.h"
#include "support/small_stack.h"

namespace {

class Scale : public testing::Test {
 protected:
  Scale() { site.fix_columns(); }

  /** Writes a list with the levels that a function yields. */
  std::string write_list(int lines, const std::function<int(int)>& level) {
    const std::string path = site.folder.path("list.txt");
    FILE* file = std::fopen(path.c_str(), "w");
    for (int i = 0; i < lines; ++i) {
      std::fputs(test::item_row(level(i), std::to_string(i), i % 3 == 0 ? "Released" : "").c_str(),
                 file);
    }
    std::fclose(file);
    return path;
  }

  /** Reads a list and writes its entries, on a small stack; returns the number of entries. */
  int clone(const std::string& list, int failing_call = 0) {
    int entries = 0;
    test::on_small_stack([&] {
      assy_entry* last = nullptr;
      ASSERT_EQ(ZOLP_read_assylist(list.c_str(), &last), 0);
      assy_entry* root = tool::assembly_root(last);
      FILE* out = std::fopen(site.folder.path("entries.txt").c_str(), "w+");
      ork_host_fail_call("PREF_get_char_value", failing_call, 4711);
      EXPECT_EQ(ZOLP_write_assylist(out, root), failing_call == 0 ? 0 : 4711);
      std::rewind(out);
      for (int character = std::getc(out); character != EOF; character = std::getc(out)) {
        entries += character == '\n' ? 1 : 0;
      }
      std::fclose(out);
      tool::free_assembly(root);
      open_levels = ZOLP_GetTraceDepth();
    });
    return entries;
  }

  int open_levels = 0; /**< of the trace, in the thread of the latest clone run */
  test::CloneSite site;
  test::TraceCapture trace{ZOLP_LEVEL_OFF};
};

// Sanitizers find in a tenth of the lines what they can find in all of them.
// So does Wine, whose file streams are slow.
#if defined(__SANITIZE_ADDRESS__) || defined(_WIN32)
constexpr int many = 100'000;
#else
constexpr int many = 1'000'000;
#endif

TEST_F(Scale, ManySiblings) {
  const std::string list = write_list(many, [](int) { return 1; });
  EXPECT_EQ(clone(list), many);
  EXPECT_EQ(clone(list, many - 9), many - 10);
  EXPECT_EQ(open_levels, 1);  // what the failing call left open
}

TEST_F(Scale, TwoThousandLevels) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_TRACE);
  constexpr int levels = 2000;
  EXPECT_EQ(clone(write_list(levels, [](int i) { return i + 1; })), levels);
  EXPECT_EQ(trace.count(" ->ZOLP_write_assylist "), levels);
}

}  // namespace
