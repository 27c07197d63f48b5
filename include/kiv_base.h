/* The Base library: event loop, HTTP and the runtime under them, behind a plain C interface. */
#ifndef KIV_BASE_H
#define KIV_BASE_H

#include "kiv_base/base.h"
#include "kiv_base/containers.h"
#include "kiv_base/datagrams.h"
#include "kiv_base/event.h"
#include "kiv_base/http.h"
#include "kiv_base/protocol.h"
#include "kiv_base/streams.h"
#include "kiv_base/system.h"

#endif
