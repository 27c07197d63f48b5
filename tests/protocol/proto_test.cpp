// Command packets: syntax, the record's edits with what they leave behind, and every message.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kiv_base/protocol.h"
#include "tests/support/stdout_capture.h"

namespace kiv::test {
namespace {

using namespace std::string_literals;

struct Packets : testing::Test {
  ~Packets() override {
    kiv_proto_free(packet);
    kivx_proto_SetSpace(1);
  }
  int parse(const std::string& bytes) {
    return kiv_proto_ParsePacket(packet, bytes.data(), static_cast<int32_t>(bytes.size()));
  }
  std::string text() {
    const char* bytes = nullptr;
    int32_t length = 0;
    kiv_proto_GetPacket(packet, &bytes, &length);
    return std::string(bytes, static_cast<std::size_t>(length));
  }
  // "command name=value name=value", the copies as they are stored.
  std::string stored(kiv_proto* from) {
    const char *name = nullptr, *value = nullptr;
    std::string all = kivx_proto_GetCmd(from, &value, nullptr) ? value : "(none)";
    for (int more = kivx_proto_GetFirst(from, &name, nullptr, &value, nullptr); more;
         more = kivx_proto_GetNext(from, &name, nullptr, &value, nullptr)) {
      all += " "s + name + "=" + value;
    }
    return all;
  }
  std::string stored() { return stored(packet); }
  int32_t length_of(const char* name) {
    int32_t length = -1;
    kivx_proto_GetPara(packet, name, nullptr, &length);
    return length;
  }
  void pack(const char* command, const std::map<std::string, std::string>& parameters) {
    EXPECT_EQ(kiv_proto_PackCmd(packet, command), 1);
    for (const auto& [name, value] : parameters) {
      EXPECT_EQ(kiv_proto_PackPara(packet, name.c_str(), value.c_str()), 1);
    }
  }

