/* A configuration file, patterns, and dates. */
#include <stdio.h>

#include "kiv_base.h"

static void change_a_configuration(void) {
  const char* key;
  const char* value;
  char* text;
  char* plain;
  zu_config* const config = zu_config_make1(
      "; the service\n"
      "[listen]\n"
      "port = 8080   \n"
      "name = \"my host\"\n"
      "\n"
      "[paths]\n"
      "data = /srv ; where files are\n");
  plain = __GetProfileString(zu_config_GetKey(config, "listen", "name"));
  printf("name [%s], as it stands [%s]\n", plain, zu_config_GetKey(config, "listen", "name"));
  _zu_free(plain);
  printf("data [%s]\n", zu_config_GetKey(config, "paths", "data"));

  zu_config_SetKey(config, "listen", "port", " 9090");
  zu_config_SetKey(config, "listen", "backlog", " 100");
  zu_config_KeyRewind(config, "listen");
  while (zu_config_KeyGetNext(config, &key, &value)) printf("%s:%s\n", key, value);

  text = zu_config_ToString(config);
  printf("---\n%s---\n", text);
  _zu_free(text);
  zu_config_free(config);
}

static void match_names(void) {
  static const char* const names[] = {"notes.txt", "NOTES.TXT", "notes.text"};
  zu_pattern* const pattern = zu_pattern_make("*.txt");
  int i;
  for (i = 0; i < 3; ++i) {
    printf("%s: %d, without case %d\n", names[i], zu_pattern_match_string(pattern, names[i]),
           zu_pattern_match_istring(pattern, names[i]));
  }
  zu_pattern_free(pattern);
}

/* What one writes, the other reads: both take the local time, whatever the label says. */
static void read_dates(void) {
  const zu_time now = zu_DateParse("Sun, 06 Nov 1994 08:49:37 GMT");
  char* const text = zu_GetGMTString(now);
  printf("%.16s, %d\n", text, zu_DateParse("06-Nov-94 08:49:37 GMT") == now);
  _zu_free(text);
}

int main(void) {
  change_a_configuration();
  match_names();
  read_dates();
  return 0;
}
