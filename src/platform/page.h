// Settings pages without a window system: what a toolkit needs to draw a page and to drive it.
//
// A page is a model. The toolkit asks it for its controls and their state, hands it what the user does, and is told
// through a sink what has to be drawn again. All calls of one page come on one thread. Texts are UTF-8 and stay good
// until the next call that changes the page. Structures are filled up to the smaller of their own and the caller's
// size.
#pragma once

#include <type_traits>

#include "platform/component.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct SIZE {
    LONG cx, cy;
};

struct PROPPAGEINFO {
    ULONG cb;
    OLECHAR* pszTitle; ///< the caller's to free, with `free` where the platform has no task allocator
    SIZE size;         ///< pixels
    OLECHAR* pszDocString;
    OLECHAR* pszHelpFile;
    DWORD dwHelpContext;
};

struct MSG;

struct IPropertyPage : IUnknown {
    static constexpr GUID iid{0xB196B28D, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
    virtual HRESULT SetPageSite(IUnknown* site) = 0;
    /// Opens the page: `parent`, the toolkit's window for it, is posted WM_COMMAND when the effect's record changes
    /// from elsewhere, and answers by `IKwPage::SendPage` on the page's thread.
    virtual HRESULT Activate(HWND parent, const RECT* place, BOOL modal) = 0;
    virtual HRESULT Deactivate() = 0;
    virtual HRESULT GetPageInfo(PROPPAGEINFO* info) = 0;
    /// The first object is the effect; none lets go of it. E_NOINTERFACE for an object of another class, E_UNEXPECTED
    /// within a call of the page, as `Activate`.
    virtual HRESULT SetObjects(ULONG count, IUnknown** objects) = 0;
    virtual HRESULT Show(UINT command) = 0;
    virtual HRESULT Move(const RECT* place) = 0;
    virtual HRESULT IsPageDirty() = 0;
    virtual HRESULT Apply() = 0;
    virtual HRESULT Help(const OLECHAR* folder) = 0;
    virtual HRESULT TranslateAccelerator(MSG* message) = 0;
};

// Messages that pages and controls know, by the platform's numbers.
inline constexpr UINT WM_DESTROY = 2;
inline constexpr UINT WM_HELP = 83;
inline constexpr UINT WM_NOTIFY = 78;
inline constexpr UINT WM_CONTEXTMENU = 123;
inline constexpr UINT WM_STYLECHANGING = 124;
inline constexpr UINT WM_INITDIALOG = 272;
inline constexpr UINT WM_HSCROLL = 276;

inline constexpr UINT BN_CLICKED = 0;
inline constexpr UINT CBN_SELCHANGE = 1;
inline constexpr UINT EN_KILLFOCUS = 512;
inline constexpr UINT EN_UPDATE = 1024;

/// Ids that all pages share.
inline constexpr LONG kPageLogo = 1457;
inline constexpr LONG kPageRefresh = 32512;     ///< posted by the effect
inline constexpr LONG kPagePresetFirst = 40500; ///< and one more for each preset
inline constexpr LONG kPagePresetLast = 40999;
inline constexpr LONG kPageHelp = 41000;
inline constexpr LONG kPageAbout = 41001;

/// Keys that controls look at, by the platform's numbers.
enum tPageKey : LONG {
    KWKEY_TAB = 9,
    KWKEY_CLEAR = 12,
    KWKEY_RETURN = 13,
    KWKEY_ESCAPE = 27,
    KWKEY_PAGE_UP = 33,
    KWKEY_PAGE_DOWN = 34,
    KWKEY_END = 35,
    KWKEY_HOME = 36,
    KWKEY_LEFT = 37,
    KWKEY_UP = 38,
    KWKEY_RIGHT = 39,
    KWKEY_DOWN = 40,
    KWKEY_NUMPAD0 = 96, ///< to 9: 105
    KWKEY_F3 = 114,
    KWKEY_F9 = 120,
};

enum tPageModifier : ULONG { KWMOD_SHIFT = 1, KWMOD_CTRL = 2 };

/// What the user does to one control. Places are pixels from the control's top left corner.
enum tPageEventKind : LONG {
    KWEVENT_SIZE = 0,         ///< the control is drawn `x` by `y` pixels large
    KWEVENT_PRESS = 1,        ///< left button at (x, y)
    KWEVENT_MOVE = 2,         ///< the pointer came to (x, y); `value` 1 while the left button is down
    KWEVENT_RELEASE = 3,      ///< left button
    KWEVENT_DOUBLE_PRESS = 4, ///< the second press of a double-click, in place of a press
    KWEVENT_RIGHT_PRESS = 5,
    KWEVENT_WHEEL = 6, ///< `value` in 1/120 of a notch, above 0 away from the user
    KWEVENT_KEY = 7,   ///< `value` is a `tPageKey`; answers S_FALSE for a key without a use
    KWEVENT_KEY_UP = 8,
    KWEVENT_FOCUS = 9,   ///< the control takes the focus
    KWEVENT_BLUR = 10,   ///< and loses it: edits read their text
    KWEVENT_CANCEL = 11, ///< the toolkit took the mouse away
    KWEVENT_TIMER = 12,  ///< `value` is the timer's id
    KWEVENT_LEAVE = 13,  ///< the pointer left the control
    KWEVENT_CLICK = 14,  ///< a check box or radio button
    KWEVENT_SELECT = 15, ///< `value` is the index of a list's item
    KWEVENT_TEXT = 16,   ///< an edit holds `text` now
    KWEVENT_PICKED = 17, ///< the screen picker's answer: a colour 0xRRGGBB in `value`, or -1 for none
};

struct tPageEvent {
    LONG kind;
    LONG x, y;
    LONG value;
    ULONG modifiers; ///< `tPageModifier`
    LONG part;       ///< of a colour picker: the edit that is meant by focus, blur, key and text; else 0
    const char* text;
};

enum tPageControlKind : LONG {
    KWCONTROL_LABEL = 0,
    KWCONTROL_GROUP = 1, ///< a frame with a title
    KWCONTROL_EDIT = 2,  ///< one line
    KWCONTROL_TEXT = 3,  ///< several lines
    KWCONTROL_CHECK = 4,
    KWCONTROL_RADIO = 5,
    KWCONTROL_LIST = 6, ///< drop-down, one item chosen
    KWCONTROL_TRACKBAR = 7,
    KWCONTROL_SPINNER = 8,
    KWCONTROL_COLOR = 9,
    KWCONTROL_PLACEMENT = 10,
    KWCONTROL_LOGO = 11,
};

/// A control's nature and what it shows at present.
struct tPageControl {
    LONG id;
    tPageControlKind kind;
    RECT place; ///< dialog units from the page's top left corner
    LONG buddy; ///< of a label: the control that its mnemonic reaches; of a spinner: its edit; else 0
    BOOL visible, enabled;
    LONG value; ///< check box and radio button 0 or 1; list: chosen index or -1; trackbar, spinner: position
    LONG minimum, maximum, mark; ///< trackbar, spinner: range and default position
    LONG itemCount;              ///< of a list
    BOOL groupStart;             ///< of a radio button: the first of its group
    const char* text;            ///< with `&` before the mnemonic where it is a label, group, check box or radio button
    const char* help;            ///< one sentence for a tip; may be empty
};

/// `IKwPage::GetDetail` of a trackbar or spinner: where its parts stand, in pixels.
struct tTrackbarDetail {
    RECT channel;  ///< empty in a spinner
    RECT thumb;    ///< empty in a spinner
    RECT up, down; ///< buttons of a spinner, else empty
    LONG markX;    ///< of the default position
    BOOL tracking;
    LONG pressed; ///< 1 up, 2 down, else 0
};

/// Parts of a colour picker, by number: its edits have numbers too.
enum tColorPickPart : LONG {
    KWPART_SPACE = 1,
    KWPART_PICKER = 2,
    KWPART_BAR1 = 3, ///< to 5
    KWPART_ALPHA_BAR = 6,
    KWPART_GAMUT = 7,
    KWPART_FIELD = 8,
    KWPART_EDIT1 = 9, ///< to 11
    KWPART_ALPHA_EDIT = 12,
    KWPART_SWATCH = 13,
    KWPART_LAST = 13,
};

/// `IKwPage::GetDetail` of a colour picker.
struct tColorPickDetail {
    float color[4];                    ///< blue, green, red, alpha
    float corrected[4];                ///< what the gamut swatch shows
    double hue, saturation, luminance; ///< 0 to 1, hue -1 for grey
    LONG colorSpace;                   ///< 0 RGB, 1 HSL
    LONG gamutFlags;                   ///< bit 0: outside PAL, bit 1: outside NTSC
    LONG hoverPart;
    LONG dragPart;                    ///< 0 for none
    RECT parts[KWPART_LAST + 1];      ///< pixels; empty where a part is not shown
    LONG marks[KWPART_ALPHA_BAR + 1]; ///< x of the mark of each bar
    POINT fieldMark;
    const char* edits[KWPART_ALPHA_EDIT + 1]; ///< text of each edit, by its number; null where there is none
    const char* tip;                          ///< for `hoverPart`; "" for none
};

/// One handle, copied as a block by its messages. The member values are the default handle.
struct tPlacementHandle {
    double x = 0.5, y = 0.5; ///< shares of the area's width and height
    ULONG kind = 2;          ///< shape, 0 to 4; views draw a larger one as 0
    ULONG selectable = 1;    ///< 1: Tab stops here
    ULONG confined = 1;      ///< not 0: a drag stops at the area's edges
    ULONG fill = 0xFFFFFF;   ///< 0x00BBGGRR
    ULONG outline = 0;       ///< 0x00BBGGRR
    char label[28] = {};     ///< UTF-8; terminated in every stored handle

