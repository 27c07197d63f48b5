// A host that unloads the library while one of its threads is in a callback, which returns into the
// library afterwards: the code must still be there.
//
//   unload LIBRARY
#include <cstdint>
#include <cstdio>
#include <future>

#include "module.h"

namespace {

struct Turn {
  std::promise<void> inside, unloaded;
#if defined(_WIN32)
  HANDLE thread = nullptr;
#endif
};

void CALLER_CLEANS on_timer(void*, void* argument, std::int32_t, std::int32_t) {
  auto* turn = static_cast<Turn*>(argument);
#if defined(_WIN32)
  turn->thread = OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId());
#endif
  turn->inside.set_value();
  turn->unloaded.get_future().wait();
}

template <typename Function>
Function* function(module_t module, const char* name) {
  return reinterpret_cast<Function*>(find(module, name));
}

}  // namespace

int main(int count, char** arguments) {
  const module_t module = count == 2 ? load(arguments[1]) : nullptr;
  if (module == nullptr) return 2;
  using TimerFunction = void CALLER_CLEANS(void*, void*, std::int32_t, std::int32_t);
  const auto create = function<void * CALLER_CLEANS()>(module, "kivx_ThreadBox_create");
  const auto destroy = function<void CALLER_CLEANS(void*)>(module, "kivx_ThreadBox_destroy");
  const auto once =
      function<std::int32_t CALLER_CLEANS(void*, std::uint32_t, TimerFunction*, void*)>(
          module, "kiv_box_NewOnceTimer");
  const auto shut_down = function<int CALLER_CLEANS()>(module, "kiv_Shutdown");

  // Never freed: on Linux nothing tells when the thread has ended.
  Turn& turn = *new Turn;
  void* const box = create();
  if (once(box, 1, on_timer, &turn) < 0) return 2;
  turn.inside.get_future().wait();
  destroy(box);
  shut_down();
#if defined(_WIN32)
  FreeLibrary(module);
  // The thread still closes its sockets: these must not get their numbers.
  WSADATA network;
  WSAStartup(MAKEWORD(2, 2), &network);
  SOCKET ours[16];
  for (SOCKET& one : ours) one = socket(AF_INET, SOCK_DGRAM, 0);
  turn.unloaded.set_value();
  const DWORD waited = WaitForSingleObject(turn.thread, INFINITE);
  CloseHandle(turn.thread);
  int lost = 0;
  for (const SOCKET one : ours) lost += closesocket(one) != 0 ? 1 : 0;
  WSACleanup();
  std::printf("%d of our sockets closed by it\n", lost);
  const bool stays = GetModuleHandleA("kiv_base.dll") != nullptr;
  std::printf("%s\n", stays ? "still loaded" : "unloaded by the last of its threads");
  return waited == WAIT_OBJECT_0 && lost == 0 && !stays ? 0 : 1;
#else
  dlclose(module);
  turn.unloaded.set_value();
  const bool stays = dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) != nullptr;
  std::printf("%s\n", stays ? "still loaded, for its threads" : "unloaded under its thread");
  return stays ? 0 : 1;
#endif
}
