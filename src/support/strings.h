// The string table: every text that has an id, and the road to its translation.
#pragma once

#include <algorithm>
#include <iterator>

#include "platform/types.h"

struct tSTRINGROW {
    UINT id;
    const char* text;
};

/// In order of id. `$(AppName)` and the like are filled in by the formatter.
inline constexpr tSTRINGROW kStringTable[] = {
    // what the page of Dissolve calls its values
    {1285, "Color Bleed Speed"},
    {1286, "Color Morph Speed"},
    {1287, "Fade-through &Color"},
    // reasons, to be appended to a headline
    {48000, "\n\nThe reason for the error could not be determined."},
    {48001, "\n\nAn unexpected error has occurred."},
    {48002, "\n\nAn invalid argument was specified."},
    {48003, "\n\nAn invalid pointer was specified."},
    {48004, "\n\nA necessary function has not been implemented."},
    {48006, "\n\nAn invalid handle was specified."},
    {48008, "\n\nThe COM object failed to initialize."},
    {48009, "\n\nAn unsupported media type was requested."},
    {48012, "\n\nThe disk is full. Please free some space and try again."},
    {48016, "\n\nThe operation was cancelled by the user."},
    {48017, "\n\nThe file could not be created."},
    {48024, "\n\nThe file is most likely corrupted or of an unknown format."},
    {48040, "\n\nAn Exception has occurred."},
    // headlines
    {48110, "An error occurred during the current operation."},
    {48112, "An error occurred while loading a plug-in."},
    // numbers and times
    {48302, "Err."},
    {48303, "-Inf."},
    {48304, "hr%smn%ssc%sfr"},
    {48305, "hours%sminutes%sseconds%sframes"},
    {48306, "ms%sbt%stk"},
    {48307, "measures%sbeats%sticks"},
    // message boxes
    {48318, "&Details >>"},
    {48320, "No &Details"},
};
static_assert(std::ranges::is_sorted(kStringTable, std::ranges::less_equal{}, &tSTRINGROW::id));

/// The table's own text of an id, for tables built at compile time; "" for an id without a row.
constexpr const char* KwString(UINT id) {
    const auto* const row = std::ranges::lower_bound(kStringTable, id, {}, &tSTRINGROW::id);
    return row != std::end(kStringTable) && row->id == id ? row->text : "";
}

/// Finds a text of a host's module or language: UTF-8 ended by a zero, good until the loader is called again, or null
/// where there is none. Calls come one at a time; a loader must not ask for strings itself.
using tStringLoader = const char* (*)(void* context, HANDLE module, UINT id);

/// Sets the source that is asked before the table; null takes it away. Rows that were read before stay as they were,
/// so a host sets its language first. Any thread.
void SetStringLoader(tStringLoader loader, void* context) noexcept;

/// The text of an id, from the loader or else from the table: a null module is this one, and other modules have rows in
/// the loader alone. Loaded rows are kept as long as the module. "" for an id without a row. Any thread.
const char* GetResourceString(HANDLE module, UINT id) noexcept;
