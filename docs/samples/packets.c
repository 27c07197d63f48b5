/* A packet is packed, encrypted, sent in pieces, decrypted, framed and read. */
#include <stdio.h>

#include "kiv_base.h"

/* What a connection keeps for each peer. */
typedef struct peer {
  kiv_cipher* cipher;
  kiv_parse_pool* pool;
  kiv_proto* packet;
  kiv_filter* words;
} peer;

static void handle_packet(peer* from, const char* bytes, int32_t length) {
  const char* name;
  const char* value;
  int found;
  char command[32];
  if (!kiv_proto_ParsePacket(from->packet, bytes, length)) return; /* has printed why */
  kiv_proto_GetCmd(from->packet, command, (int32_t)sizeof command);
  printf("%s, %d parameters\n", command, (int)kiv_proto_NumPara(from->packet));
  for (found = kivx_proto_GetFirst(from->packet, &name, NULL, &value, NULL); found;
       found = kivx_proto_GetNext(from->packet, &name, NULL, &value, NULL)) {
    printf("  %s: %s%s\n", name, value,
           kiv_filter_IsHit(from->words, value) ? " (has a word that is not wanted)" : "");
  }
}

/* For a read callback: any piece of the stream. */
static void handle_bytes(peer* from, const char* bytes, int32_t length) {
  char text[10240];
  int32_t count;
  if (!kiv_cipher_input(from->cipher, bytes, length)) return;
  while (kiv_cipher_get(from->cipher, text, (int32_t)sizeof text, &count) && count > 0) {
    kiv_parse_pool_input(from->pool, text, count);
  }
  while (kiv_parse_pool_get(from->pool, text, (int32_t)sizeof text, &count)) {
    handle_packet(from, text, count);
  }
}

int main(void) {
  char key[16], sent[10240];
  const char* text;
  int32_t length, written, at;
  kiv_proto* const packet = kiv_proto_new();
  peer from = {NULL, NULL, NULL, NULL};
  kiv_cipher* cipher;
  kiv_cipher_key(key, (int32_t)sizeof key, "secret", "session 1");
  cipher = kiv_cipher_malloc(KIV_CIPHER_XTEA, key, (int32_t)sizeof key);
  from.cipher = kiv_cipher_malloc(KIV_CIPHER_XTEA, key, (int32_t)sizeof key);
  from.pool = kiv_parse_pool_malloc();
  from.packet = kiv_proto_new();
  from.words = kiv_filter_malloc();
  kiv_filter_insert(from.words, "darn", NULL);

  kiv_proto_PackCmd(packet, "say");
  kiv_proto_PackPara(packet, "user", "ann");
  kiv_proto_PackPara(packet, "text", "d.a.r.n, \"quoted\" text");
  if (kiv_proto_GetPacket(packet, &text, &length) &&
      kiv_encipher(cipher, sent, (int32_t)sizeof sent, &written, text, length)) {
    printf("%d bytes, enciphered %d\n", (int)length, (int)written);
    for (at = 0; at < written; at += 5) {
      handle_bytes(&from, sent + at, written - at < 5 ? written - at : 5);
    }
  }

  kiv_proto_free(packet);
  kiv_cipher_free(cipher);
  kiv_cipher_free(from.cipher);
  kiv_parse_pool_free(from.pool);
  kiv_proto_free(from.packet);
  kiv_filter_free(from.words);
  return 0;
}
