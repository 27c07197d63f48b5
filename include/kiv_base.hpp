// The library from C++: owning handles, callables as callbacks, strings and spans, over the C
// interface and at its cost. Nothing throws and nothing is allocated here; a function fails as
// its C function does, with a null handle, false, -1 or an empty optional. Its contract is that
// of the C function.
//
//   kiv::Library library;
//   auto box = kiv::Box::make();
//   auto on_tick = [&](kiv::BoxRef self, kiv::TimerId, int32_t times) {
//     if (times == 3) self.break_loop();
//   };
//   box.every(500, on_tick);
//   box.loop();
//
// A class owns its object (`Box`; null after a move, and if creation failed); its reference type
// borrows it (`BoxRef`) and has the operations; get() returns the C handle of either. Not wrapped,
// and to be called in C: what C++ has itself, such as containers, pools and strings; the lower
// layers (zu_box_*, zu_sock_*, the object registry); the console trace, terminal input, and the
// management of services (run_service runs one).
#ifndef KIV_BASE_HPP
#define KIV_BASE_HPP

#include "kiv_base.h"
#include "kiv_base/cpp/bigbox.hpp"
#include "kiv_base/cpp/box.hpp"
#include "kiv_base/cpp/callback.hpp"
#include "kiv_base/cpp/config.hpp"
#include "kiv_base/cpp/files.hpp"
#include "kiv_base/cpp/handle.hpp"
#include "kiv_base/cpp/http.hpp"
#include "kiv_base/cpp/packet.hpp"
#include "kiv_base/cpp/process.hpp"
#include "kiv_base/cpp/runtime.hpp"
#include "kiv_base/cpp/text.hpp"
#include "kiv_base/cpp/uri.hpp"
#include "kiv_base/cpp/virtual_connection.hpp"

#endif
