// Services: this program as one, at the system's manager where one runs, and at a pretended one.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "kiv_base/base.h"
#include "kiv_base/system.h"
#include "tests/support/eventually.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_dir.h"
#ifndef _WIN32
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#endif

namespace {

using kiv::test::printed_by;
using kiv::test::TempDir;

constexpr char kName[] = "kiv_base_test";
constexpr const char* kOdd = "\"$HOME\" 100%h \\\"\\";

template <char Letter>
void KIV_CALL say(void* said) {
  *static_cast<std::string*>(said) += Letter;
}
int KIV_CALL start_if_odd(void* said) {
  say<'s'>(said);
  return testing::internal::GetArgvs().back() == kOdd;
}
int KIV_CALL start(void* said) {
  say<'s'>(said);
  return 1;
}

TEST(Service, EndsWithItsWorkOrItsStart) {
  std::string said;
  zu_service_callbacks calls{start, say<'w'>, say<'x'>, nullptr, nullptr};
  EXPECT_EQ(zu_service_run(kName, &calls, &said), 1);
  EXPECT_EQ(said, "sw");
  calls.work = [](void*) {
    const zu_service_callbacks none{};
    EXPECT_NE(printed_by([&] { EXPECT_EQ(zu_service_run(kName, &none, nullptr), 0); }), "");
  };
  EXPECT_EQ(zu_service_run(kName, &calls, &said), 1);
  calls.start = start_if_odd;
  EXPECT_EQ(printed_by([&] { EXPECT_EQ(zu_service_run(kName, &calls, &said), 0); }), "");
  for (const char* name : {"", "-x", "a b", "../a", "\xc3\xa9"}) {
    EXPECT_NE(printed_by([&] { EXPECT_EQ(zu_service_query(name), -1); }), "");
  }
}

TEST(Service, DISABLED_IsOne) {
  std::string said;
  const zu_service_callbacks calls{start_if_odd, nullptr, say<'x'>, say<'p'>, say<'r'>};
  EXPECT_EQ(zu_service_run(kName, &calls, &said), 1);
}

TEST(Service, GoesThroughItsStatesAtTheManager) {
  if (zu_service_query(kName) < 0) GTEST_SKIP() << "no service manager runs here";
  zu_service_remove(kName);  // what an earlier run may have left
  char* const program = zu_GetExecutablePath();
  const char* const command[] = {program, "--gtest_also_run_disabled_tests",
                                 "--gtest_filter=Service.DISABLED_IsOne", kOdd, nullptr};
  EXPECT_EQ(zu_service_install(kName, "100% odd \\", command, 0), 1);
  EXPECT_EQ(zu_service_install(kName, "again", command, 0), 0);
  EXPECT_EQ(zu_service_query(kName), ZU_SERVICE_STOPPED);
  EXPECT_EQ(zu_service_start(kName), 1);
  EXPECT_EQ(zu_service_query(kName), ZU_SERVICE_RUNNING);
  EXPECT_EQ(zu_service_pause(kName), 1);
  EXPECT_TRUE(kiv::test::eventually([] { return zu_service_query(kName) == ZU_SERVICE_PAUSED; }));
  EXPECT_EQ(zu_service_continue(kName), 1);
  EXPECT_TRUE(kiv::test::eventually([] { return zu_service_query(kName) == ZU_SERVICE_RUNNING; }));
  EXPECT_EQ(zu_service_start(kName), 1);
  EXPECT_EQ(zu_service_stop(kName), 1);
  EXPECT_EQ(zu_service_query(kName), ZU_SERVICE_STOPPED);
  EXPECT_EQ(zu_service_remove(kName), 1);
  EXPECT_EQ(zu_service_query(kName), ZU_SERVICE_ABSENT);
  EXPECT_EQ(zu_service_start(kName), 0);
  _zu_free(program);
}

#ifndef _WIN32

TEST(Service, SignalsControlItAndTheManagerIsNotified) {
  const std::string name = "@kiv" + std::to_string(getpid());
  sockaddr_un address{AF_UNIX, {}};
  name.copy(address.sun_path + 1, name.size() - 1, 1);
  const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + name.size());
  ASSERT_EQ(bind(manager, reinterpret_cast<sockaddr*>(&address), length), 0);
  setenv("NOTIFY_SOCKET", name.c_str(), 1);
  std::string told, said;
  std::thread thread([&] {
    for (int signal : {SIGUSR1, SIGUSR2, SIGTERM, 0}) {
      char text[64];
      told.append(text, std::size_t(recv(manager, text, sizeof text, 0))) += '\n';
      if (signal != 0) kill(getpid(), signal);
    }
  });
  zu_service_callbacks calls{start, nullptr, say<'x'>, say<'p'>, say<'r'>};
  EXPECT_EQ(zu_service_run(kName, &calls, &said), 1);
  thread.join();
  unsetenv("NOTIFY_SOCKET");
  EXPECT_EQ(said, "sprx");
  EXPECT_EQ(told,
            "READY=1\nSTATUS=running\nSTATUS=paused\nREADY=1\nSTATUS=running\n"
            "STOPPING=1\nSTATUS=stopping\n");

