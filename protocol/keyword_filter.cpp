// Does a text contain one of a set of keywords, however it is spaced and punctuated?
#include <array>
#include <cstring>
#include <string_view>

#include "base/owned.h"
#include "kiv_base/containers.h"
#include "kiv_base/protocol.h"
#include "protocol/keyword_index.h"

namespace kiv::protocol {
namespace {

constexpr std::int32_t kMaxText = 10240;

constexpr std::array<bool, 256> make_kept() {
  std::array<bool, 256> kept{};
  kept.fill(true);
  for (char c : std::string_view(" \r\n-=_/|*&~+,.;\"':@[]{}%^$!()\\<>?`")) {
    kept[static_cast<unsigned char>(c)] = false;
  }
  return kept;
}
constexpr std::array<bool, 256> kKept = make_kept();

// Copies what is compared of the first `most` characters and terminates it; gives its length.
// deliberate: the limit counts the characters looked at, not those kept, for keywords and texts.
std::int32_t reduce(char* to, const char* text, std::int32_t most) {
  char* at = to;
  for (const char* end = text + most; text < end && *text; ++text) {
    *at = *text;
    at += kKept[static_cast<unsigned char>(*text)];
  }
  *at = 0;
  return static_cast<std::int32_t>(at - to);
}

void KIV_CALL free_entry(void* entry, void*) {
  _zu_free(entry);
}

}  // namespace
}  // namespace kiv::protocol

using kiv::protocol::Keyword;

struct kiv_filter {
  zu_list* entries;  // in the order of their insertion
  zu_list* last;
  kiv::protocol::KeywordIndex index;
  char work[kiv::protocol::kMaxText + 1];
};

kiv_filter* KIV_CALL kiv_filter_malloc(void) KIV_NOEXCEPT {
  return kiv::base::Owned<kiv_filter>::allocate_zeroed().release();
}

void KIV_CALL kiv_filter_free(kiv_filter* filter) KIV_NOEXCEPT {
  if (!filter) return;
  filter->index.clear();
  zu_list_free_all(filter->entries, kiv::protocol::free_entry, nullptr);
  _zu_free(filter);
}

int KIV_CALL kivx_filter_insert(kiv_filter* filter, const char* keyword, const char* text,
                                int32_t tag) KIV_NOEXCEPT {
  if (!filter) return 0;
  auto entry = kiv::base::Owned<Keyword>::allocate_zeroed();
  if (!entry) return 0;
  entry->length =
      kiv::protocol::reduce(entry->keyword, keyword ? keyword : "", kiv::protocol::kMaxKeyword);
  zu_strncpy(entry->text, text, kiv::protocol::kMaxKeywordText);
  entry->tag = tag;
  zu_list* node = zu_list_append(filter->last, entry.get());
  if (filter->last) node = node->next;
  if (!node) return 0;
  if (!filter->entries) filter->entries = node;
  filter->last = node;
  filter->index.clear();  // made anew for the next text
  (void)entry.release();
  return 1;
}

int KIV_CALL kiv_filter_insert(kiv_filter* filter, const char* keyword,
                               const char* text) KIV_NOEXCEPT {
  return kivx_filter_insert(filter, keyword, text, 0);
}

int KIV_CALL kivx_filter_IsHit(kiv_filter* filter, const char* text, const char** keyword,
                               const char** keyword_text, int32_t* tag) KIV_NOEXCEPT {
  if (!filter || !text) return 0;
  const int32_t length = kiv::protocol::reduce(filter->work, text, kiv::protocol::kMaxText);
  const Keyword* hit = filter->index.find_first(filter->entries, filter->work, length);
  if (!hit) return 0;
  if (keyword) *keyword = hit->keyword;
  if (keyword_text) *keyword_text = hit->text;
  if (tag) *tag = hit->tag;
  return 1;
}

int KIV_CALL kiv_filter_IsHit(kiv_filter* filter, const char* text) KIV_NOEXCEPT {
  return kivx_filter_IsHit(filter, text, nullptr, nullptr, nullptr);
}
