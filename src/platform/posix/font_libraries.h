// FreeType and fontconfig, as this machine has them. Their functions bear their own names without the prefix.
#pragma once

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#include FT_TRUETYPE_TABLES_H

#include "platform/posix/found_library.h"

struct tFontconfig {
    CLibrary library{"libfontconfig.so.1"};
    decltype(&::FcConfigDestroy) ConfigDestroy = library.Find("FcConfigDestroy");
    decltype(&::FcConfigSubstitute) ConfigSubstitute = library.Find("FcConfigSubstitute");
    decltype(&::FcDefaultSubstitute) DefaultSubstitute = library.Find("FcDefaultSubstitute");
    decltype(&::FcFontList) FontList = library.Find("FcFontList");
    decltype(&::FcFontMatch) FontMatch = library.Find("FcFontMatch");
    decltype(&::FcFontSetDestroy) FontSetDestroy = library.Find("FcFontSetDestroy");
    decltype(&::FcInitLoadConfigAndFonts) InitLoadConfigAndFonts = library.Find("FcInitLoadConfigAndFonts");
    decltype(&::FcObjectSetBuild) ObjectSetBuild = library.Find("FcObjectSetBuild");
    decltype(&::FcObjectSetDestroy) ObjectSetDestroy = library.Find("FcObjectSetDestroy");
    decltype(&::FcPatternAddBool) PatternAddBool = library.Find("FcPatternAddBool");
    decltype(&::FcPatternAddInteger) PatternAddInteger = library.Find("FcPatternAddInteger");
    decltype(&::FcPatternAddString) PatternAddString = library.Find("FcPatternAddString");
    decltype(&::FcPatternCreate) PatternCreate = library.Find("FcPatternCreate");
    decltype(&::FcPatternDestroy) PatternDestroy = library.Find("FcPatternDestroy");
    decltype(&::FcPatternGetInteger) PatternGetInteger = library.Find("FcPatternGetInteger");
    decltype(&::FcPatternGetString) PatternGetString = library.Find("FcPatternGetString");
    decltype(&::FcPatternGetWithBinding) PatternGetWithBinding = library.Find("FcPatternGetWithBinding");
    decltype(&::FcStrCmpIgnoreCase) StrCmpIgnoreCase = library.Find("FcStrCmpIgnoreCase");
    decltype(&::FcWeightFromOpenType) WeightFromOpenType = library.Find("FcWeightFromOpenType");
};

struct tFreeType {
    CLibrary library{"libfreetype.so.6"};
    decltype(&::FT_Done_Face) DoneFace = library.Find("FT_Done_Face");
    decltype(&::FT_Done_FreeType) DoneFreeType = library.Find("FT_Done_FreeType");
    decltype(&::FT_Get_Char_Index) GetCharIndex = library.Find("FT_Get_Char_Index");
    decltype(&::FT_Get_Sfnt_Table) GetSfntTable = library.Find("FT_Get_Sfnt_Table");
    decltype(&::FT_Init_FreeType) InitFreeType = library.Find("FT_Init_FreeType");
    decltype(&::FT_Load_Glyph) LoadGlyph = library.Find("FT_Load_Glyph");
    decltype(&::FT_Load_Sfnt_Table) LoadSfntTable = library.Find("FT_Load_Sfnt_Table");
    decltype(&::FT_MulFix) MulFix = library.Find("FT_MulFix");
    decltype(&::FT_New_Face) NewFace = library.Find("FT_New_Face");
    decltype(&::FT_Outline_Embolden) OutlineEmbolden = library.Find("FT_Outline_Embolden");
    decltype(&::FT_Outline_Get_CBox) OutlineGetCBox = library.Find("FT_Outline_Get_CBox");
    decltype(&::FT_Outline_Transform) OutlineTransform = library.Find("FT_Outline_Transform");
    decltype(&::FT_Render_Glyph) RenderGlyph = library.Find("FT_Render_Glyph");
    decltype(&::FT_Set_Pixel_Sizes) SetPixelSizes = library.Find("FT_Set_Pixel_Sizes");
};

/// Looks for both; where one is missing, says so on standard error, once. What follows may be called after it was true.
bool HasFontLibraries();
const tFontconfig& Fc();
const tFreeType& Ft();