  kiv_proto* packet = kiv_proto_new();
};

const std::string kWorked = "login\r\nuser=\"a\"\"b\"\r\npass=\"x\"\r\n\0"s;

TEST_F(Packets, WorkedExampleByteForByte) {
  EXPECT_EQ(text() + stored(), "(none)");
  kiv_proto_PackCmd(packet, "login");
  kiv_proto_PackPara(packet, "user", "a\"b");
  kiv_proto_PackPara(packet, "pass", "x");
  EXPECT_EQ(text(), kWorked);
  const std::string dump = printed_by([&] { kiv_proto_print(packet); });
  EXPECT_EQ(dump,
            "packet:\n" + printed_by([] { std::fputs(kWorked.c_str(), stdout); }) +
                "\nstrlen(packet):30\npacket_len:31\ncmd:login\ncmd_len:5\ncmd_start_pos:0\n"
                "cmd_end_pos:5\nnum_fields:2\ncurrent_pos:0\n\npara[0]:user\npara_len[0]:4\n"
                "para_start_pos[0]:7\npara_start_pos[u]\npara_end_pos[0]:11\npara_end_pos[r]\n\n"
                "content[0]:a\"b\ncontent_len[0]:3\ncontent_start_pos[0]:13\ncontent_start_pos[a]\n"
                "content_end_pos[0]:17\ncontent_end_pos[b]\n\npara[1]:pass\npara_len[1]:4\n"
                "para_start_pos[1]:20\npara_start_pos[p]\npara_end_pos[1]:24\npara_end_pos[s]\n\n"
                "content[1]:x\ncontent_len[1]:1\ncontent_start_pos[1]:26\ncontent_start_pos[x]\n"
                "content_end_pos[1]:27\ncontent_end_pos[x]\n\n");
  EXPECT_EQ(parse(kWorked), 1);
  EXPECT_EQ(printed_by([&] { kiv_proto_print(packet); }), dump);
  char name[3], value[3];
  for (int i = 0; i < 2; ++i) {  // deliberate: the first one every time
    EXPECT_EQ(kiv_proto_GetNext(packet, name, 3, value, 3), 1);
    EXPECT_EQ(name + ":"s + value, "us:a\"");
  }
  char command[8];
  EXPECT_EQ(kiv_proto_CheckPacket(nullptr, kWorked.data(), 31), 1);
  EXPECT_EQ(kiv_proto_GetCmd(packet, command, 4) + kiv_proto_GetPara(packet, "user", value, 3), 2);
  EXPECT_EQ(command + ":"s + value, "log:a\"");
  EXPECT_EQ(kiv_proto_GetPara(packet, "user", value, 0), 0);
  kiv_proto* clone = kiv_proto_clone(packet);
  kiv_proto_PackCmd(packet, "gone");
  EXPECT_EQ(stored(clone), "login user=a\"b pass=x");
  kiv_proto_free(clone);
}

// What is rejected, and the lines that say so; the record is then empty.
TEST_F(Packets, RejectionsAndTheirLines) {
  const std::string long_word(129, 'w'), many = [] {
    std::string all = "c";
    for (int i = 0; i < 64; ++i) all += " p" + std::to_string(i) + "=\"\"";
    return all;
  }();
  const char *parameter = "info: packet parameter error!\n", *equals = "info: packet '=' error!\n",
             *content = "info: packet content error!\n";
  const struct {
    std::string bytes, line;
    const char* item;
  } cases[] = {
      {"", "error: command string header is [\0]!\n"s, ""},
      {" ;&\r\n", "error: command string header is [\0]!\n"s, ""},
      {"1", "error: command string header is [1]!\n", ""},
      {"a-", "error: command string include [-]!\n", ""},
      {long_word, "error: command string length is [>=129 or <1]!\n", ""},
      {"a =\"\"", "error: parameter string header is [=]!\n", parameter},
      {"a b.", "error: parameter string include [.]!\n", parameter},
      {"a " + long_word + "=\"\"", "error: parameter string length is [>=129 or <1]!\n", parameter},
      {"a b c", "error: '='[c] syntax error!\n", equals},
      {"a b ", "error: '='[\0] syntax error!\n"s, equals},
      {"a b=c", "error: content string header is [c]!\n", content},
      {"a b=\"x\"\"", "error: content string tail is [\0]!\n"s, content},
      {"a b=\"x\0y\""s, "error: content string tail is [\0]!\n"s, content},
      {"a b=\"" + std::string(5121, 'x') + "\"", "error: content string length is [>5121]!\n",
       content},
      {many, "error: parameter too many(64)!\n", ""},
  };
  const std::map<std::string, std::string> checked = {
      {"", ""},
      {parameter, "info: packet have error parameter!\n"},
      {equals, "info: packet have error '='!\n"},
      {content, "info: packet have error content!\n"}};
  for (const auto& c : cases) {
    const std::string bytes = c.bytes + '\0';
    const auto length = static_cast<int32_t>(bytes.size());
    parse(kWorked);
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(parse(bytes), 0) << c.bytes; }), c.line + c.item);
    EXPECT_EQ(text() + stored(), "(none)");
    EXPECT_EQ(
        printed_by([&] { EXPECT_EQ(kiv_proto_CheckPacket(nullptr, bytes.data(), length), 0); }),
        c.line + checked.at(c.item));
  }
  EXPECT_EQ(printed_by([&] { parse("a"); }), "warn: packet tail error[a]!\n");
  EXPECT_EQ(parse("a " + std::string(10239, '\0')), 0) << "10241 bytes";
  EXPECT_EQ(parse(many.substr(0, many.size() - 7) + '\0'), 1) << "63 parameters";
  EXPECT_EQ(kiv_proto_NumPara(packet), 63);
  EXPECT_EQ(parse("\n" + std::string(128, 'c') + ";a & = \n\"\" _b=\"&\"\0"s), 1);
  EXPECT_EQ(stored(), std::string(128, 'c') + " a= _b=&");
  EXPECT_EQ(parse("c a=\"1\" b=\"\" a=\"333\"\0"s), 1) << "of two names alike the first is found";
  EXPECT_EQ(length_of("a"), 1);
}