    friend bool operator==(const tPlacementHandle&, const tPlacementHandle&) = default;
};
static_assert(sizeof(tPlacementHandle) == 64 && std::is_trivially_copyable_v<tPlacementHandle>);
inline constexpr LONG kPlacementReach = 6; ///< pixels from a handle's centre to its rim

/// Messages of a placement control.
enum tPlacementMessage : UINT {
    KWHANDLE_COUNT = 2050, ///< the number of handles
    KWHANDLE_ADD = 2051,   ///< the record at `lParam`, or the default where it is null or x or y is not within 0..1
    /// Replaces handle `wParam`; 1 for success. A kind above 4 becomes 0; x and y that are not numbers become 0.5,
    /// others are limited to -1000..1000, so that every stored place can be drawn.
    KWHANDLE_SET = 2052,
    KWHANDLE_GET = 2053,     ///< copies handle `wParam` out; 1 for success
    KWHANDLE_CURRENT = 2054, ///< the current one, 0 in an empty list
    KWHANDLE_REMOVE = 2059,  ///< handle `wParam`, not below the least count
    KWHANDLE_MOST = 2061,    ///< the greatest count, which shortens the list
    KWHANDLE_LEAST = 2062,   ///< the least count, which lengthens it; the greatest prevails
    KWHANDLE_REPAINT = 2063,
    KWHANDLE_RESIZE = 2064, ///< makes the list `wParam` long, at its end
    KWHANDLE_SELECT = 2065, ///< makes handle `wParam` current
    /// Steps of the arrow keys in thousandths, plain (unsigned) and with Ctrl; at first 10, 100.
    KWHANDLE_STEP_X = 2066,
    KWHANDLE_STEP_Y = 2067,
    KWHANDLE_GET_LOOK = 2068, ///< three words for the view
    KWHANDLE_SET_LOOK = 2069,
    KWHANDLE_GET_WORD = 2078, ///< a word for the owner, at `wParam`
    KWHANDLE_SET_WORD = 2079,
};

/// `IKwPage::GetDetail` of a placement control. Its handles are read by `KWHANDLE_GET`.
struct tPlacementDetail {
    RECT area; ///< where (0, 0) to (1, 1) lies, in pixels
    LONG count, selected;
    BOOL tracking;
};

/// `IKwPage::GetDetail` of a Logo band. Links stand from the right, in pixels.
struct tLogoDetail {
    const char* caption;
    ULONG background; ///< 0x00BBGGRR
    LONG linkCount;
    struct {
        LONG id;
        RECT place;
        const char* text;
    } links[4];
};

/// A row of a menu.
struct tPageMenuItem {
    LONG id;     ///< to be sent as WM_COMMAND; 0 for a submenu or a separator
    LONG parent; ///< index of the submenu's own row; -1 for the menu itself
    BOOL separator;
    const char* text; ///< with `&` before the mnemonic and `&&` for an ampersand
};

enum tPageNoticeCode : LONG {
    KWNOTICE_CHANGED = 1, ///< the control is to be drawn again; control 0: all of them
    KWNOTICE_APPLIED = 2, ///< the record went to the effect
    KWNOTICE_SETTLED = 3, ///< what the user did is at its end: a drag let go, an edit left, a key up, a preset applied
    KWNOTICE_CAPTURE = 4, ///< `x` 1: the control wants the mouse; 0: no longer
    KWNOTICE_TIMER = 5,   ///< timer `x` of the control every `y` milliseconds; 0: no longer
    KWNOTICE_FOCUS = 6,   ///< the control wants the focus
    KWNOTICE_MENU = 7,    ///< the menu of the control (0: of the page) at (x, y), pixels of that
    KWNOTICE_HELP = 8,    ///< help is wanted on topic `x`
    KWNOTICE_PICK = 9,    ///< the control wants a colour of the screen; answered by KWEVENT_PICKED
};

struct tPageNotice {
    LONG code;
    LONG control;
    LONG x, y;
};

/// Provided by the toolkit. Called within the calls of the page, on their thread.
struct IKwPageSink : IUnknown {
    static constexpr GUID iid{0x3B1E7C52, 0x9A40, 0x4E0D, {0x8F, 0x16, 0x27, 0xC4, 0xD8, 0x5B, 0x93, 0xA1}};
    /// A failure of KWNOTICE_HELP says that there is no help; other results are not looked at.
    virtual HRESULT OnPageNotice(const tPageNotice* notice) = 0;
};

/// A page as a model. Controls are there once the page has its effect.
struct IKwPage : IUnknown {
    static constexpr GUID iid{0x3B1E7C53, 0x9A40, 0x4E0D, {0x8F, 0x16, 0x27, 0xC4, 0xD8, 0x5B, 0x93, 0xA1}};
    /// Null takes the sink away.
    virtual HRESULT SetPageSink(IKwPageSink* sink) = 0;
    /// The page's size in dialog units; `title` may be null.
    virtual HRESULT GetDialog(SIZE* size, const char** title) = 0;
    /// By index, in the order of tabs. E_INVALIDARG behind the last.
    virtual HRESULT GetControl(LONG index, tPageControl* out, ULONG size) = 0;
    virtual HRESULT FindControl(LONG id, tPageControl* out, ULONG size) = 0;
    /// An item of a list.
    virtual HRESULT GetItem(LONG id, LONG index, const char** text) = 0;
    /// Parts of the five controls of the module's own. E_NOTIMPL for others.
    virtual HRESULT GetDetail(LONG id, void* out, ULONG size) = 0;
    /// Fills a part of a colour picker: bytes blue, green, red, alpha (straight) a pixel, `pitch` bytes a row.
    virtual HRESULT PaintPart(LONG id, LONG part, void* bits, LONG width, LONG height, LONG pitch) = 0;
    /// The menu of a control, or with 0 of the page, by index. E_INVALIDARG behind the last.
    virtual HRESULT GetMenuItem(LONG control, LONG index, tPageMenuItem* out, ULONG size) = 0;
    /// From within a notice too, six calls deep; E_UNEXPECTED beyond, and so for the next two.
    virtual HRESULT SendEvent(LONG id, const tPageEvent* event) = 0;
    /// A message to a control, by number. `result` may be null.
    virtual HRESULT SendControl(LONG id, UINT message, std::uintptr_t wParam, std::intptr_t lParam,
                                std::intptr_t* result) = 0;
    /// A message to the page. `result` may be null.
    virtual HRESULT SendPage(UINT message, std::uintptr_t wParam, std::intptr_t lParam, std::intptr_t* result) = 0;
};

#pragma GCC diagnostic pop
