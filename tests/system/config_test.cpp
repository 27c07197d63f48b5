#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/support/temp_dir.h"
#if __has_include(<sys/resource.h>)
#include <sys/resource.h>
#endif

namespace {

using Config = std::unique_ptr<zu_config, decltype([](zu_config* c) { zu_config_free(c); })>;
using Model = std::map<std::string, std::map<std::string, std::string>>;

Config parsed(const std::string& text) {
  return Config(zu_config_make1(text.c_str()));
}

std::string freed(char* text) {
  const std::string copy = text == nullptr ? "(null)" : text;
  _zu_free(text);
  return copy;
}

std::string text_of(const Config& config) {
  return freed(zu_config_ToString(config.get()));
}

// All that the iterations hand out, which comes in order.
Model model_of(const Config& config) {
  Model model;
  const char *group, *key, *value;
  const zu_config_entry *pair, *same;
  for (int g = zu_config_GroupGetFirst(config.get(), &group); g == 1;
       g = zu_config_GroupGetNext(config.get(), &group)) {
    EXPECT_TRUE(model.empty() || model.rbegin()->first < group);
    auto& keys = model[group];
    if (zu_config_KeyGetFirst(config.get(), group, &pair, &same) == 0) continue;
    EXPECT_EQ(pair, same);
    keys[pair->key] = pair->value;
    while (zu_config_KeyGetNext(config.get(), &key, &value) == 1) {
      EXPECT_LT(keys.rbegin()->first, key);
      keys[key] = value;
    }
  }
  return model;
}

// Texts from pieces of syntax, sound and broken. Each comes back to the byte; each change touches
// its own bytes only, and what it writes reads back as what the configuration says.
TEST(Config, RandomFilesKeepUnchangedParts) {
  const char* pieces[] = {"[g]", "[h]",  "[]",        "[",     "]",       "k=",      "k = v",
                          "a=b", "a",    "\tk=\"1\"", "=",     " ",       "\t",      "\r",
                          "\n",  "\r\n", "\r\n",      "\n\n",  ";c",      "#k=1",    "//x",
                          "/",   "/* ",  "*/",        "[g]\n", "\n[h]\n", "\nk=2\n", "\na= 3"};
  std::mt19937 random(6);
  const auto below = [&](std::size_t n) { return random() % n; };
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    for (std::size_t i = below(20); i > 0; --i) text += pieces[below(std::size(pieces))];
    const Config config = parsed(text);
    ASSERT_EQ(text, text_of(config));
    Model model = model_of(config);
    for (int edit = 0; edit < 6; ++edit) {
      const std::string group = below(2) ? "g" : "h", key = below(2) ? "k" : "a";
      const std::string fresh = "new" + std::to_string(edit), before = text_of(config);
      const auto keys = model.find(group);
      const bool has_group = keys != model.end(), has_key = has_group && keys->second.count(key);
      zu_config* c = config.get();
      switch (below(6)) {
        case 0:
        case 1: {
          ASSERT_EQ(1, zu_config_SetKey(c, group.c_str(), key.c_str(), fresh.c_str()));
          std::string after = text_of(config);
          const std::size_t at = after.find(fresh), line = at - key.size() - 3;
          if (has_key) {
            ASSERT_EQ(before, after.replace(at, fresh.size(), model[group][key])) << text;
          } else if (has_group) {
            ASSERT_EQ("\r\n" + key + "=" + fresh, after.substr(line, at - line + fresh.size()));
            after.erase(line, at - line + fresh.size());
            ASSERT_TRUE(after == before || after.erase(line, 2) == before) << text;
          }
          model[group][key] = fresh;
          break;
        }
        case 2:
          ASSERT_EQ(has_key, zu_config_UnsetKey(c, group.c_str(), key.c_str()));
          if (has_key) keys->second.erase(key);
          break;
        case 3:
          ASSERT_EQ(has_group, zu_config_UnsetGroup(c, group.c_str()));
          model.erase(group);
          break;
        case 4:
          ASSERT_EQ(has_group, zu_config_RenameGroup(c, group.c_str(), fresh.c_str()));
          if (has_group) model[fresh] = std::exchange(model[group], {}), model.erase(group);
          break;
        default:
          ASSERT_EQ(1, zu_config_SetGroup(c, group.c_str()));
          model[group];
      }
      ASSERT_EQ(model, model_of(config)) << text;
      ASSERT_EQ(model, model_of(parsed(text_of(config)))) << text << "\n--- became\n"
                                                          << text_of(config);
    }
  }
}

