/* Installs and steers a service, and asks who is at the terminal. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

static int install(const char* program) {
  const char* command[] = {NULL, "--service", NULL};
  command[0] = program;
  return zu_service_install("chat", "Chat for the house", command, 1);
}

static int show(void) {
  static const char* const states[] = {"absent",  "stopped", "starting",
                                       "running", "paused",  "stopping"};
  const int state = zu_service_query("chat");
  if (state < 0) return 0;
  printf("%s\n", states[state]);
  return 1;
}

static int log_in(void) {
  char name[64], password[64];
  int known;
  if (!zu_TTY_ReadName("Login: ", name, sizeof name) ||
      !zu_TTY_ReadPassword("Password: ", password, sizeof password)) {
    return 0;
  }
  known = strcmp(name, "ann") == 0 && strcmp(password, "secret") == 0;
  zu_ClearMemory(password, sizeof password);
  printf("%s\n", known ? "welcome" : "unknown");
  return known;
}

int main(int count, char** arguments) {
  const char* const wish = count > 1 ? arguments[1] : "";
  int done = 0;
  if (strcmp(wish, "install") == 0 && count == 3) {
    done = install(arguments[2]);
  } else if (strcmp(wish, "start") == 0) {
    done = zu_service_start("chat");
  } else if (strcmp(wish, "show") == 0) {
    done = show();
  } else if (strcmp(wish, "stop") == 0) {
    done = zu_service_stop("chat");
  } else if (strcmp(wish, "remove") == 0) {
    done = zu_service_remove("chat");
  } else if (strcmp(wish, "login") == 0) {
    done = log_in();
  } else {
    printf("service_control install PROGRAM | start | show | stop | remove | login\n");
    done = 1;
  }
  return done ? 0 : 1;
}
