// Configurations and files when out of memory.
#include <gtest/gtest.h>

#include <string>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/seams/heap_seam.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr char kText[] = "\n[g]\nk=1\n[g]\nj=2\n[h]\nk=1\nk=2\n/* open";

std::string text_of(zu_config* config) {
  char* text = zu_config_ToString(config);
  const std::string copy = text;
  _zu_free(text);
  return copy;
}

TEST(SystemFailures, AChangeIsCompleteOrNotMadeAtAll) {
  using Change = int (*)(zu_config*);
  const Change changes[] = {[](zu_config* c) { return zu_config_SetKey(c, "new", "k", "v"); },
                            [](zu_config* c) { return zu_config_SetKey(c, "h", "n", "v"); },
                            [](zu_config* c) { return zu_config_SetKey(c, "g", "k", "v"); },
                            [](zu_config* c) { return zu_config_SetGroup(c, "new"); },
                            [](zu_config* c) { return zu_config_RenameGroup(c, "g", "new"); }};
  // Records come many to a block: each change meets the end of one.
  std::string text = kText;
  for (int round = 0; round < 80; ++round) {
    const Change change = changes[round % 5];
    if (round % 5 == 0) text = "\n;" + text;
    const std::string printed = kiv::test::printed_by([&] {
      int done = 0;
      for (int nth = 1; done == 0; ++nth) {
        const auto before = kiv::test::live_blocks();
        zu_config* config = zu_config_make1(text.c_str());
        kiv::test::fail_allocation(nth);
        done = change(config);
        kiv::test::fail_allocation(0);
        EXPECT_EQ(done == 0, text_of(config) == text);
        EXPECT_EQ(done == 0, !zu_config_IsGroupExist(config, "new") &&
                                 !zu_config_IsKeyExist(config, "h", "n") &&
                                 std::string("1") == zu_config_GetKey(config, "g", "k"));
        zu_config_free(config);
        EXPECT_EQ(before, kiv::test::live_blocks());
      }
    });
    EXPECT_EQ(change == changes[2] ? "error: __config_UpdateKey() error!\n" : "", printed);
  }
  zu_config* loaded = nullptr;
  for (int nth = 1; loaded == nullptr; ++nth) {
    const auto before = kiv::test::live_blocks();
    kiv::test::fail_allocation(nth);
    loaded = zu_config_make1(text.c_str());
    kiv::test::fail_allocation(0);
    EXPECT_EQ(loaded == nullptr, before == kiv::test::live_blocks());
  }
  zu_config_free(loaded);
}

TEST(SystemFailures, FilesAndDirectoriesStayAsTheyWere) {
  const kiv::test::TempDir dir;
  const std::string tree = dir.file("t"), deep = tree + "/u/v", file = dir.file("f"),
                    name = "kiv_base_test-" + std::to_string(zu_RandomValue());
  zu_file1_Write(file.c_str(), "old", 3);
  EXPECT_SURVIVES_FAILING_ALLOCATIONS(11, [&] {
    zu_file2_close(zu_file2_open(file.c_str(), ZU_FILE2_APPEND));
    _zu_free(zu_file1_Read(file.c_str(), nullptr));
    _zu_free(zu_dir1_GetCurrent());
    zu_file_mapped_close(zu_file_mapped_open(file.c_str(), 1));
    zu_shm_close(zu_shm_create(name.c_str(), 1));
    zu_shm_close(zu_shm_open(name.c_str()));
    zu_shm_remove(name.c_str());
    const int copied = zu_file1_Copy(file.c_str(), dir.file("g").c_str());
    EXPECT_TRUE(!copied || dir.content("g") == "old");
    char* made = zu_dir1_MakeTemp("kiv_base_");
    if (made != nullptr && !zu_dir1_remove(made)) std::filesystem::remove(made);
    _zu_free(made);
    const auto go_on = [](void*, const char*, int, std::int64_t) { return 1; };
    const int there = zu_dir1_make(deep.c_str());
    zu_dir1_walk(dir.path().c_str(), 1, go_on, nullptr);
    const int gone = zu_dir1_RemoveAll(tree.c_str());
    EXPECT_FALSE(there && gone && std::filesystem::exists(tree));
  });
  EXPECT_EQ("old", dir.content("f"));
}

}  // namespace