  // One that does not pause outlives the signals, and says so.
  char text[64];
  while (recv(manager, text, sizeof text, MSG_DONTWAIT) > 0) continue;
  setenv("NOTIFY_SOCKET", name.c_str(), 1);
  calls = {start,
           [](void*) {
             for (int signal : {SIGUSR1, SIGUSR2}) raise(signal);
           },
           nullptr, nullptr, nullptr};
  EXPECT_EQ(zu_service_run(kName, &calls, &said), 1);
  unsetenv("NOTIFY_SOCKET");
  told.assign(text, std::size_t(recv(manager, text, sizeof text, 0)));
  close(manager);
  EXPECT_EQ(told, "READY=1\nSTATUS=running without pauses");
  EXPECT_EQ(said, "sprxs");
}

// Its systemctl writes down what it is told, and says what it is to say.
TEST(Service, IsAUnitFileAndWordsToItsManager) {
  const TempDir dir;
  const std::string tool = dir.file("systemctl"), unit = "systemd/user/kiv_base_test.service";
  std::ofstream(tool)
      << "#!/bin/sh\ncd ${0%/*}\necho $* >>calls\ncat answer; ! grep -q Fail answer";
  const auto answer = [&](const char* text) { std::ofstream(dir.file("answer")) << text; };
  std::ofstream(dir.file("calls")).flush();
  for (const std::string& path : {dir.path(), tool, dir.file("calls")}) chmod(path.c_str(), 0777);
  const std::string path = std::getenv("PATH");
  setenv("PATH", (dir.path() + ":" + path).c_str(), 1);
  setenv("XDG_CONFIG_HOME", dir.path().c_str(), 1);
  const uid_t user = geteuid();  // units of root are the system's
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);

  const char* const command[] = {"/\xc3\xa9 b", kOdd, "\n", nullptr};
  answer("LoadState=not-found\nActiveState=inactive\n");
  EXPECT_EQ(zu_service_install(kName, "100% \\", command, 1), 1);
  const std::string text = dir.content(unit);
  EXPECT_NE(text.find("\nDescription=100%% \\ \n"), std::string::npos);
  EXPECT_NE(
      text.find("\nExecStart=\":/\xc3\xa9 b\" \"\\\"$HOME\\\" 100%%h \\\\\\\"\\\\\" \"\\x0a\"\n"),
      std::string::npos);
  EXPECT_NE(dir.content("calls").find("--user enable -- kiv_base_test.service\n"),
            std::string::npos);
  answer("Failed to start it.\nSee more.\n");
  EXPECT_EQ(printed_by([] { EXPECT_EQ(zu_service_start(kName), 0); }),
            "error: 'kiv_base_test': Failed to start it in zu_service_start()!\n");
  for (const char* status : {"running without pauses", ""}) {
    answer(
        (std::string("LoadState=loaded\nActiveState=active\nStatusText=") + status + "\n").c_str());
    EXPECT_EQ(
        printed_by([] { EXPECT_EQ(zu_service_pause(kName) + zu_service_continue(kName), 0); }),
        "error: 'kiv_base_test': it takes no pauses in zu_service_pause()!\n"
        "error: 'kiv_base_test': it takes no pauses in zu_service_continue()!\n");
  }
  EXPECT_EQ(dir.content("calls").find("SIGUSR"), std::string::npos);
  answer("LoadState=loaded\nActiveState=active\nStatusText=running\n");
  EXPECT_EQ(zu_service_pause(kName), 1);
  EXPECT_NE(dir.content("calls").find("kill --kill-who=main --signal=SIGUSR1 -- kiv_base_test"),
            std::string::npos);
  answer("LoadState=loaded\nActiveState=deactivating\n");
  EXPECT_EQ(zu_service_query(kName), ZU_SERVICE_STOPPING);
  EXPECT_EQ(zu_service_remove(kName), 1);
  EXPECT_EQ(dir.content(unit), "(missing)");
  std::ofstream(dir.file(unit)) << "another's";
  EXPECT_EQ(zu_service_remove(kName), 0);

  EXPECT_EQ(seteuid(user), 0);
  setenv("PATH", path.c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
}

#endif

}  // namespace
