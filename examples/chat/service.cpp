#include "service.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include "../http_files/folder.h"
#include "kiv_base/cpp/process.hpp"

namespace chat {
namespace {

// The settings are the file's alone: a service has no command line that people see.
bool install(const Options& options) {
  const kiv::Text program = kiv::executable_path();
  if (!program || options.config_file.empty()) {
    std::fprintf(stderr, "chat: a service needs its --config FILE\n");
    return false;
  }
  const std::string config = http_files::to_utf8(std::filesystem::absolute(options.config_file));
  const char* const command[] = {program.c_str(), "--config", config.c_str(),
                                 "--service",     "run",      nullptr};
  return zu_service_install(kService, "Chat host", command, 1) == 1;
}

bool query() {
  const char* const states[] = {"not installed", "stopped", "starting",
                                "running",       "paused",  "stopping"};
  const int state = zu_service_query(kService);
  if (state >= 0) std::printf("%s: %s\n", kService, states[state]);
  return state >= 0;
}

}  // namespace

int manage_service(const Options& options) {
  const std::string& order = options.service;
  const bool done = order == "install"  ? install(options)
                    : order == "remove" ? zu_service_remove(kService) == 1
                    : order == "start"  ? zu_service_start(kService) == 1
                    : order == "stop"   ? zu_service_stop(kService) == 1
                                        : query();
  return done ? 0 : 1;
}

}  // namespace chat