TEST(Config, ReadsAndChangesLines) {
  const auto set = [](const char* g, const char* k, const char* v) {
    return [=](zu_config* c) { return zu_config_SetKey(c, g, k, v); };
  };
  const auto unset = [](const char* g, const char* k) {
    return
        [=](zu_config* c) { return k ? zu_config_UnsetKey(c, g, k) : zu_config_UnsetGroup(c, g); };
  };
  const struct {
    const char* text;
    std::function<int(zu_config*)> edit;
    int result;
    const char* expected;
  } cases[] = {
      {"; c\r\n[g]\r\nk = v\r\n", set("g", "n", "1"), 1, "; c\r\n[g]\r\nn=1\r\nk = v\r\n"},
      {"[g]\nk = v ;x\n[g]\n", set("g", "k", "w"), 1, "[g]\nk =w\n[g]\n"},
      {"[g]\n[h]\n[g]", set("g", "k", "w"), 1, "[g]\n[h]\n[g]\r\nk=w"},
      {"[g]\nk=1\n[g]\nk=2", set("g", "k", "3"), 1, "[g]\nk=1\n[g]\nk=3"},
      {"[g] ; c", set("g", "k", "1"), 1, "[g]\r\nk=1\r\n ; c"},
      {"", set("g", "k", ""), 1, "\r\n[g]\r\nk="},
      {"/* c", set("g", "k", "1"), 1, "/* c*/\r\n[g]\r\nk=1"},
      {"[g", set("g", "k", "1"), 1, "[g]\r\nk=1"},
      {"[]\nk=1", set("", "k", "2"), 0, "[]\nk=1"},
      {"x", set("g", "", "2"), 0, "x"},
      {"[g]\n\tk = 1\n\nj=2\nk=3\n[h]\nk=4", unset("g", "k"), 1, "[g]\n\tj=2\n[h]\nk=4"},
      {"k=0\n[g]\nk=1", unset("g", "j"), 0, "k=0\n[g]\nk=1"},
      {"\xEF\xBB\xBF[g]\nk=1", set("g", "k", "2"), 1, "\xEF\xBB\xBF[g]\nk=2"},
      {"\xEF\xBB\xBF [g]\n[h]", unset("g", nullptr), 1, "\xEF\xBB\xBF[h]"},
      {"x\n[g]\n\nk=1\n[h]\nj=2", unset("h", nullptr), 1, "x\n[g]\n\nk=1"},
      {" [g] \r\n\r\n k=1\r\n\n;c\n[h]\n[g];d\nj=1", unset("g", nullptr), 1, "\r\n\n;c\n[h]\n;d\n"},
  };
  for (const auto& c : cases) {
    const Config config = parsed(c.text);
    EXPECT_EQ(c.result, c.edit(config.get())) << c.text;
    EXPECT_EQ(c.expected, text_of(config));
  }
  const Config config = parsed("k=0\n[g]\nk = v\na;b=x;y\nno\n=k=1\n/k=2\n//k=3\n\"q\" = \" 1\" ;");
  EXPECT_EQ((Model{{"g", {{"k", " v"}, {"a;b", "x;y"}, {"\"q\"", " \" 1\" ;"}}}}),
            model_of(config));
}

TEST(Config, AGroupAddedAndRemovedLeavesNoTrace) {
  for (const std::string text :
       {"", "\xEF\xBB\xBF", "x", "x\n", "x\r", "\t", "[h]\nk=1\n\n", "[h", "/* c"}) {
    Config config = parsed(text);
    const auto removed = [&] {
      EXPECT_EQ(1, zu_config_UnsetGroup(config.get(), "g"));
      return text_of(config);
    };
    zu_config_SetGroup(config.get(), "g");
    EXPECT_EQ(text, removed());
    zu_config_SetKey(config.get(), "g", "k", "1");
    zu_config_SetKey(config.get(), "g", "j", "2");
    EXPECT_EQ(text, removed());
    zu_config_SetKey(config.get(), "g", "k", "1");
    zu_config_UnsetKey(config.get(), "g", "k");
    EXPECT_EQ(text, removed());
    zu_config_SetKey(config.get(), "g", "k", "1");
    const std::string added = text_of(config);
    const std::string complete = added.substr(0, added.find("\r\n[g]\r\nk=1"));
    config = parsed(added);
    EXPECT_EQ(complete, removed()) << "what was open is closed";
  }
}

TEST(Config, QuotesAreStrippedFromAValue) {
  for (const auto& [value, expected] : {std::pair{" \"abc\" ;", "abc"},
                                        {"abc ;", "abc ;"},
                                        {"\t\"a b\",; \t", "a b"},
                                        {" abc\"", " abc"},
                                        {"\" a;", " a;"},
                                        {"a\" b", "a\" b"},
                                        {" \"a\"b\" c", "a\"b\" c"},
                                        {"\"", ""},
                                        {"\"\"", ""},
                                        {"\";,", ";,"},
                                        {" ;", " ;"},
                                        {static_cast<const char*>(nullptr), ""}}) {
    EXPECT_EQ(expected, freed(__GetProfileString(value)));
  }
}

