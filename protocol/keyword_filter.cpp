// Does a text contain one of a set of keywords, however it is spaced and punctuated?
#include <cstring>

#include "base/owned.h"
#include "kiv_base/protocol.h"
#include "protocol/keyword_index.h"
#include "protocol/keyword_reduce.h"

using namespace kiv::protocol;

namespace {
constexpr int32_t kMaxText = 10240;
}

struct kiv_filter {
  Keyword* first;  // in the order of insertion
  Keyword* last;
  KeywordIndex index;
  char work[kMaxText + 1];  // a text, reduced
};

kiv_filter* KIV_CALL kiv_filter_malloc(void) KIV_NOEXCEPT {
  return kiv::base::make<kiv_filter>().release();
}

void KIV_CALL kiv_filter_free(kiv_filter* filter) KIV_NOEXCEPT {
  if (!filter) return;
  for (Keyword* keyword = filter->first; keyword;) {
    Keyword* const next = keyword->next;
    kiv::base::destroy(keyword);
    keyword = next;
  }
  kiv::base::destroy(filter);
}

int KIV_CALL kivx_filter_insert(kiv_filter* filter, const char* keyword, const char* text,
                                int32_t tag) KIV_NOEXCEPT {
  if (!filter) return 0;
  Keyword* const added = kiv::base::make<Keyword>().release();
  if (!added) return 0;
  added->length = reduce_text(added->keyword, keyword ? keyword : "", kMaxKeyword);
  if (text) std::strncat(added->text, text, kMaxKeywordText);
  added->tag = tag;
  (filter->last ? filter->last->next : filter->first) = added;
  filter->last = added;
  filter->index.clear();  // built anew for the next text
  return 1;
}

int KIV_CALL kiv_filter_insert(kiv_filter* filter, const char* keyword,
                               const char* text) KIV_NOEXCEPT {
  return kivx_filter_insert(filter, keyword, text, 0);
}

int KIV_CALL kivx_filter_IsHit(kiv_filter* filter, const char* text, const char** keyword,
                               const char** keyword_text, int32_t* tag) KIV_NOEXCEPT {
  if (!filter || !text) return 0;
  const int32_t length = reduce_text(filter->work, text, kMaxText);
  const Keyword* hit = filter->index.find_first(filter->first, filter->work, length);
  if (!hit) return 0;
  if (keyword) *keyword = hit->keyword;
  if (keyword_text) *keyword_text = hit->text;
  if (tag) *tag = hit->tag;
  return 1;
}

int KIV_CALL kiv_filter_IsHit(kiv_filter* filter, const char* text) KIV_NOEXCEPT {
  return kivx_filter_IsHit(filter, text, nullptr, nullptr, nullptr);
}