TEST_F(Packets, WhatCannotBePackedLeavesThePacketAlone) {
  const std::string long_word(129, 'w');
  const auto refused = [&](auto call) {
    std::string before = text() + stored();
    const std::string lines = printed_by([&] { EXPECT_EQ(call(), 0); });
    EXPECT_EQ(text() + stored(), before);
    return lines;
  };
  const auto command = [&](const char* word) {
    return refused([=, this] { return kiv_proto_PackCmd(packet, word); });
  };
  const auto add = [&](const char* name, const std::string& value) {
    return refused([&] { return kiv_proto_PackPara(packet, name, value.c_str()); });
  };
  const auto modify = [&](const char* name, const std::string& value) {
    return refused([&] { return kiv_proto_ModifyPara(packet, name, value.c_str()); });
  };
  EXPECT_EQ(add("a", "b"), "") << "no packet yet";
  pack("go", {{"a", "1"}});
  EXPECT_EQ(command(""), "error: command string length is [0]!\n");
  EXPECT_EQ(command("1"), "error: command string header is [1]!\n");
  EXPECT_EQ(command("a b"), "error: command string include [ ]!\n");
  EXPECT_EQ(command(long_word.c_str()), "error: command string length is [129]!\n");
  EXPECT_EQ(add("", ""), "error: parameter string length is [0]!\n");
  EXPECT_EQ(add("=", ""), "error: parameter string header is [=]!\n");
  EXPECT_EQ(add("a=", ""), "error: parameter string include [=]!\n");
  EXPECT_EQ(add(long_word.c_str(), ""), "error: parameter string length is [129]!\n");
  EXPECT_EQ(add("a", ""), "info: para(a) is exist!\n");
  EXPECT_EQ(add("b", std::string(5121, 'x')), "error: content string too long[5121]!\n");
  EXPECT_EQ(add("b", std::string(5120, '"')),
            "error: format content string length is not enough[10240]!\n");
  EXPECT_EQ(modify("b", ""), "info: para(b) is not exist!\n");
  EXPECT_EQ(refused([&] { return kiv_proto_DeletePara(packet, "b"); }),
            "info: deleted para(b) is not exist!\n");
  EXPECT_EQ(refused([&] { return kiv_proto_GetPara(packet, "A", nullptr, 0); }), "");
  EXPECT_EQ(refused([&] { return kivx_proto_GetPara(packet, "A", nullptr, nullptr); }),
            "info: get para(A) is not exist!\n");
  kiv_proto_PackPara(packet, "b", std::string(5120, 'x').c_str());
  EXPECT_EQ(add("c", std::string(5120, 'x')), "error: packing parameter string error!\n");
  EXPECT_EQ(modify("a", std::string(5110, 'x')),
            "warn: packet too big(content=" + std::string(5110, 'x') + ")!\n");
  const auto room = static_cast<std::size_t>(10240 - kivx_proto_GetPacketLen(packet));
  kiv_proto_PackPara(packet, "d", std::string(room - 6, 'y').c_str());
  EXPECT_EQ(kivx_proto_GetPacketLen(packet), 10240);
  EXPECT_EQ(refused([&] { return kiv_proto_ModifyCmd(packet, "gone"); }),
            "warn: packet too big(cmd=gone)!\n");
  pack("go", {});
  for (int i = 0; i < 64; ++i) {
    EXPECT_EQ(kiv_proto_PackPara(packet, ("p" + std::to_string(i)).c_str(), ""), 1);
  }
  EXPECT_EQ(add("more", ""), "warn: number of parameters is already too many(64)!\n");
  EXPECT_EQ(kivx_proto_SetSpace(3), 0);
}