TEST(Config, IterationsSurviveChanges) {
  const Config config = parsed("[a]\n[b]\n[c]\nk1=1\nk2=2\nk3=3\nk4=4\n[d]\nk=1\n\n[e]\n");
  const char *name, *value;
  ASSERT_EQ(1, zu_config_GroupRewind(config.get()) & zu_config_KeyRewind(config.get(), "c"));
  zu_config_UnsetGroup(config.get(), "a");
  zu_config_RenameGroup(config.get(), "b", "x");
  zu_config_SetGroup(config.get(), "ab");
  zu_config_UnsetGroup(config.get(), "e");
  zu_config_UnsetKey(config.get(), "c", "k1");
  zu_config_UnsetKey(config.get(), "c", "k3");
  zu_config_SetKey(config.get(), "c", "k4", "5");
  std::string seen;
  while (zu_config_GroupGetNext(config.get(), &name)) seen += name;
  while (zu_config_KeyGetNext(config.get(), &name, &value)) {
    seen += std::string(" ") + name + value;
    EXPECT_EQ(1, zu_config_UnsetKey(config.get(), "c", name)) << "its own text names it";
  }
  EXPECT_EQ("xcd k22 k45", seen);
  zu_config_KeyRewind(config.get(), "d");
  zu_config_UnsetGroup(config.get(), "d");
  EXPECT_EQ(0, zu_config_KeyGetNext(config.get(), &name, nullptr));
  zu_config_SetKey(config.get(), "c", "n", "1");
  EXPECT_EQ("[x]\n[c]\r\nn=1\n\n\r\n[ab]", text_of(config)) << "the blank line of a key stays";
}

// Enough of them that the index grows, and names that share all but their last bytes.
TEST(Config, ManyGroupsAndKeysAreAllFound) {
  std::mt19937 random(7);
  const auto name = [&](const char* stem, unsigned n) {
    return stem + std::to_string(random() % n);
  };
  std::string text;
  Model model;
  for (int line = 0; line < 2000; ++line) {
    const std::string group = name("section", 30), key = name("some_long_key_", 50);
    text += "[" + group + "]\n" + key + "=" + std::to_string(line) + "\n";
    model[group][key] = std::to_string(line);
  }
  const Config config = parsed(text);
  EXPECT_EQ(model, model_of(config));
  for (int edit = 0; edit < 4000; ++edit) {
    const std::string group = name("section", 60), key = name("some_long_key_", 80);
    if (random() % 3 > 0) {
      ASSERT_EQ(1, zu_config_SetKey(config.get(), group.c_str(), key.c_str(), group.c_str()));
      model[group][key] = group;
    } else {
      const bool has = model.count(group) != 0 && model[group].erase(key) != 0;
      ASSERT_EQ(has, zu_config_UnsetKey(config.get(), group.c_str(), key.c_str()));
    }
  }
  EXPECT_EQ(model, model_of(config));
  EXPECT_EQ(model, model_of(parsed(text_of(config))));
}

TEST(Config, FilesAreReplacedAtomically) {
  const kiv::test::TempDir dir;
  const std::string path = dir.file("a.conf"), old("[g]\nk=1\n\0\n", 11);
  std::ofstream(path, std::ios::binary) << old;
  const Config config(zu_config_make(path.c_str()));
  EXPECT_STREQ("1", zu_config_GetKey(config.get(), "g", "k"));
  EXPECT_EQ(1, zu_config_SaveToFile(config.get(), path.c_str()));
  EXPECT_EQ(old, dir.content("a.conf")) << "a zero byte is a byte";
  {
    // Who has the file open goes on reading the old one, or, on Windows, keeps it from changing.
    std::ifstream reader(path, std::ios::binary);
    zu_config_SetKey(config.get(), "g", "k", std::string(100000, 'x').c_str());
    const bool saved = zu_config_SaveToFile(config.get(), path.c_str());
    EXPECT_EQ(old, std::string(std::istreambuf_iterator<char>(reader), {}));
    EXPECT_EQ(saved ? 100010u : 11u, dir.content("a.conf").size());
  }
  EXPECT_EQ(1, zu_config_SaveToFile(config.get(), path.c_str()));
  const std::string whole = dir.content("a.conf");
#if __has_include(<sys/resource.h>)
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{1000, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_EQ(0, zu_config_SaveToFile(config.get(), path.c_str()));
  setrlimit(RLIMIT_FSIZE, &limit);
#endif
  std::filesystem::create_directory(dir.file("d"));
  EXPECT_EQ(0, zu_config_SaveToFile(config.get(), dir.file("d").c_str()) |
                   zu_config_SaveToFile(config.get(), dir.file("no/a").c_str()));
  EXPECT_EQ(nullptr, zu_config_make(dir.file("d").c_str()));
  EXPECT_EQ(nullptr, zu_config_make(dir.file("missing").c_str()));
  EXPECT_EQ(whole, dir.content("a.conf"));
  const auto entries = std::filesystem::directory_iterator(dir.path());
  EXPECT_EQ(2, std::distance(begin(entries), end(entries))) << "nothing is left beside";
}

}  // namespace
