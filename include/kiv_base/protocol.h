/* Messages on top of the loop: command packets and their framing, a keyword filter, the packet
 * cipher, and virtual connections over UDP.
 *
 * Records that hold a packet, a pool, a filter or a cipher are not locked: one thread uses each.
 * The virtual connections belong to a box and may be called from any thread.
 */
#ifndef KIV_BASE_PROTOCOL_H
#define KIV_BASE_PROTOCOL_H

#include "kiv_base/event.h"

/* ---- Command packets ---- */

/* ---- Framing of a stream into packets ---- */

/* ---- Keyword filter ---- */

/* ---- Packet cipher ---- */

/* ---- Virtual connections over UDP: client ---- */

/* ---- Virtual connections over UDP: server ---- */

#endif