// Random edits; what is sent is always right, and the record keeps what it is known to keep.
TEST_F(Packets, EditsAgainstAModel) {
  std::mt19937 dice(7);
  const auto value = [&] {
    std::string made(dice() % 40, 'v');
    for (char& c : made) c = "ab\"; =\r\n&\xff"[dice() % 10];
    return made;
  };
  for (int round = 0; round < 300; ++round) {
    kivx_proto_SetSpace(static_cast<int32_t>(dice() % 9));
    std::string command = "c" + std::to_string(round);
    std::vector<std::pair<std::string, std::string>> model;
    EXPECT_EQ(kiv_proto_PackCmd(packet, command.c_str()), 1);
    for (int step = 0; step < 30; ++step) {
      const std::size_t at = model.empty() ? 0 : dice() % model.size();
      const int act = static_cast<int>(dice() % 8);
      if (act < 4 || model.empty()) {
        model.emplace_back("n" + std::to_string(step), value());
        EXPECT_EQ(
            kiv_proto_PackPara(packet, model.back().first.c_str(), model.back().second.c_str()), 1);
      } else if (act < 6) {
        model[at].second = value();
        EXPECT_EQ(kiv_proto_ModifyPara(packet, model[at].first.c_str(), model[at].second.c_str()),
                  1);
      } else if (act == 6) {
        EXPECT_EQ(kiv_proto_DeletePara(packet, model[at].first.c_str()), 1);
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
      } else {
        command += "_";
        EXPECT_EQ(kiv_proto_ModifyCmd(packet, command.c_str()), 1);
      }
    }
    std::string expected = command;
    for (const auto& [name, content] : model) {
      expected += " " + name + "=" + content;
      // As long as it claims to be, whatever edits did; zero bytes lie behind the pool.
      const char* copy = nullptr;
      int32_t length = 0;
      kivx_proto_GetPara(packet, name.c_str(), &copy, &length);
      EXPECT_EQ(std::string(copy, static_cast<std::size_t>(length)).size(), std::size_t(length));
    }
    const std::string sent = text();
    EXPECT_EQ(parse(sent), 1);
    EXPECT_EQ(stored(), expected);
    EXPECT_EQ(text(), sent);
  }
}

TEST_F(Packets, WhatEditsDoNotUpdate) {
  pack("c", {{"a", "one"}, {"b", "longer"}, {"d", "x"}});
  kiv_proto_ModifyPara(packet, "a", "two");
  EXPECT_EQ(stored(), "c a=one b=longer d=x") << "deliberate: as long as before, so not copied";
  kiv_proto_ModifyPara(packet, "a", "\"");
  EXPECT_EQ(stored(), "c a=\"\" b=longer d=x") << "deliberate: escaped";
  EXPECT_EQ(length_of("a"), 3) << "deliberate: the first length";
  kiv_proto_DeletePara(packet, "a");
  EXPECT_EQ(length_of("b") * 10 + length_of("d"), 36) << "deliberate: lengths do not move down";
  EXPECT_EQ(text(), "c\r\nb=\"longer\"\r\nd=\"x\"\r\n\0"s);
  // The kept text ends at the first zero; what follows is read, not edited.
  EXPECT_EQ(parse("c\0\0a=\"1\"\0b=\"2\"\0"s), 1);
  EXPECT_EQ(text() + stored(), "c\0c a=1 b=2"s);
  EXPECT_EQ(kiv_proto_ModifyPara(packet, "a", "3") + kiv_proto_DeletePara(packet, "b"), 0);
  EXPECT_EQ(kiv_proto_PackPara(packet, "e", "5"), 1);
  EXPECT_EQ(text(), "c\r\ne=\"5\"\r\n\0"s) << "the name does not join the command";
  EXPECT_EQ(kiv_proto_ModifyPara(packet, "a", "3") + kiv_proto_DeletePara(packet, "b"), 0)
      << "also where the text has grown over them";
  for (const auto& [mode, space] :
       std::map<int, std::string>{{0, "\n"}, {2, ";"}, {4, " "}, {8, "&"}}) {
    EXPECT_EQ(kivx_proto_SetSpace(mode), 1);
    pack("c", {{"a", "1"}});
    EXPECT_EQ(text(), "c" + space + "a=\"1\"" + space + '\0');
  }
}

TEST_F(Packets, CustomDataOfEveryLength) {
  for (int32_t length : {-1, 0, 1, 2, 3, 4, 255, 3839, 3840, 3841, INT32_MAX}) {
    const bool fits = length > 0 && length <= 3840;
    std::string bytes(fits ? static_cast<std::size_t>(length) : 1, '\x9c'), back(4000, '\0');
    pack("c", {});
    EXPECT_EQ(kivx_proto_PackCustomData(packet, bytes.data(), length), fits) << length;
    int32_t got = 0;
    EXPECT_EQ(kivx_proto_GetCustomData(packet, back.data(), 4000, &got), fits);
    EXPECT_EQ(back.substr(0, static_cast<std::size_t>(got)), fits ? bytes : "");
    EXPECT_EQ(kivx_proto_GetCustomData(packet, back.data(), 2, &got), fits);
    EXPECT_EQ(got, fits ? std::min(length, 2) : 0);
  }
}

}  // namespace
}  // namespace kiv::test
