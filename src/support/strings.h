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
    // shapes
    {1220, "Circle"},
    {1221, "Oval"},
    {1222, "Oval side"},
    {1223, "Rectangle"},
    {1224, "Diamond"},
    {1225, "Square"},
    {1226, "Triangle"},
    {1227, "Triangle right"},
    {1228, "Triangle upside down"},
    {1229, "Triangle left"},
    {1230, "Arrowhead"},
    {1231, "Arrowhead right"},
    {1232, "Arrowhead upside down"},
    {1233, "Arrowhead left"},
    {1234, "Pentagon"},
    {1235, "Pentagon upside down"},
    {1236, "Hexagon"},
    {1237, "Hexagon side"},
    {1238, "Cateye"},
    {1239, "Cateye side"},
    {1240, "Round rect"},
    {1241, "Round rect side"},
    {1242, "4-Point star"},
    {1243, "5-Point star"},
    {1244, "6-Point star"},
    {1245, "Heart"},
    {1246, "Keyhole"},
    {1247, "Cross"},
    {1248, "Points"},
    {1250, "Iris in"},
    {1251, "Iris out"},
    // presets of the dissolves
    {1252, "Additive Dissolve"},
    {1253, "Subtractive Dissolve"},
    {1254, "Subtractive Crossfade"},
    {1255, "Color Bleed"},
    {1256, "Color Bleed Fast Red"},
    {1257, "Color Bleed Fast Green"},
    {1258, "Color Bleed Fast Blue"},
    {1259, "Color Bleed Fast Alpha"},
    {1260, "Color Morph"},
    {1261, "Color Morph Fast Red"},
    {1262, "Color Morph Fast Green"},
    {1263, "Color Morph Fast Blue"},
    {1264, "Color Morph Fast Alpha"},
    {1265, "Threshold Dissolve"},
    {1266, "Threshold Appear"},
    {1267, "Fade Through Greyscale"},
    {1268, "Fade Through Black"},
    {1269, "Fade Through White"},
    {1270, "Fade Through Red"},
    {1271, "Fade Through Green"},
    {1272, "Fade Through Blue"},
    {1273, "Fade Through Transparent"},
    {1274, "Red then Green then Blue Crossfade"},
    // modes of the dissolves, and what their page calls the values
    {1275, "Additive Dissolve"},
    {1276, "Subtractive Dissolve"},
    {1277, "Subtractive Crossfade"},
    {1278, "Color Bleed"},
    {1279, "Pixel Color Morph"},
    {1280, "Threshold Dissolve"},
    {1281, "Threshold Appear"},
    {1282, "Fade Through Greyscale"},
    {1283, "Fade Through Color"},
    {1284, "R then G then B Crossfade"},
    {1285, "Color Bleed Speed"},
    {1286, "Color Morph Speed"},
    {1287, "Fade-through &Color"},
    {1288, "Cut away all but section"},
    {1289, "Cut away section"},
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
