/* Process helpers. Any thread may call them.
 *
 *   int32_t ticket = zu_RandomValue();
 */
#ifndef KIV_BASE_SYSTEM_H
#define KIV_BASE_SYSTEM_H

#include "kiv_base/export.h"

/* A number from 0 to INT32_MAX, evenly spread, of a generator that the system seeds. Good for ids
 * that should not repeat; predictable to an attacker, so never a secret. */
KIV_API int32_t KIV_CALL zu_RandomValue(void) KIV_NOEXCEPT;

/* The system's id of the calling thread (not of the process, despite its name). */
KIV_API int32_t KIV_CALL zu_GetPid(void) KIV_NOEXCEPT;

#endif
