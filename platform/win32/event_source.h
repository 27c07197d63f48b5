// Names under which lines stand in the event log.
#pragma once

namespace kiv::platform {

// Has the viewer show the lines of a source as they are. Without it, they stand in a text about a
// missing description. A name that is there already is left alone, one that is another's stays.
void event_source_add(const wchar_t* name) noexcept;
void event_source_remove(const wchar_t* name) noexcept;

}  // namespace kiv::platform
